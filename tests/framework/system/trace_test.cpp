#include "framework/system/trace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/framework/system/trace_recorder.h"

namespace framework {
namespace {

using ::testing::ElementsAre;

int otherSinkCalls = 0;

void OtherSink(std::uint32_t, const wchar_t*, std::va_list) {
    ++otherSinkCalls;
}

TEST(SystemTrace, Line_ReachesTheSinkWithItsLevelAndArguments) {
    const test::TraceRecorder trace;
    SystemTrace(4, L"key %s was created", L"\u043A\u043B\u044E\u0447");
    SystemTrace(1, L"failed with error %lu", 0xFFFFFFFFU);
    SystemTrace(0x80000000U, L"no arguments, 100%%");
    EXPECT_THAT(trace.Lines(),
                ElementsAre(L"4 key \u043A\u043B\u044E\u0447 was created",
                            L"1 failed with error 4294967295", L"2147483648 no arguments, 100%"));
}

TEST(SystemTrace, WithoutSink_IsDropped) {
    {
        const test::TraceRecorder trace;
    }
    SystemTrace(1, L"nobody hears %s", L"this");
    const test::TraceRecorder trace;
    EXPECT_TRUE(trace.Lines().empty());
}

TEST(SystemTrace, LaterSink_TakesTheEarlierOnesPlace) {
    const test::TraceRecorder trace;
    otherSinkCalls = 0;
    SetTraceSink(OtherSink);
    SystemTrace(4, L"line");
    SetTraceSink(nullptr);
    SystemTrace(4, L"line");
    EXPECT_EQ(otherSinkCalls, 1);
    EXPECT_TRUE(trace.Lines().empty());
}

}  // namespace
}  // namespace framework
