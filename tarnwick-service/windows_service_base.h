/// The service framework: one object for the process, one status record that the Service Control
/// Manager (SCM) sees, and the ways to report it.
#ifndef TARNWICK_SERVICE_WINDOWS_SERVICE_BASE_H
#define TARNWICK_SERVICE_WINDOWS_SERVICE_BASE_H

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>

#include "framework/logger/log_line.h"
#include "framework/system/locks.h"
#include "framework/system/platform.h"
#include "tarnwick-service/service_action_record.h"

namespace tarnwick {

/// A service without logic of its own. Held by shared references: the singleton slot's and one per
/// running callback and thread; the last one to go destroys it, on its thread.
class WindowsServiceBase {
  public:
    /// `serviceName` is copied; null gives an empty name. `canStop` is 0 or 1; the other two are
    /// true when not 0.
    WindowsServiceBase(const wchar_t* serviceName, BYTE canStop, BYTE canShutdown, BYTE canPause);
    virtual ~WindowsServiceBase();
    WindowsServiceBase(const WindowsServiceBase&) = delete;
    WindowsServiceBase& operator=(const WindowsServiceBase&) = delete;

    /// Zero-filled, padding included. Out of line, because a compiler that sees both drops what is
    /// written to an object before its constructor.
    static void* operator new(std::size_t size);
    static void operator delete(void* block, std::size_t size) noexcept;

    /// Serves the SCM until the service has stopped; blocks for all that time. The result of
    /// `StartServiceCtrlDispatcherW`. Logs nothing.
    [[nodiscard]] virtual BOOL Run();

    /// The steps of a concrete service. The result is a Win32 error code, 0 for success. Only
    /// `OnStart` and `OnStop` are ever called, on threads of their own, and they can overlap; a
    /// shutdown runs `OnStop`.
    [[nodiscard]] virtual DWORD OnStart();
    [[nodiscard]] virtual DWORD OnStop();
    [[nodiscard]] virtual DWORD OnShutdown();
    [[nodiscard]] virtual DWORD OnPause();
    [[nodiscard]] virtual DWORD OnContinue();

    /// The object in the slot, or null. Takes no lock: the slot is emptied only when no callback
    /// can come any more.
    [[nodiscard]] static std::shared_ptr<WindowsServiceBase> GetInstance();
    /// Empties the slot. The main thread, when the run is over. If that was the last reference, the
    /// destructor and in it the library's free call run here, with no lock held.
    static void ResetInstance();

    /// Returns the object in the slot; if there is none, creates a plain service. For services
    /// without a class of their own.
    static std::shared_ptr<WindowsServiceBase> GetOrCreateBaseInstance(const wchar_t* serviceName,
                                                                       BYTE canStop,
                                                                       BYTE canShutdown,
                                                                       BYTE canPause);

    /// Reports a state to the SCM; any thread. `waitHint` is in milliseconds. A failed report is
    /// logged as an error and otherwise ignored: the record stays changed, nothing is retried.
    void SetServiceStatusSafe(DWORD state, DWORD exitCode, DWORD waitHint);

    /// Sends the record as it stands. No log line, no change.
    void ReportCurrentStatus();

    /// Lets the SCM stop the service from now on, for good. Returns 0 or the Win32 error of the
    /// report; the right is kept either way, and a repeated call reports again.
    [[nodiscard]] DWORD EnableStopFromSCM();

    /// Start, stop and shutdown as the SCM asks for them. Start comes back at once, the other two
    /// when they are over. Actions aren't serialised: a stop can run beside a start.
    void StartAction();
    void StopAction();
    void ShutdownAction();

    /// One log line each; nothing else happens.
    void Pause();
    void Continue();

    /// The SCM's entry points. Start arguments have no effect.
    static void WINAPI ServiceMain(DWORD argc, wchar_t** argv);
    static void WINAPI ServiceControlHandler(DWORD control);

    [[nodiscard]] const std::wstring& ServiceName() const noexcept { return serviceName; }

  protected:
    /// Fills the slot with what `make` gives, unless it is filled. The creation lock is held over
    /// the whole of `make`.
    template <class Make>
    static std::shared_ptr<WindowsServiceBase> GetOrCreate(const Make& make) {
        {
            const std::lock_guard guard(creationLock);
            if (instance == nullptr) {
                instance = make();
            }
        }
        return instance;
    }

  private:
    /// The actions of a stop and of a shutdown differ in the name that log lines have.
    void StopUnderName(const wchar_t* actionName);
    void ServiceAction(const ServiceActionRecord& record);
    static DWORD WINAPI ServiceActionRoutine(void* parameter);
    static DWORD WINAPI PendingReporterRoutine(void* parameter);
    static void ReportPending(void* parameter);
    static DWORD WINAPI RunOnStartLogic(void* unused);
    static DWORD WINAPI RunOnStopLogic(void* unused);

    void RegisterAndStart();
    void HandleControl(DWORD control);

    /// `SetServiceStatusSafe` for callers that hold `statusLock` exclusively.
    void SetServiceStatusUnsafe(DWORD state, DWORD exitCode, DWORD waitHint);
    void LogFailedReport(const framework::LogSite& site, DWORD error) const;

    static std::shared_ptr<WindowsServiceBase> instance;
    static framework::SrwLock creationLock;

    std::wstring serviceName;
    // Guarded by statusLock, which is held across the platform call and the log lines too, so that
    // the order in the log is the order of the reports. Taken before the logger's locks.
    SERVICE_STATUS status = {};
    // Written once, by ServiceMain, and read without a lock. Null in a console run.
    SERVICE_STATUS_HANDLE statusHandle = nullptr;
    framework::SrwLock statusLock;
};

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_WINDOWS_SERVICE_BASE_H
