#include "tools/quillon-log/reader.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <string>
#include <vector>

#include "framework/system/unique_handle.h"
#include "tests/support/scratch_folder.h"
#include "tools/quillon-log/cursor.h"
#include "tools/quillon-log/log_name.h"

namespace quillon_log {
namespace {

std::string Bytes(const std::wstring& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

std::string LogBytesOf(const std::vector<std::wstring>& messages) {
    std::wstring text = L"\xFEFF";
    for (const std::wstring& message : messages) {
        text += L"[20261120-183005-123][T][quillon] " + message + L"\n";
    }
    return Bytes(text);
}

/// Records at the seconds given, with the second as message.
std::string LogAt(const std::vector<int>& seconds) {
    std::wstring text = L"\xFEFF";
    for (const int second : seconds) {
        const std::wstring digits = std::to_wstring(second);
        text += L"[20261120-1830" + std::wstring(second < 10 ? L"0" : L"") + digits +
                L"-000][T][quillon] " + digits + L"\n";
    }
    return Bytes(text);
}

std::string Gzip(const std::string& bytes) {
    const test::ScratchFolder folder;
    const std::string path = (folder.Path() / "x.gz").string();
    const gzFile stream = ::gzopen(path.c_str(), "wb");
    ::gzwrite(stream, bytes.data(), static_cast<unsigned>(bytes.size()));
    ::gzclose(stream);
    return test::ReadBytes(path);
}

using Messages = std::vector<std::wstring>;

class ReaderTest : public testing::Test {
  protected:
    void WritePlain(const std::string& name, const std::string& bytes) const {
        test::WriteFileBytes(folder_.Path() / name, bytes);
    }

    void WritePacked(const std::string& name, const std::string& bytes) const {
        WritePlain(name, Gzip(bytes));
    }

    void Remove(const std::string& name) const { std::filesystem::remove(folder_.Path() / name); }

    /// A new reader of the folder in the place of the one before.
    void Begin(AtEnd atEnd, ReaderSettings settings = {}) {
        problems_.clear();
        settings.atEnd = atEnd;
        settings.keepsPositions = atEnd != AtEnd::Finish;
        reader_ = std::make_unique<Reader>(
            std::vector<Folder>{Folder(folder_.Path().wstring())}, settings,
            [this](const Problem& problem) { problems_.push_back(problem); });
    }

    Messages ReadNew() {
        Messages messages;
        EXPECT_TRUE(reader_->ReadNew([&messages](const Record& record, const Origin&) {
            messages.push_back(std::wstring(record.message) + (record.cut ? L"|cut" : L""));
            return true;
        }));
        return messages;
    }

    /// Reads twice, as text at the end is held back once, in case more of its record comes.
    Messages Follow() {
        Messages messages = ReadNew();
        const Messages more = ReadNew();
        messages.insert(messages.end(), more.begin(), more.end());
        return messages;
    }

    Messages Read(ReaderSettings settings = {}) {
        Begin(AtEnd::Finish, settings);
        return ReadNew();
    }

    test::ScratchFolder folder_;
    std::vector<Problem> problems_;
    std::unique_ptr<Reader> reader_;
};

TEST_F(ReaderTest, PlainAndCompressedLogs_AreReadInOrderOfRunAndNumber) {
    WritePlain("quillon-20261120-183005-123.10.log", LogBytesOf({L"d"}));
    WritePacked("quillon-20261120-183005-123.9.log.gz", LogBytesOf({L"c"}));
    WritePacked("quillon-20261119-183005-123.0.log.gz", LogBytesOf({L"a", L"b"}));
    WritePlain("quillon-20261121-183005-123.0.log", LogBytesOf({L"e"}));
    WritePlain("unrelated.log", "x");
    EXPECT_EQ(Read(), (Messages{L"a", L"b", L"c", L"d", L"e"}));
    EXPECT_TRUE(problems_.empty());
}

TEST_F(ReaderTest, ProcessesAtTheSameTime_AreMergedByTime) {
    WritePacked("quillon-20261120-183000-000.0.log.gz", LogAt({0, 10, 20, 30}));
    WritePlain("quillon-20261120-183005-000.0.log", LogAt({5, 15, 25}));
    WritePlain("other-20261120-183005-000.0.log", LogAt({12, 30}));
    EXPECT_EQ(Read(), (Messages{L"0", L"5", L"10", L"12", L"15", L"20", L"25", L"30", L"30"}));
}

TEST_F(ReaderTest, ClockThatWasSetBack_LeavesTheOrderOfWriting) {
    WritePlain("quillon-20261120-183000-000.0.log", LogAt({10, 3, 4, 20}));
    WritePlain("quillon-20261120-183005-000.0.log", LogAt({5, 15}));
    EXPECT_EQ(Read(), (Messages{L"5", L"10", L"3", L"4", L"15", L"20"}));
}

TEST_F(ReaderTest, VeryManyProcessesAtTheSameTime_AreMerged) {
    constexpr int Count = 150;
    for (int index = 0; index < Count; ++index) {
        const std::string digits = std::to_string(1000 + index);
        WritePacked("quillon-20261120-183000-" + digits.substr(1) + ".0.log.gz",
                    LogAt({1, 2, 3, 4, 5}));
    }
    const Messages read = Read();
    ASSERT_EQ(read.size(), 5U * Count);
    EXPECT_TRUE(std::is_sorted(read.begin(), read.end()));
    EXPECT_TRUE(problems_.empty());
}

TEST_F(ReaderTest, LogInBothForms_IsReadOnceFromThePlainFile) {
    WritePlain("quillon-20261120-183005-123.0.log", LogBytesOf({L"a", L"b"}));
    WritePlain("quillon-20261120-183005-123.0.log.gz", "half written");
    EXPECT_EQ(Read(), (Messages{L"a", L"b"}));
    EXPECT_TRUE(problems_.empty());
}

TEST_F(ReaderTest, CutLastRecord_IsShownAndReported) {
    std::string bytes = LogBytesOf({L"a", L"broken"});
    bytes.resize(bytes.size() - 5);
    WritePlain("quillon-20261120-183005-123.0.log", bytes);
    EXPECT_EQ(Read(), (Messages{L"a", L"brok|cut"}));
    ASSERT_EQ(problems_.size(), 1U);
    EXPECT_EQ(problems_[0].text, L"record 2 is cut off");
}

TEST_F(ReaderTest, HalfWrittenRecordOfAnOpenLog_IsNoProblem) {
    std::string bytes = LogBytesOf({L"a", L"broken"});
    bytes.resize(bytes.size() - 5);
    const auto path = folder_.Path() / "quillon-20261120-183005-123.0.log";
    test::WriteFileBytes(path, bytes);
    const framework::FileHandle writer(::CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                                     nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                                     nullptr));
    EXPECT_EQ(Read(), (Messages{L"a", L"brok|cut"}));
    EXPECT_TRUE(problems_.empty());
    Begin(AtEnd::FinishUnlessOpen);
    EXPECT_EQ(ReadNew(), Messages{L"a"});
}

TEST_F(ReaderTest, DamagedCompressedFile_GivesWhatItHoldsAndDoesNotStopTheRest) {
    Messages many;
    for (int index = 0; index < 20000; ++index) {
        many.push_back(std::to_wstring(index * 7919));
    }
    const std::string packed = Gzip(LogBytesOf(many));
    WritePlain("quillon-20261120-183005-123.0.log.gz", packed.substr(0, packed.size() / 2));
    WritePlain("quillon-20261120-183005-123.1.log", LogBytesOf({L"next"}));
    const Messages read = Read();
    ASSERT_GT(read.size(), 1000U);
    EXPECT_LT(read.size(), many.size());
    EXPECT_EQ(read[999], many[999]);
    EXPECT_EQ(read.back(), L"next");
    ASSERT_EQ(problems_.size(), 1U);
    EXPECT_EQ(problems_[0].place,
              (folder_.Path() / "quillon-20261120-183005-123.0.log.gz").wstring());
    EXPECT_NE(problems_[0].text.find(L"breaks off"), std::wstring::npos);
}

TEST_F(ReaderTest, MistakeInACompressedFile_LosesNothingOfWhatStandsBefore) {
    Messages many;
    for (int index = 0; index < 1000; ++index) {
        many.push_back(std::to_wstring(index * 7919));
    }
    // The check sum, four bytes before the length that ends the file.
    std::string packed = Gzip(LogBytesOf(many));
    packed[packed.size() - 8] = static_cast<char>(packed[packed.size() - 8] ^ 1);
    WritePlain("quillon-20261120-183005-123.0.log.gz", packed);
    EXPECT_EQ(Read(), many);
    EXPECT_EQ(problems_.size(), 1U);
}

TEST_F(ReaderTest, FurtherGzipMembers_AreRead) {
    const std::string bytes = LogBytesOf({L"a", L"b", L"c"});
    WritePlain("quillon-20261120-183005-123.0.log.gz",
               Gzip(bytes.substr(0, 101)) + Gzip("") + Gzip(bytes.substr(101)));
    EXPECT_EQ(Read(), (Messages{L"a", L"b", L"c"}));
    EXPECT_TRUE(problems_.empty());
}

TEST_F(ReaderTest, BytesAfterCompressedData_AreReportedUnlessTheyAreZeros) {
    const std::string packed = Gzip(LogBytesOf({L"a", L"b"}));
    const std::string name = "quillon-20261120-183005-123.0.log.gz";
    WritePlain(name, packed + std::string(40000, '\0'));
    EXPECT_EQ(Read(), (Messages{L"a", L"b"}));
    EXPECT_TRUE(problems_.empty());
    for (const std::string& rest : {std::string("x"), std::string("\x1F\x8B rest"),
                                    std::string("\x1F"), std::string(40000, '\0') + "x"}) {
        WritePlain(name, packed + rest);
        EXPECT_EQ(Read(), (Messages{L"a", L"b"}));
        EXPECT_EQ(problems_.size(), 1U) << rest;
    }
}

TEST_F(ReaderTest, FileThatIsNotCompressedAtAll_IsReported) {
    WritePlain("quillon-20261120-183005-123.0.log.gz", "this is no gzip file");
    EXPECT_TRUE(Read().empty());
    ASSERT_EQ(problems_.size(), 1U);
    EXPECT_EQ(problems_[0].text, L"damaged: it isn't a gzip file");
}

TEST_F(ReaderTest, Utf8Log_IsRead) {
    const std::string text =
        "[20261120-183005-123][T][a] \xC3\xA4\xE2\x82\xAC\n[20261120-183005-124][T][a] b\n";
    const Messages expected = {L"\x00e4\x20ac", L"b"};
    for (const std::string& bytes : {text, "\xEF\xBB\xBF" + text}) {
        WritePlain("quillon-20261120-183005-123.0.log", bytes);
        EXPECT_EQ(Read(), expected);
        EXPECT_TRUE(problems_.empty());
    }
}

TEST_F(ReaderTest, LongUtf8Log_KeepsCharactersThatPiecesCut) {
    std::string text = "[20261120-183005-123][T][a] ";
    std::wstring message;
    for (int index = 0; index < 9000; ++index) {
        text += "\xE2\x82\xAC";
        message += L'\x20ac';
    }
    WritePacked("quillon-20261120-183005-123.0.log.gz", text + "\n");
    EXPECT_EQ(Read(), Messages{message});
}

TEST_F(ReaderTest, OtherContent_IsReportedAndNotShown) {
    for (const std::string& bytes :
         {std::string("\xFE\xFF\0[\0x", 6), std::string("\x7F\x45LF\x01\x02\0\0\xC0\xC1", 10)}) {
        WritePlain("quillon-20261120-183005-123.0.log", bytes);
        EXPECT_TRUE(Read().empty());
        ASSERT_EQ(problems_.size(), 1U);
        EXPECT_NE(problems_[0].text.find(L"neither UTF-16LE nor UTF-8"), std::wstring::npos);
    }
}

TEST_F(ReaderTest, EmptyFiles_AreWholeAndGiveNothing) {
    WritePlain("quillon-20261120-183005-123.0.log", "\xFF\xFE");
    WritePacked("quillon-20261120-183005-123.1.log.gz", "\xFF\xFE");
    WritePlain("quillon-20261120-183005-124.0.log", "");
    EXPECT_TRUE(Read().empty());
    EXPECT_TRUE(problems_.empty());
    EXPECT_EQ(reader_->RunCount(), 2U);
}

TEST_F(ReaderTest, ProcessIdAndRecordNumber_ComeFromTheFile) {
    const std::wstring header = L"build: 804, process: 4711, 'C:\\x.exe'";
    WritePlain("quillon-20261120-183005-123.0.log", LogBytesOf({header, L"a"}));
    WritePacked("quillon-20261120-183005-123.1.log.gz", LogBytesOf({L"no header"}));
    Begin(AtEnd::Finish);
    std::vector<std::wstring> seen;
    static_cast<void>(reader_->ReadNew([&seen](const Record&, const Origin& origin) {
        seen.push_back(origin.file + L' ' + std::to_wstring(origin.record) + L' ' +
                       (origin.pid ? std::to_wstring(*origin.pid) : L"none"));
        return true;
    }));
    EXPECT_EQ(seen, (Messages{L"quillon-20261120-183005-123.0.log 1 4711",
                              L"quillon-20261120-183005-123.0.log 2 4711",
                              L"quillon-20261120-183005-123.1.log 1 none"}));
}

TEST_F(ReaderTest, LogThatIsCompressedAfterTheListing_KeepsItsProcessId) {
    const std::string name = "quillon-20261120-183005-123.0.log";
    const std::string bytes = LogBytesOf({L"build: 804, process: 4321, 'x'", L"a", L"b"});
    WritePlain(name, bytes);
    Folder folder(folder_.Path().wstring());
    ASSERT_TRUE(folder.Refresh());
    WritePacked(name + ".gz", bytes);
    Remove(name);
    LogPosition middle;
    middle.records = 2;
    middle.offset = bytes.size() - LogBytesOf({L"b"}).size() + 2;  // less the byte order mark
    const AtEnd atEnd = AtEnd::Finish;
    const ProblemSink problems = [](const Problem&) { ADD_FAILURE(); };
    RunReader reader(folder, folder.Files().front().run, middle, atEnd, problems);
    ASSERT_TRUE(reader.Advance());
    EXPECT_EQ(reader.Current().message, L"b");
    EXPECT_EQ(reader.Source().pid, 4321U);
}

TEST_F(ReaderTest, FilesOutsideTheTime_AreNotOpened) {
    // Not one of the damaged files is named, so none was opened.
    WritePlain("quillon-20261119-000000-000.0.log.gz", "damaged");
    WritePlain("quillon-20261119-000000-000.1.log.gz", "damaged");
    WritePacked("quillon-20261119-000000-000.2.log.gz", LogAt({1, 2}));
    WritePacked("quillon-20261119-000000-000.3.log.gz", LogAt({10}));
    WritePlain("quillon-20261121-000000-000.0.log.gz", "damaged");
    ReaderSettings settings;
    settings.since = ParseStamp(L"20261120-183005-000");
    settings.until = ParseStamp(L"20261120-183030-000");
    EXPECT_EQ(Read(settings), (Messages{L"1", L"2", L"10"}));
    EXPECT_TRUE(problems_.empty());
}

TEST_F(ReaderTest, DamagedFileBeforeTheNextStart_ConcernsTheTimeBefore) {
    WritePlain("quillon-20261119-000000-000.0.log.gz", "damaged");
    WritePacked("quillon-20261120-183000-000.0.log.gz", LogAt({1}));
    EXPECT_EQ(Read(), Messages{L"1"});
    ASSERT_EQ(problems_.size(), 1U);
    EXPECT_EQ(problems_[0].from, ParseStamp(L"20261119-000000-000"));
    EXPECT_EQ(problems_[0].until, ParseStamp(L"20261120-183000-000"));
}

TEST_F(ReaderTest, Following_GivesEachRecordOnceAcrossARotation) {
    const std::string first = "quillon-20261120-183005-123.0.log";
    WritePlain(first, LogBytesOf({L"a"}));
    Begin(AtEnd::Wait);
    EXPECT_EQ(Follow(), Messages{L"a"});
    EXPECT_TRUE(Follow().empty());
    WritePlain(first, LogBytesOf({L"a", L"b"}));
    EXPECT_EQ(Follow(), Messages{L"b"});

    WritePacked(first + ".gz", LogBytesOf({L"a", L"b", L"c"}));
    Remove(first);
    WritePlain("quillon-20261120-183005-123.1.log", LogBytesOf({L"d"}));
    EXPECT_EQ(Follow(), (Messages{L"c", L"d"}));
    EXPECT_TRUE(Follow().empty());
    EXPECT_TRUE(problems_.empty());
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
    Begin(AtEnd::Wait);
    EXPECT_EQ(Follow(), before);
    WritePacked(name + ".gz", LogBytesOf(messages));
    Remove(name);
    EXPECT_EQ(Follow(), Messages(messages.begin() + ReadBefore, messages.end()));
}

TEST_F(ReaderTest, FollowingAHalfWrittenRecord_WaitsForItsEnd) {
    const std::string name = "quillon-20261120-183005-123.0.log";
    const std::string bytes = LogBytesOf({L"a", L"second\nwith a line"});
    WritePlain(name, bytes.substr(0, bytes.size() - 7));
    Begin(AtEnd::Wait);
    EXPECT_EQ(Follow(), Messages{L"a"});
    EXPECT_TRUE(Follow().empty());
    WritePlain(name, bytes);
    EXPECT_EQ(Follow(), Messages{L"second\nwith a line"});
}

TEST_F(ReaderTest, FilesDeletedBeforeTheyWereRead_AreAGap) {
    const std::string run = "quillon-20261120-183000-000.";
    WritePlain(run + "0.log", LogAt({1}));
    Begin(AtEnd::Wait);
    EXPECT_EQ(Follow(), Messages{L"1"});
    Remove(run + "0.log");
    WritePacked(run + "3.log.gz", LogAt({30}));
    WritePlain(run + "4.log", LogAt({40}));
    EXPECT_EQ(Follow(), (Messages{L"30", L"40"}));
    ASSERT_EQ(problems_.size(), 1U);
    EXPECT_TRUE(problems_[0].isGap);
    EXPECT_EQ(problems_[0].missingFiles, 2U);
    EXPECT_EQ(problems_[0].from, ParseStamp(L"20261120-183001-000"));
    EXPECT_EQ(problems_[0].until, ParseStamp(L"20261120-183030-000"));
}

TEST_F(ReaderTest, NewRunWhoseFirstFilesWereDeleted_IsAGapToACursor) {
    WritePlain("quillon-20261120-183000-000.0.log", LogAt({1}));
    Begin(AtEnd::FinishUnlessOpen);
    EXPECT_EQ(ReadNew(), Messages{L"1"});
    const std::wstring cursor = CursorOf(reader_->Reached(), reader_->Folders().front());

    WritePacked("quillon-20261120-183010-000.2.log.gz", LogAt({20}));
    Begin(AtEnd::FinishUnlessOpen);
    reader_->BeginAtCursor(ParseCursor(cursor, reader_->Folders().front()).value());
    EXPECT_EQ(ReadNew(), Messages{L"20"});
    ASSERT_EQ(problems_.size(), 1U);
    EXPECT_TRUE(problems_[0].isGap);
    EXPECT_EQ(problems_[0].missingFiles, 2U);
    EXPECT_EQ(problems_[0].from, ParseStamp(L"20261120-183010-000"));
    EXPECT_EQ(problems_[0].until, ParseStamp(L"20261120-183020-000"));
    // A first reading can't know what there was before it.
    EXPECT_EQ(Read(), (Messages{L"1", L"20"}));
    EXPECT_TRUE(problems_.empty());
}

TEST_F(ReaderTest, NewRunWhoseFirstFilesWereDeleted_IsAGapWhileFollowing) {
    WritePlain("quillon-20261120-183000-000.0.log", LogAt({1}));
    Begin(AtEnd::Wait);
    EXPECT_EQ(Follow(), Messages{L"1"});
    WritePacked("quillon-20261120-183010-000.1.log.gz", LogAt({20}));
    EXPECT_EQ(Follow(), Messages{L"20"});
    ASSERT_EQ(problems_.size(), 1U);
    EXPECT_EQ(problems_[0].missingFiles, 1U);
}

TEST_F(ReaderTest, RunThatWasDeletedBeforeItsEndWasRead_IsAGapOfUnknownSize) {
    const std::string name = "quillon-20261120-183000-000.0.log";
    WritePlain(name, LogAt({1, 2}));
    Begin(AtEnd::FinishUnlessOpen);
    reader_->BeginAt({});
    static_cast<void>(reader_->ReadNew([](const Record&, const Origin&) { return false; }));
    const std::wstring cursor = CursorOf(reader_->Reached(), reader_->Folders().front());
    Remove(name);
    Begin(AtEnd::FinishUnlessOpen);
    reader_->BeginAtCursor(ParseCursor(cursor, reader_->Folders().front()).value());
    EXPECT_TRUE(ReadNew().empty());
    ASSERT_EQ(problems_.size(), 1U);
    EXPECT_EQ(problems_[0].missingFiles, std::nullopt);
    EXPECT_EQ(problems_[0].lastRecord, 1U);
}

TEST_F(ReaderTest, Damage_IsReportedWithTheLastRecordThatWasRead) {
    std::string packed = Gzip(LogAt({1, 2, 3}));
    constexpr std::size_t TrailerSize = 8;  // checksum and length
    packed[packed.size() - TrailerSize] ^= 1;
    WritePlain("quillon-20261120-183000-000.0.log.gz", packed);
    EXPECT_EQ(Read(), (Messages{L"1", L"2", L"3"}));
    ASSERT_EQ(problems_.size(), 1U);
    EXPECT_EQ(problems_[0].text, L"damaged: its checksum doesn't match; read up to record 3");
    EXPECT_EQ(problems_[0].from, ParseStamp(L"20261120-183003-000"));
}

TEST_F(ReaderTest, Cursor_GoesOnAfterRestartRotationAndCompression) {
    const std::string run = "quillon-20261120-183000-000.";
    WritePlain(run + "0.log", LogAt({1, 2}));
    WritePacked("quillon-20261119-183000-000.0.log.gz", LogAt({0}));
    Begin(AtEnd::FinishUnlessOpen);
    EXPECT_EQ(ReadNew(), (Messages{L"0", L"1", L"2"}));
    std::wstring cursor = CursorOf(reader_->Reached(), reader_->Folders().front());

    WritePacked(run + "0.log.gz", LogAt({1, 2, 3}));
    Remove(run + "0.log");
    WritePlain(run + "1.log", LogAt({4}));
    WritePlain("quillon-20261120-183030-000.0.log", LogAt({30}));
    for (const Messages& expected : {Messages{L"3", L"4", L"30"}, Messages{}}) {
        Begin(AtEnd::FinishUnlessOpen);
        auto positions = ParseCursor(cursor, reader_->Folders().front());
        ASSERT_TRUE(positions);
        reader_->BeginAt(*positions);
        EXPECT_EQ(ReadNew(), expected);
        EXPECT_TRUE(problems_.empty());
        cursor = CursorOf(reader_->Reached(), reader_->Folders().front());
    }
}

TEST_F(ReaderTest, ReachedInTheMiddle_IsAfterTheRecordGivenLast) {
    WritePlain("quillon-20261120-183000-000.0.log", LogAt({1, 3, 5}));
    WritePlain("quillon-20261120-183000-001.0.log", LogAt({2, 4, 6}));
    for (std::size_t stop = 1; stop <= 6; ++stop) {
        Begin(AtEnd::FinishUnlessOpen);
        Messages messages;
        const auto take = [&](const Record& record, const Origin&) {
            messages.emplace_back(record.message);
            return messages.size() != stop;
        };
        static_cast<void>(reader_->ReadNew(take));
        const Positions reached = reader_->Reached();
        Begin(AtEnd::FinishUnlessOpen);
        reader_->BeginAt(reached);
        static_cast<void>(reader_->ReadNew(take));
        EXPECT_EQ(messages, (Messages{L"1", L"2", L"3", L"4", L"5", L"6"})) << stop;
    }
}

TEST_F(ReaderTest, SkippedLogs_AreNeverReadNorCounted) {
    const std::string old = "quillon-20261120-183005-123.0.log";
    WritePlain(old, LogBytesOf({L"old"}));
    WritePlain("quillon-20261119-183005-123.0.log.gz", "damaged");
    Begin(AtEnd::Wait);
    reader_->SkipPresent();
    WritePlain(old, LogBytesOf({L"old", L"still old"}));
    EXPECT_TRUE(Follow().empty());
    EXPECT_EQ(reader_->FilesRead(), 0U);
    EXPECT_EQ(reader_->LastFile(), L"");
    EXPECT_TRUE(problems_.empty());

    WritePlain("quillon-20261121-183005-123.0.log", LogBytesOf({L"new"}));
    EXPECT_EQ(Follow(), Messages{L"new"});
    EXPECT_EQ(reader_->FilesRead(), 1U);
}

TEST_F(ReaderTest, LastFile_IsTheFormThatWasRead) {
    const std::string name = "quillon-20261120-183005-123.0.log";
    WritePlain(name, LogBytesOf({L"a"}));
    Begin(AtEnd::Wait);
    Follow();
    EXPECT_EQ(reader_->LastFile(), (folder_.Path() / name).wstring());
}

TEST_F(ReaderTest, NamedFiles_AreReadAlone) {
    WritePlain("quillon-20261120-183000-000.0.log", LogAt({1}));
    WritePlain("quillon-20261120-183000-000.1.log", LogAt({2}));
    WritePacked("notes.txt", LogAt({3}));
    std::vector<Folder> folders;
    folders.emplace_back(folder_.WithBackslash(), Messages{L"quillon-20261120-183000-000.1.log"});
    folders.emplace_back(folder_.WithBackslash(), Messages{L"notes.txt"});
    Reader reader(std::move(folders), {}, [](const Problem&) { FAIL(); });
    Messages messages;
    EXPECT_TRUE(reader.ReadNew([&messages](const Record& record, const Origin& origin) {
        messages.push_back(origin.file + L' ' + std::wstring(record.message));
        return true;
    }));
    EXPECT_EQ(messages, (Messages{L"quillon-20261120-183000-000.1.log 2", L"notes.txt 3"}));
}

TEST(Reader, FolderThatIsNotThere_CannotBeRead) {
    const test::ScratchFolder folder;
    Reader reader({Folder((folder.Path() / "missing").wstring())}, {}, [](const Problem&) {});
    EXPECT_FALSE(reader.ReadNew([](const Record&, const Origin&) { return true; }));
}

TEST(Cursor, OtherText_IsNone) {
    Folder folder(L"C:\\");
    for (const wchar_t* text :
         {L"", L"x", L"quillon-log-cursor-2", L"quillon-log-cursor-1/x",
          L"quillon-log-cursor-1/quillon-20261120-183000-000.0.log",
          L"quillon-log-cursor-1/quillon-20261120-183000-000.0.log:1:2:20261120-183000-000",
          L"quillon-log-cursor-1/quillon-20261120-183000-000.0.log:x:2:20261120-183000-000:end",
          L"quillon-log-cursor-1/quillon-20261120-183000-000.0.log.gz:1:2:20261120-183000-000:end",
          L"quillon-log-cursor-1/quillon-20261120-183000-000.0.log:1:2:20261120-183000-000:end/"
          L"quillon-20261120-183000-000.1.log:1:2:20261120-183000-000:end"}) {
        EXPECT_FALSE(ParseCursor(text, folder)) << text;
    }
    EXPECT_TRUE(ParseCursor(L"quillon-log-cursor-1\r\n", folder));
}

TEST(Cursor, File_IsReplacedAndReadBack) {
    const test::ScratchFolder folder;
    const std::wstring path = (folder.Path() / "cursor").wstring();
    EXPECT_EQ(ReadCursorFile(path), L"");
    for (const wchar_t* text : {L"one", L"other \x0424"}) {
        EXPECT_TRUE(WriteCursorFile(path, text));
        EXPECT_EQ(ReadCursorFile(path), text + std::wstring(L"\n"));
    }
    EXPECT_EQ(folder.Names().size(), 1U);
}

}  // namespace
}  // namespace quillon_log
