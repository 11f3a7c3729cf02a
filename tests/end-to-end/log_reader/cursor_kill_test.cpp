// A collector is killed again and again while the host logs and changes files.

#include <gmock/gmock.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <string_view>

#include "tests/end-to-end/support/host_folder.h"

namespace {

/// Hashes of records by their names.
using Records = std::map<std::string, std::size_t>;

/// Adds the whole lines of an output: what a killed process wrote last can be cut. False if a name
/// has come with another content before.
bool AddLines(std::string_view output, Records& records) {
    bool isRight = true;
    for (std::size_t end = output.find('\n'); end != output.npos; end = output.find('\n')) {
        const std::string_view line = output.substr(0, end);
        const std::size_t name = line.rfind(",\"pid\":");
        if (name == line.npos) {
            return false;
        }
        const std::size_t hash = std::hash<std::string_view>()(line);
        isRight =
            records.emplace(std::string(line.substr(name)), hash).first->second == hash && isRight;
        output.remove_prefix(end + 1);
    }
    return isRight;
}

constexpr DWORD OutputLimit = 30000;  // milliseconds

/// Waits for the child's first output, up to a limit in milliseconds.
void WaitForOutput(const test::Child& child, DWORD limit) {
    constexpr DWORD Interval = 10;
    for (DWORD waited = 0; waited < limit && child.Output().empty(); waited += Interval) {
        ::Sleep(Interval);
    }
}

TEST(LogCursor, CollectorThatIsKilledAgainAndAgain_LeavesOutNoRecord) {
    const char* const wanted = std::getenv("TARNWICK_LONG_TESTS");
    const bool isLong = wanted != nullptr && std::string(wanted) != "0";
    const int kills = isLong ? 1000 : 15;
    const test::HostFolder host;
    // One file is all but full at once; the next ones take some seconds.
    host.Script(std::string("on load repeat 640 log trace filler repeat:x:4000\n") +
                (isLong ? "chatty rate=300 length=1000\n" : "chatty rate=200 length=8000\n"));
    const auto process = host.Start(L"-run");
    const std::wstring program = L'"' + (test::ProductFolder() / L"quillon-log.exe").wstring() +
                                 L"\" --json \"" + host.Logs().wstring() + L'"';
    const std::wstring collector =
        program + L" --cursor-file \"" + (host.Path() / L"cursor").wstring() + L'"';

    std::mt19937 random(1);
    Records collected;
    int productive = 0;
    for (int kill = 0; kill < kills; ++kill) {
        test::Child child(collector + L" -f");
        // On a busy machine the start alone can take longer than the draw. Every fourth kill may
        // come before the first output.
        WaitForOutput(child, kill % 4 == 0 ? 0 : OutputLimit);
        ::Sleep(static_cast<DWORD>(random() % 400));
        child.Terminate();
        child.Wait();
        const std::size_t before = collected.size();
        EXPECT_TRUE(AddLines(child.Output(), collected)) << kill;
        productive += collected.size() > before ? 1 : 0;
    }
    process->Terminate();
    process->Wait();
    test::Child last(collector);
    EXPECT_EQ(last.Wait(), 0U);
    EXPECT_TRUE(AddLines(last.Output(), collected));

    test::Child all(program);
    EXPECT_EQ(all.Wait(), 0U);
    Records expected;
    EXPECT_TRUE(AddLines(all.Output(), expected));
    EXPECT_EQ(collected.size(), expected.size());
    EXPECT_TRUE(collected == expected);
    // Otherwise the kills came too early to show anything.
    EXPECT_GT(productive, kills / 2);
    std::printf("%d kills, %d of them after new records, %zu records\n", kills, productive,
                expected.size());
}

}  // namespace
