// Reports that the platform refuses: two lines each, and no retry.

#include <gmock/gmock.h>

#include "tests/end-to-end/service/service_run.h"

namespace {

using namespace test;
using testing::ElementsAre;

std::wstring Refused(const std::wstring& statusText, DWORD error) {
    return E(statusText + L"failed with error " + std::to_wstring(error) + L" ");
}

TEST(FailingReport, OfThePendingStop_LeavesTwoLinesAndTheStopGoesOn) {
    // The reports: START_PENDING, RUNNING, the permission, STOP_PENDING.
    ServiceRun run("on activate enable-stop\nfail-status 4 5\n");
    run.Start();
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    Records stop = WholeStop(L"Stop", 5);
    stop.insert(stop.begin() + 1, Refused(StatusText(L"SERVICE_STOP_PENDING", 0, 20000, 5, 0), 5));
    EXPECT_EQ(run.FrameworkLog(), Join({StartReported(), {StopEnabled}, StartFinished(), stop}));
    for (const TranscriptEntry& answer : run.ReadTranscript().With("status", "answer")) {
        const bool refused = answer.Number("report-number") == 4;
        EXPECT_EQ(answer.Number("result"), refused ? 0U : 1U) << answer.Number("report-number");
        EXPECT_EQ(answer.Number("error"), refused ? 5U : 0U) << answer.Number("report-number");
    }
    EXPECT_GE(run.ReadTranscript().With("status", "answer").size(), 4U);
}

TEST(FailingReport, OfThePermission_IsHandedBackAndTheBitStays) {
    const HostFolder names;
    const SharedEvent again(names, "again");
    ServiceRun run("on activate enable-stop\nfail-status 3 1234\non activate when-event " +
                   again.Name() + " enable-stop\n");
    run.Start();
    EXPECT_EQ(run.Scm().Control(SERVICE_CONTROL_STOP),
              static_cast<DWORD>(ERROR_INVALID_SERVICE_CONTROL))
        << "the SCM has not heard of it";
    again.Set();
    run.AwaitRecord(StopEnabled);
    EXPECT_THAT(run.Stop(), ElementsAre(SERVICE_STOPPED, 0, 0));
    // The failure's line is the only one; the line of a normal report doesn't follow it.
    EXPECT_EQ(run.FrameworkLog(), Join({StartReported(),
                                        {Refused(StatusText(L"SERVICE_RUNNING", 0, 0, 5, 0), 1234)},
                                        StartFinished(),
                                        {StopEnabled},
                                        WholeStop(L"Stop", 5)}));
    std::vector<std::uint64_t> results;
    for (const TranscriptEntry& entry : run.ReadTranscript().With("host", "enable-stop")) {
        if (entry.Has("phase", "after")) {
            results.push_back(entry.Number("result"));
        }
    }
    EXPECT_THAT(results, ElementsAre(1234, 0));
}

}  // namespace
