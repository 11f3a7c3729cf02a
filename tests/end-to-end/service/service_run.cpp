#include "tests/end-to-end/service/service_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>

#include "tests/end-to-end/support/log_files.h"
#include "tests/end-to-end/support/remote_call.h"

namespace test {
namespace {

bool IsFrameworkLine(const std::wstring& record) {
    return record.find(L"] WindowsServiceBase->") != std::wstring::npos;
}

Records Filtered(const Records& records, bool framework) {
    Records result;
    std::copy_if(
        records.begin(), records.end(), std::back_inserter(result),
        [framework](const std::wstring& record) { return IsFrameworkLine(record) == framework; });
    return result;
}

}  // namespace

ServiceRun::ServiceRun(const std::string& script, const std::wstring& subfolder)
    : host_(subfolder), activate_(host_, "activate"), service_(host_) {
    host_.Script(
        "record-status\ntrace-import RegisterServiceCtrlHandlerW\non load register\n"
        "on activate wait-event " +
        activate_.Name() + " 30000\n" + script);
}

void ServiceRun::Start(const std::vector<std::wstring>& arguments) {
    StartActivating(arguments);
    AwaitRecord(StartFinished().back());
}

void ServiceRun::StartAgain() {
    EXPECT_EQ(service_.Start(), static_cast<DWORD>(ERROR_SUCCESS));
    ++starts_;
    AwaitRecord(StartFinished().back());
}

void ServiceRun::StartActivating(const std::vector<std::wstring>& arguments) {
    EXPECT_EQ(service_.Start(arguments), static_cast<DWORD>(ERROR_SUCCESS));
    ++starts_;
    service_.WaitFor(SERVICE_RUNNING);
    AwaitRecord(StartReported().back());
    activate_.Set();
}

std::vector<DWORD> ServiceRun::Stop() {
    EXPECT_EQ(service_.Control(SERVICE_CONTROL_STOP), static_cast<DWORD>(ERROR_SUCCESS));
    return AwaitEnd();
}

std::vector<DWORD> ServiceRun::AwaitEnd() {
    std::vector<DWORD> result = StateAndExitCode(service_.WaitFor(SERVICE_STOPPED));
    result.push_back(service_.WaitForExit());
    return result;
}

void ServiceRun::AwaitRecord(const std::wstring& record, std::ptrdiff_t count) const {
    // Each start has its own log, which may not exist yet.
    const auto newest = [this] {
        std::vector<std::filesystem::path> logs = service_.Logs();
        return logs.size() == starts_ ? logs : std::vector<std::filesystem::path>();
    };
    EXPECT_TRUE(WaitForRecord(newest, record, count)) << testing::PrintToString(record);
}

framework::KernelHandle ServiceRun::SendToHandler(DWORD control) const {
    const TranscriptEntry call =
        ReadTranscript().With("import", "RegisterServiceCtrlHandlerW").front();
    return StartRemoteCall(service_.Process(), call.Number("arg2"), control);
}

Records ServiceRun::FrameworkLog() const {
    return Filtered(service_.OnlyLog(), true);
}

Records ServiceRun::OtherLog() const {
    return Filtered(service_.OnlyLog(), false);
}

Records ServiceRun::ExpectedOther(const Records& body) const {
    return WholeLog(service_.ProcessId(), host_.Executable(), {}, body);
}

Records WithoutFree(Records records) {
    EXPECT_LE(std::erase(records, Freed), 1U);
    return records;
}

std::vector<std::string> WithoutFree(std::vector<std::string> calls) {
    EXPECT_LE(std::erase(calls, "free"), 1U);
    return calls;
}

void ExpectUpToTheEnd(const Records& log, const Records& certain, const Records& rest) {
    Records expected = Join({certain, rest});
    expected.resize(std::clamp(log.size(), certain.size(), expected.size()));
    EXPECT_EQ(log, expected);
}

std::wstring Action(const wchar_t* action, const std::wstring& text) {
    return T(std::wstring(L"WindowsServiceBase->") + action + L": " + text);
}

std::wstring Report(const wchar_t* state, DWORD exitCode, DWORD waitHint, DWORD accepted,
                    DWORD checkpoint) {
    return T(StatusText(state, exitCode, waitHint, accepted, checkpoint));
}

Records StartReported() {
    return {Action(L"Start", L"entered ServiceActionRoutine"),
            Report(L"SERVICE_START_PENDING", 0, 0, 4, 0),
            Action(L"Start", L"thread with main action logic was created"),
            Report(L"SERVICE_RUNNING", 0, 0, 4, 0)};
}

Records StartFinished() {
    return {Action(L"Start", L"thread with main action logic was finished"),
            Action(L"Start", L"finished successfully ")};
}

Records WholeStop(const wchar_t* action, DWORD accepted) {
    return {Action(action, L"entered ServiceActionRoutine"),
            Report(L"SERVICE_STOP_PENDING", 0, 20000, accepted, 0),
            Action(action, L"pending thread was created"),
            Action(action, L"thread with main action logic was created"),
            Action(action, L"thread with main action logic was finished"),
            Report(L"SERVICE_STOPPED", 0, 0, accepted, 0),
            Action(action, L"pending thread was finished"),
            Action(action, L"finished successfully "),
            Action(action, L"thread hServiceActionRoutine was finished")};
}

}  // namespace test
