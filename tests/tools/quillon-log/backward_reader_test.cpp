#include "tools/quillon-log/backward_reader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/scratch_folder.h"
#include "tools/quillon-log/runs.h"

namespace quillon_log {
namespace {

using Messages = std::vector<std::wstring>;

/// Records at milliseconds after 18:30, with that number as message.
std::string LogAt(const std::vector<int>& times, const std::wstring& lastMessage = L"") {
    std::wstring text = L"\xFEFF";
    for (const int time : times) {
        text += L'[';
        AppendStamp(text,
                    ParseStamp(L"20261120-183000-000").value() + std::chrono::milliseconds(time));
        text += L"][T][a] " + std::to_wstring(time) + L"\n";
    }
    if (!lastMessage.empty()) {
        text += L"[20261120-184000-000][E][quillon] " + lastMessage + L"\n";
    }
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

class BackwardTest : public testing::Test {
  protected:
    void Write(const std::string& name, const std::string& bytes) const {
        test::WriteFileBytes(folder_.Path() / name, bytes);
    }

    void List() {
        folders_.clear();
        folders_.emplace_back(folder_.Path().wstring());
        ASSERT_TRUE(folders_.front().Refresh());
    }

    /// Goes through `count` records, and then reads forward from where that leads to.
    void Expect(std::size_t count, const Messages& backward, const Messages& forward) {
        List();
        BackwardReader reader(
            folders_, settings_,
            [](std::wstring& text, const Record& record, const Origin&) {
                text += record.message;
                return record.message.find(L"7") == record.message.npos;
            },
            [](const Problem& problem) { ADD_FAILURE() << problem.text.size(); });
        Messages messages;
        while (messages.size() < count && reader.Advance()) {
            messages.emplace_back(reader.Text());
        }
        EXPECT_EQ(messages, backward);
        Reader again({Folder(folder_.Path().wstring())}, settings_, [](const Problem&) {});
        ASSERT_TRUE(again.Folders().front().Refresh());
        again.BeginAt(reader.Starts(), true);
        messages.clear();
        again.ReadNew([&messages](const Record& record, const Origin&) {
            messages.emplace_back(record.message);
            return true;
        });
        EXPECT_EQ(messages, forward);
    }

    test::ScratchFolder folder_;
    std::vector<Folder> folders_;
    ReaderSettings settings_;
};

TEST_F(BackwardTest, LastRecordsOfSeveralRuns_AreFoundByTime) {
    Write("quillon-20261120-183000-000.0.log", LogAt({0, 10, 20}));
    Write("quillon-20261120-183000-000.1.log", LogAt({30, 37, 50}));
    Write("quillon-20261120-183000-005.0.log", LogAt({5, 15, 35, 45}));
    Expect(0, {}, {});
    Expect(1, {L"50"}, {L"50"});
    Expect(4, {L"50", L"45", L"35", L"30"}, {L"30", L"35", L"37", L"45", L"50"});
    Expect(99, {L"50", L"45", L"35", L"30", L"20", L"15", L"10", L"5", L"0"},
           {L"0", L"5", L"10", L"15", L"20", L"30", L"35", L"37", L"45", L"50"});
}

TEST_F(BackwardTest, LogThatHasNoRoomInMemory_IsReadInParts) {
    std::vector<int> times;
    Messages expected;
    for (int time = 0; time < 20000; ++time) {
        times.push_back(time);
        const std::wstring text = std::to_wstring(time);
        if (text.find(L'7') == text.npos) {
            expected.insert(expected.begin(), text);
        }
    }
    Write("quillon-20261120-183000-000.0.log", LogAt(times));
    List();
    const RecordTaker take = [](std::wstring& text, const Record& record, const Origin&) {
        text += record.message;
        return record.message.find(L"7") == record.message.npos;
    };
    const ProblemSink problems = [](const Problem&) { FAIL(); };
    constexpr std::size_t LittleMemory = 100 * 1024;
    BackwardRun run(folders_.front(), {0, folders_.front().Files().front().run}, settings_, take,
                    problems, LittleMemory);
    Messages messages;
    while (run.Advance()) {
        messages.emplace_back(run.Text());
    }
    EXPECT_EQ(messages, expected);
}

TEST_F(BackwardTest, OldDamagedRun_IsNotOpened) {
    Write("quillon-20251120-183000-000.0.log.gz", "damaged");
    std::filesystem::last_write_time(
        folder_.Path() / "quillon-20251120-183000-000.0.log.gz",
        std::filesystem::file_time_type::clock::now() - std::chrono::hours(24 * 300));
    Write("quillon-20261120-183000-000.0.log", LogAt({1, 2}));
    Expect(1, {L"2"}, {L"2"});
}

TEST_F(BackwardTest, Runs_TellHowTheyEnded) {
    Write("quillon-20261120-183000-000.0.log", LogAt({1}, L"End"));
    Write("quillon-20261120-183000-001.0.log",
          LogAt({1}, L"ExceptionFilter (Thread 7): exception occur "));
    Write("quillon-20261120-183000-002.0.log", LogAt({1, 2}));
    List();
    const std::vector<RunId> runs = ListRuns(folders_);
    ASSERT_EQ(runs.size(), 3U);
    const auto summary = [&](std::size_t index) {
        return Summarize(folders_.front(), runs[index].run, [](const Problem&) { FAIL(); });
    };
    EXPECT_EQ(summary(0).ending, Ending::Ended);
    EXPECT_EQ(summary(1).ending, Ending::Crashed);
    EXPECT_EQ(summary(2).ending, Ending::CutOff);
    EXPECT_EQ(summary(0).counts, (std::array<std::uint64_t, 4>{1, 0, 1, 0}));
    EXPECT_EQ(summary(2).last, ParseStamp(L"20261120-183000-002"));
}

}  // namespace
}  // namespace quillon_log
