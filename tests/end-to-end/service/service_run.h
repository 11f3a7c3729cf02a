/// A service of the scripted library that is started, blocked and stopped at chosen points, and its
/// expected log.
#ifndef TESTS_END_TO_END_SERVICE_SERVICE_RUN_H
#define TESTS_END_TO_END_SERVICE_SERVICE_RUN_H

#include <string>

#include "tests/end-to-end/support/expected_log.h"
#include "tests/end-to-end/support/host_folder.h"
#include "tests/end-to-end/support/service.h"

namespace test {

/// The library registers the interfaces in `LoadAddons`. `Activate` waits until the test has seen
/// the service running, and then runs `script`.
class ServiceRun {
  public:
    explicit ServiceRun(const std::string& script, const std::wstring& subfolder = L"");

    /// Starts, waits for SERVICE_RUNNING, releases `Activate` and waits for the action's end.
    void Start(const std::vector<std::wstring>& arguments = {});
    /// Starts again after a stop, and waits for the action's end.
    void StartAgain();
    /// The same as `Start` without waiting for the action's end.
    void StartActivating(const std::vector<std::wstring>& arguments = {});
    /// Stops through the SCM and waits for SERVICE_STOPPED and the process's end. Returns the final
    /// state and exit code in the SCM, and the process's exit code.
    std::vector<DWORD> Stop();
    /// Waits for SERVICE_STOPPED and the process's end; the same result.
    std::vector<DWORD> AwaitEnd();
    /// Waits until the newest log contains the record `count` times. Fails the test after the
    /// limit.
    void AwaitRecord(const std::wstring& record, std::ptrdiff_t count = 1) const;
    /// Calls the control handler in the service's process, but not on its dispatcher's thread, for
    /// controls that the SCM doesn't send on demand.
    framework::KernelHandle SendToHandler(DWORD control) const;

    [[nodiscard]] HostFolder& Host() noexcept { return host_; }
    [[nodiscard]] Service& Scm() noexcept { return service_; }
    [[nodiscard]] Transcript ReadTranscript() const { return host_.ReadTranscript(); }

    /// The log in parts: the framework's lines come from other threads than the rest, so only the
    /// order within each part is fixed.
    [[nodiscard]] Records FrameworkLog() const;
    [[nodiscard]] Records OtherLog() const;
    /// The expected `OtherLog`: `body` between the parameters and the end.
    [[nodiscard]] Records ExpectedOther(const Records& body) const;

  private:
    HostFolder host_;
    SharedEvent activate_;
    Service service_;
    std::size_t starts_ = 0;
};

/// Removes the lines of the object's destruction. They may come late, on another thread than the
/// main one, or be cut off by the end of the process, if no dispatcher waits for the last thread
/// that owns the object: after a failed start, after a forced stop, and after a direct call of the
/// handler.
[[nodiscard]] Records WithoutFree(Records records);
[[nodiscard]] std::vector<std::string> WithoutFree(std::vector<std::string> calls);

/// Checks a log that the end of the process may cut off: `certain`, then any number of records of
/// `rest`. The line of a report is such a record if no dispatcher waits for the reporting thread:
/// it follows the report, and the process may end after SERVICE_STOPPED.
void ExpectUpToTheEnd(const Records& log, const Records& certain, const Records& rest);

/// "WindowsServiceBase->Start: " and the text.
[[nodiscard]] std::wstring Action(const wchar_t* action, const std::wstring& text);
/// The line of a report.
[[nodiscard]] std::wstring Report(const wchar_t* state, DWORD exitCode, DWORD waitHint,
                                  DWORD accepted, DWORD checkpoint);

/// The framework's lines of a start, up to the report of SERVICE_RUNNING.
[[nodiscard]] Records StartReported();
/// The two lines that follow when `OnStart` has returned 0.
[[nodiscard]] Records StartFinished();
/// The framework's lines of a whole successful stop or shutdown without a repeated report.
[[nodiscard]] Records WholeStop(const wchar_t* action, DWORD accepted);

inline constexpr wchar_t StopEnabled[] =
    L"[T][quillon] WindowsServiceBase->EnableStopFromSCM: SERVICE_ACCEPT_STOP set";
inline constexpr wchar_t EnableAsked[] = L"[T][quillon] Enable service stop ORRIN request occur";
inline constexpr wchar_t ComReady[] = L"[T][quillon] CoInitializeEx successed";
inline constexpr wchar_t StartBegun[] = L"[T][quillon] VelmoraTarnwickService in OnStart started";
inline constexpr wchar_t StartOver[] = L"[T][quillon] VelmoraTarnwickService in OnStart finished";
inline constexpr wchar_t StopBegun[] = L"[T][quillon] VelmoraTarnwickService in OnStop started";
inline constexpr wchar_t StopOver[] = L"[T][quillon] VelmoraTarnwickService in OnStop finished ";
inline constexpr wchar_t Freed[] = L"[T][quillon] OrrinFreeComponentModelController successed";

}  // namespace test

#endif  // TESTS_END_TO_END_SERVICE_SERVICE_RUN_H
