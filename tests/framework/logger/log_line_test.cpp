#include "framework/logger/log_line.h"

#include <gmock/gmock.h>

#include <string>

#include "tests/support/log_capture.h"

namespace framework {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr LogSite Site = {L"tests/log_line", L"TestBody"};

LoggerConfig WithMask(std::uint32_t mask) {
    LoggerConfig config = test::QuietConfig();
    config.TraceLevelsMask = mask;
    return config;
}

void LogAllLevels() {
    LogError(Site, L"code %lu", 5UL);
    LogWarning(Site, L"code %i", -3);
    LogTrace(Site, L"name %s", L"probe");
    LogLine(LevelVerbose, Site, L"plain");
}

TEST(LogLine, EachLevel_HasItsOwnTagAndTheDefaultComponent) {
    const test::LogCapture capture;
    LogAllLevels();
    EXPECT_THAT(capture.Lines(), ElementsAre(L"[E][quillon] code 5", L"[W][quillon] code -3",
                                             L"[T][quillon] name probe", L"[V][quillon] plain"));
}

TEST(LogLine, EachLevel_PassesByItsOwnBit) {
    const std::pair<std::uint32_t, std::wstring> rows[] = {{1, L"[E][quillon] code 5"},
                                                           {2, L"[W][quillon] code -3"},
                                                           {4, L"[T][quillon] name probe"},
                                                           {8, L"[V][quillon] plain"}};
    for (const auto& [bit, line] : rows) {
        const test::LogCapture capture(WithMask(bit));
        LogAllLevels();
        EXPECT_THAT(capture.Lines(), ElementsAre(line)) << "mask " << bit;
    }
}

TEST(LogLine, MaskWithoutTheBit_DropsTheLine) {
    const test::LogCapture capture(WithMask(0xFFFFFFF0));
    LogAllLevels();
    EXPECT_THAT(capture.Lines(), IsEmpty());
}

TEST(LogLine, SourceLocation_IsThatOfTheSiteAndTheLineOfTheCall) {
    LoggerConfig config = test::QuietConfig();
    config.RecordSourceLocation = true;
    const test::LogCapture capture(config);
    const std::wstring line = std::to_wstring(__LINE__ + 1);
    LogError(Site, L"text");
    EXPECT_THAT(capture.Lines(),
                ElementsAre(L"[E][quillon] [tests/log_line(line " + line + L"): TestBody] text"));
}

TEST(LogLine, PercentSignInAnArgument_StaysAsItIs) {
    const test::LogCapture capture;
    LogTrace(Site, L"Parameter %i = %s\n", 0, L"C:\\a%%b\\%s%n.exe");
    EXPECT_THAT(capture.Lines(), ElementsAre(L"[T][quillon] Parameter 0 = C:\\a%%b\\%s%n.exe"));
}

}  // namespace
}  // namespace framework
