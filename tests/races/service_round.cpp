#include "tests/races/service_round.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "tests/tarnwick-service/expected_lines.h"

namespace test {
namespace {

using tarnwick::KeldaneService;
using tarnwick::WindowsServiceBase;

constexpr std::size_t InterruptAt = LoaderLayout::Params + 32;
constexpr std::size_t EnableStopAt = LoaderLayout::Interaction + 48;
// A start that outlasts the stop is as likely as a shorter one.
constexpr std::uint32_t LongestStartMicroseconds = 6000;
constexpr std::uint32_t LongestStopMicroseconds = 5000;
constexpr std::uint32_t LongestReportMicroseconds = 60;
constexpr std::wstring_view StatusLineMark = L"->SetServiceStatus: ";
constexpr std::wstring_view StopAllowedMark = L"->EnableStopFromSCM: SERVICE_ACCEPT_STOP set";

const wchar_t* StateName(DWORD state) {
    switch (state) {
        case SERVICE_STOPPED:
            return L"SERVICE_STOPPED";
        case SERVICE_START_PENDING:
            return L"SERVICE_START_PENDING";
        case SERVICE_STOP_PENDING:
            return L"SERVICE_STOP_PENDING";
        default:
            return L"SERVICE_RUNNING";
    }
}

std::wstring LineOf(const SERVICE_STATUS& report) {
    return StatusLine(StateName(report.dwCurrentState),
                      {report.dwCurrentState, report.dwWin32ExitCode, report.dwWaitHint,
                       report.dwCheckPoint, report.dwControlsAccepted});
}

bool Holds(const std::wstring& line, std::wstring_view mark) {
    return line.find(mark) != std::wstring::npos;
}

}  // namespace

ServiceRound::ServiceRound(RaceRound& round)
    : reports_([&round] { round.Jitter(LongestReportMicroseconds).Pass(); }),
      registerHook_([this](const wchar_t* /*name*/, LPHANDLER_FUNCTION handler) {
          handler_ = handler;
          return reinterpret_cast<SERVICE_STATUS_HANDLE>(std::uintptr_t{0x5E1});
      }),
      lockDelay_(round),
      hangReport_(round, [this] { return Tell(); }) {
    controller_.actions["LoadAddons"] = [this] { startBegun_.Set(); };
    controller_.actions["Activate"] = [delay = round.DrawDelay(LongestStartMicroseconds)] {
        delay.Pass();
    };
    controller_.actions["NotifyOnStop"] = [delay = round.DrawDelay(LongestStopMicroseconds)] {
        delay.Pass();
    };
    service_ = KeldaneService::GetOrCreateInstance({L"TestService", 0, 1, 0, L""});
}

void ServiceRound::Start() {
    WindowsServiceBase::ServiceMain(0, nullptr);
}

void ServiceRound::Control(DWORD control) {
    handler_(control);
}

void ServiceRound::AwaitRunning() const {
    ASSERT_TRUE(reports_.running.Wait());
}

void ServiceRound::Interrupt() const {
    controller_.AtCreate().At<PlainCallback>(InterruptAt)();
}

DWORD ServiceRound::EnableStop() const {
    return controller_.AtCreate().At<test::EnableStop>(EnableStopAt)();
}

void ServiceRound::End() {
    // The thread of `OnStart` looks the object up itself, so wait until it has done so.
    ASSERT_TRUE(startBegun_.Wait());
    WindowsServiceBase::ResetInstance();
    service_.reset();
    threads_.JoinAll();
    EXPECT_GT(lockDelay_.Count(), 0U) << "the locks aren't taken through the delay";
    EXPECT_EQ(reports_.Breaches(), "");
    EXPECT_EQ(CountCalls("free"), 1U) << "the object didn't go, or went twice";
    EXPECT_EQ(controller_.Events().back(), "free") << "the object went before its last user";
    CheckLog();
    if (testing::Test::HasFailure()) {
        ADD_FAILURE() << Tell();
    }
}

/// Every report has its line, and the lines are in the order of the reports.
void ServiceRound::CheckLog() const {
    Lines lines = log_.Lines();
    std::erase_if(lines, [](const std::wstring& line) {
        return !Holds(line, StatusLineMark) && !Holds(line, StopAllowedMark);
    });
    const std::vector<SERVICE_STATUS> reports = Reports();
    ASSERT_EQ(lines.size(), reports.size());
    for (std::size_t index = 0; index < reports.size(); ++index) {
        if (!Holds(lines[index], StopAllowedMark)) {
            EXPECT_EQ(lines[index], LineOf(reports[index])) << "line " << index;
        }
    }
}

std::size_t ServiceRound::CountReports(DWORD state, DWORD exitCode) const {
    const std::vector<SERVICE_STATUS> reports = Reports();
    return static_cast<std::size_t>(
        std::count_if(reports.begin(), reports.end(), [=](const SERVICE_STATUS& report) {
            return report.dwCurrentState == state && report.dwWin32ExitCode == exitCode;
        }));
}

std::size_t ServiceRound::CountCalls(const std::string& call) const {
    const std::vector<std::string> events = controller_.Events();
    return static_cast<std::size_t>(std::count(events.begin(), events.end(), call));
}

std::size_t ServiceRound::CountAllowances() const {
    const Lines lines = log_.Lines();
    return static_cast<std::size_t>(
        std::count_if(lines.begin(), lines.end(),
                      [](const std::wstring& line) { return Holds(line, StopAllowedMark); }));
}

std::string ServiceRound::Tell() const {
    std::string text = "Reports:\n" + reports_.Describe() + reports_.Breaches() + "Calls:";
    for (const std::string& event : controller_.Events()) {
        text += " " + event;
    }
    text += "\nLog:\n";
    for (const std::wstring& line : log_.Lines()) {
        text += testing::PrintToString(line) + "\n";
    }
    return text;
}

}  // namespace test
