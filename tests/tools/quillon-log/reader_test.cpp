#include "tools/quillon-log/reader.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "tests/support/scratch_folder.h"

namespace quillon_log {
namespace {

std::string LogBytesOf(const std::vector<std::wstring>& messages, bool withMark = true) {
    std::wstring text = withMark ? L"\xFEFF" : L"";
    for (const std::wstring& message : messages) {
        text += L"[20261120-183005-123][T][quillon] " + message + L"\n";
    }
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

class ReaderTest : public testing::Test {
  protected:
    void WritePlain(const std::string& name, const std::string& bytes) const {
        test::WriteFileBytes(folder_.Path() / name, bytes);
    }

    void WritePacked(const std::string& name, const std::string& bytes) const {
        const gzFile stream = ::gzopen((folder_.Path() / name).string().c_str(), "wb");
        ::gzwrite(stream, bytes.data(), static_cast<unsigned>(bytes.size()));
        ::gzclose(stream);
    }

    void Remove(const std::string& name) const { std::filesystem::remove(folder_.Path() / name); }

    std::vector<std::wstring> Read(Reader& reader, bool live = false) const {
        std::vector<std::wstring> messages;
        EXPECT_TRUE(reader.ReadNew(
            [&messages](const Record& record) {
                messages.push_back(record.message + (record.cut ? L"|cut" : L""));
            },
            live));
        return messages;
    }

    using Messages = std::vector<std::wstring>;

    test::ScratchFolder folder_;
    Reader reader_{folder_.Path().wstring()};
};

TEST_F(ReaderTest, PlainAndCompressedLogs_AreReadInOrderOfRunAndNumber) {
    WritePlain("quillon-20261120-183005-123.10.log", LogBytesOf({L"d"}));
    WritePacked("quillon-20261120-183005-123.9.log.gz", LogBytesOf({L"c"}));
    WritePacked("quillon-20261119-183005-123.0.log.gz", LogBytesOf({L"a", L"b"}));
    WritePlain("quillon-20261121-183005-123.0.log", LogBytesOf({L"e"}));
    WritePlain("unrelated.log", "x");
    EXPECT_EQ(Read(reader_), (Messages{L"a", L"b", L"c", L"d", L"e"}));
    EXPECT_FALSE(reader_.MetDamage());
}

TEST_F(ReaderTest, LogThatStandsTwice_IsReadOnceFromThePlainFile) {
    WritePlain("quillon-20261120-183005-123.0.log", LogBytesOf({L"a", L"b"}));
    WritePlain("quillon-20261120-183005-123.0.log.gz", "half written");
    EXPECT_EQ(Read(reader_), (Messages{L"a", L"b"}));
    EXPECT_FALSE(reader_.MetDamage());
}

TEST_F(ReaderTest, CutLastRecord_IsShownAsSuch) {
    std::string bytes = LogBytesOf({L"a", L"broken"});
    bytes.resize(bytes.size() - 5);
    WritePlain("quillon-20261120-183005-123.0.log", bytes);
    EXPECT_EQ(Read(reader_), (Messages{L"a", L"brok|cut"}));
}

TEST_F(ReaderTest, DamagedCompressedFile_GivesWhatItHoldsAndDoesNotStopTheRest) {
    std::vector<std::wstring> many;
    for (int index = 0; index < 20000; ++index) {
        many.push_back(std::to_wstring(index * 7919));
    }
    WritePacked("quillon-20261120-183005-123.0.log.gz", LogBytesOf(many));
    const auto path = folder_.Path() / "quillon-20261120-183005-123.0.log.gz";
    const std::string packed = test::ReadBytes(path);
    test::WriteFileBytes(path, packed.substr(0, packed.size() / 2));
    WritePlain("quillon-20261120-183005-123.1.log", LogBytesOf({L"next"}));
    const Messages read = Read(reader_);
    EXPECT_TRUE(reader_.MetDamage());
    ASSERT_GT(read.size(), 1000U);
    EXPECT_LT(read.size(), many.size());
    EXPECT_EQ(read[999], many[999]);
    EXPECT_EQ(read.back(), L"next");
}

TEST_F(ReaderTest, MistakeInACompressedFile_LosesNothingOfWhatStandsBefore) {
    std::vector<std::wstring> many;
    for (int index = 0; index < 1000; ++index) {
        many.push_back(std::to_wstring(index * 7919));
    }
    WritePacked("quillon-20261120-183005-123.0.log.gz", LogBytesOf(many));
    const auto path = folder_.Path() / "quillon-20261120-183005-123.0.log.gz";
    // The check sum, four bytes before the length that ends the file.
    std::string packed = test::ReadBytes(path);
    packed[packed.size() - 8] = static_cast<char>(packed[packed.size() - 8] ^ 1);
    test::WriteFileBytes(path, packed);
    EXPECT_EQ(Read(reader_), many);
    EXPECT_TRUE(reader_.MetDamage());
}

TEST_F(ReaderTest, BytesBehindTheEndOfACompressedFile_AreIgnored) {
    WritePacked("quillon-20261120-183005-123.0.log.gz", LogBytesOf({L"a", L"b"}));
    const auto path = folder_.Path() / "quillon-20261120-183005-123.0.log.gz";
    test::WriteFileBytes(path, test::ReadBytes(path) + "\x1F\x8B rest");
    EXPECT_EQ(Read(reader_), (Messages{L"a", L"b"}));
    EXPECT_FALSE(reader_.MetDamage());
}

TEST_F(ReaderTest, FileThatIsNotCompressedAtAll_IsDamaged) {
    WritePlain("quillon-20261120-183005-123.0.log.gz", "this is no gzip file");
    Read(reader_);
    EXPECT_TRUE(reader_.MetDamage());
}

TEST_F(ReaderTest, EmptyFiles_AreWholeAndGiveNothing) {
    WritePlain("quillon-20261120-183005-123.0.log", "\xFF\xFE");
    WritePacked("quillon-20261120-183005-123.1.log.gz", "\xFF\xFE");
    EXPECT_TRUE(Read(reader_).empty());
    EXPECT_FALSE(reader_.MetDamage());
    EXPECT_EQ(reader_.Found(), 2U);
}

TEST_F(ReaderTest, Following_GivesEachRecordOnceAcrossARotation) {
    const std::string first = "quillon-20261120-183005-123.0.log";
    WritePlain(first, LogBytesOf({L"a"}));
    EXPECT_EQ(Read(reader_, true), (Messages{L"a"}));
    EXPECT_TRUE(Read(reader_, true).empty());
    WritePlain(first, LogBytesOf({L"a", L"b"}));
    EXPECT_EQ(Read(reader_, true), (Messages{L"b"}));

    WritePacked(first + ".gz", LogBytesOf({L"a", L"b", L"c"}));
    Remove(first);
    WritePlain("quillon-20261120-183005-123.1.log", LogBytesOf({L"d"}));
    EXPECT_EQ(Read(reader_, true), (Messages{L"c", L"d"}));
    EXPECT_TRUE(Read(reader_, true).empty());
    EXPECT_FALSE(reader_.MetDamage());
}

// Unpacked piece by piece: what was read before is left out of all of them together.
TEST_F(ReaderTest, FollowingALongLogAcrossItsRotation_GivesTheRestAlone) {
    constexpr std::size_t ReadBefore = 9000;
    const std::string name = "quillon-20261120-183005-123.0.log";
    Messages messages;
    while (messages.size() < ReadBefore + 3) {
        messages.push_back(std::to_wstring(messages.size()));
    }
    const Messages before(messages.begin(), messages.begin() + ReadBefore);
    WritePlain(name, LogBytesOf(before));
    EXPECT_EQ(Read(reader_, true), before);
    WritePacked(name + ".gz", LogBytesOf(messages));
    Remove(name);
    EXPECT_EQ(Read(reader_, true), Messages(messages.begin() + ReadBefore, messages.end()));
}

TEST_F(ReaderTest, FollowingAHalfWrittenRecord_WaitsForItsEnd) {
    const std::string name = "quillon-20261120-183005-123.0.log";
    const std::string bytes = LogBytesOf({L"a", L"second"});
    WritePlain(name, bytes.substr(0, bytes.size() - 7));
    EXPECT_EQ(Read(reader_, true), (Messages{L"a"}));
    WritePlain(name, bytes);
    EXPECT_EQ(Read(reader_, true), (Messages{L"second"}));
}

TEST_F(ReaderTest, SkippedLogs_AreNeverReadNorCounted) {
    const std::string old = "quillon-20261120-183005-123.0.log";
    WritePlain(old, LogBytesOf({L"old"}));
    WritePlain("quillon-20261119-183005-123.0.log.gz", "damaged");
    reader_.SkipPresent();
    WritePlain(old, LogBytesOf({L"old", L"still old"}));
    EXPECT_TRUE(Read(reader_, true).empty());
    EXPECT_EQ(reader_.FilesRead(), 0U);
    EXPECT_EQ(reader_.LastFile(), L"");
    EXPECT_FALSE(reader_.MetDamage());

    WritePlain("quillon-20261121-183005-123.0.log", LogBytesOf({L"new"}));
    EXPECT_EQ(Read(reader_, true), Messages{L"new"});
    EXPECT_EQ(reader_.FilesRead(), 1U);
}

TEST_F(ReaderTest, LastFile_IsWhereTheLogStoodWhenItWasRead) {
    const std::string name = "quillon-20261120-183005-123.0.log";
    WritePlain(name, LogBytesOf({L"a"}));
    Read(reader_, true);
    EXPECT_EQ(reader_.LastFile(), (folder_.Path() / name).wstring());
    WritePacked(name + ".gz", LogBytesOf({L"a", L"b"}));
    Remove(name);
    Read(reader_);
    EXPECT_EQ(reader_.LastFile(), (folder_.Path() / (name + ".gz")).wstring());
    EXPECT_EQ(reader_.FilesRead(), 1U);
}

TEST_F(ReaderTest, FolderThatIsNotThere_IsTold) {
    Reader reader((folder_.Path() / "missing").wstring());
    EXPECT_FALSE(reader.ReadNew([](const Record&) {}, false));
}

}  // namespace
}  // namespace quillon_log
