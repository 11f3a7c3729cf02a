#include "dev-controller/transcript.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include "dev-controller/thread_group.h"

namespace dev_controller {
namespace {

/// A temporary file of this test.
class TemporaryFile {
  public:
    TemporaryFile() {
        wchar_t folder[MAX_PATH] = {};
        wchar_t file[MAX_PATH] = {};
        GetTempPathW(MAX_PATH, folder);
        GetTempFileNameW(folder, L"trn", 0, file);
        path_ = file;
    }
    ~TemporaryFile() { DeleteFileW(path_.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    [[nodiscard]] const std::wstring& Path() const { return path_; }
    [[nodiscard]] std::vector<std::string> Lines() const {
        std::ifstream file(std::filesystem::path(path_), std::ios::binary);
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);) {
            lines.push_back(line);
        }
        return lines;
    }

  private:
    std::wstring path_;
};

std::string Prefix(int sequence) {
    return "seq=" + std::to_string(sequence) + " pid=" + std::to_string(GetCurrentProcessId()) +
           " tid=" + std::to_string(GetCurrentThreadId()) + ' ';
}

TEST(TranscriptLine, FieldsAreNameAndValue) {
    const unsigned char bytes[] = {0x00, 0x0F, 0xF0, 0xAB};
    TranscriptLine line("call", "create");
    line.Number("result", -5)
        .Hex("zero", 0)
        .Hex("address", 0x14000ABCD)
        .Pointer("null", nullptr)
        .Quoted("text", std::wstring_view(L"a b"))
        .Quoted("narrow", std::string_view("x\"y"))
        .Bytes("bytes", bytes, sizeof(bytes));
    EXPECT_EQ(line.Text(),
              "call=create result=-5 zero=0x0 address=0x14000abcd null=0x0 text=\"a b\" "
              "narrow=\"x\\\"y\" bytes=000ff0ab");
}

TEST(Transcript, LinesAreNumberedAndReachTheFileAtOnce) {
    const TemporaryFile file;
    Transcript transcript;
    ASSERT_EQ(transcript.Open(file.Path()), 0U);
    transcript.Write(TranscriptLine("call", "load"));
    EXPECT_EQ(file.Lines(), (std::vector<std::string>{Prefix(1) + "call=load"}));
    transcript.Write(TranscriptLine("call", "free"));
    EXPECT_EQ(file.Lines(),
              (std::vector<std::string>{Prefix(1) + "call=load", Prefix(2) + "call=free"}));
}

TEST(Transcript, ASecondOne_GoesToTheEndOfTheFile) {
    const TemporaryFile file;
    Transcript first;
    Transcript second;
    ASSERT_EQ(first.Open(file.Path()), 0U);
    first.Write(TranscriptLine("call", "load"));
    ASSERT_EQ(second.Open(file.Path()), 0U);
    second.Write(TranscriptLine("call", "free"));
    EXPECT_EQ(file.Lines(),
              (std::vector<std::string>{Prefix(1) + "call=load", Prefix(1) + "call=free"}));
}

TEST(Transcript, LinesOfSeveralThreadsDoNotMix) {
    constexpr int ThreadCount = 4;
    constexpr int LinesPerThread = 50;
    const TemporaryFile file;
    Transcript transcript;
    ASSERT_EQ(transcript.Open(file.Path()), 0U);
    ThreadGroup threads;
    for (int i = 0; i < ThreadCount; ++i) {
        ASSERT_EQ(threads.Start([&] {
            for (int line = 0; line < LinesPerThread; ++line) {
                transcript.Write(TranscriptLine("call", "load"));
            }
        }),
                  0U);
    }
    ASSERT_TRUE(threads.Join(30000));
    std::set<int> sequences;
    for (const std::string& line : file.Lines()) {
        ASSERT_EQ(line.rfind("seq=", 0), 0U) << line;
        ASSERT_EQ(line.substr(line.size() - 10), " call=load") << line;
        sequences.insert(std::stoi(line.substr(4)));
    }
    EXPECT_EQ(sequences.size(), static_cast<std::size_t>(ThreadCount * LinesPerThread));
    EXPECT_EQ(*sequences.begin(), 1);
    EXPECT_EQ(*sequences.rbegin(), ThreadCount * LinesPerThread);
}

TEST(Transcript, Write_KeepsTheLastError) {
    const TemporaryFile file;
    Transcript transcript;
    ASSERT_EQ(transcript.Open(file.Path()), 0U);
    SetLastError(4321);
    transcript.Write(TranscriptLine("call", "load"));
    EXPECT_EQ(GetLastError(), 4321U);
}

TEST(Transcript, Open_GivesTheErrorOfAFolderThatIsMissing) {
    Transcript transcript;
    EXPECT_EQ(transcript.Open(L"C:\\no such folder\\transcript.txt"),
              static_cast<std::uint32_t>(ERROR_PATH_NOT_FOUND));
    EXPECT_FALSE(transcript.IsOpen());
    transcript.Write(TranscriptLine("call", "load"));
}

}  // namespace
}  // namespace dev_controller
