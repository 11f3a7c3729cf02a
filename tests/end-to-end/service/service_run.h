/// A service of the scripted library that is started, held and stopped at chosen points, and what
/// its whole log must look like.
#ifndef TESTS_END_TO_END_SERVICE_SERVICE_RUN_H
#define TESTS_END_TO_END_SERVICE_SERVICE_RUN_H

#include <string>

#include "tests/end-to-end/support/expected_log.h"
#include "tests/end-to-end/support/host_folder.h"
#include "tests/end-to-end/support/service.h"

namespace test {

/// The library registers the interfaces in `LoadAddons`. `Activate` waits until the test has seen
/// the service running, and then does what `script` says.
class ServiceRun {
  public:
    explicit ServiceRun(const std::string& script, const std::wstring& subfolder = L"");

    /// Starts, waits for SERVICE_RUNNING, lets `Activate` go on and waits for the action's end.
    void Start(const std::vector<std::wstring>& arguments = {});
    /// Starts once more after a stop, and waits for the action's end.
    void StartAgain();
    /// The same as `Start` without waiting for the action's end.
    void StartActivating(const std::vector<std::wstring>& arguments = {});
    /// Stops through the SCM and waits for SERVICE_STOPPED and the process's end. Returns the state
    /// and exit code that the SCM tells at the end, and the process's exit code.
    std::vector<DWORD> Stop();
    /// Waits for SERVICE_STOPPED and the process's end; the same result.
    std::vector<DWORD> AwaitEnd();
    /// Waits until the newest log holds the record `count` times; fails the test after the limit.
    void AwaitRecord(const std::wstring& record, std::ptrdiff_t count = 1) const;
    /// Calls the control handler, in the service's process but not on its dispatcher's thread. For
    /// what the SCM doesn't send on demand.
    framework::KernelHandle SendToHandler(DWORD control) const;

    [[nodiscard]] HostFolder& Host() noexcept { return host_; }
    [[nodiscard]] Service& Scm() noexcept { return service_; }
    [[nodiscard]] Transcript ReadTranscript() const { return host_.ReadTranscript(); }

    /// The log, taken apart: the framework's lines come from other threads than the rest, so only
    /// the order within each part is fixed.
    [[nodiscard]] Records FrameworkLog() const;
    [[nodiscard]] Records OtherLog() const;
    /// What `OtherLog` must be: `body` between the parameters and the end.
    [[nodiscard]] Records ExpectedOther(const Records& body) const;

  private:
    HostFolder host_;
    SharedEvent activate_;
    Service service_;
    std::size_t starts_ = 0;
};

/// Takes the object's end out. It may come late, on another thread than the main one, or be cut off
/// by the end of the process, wherever no dispatcher waits for the last thread that holds the
/// object: after a failed start, after a forced stop, and where the test calls the handler.
[[nodiscard]] Records WithoutFree(Records records);
[[nodiscard]] std::vector<std::string> WithoutFree(std::vector<std::string> calls);

/// Checks a log whose end the process's end may cut off: `certain`, then as many records of `rest`
/// as were written. The line of a report is such a record wherever no dispatcher waits for the
/// thread that reports: it follows the report, and SERVICE_STOPPED lets the process go.
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
/// The framework's lines of a whole good stop or shutdown with no repeated report.
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
