#include "tools/service-watch/watch_run.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "framework/system/console.h"
#include "framework/system/path_helpers.h"
#include "framework/system/unique_handle.h"
#include "tools/quillon-log/output.h"
#include "tools/service-watch/managed_service.h"
#include "tools/service-watch/run_log.h"
#include "tools/service-watch/state_text.h"
#include "tools/service-watch/state_watch.h"

namespace service_watch {

namespace {

// In milliseconds.
constexpr DWORD FollowPause = 50;             // between two looks at the log
constexpr DWORD LateStopLimit = 1000;         // for the end of a stop that was refused or late
constexpr ULONGLONG StopAcceptLimit = 15000;  // for the service to accept a stop
constexpr ULONGLONG StopLimit = 180000;       // for the stop itself
constexpr ULONGLONG ProcessEndLimit = 30000;  // for the process, once the service is stopped
constexpr ULONGLONG NoLimit = ~0ULL;

/// Set by Ctrl+C. The system calls the handler on its own thread, without an argument.
HANDLE interruptEvent = nullptr;

BOOL WINAPI OnConsoleControl(DWORD) {
    ::SetEvent(interruptEvent);
    return TRUE;
}

std::wstring Expanded(const wchar_t* text) {
    std::wstring result;
    return framework::ExpandEnvironmentString(text, result) ? result : std::wstring();
}

std::wstring FullPath(const std::wstring& path) {
    const DWORD size = ::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring result(size, L'\0');
    result.resize(::GetFullPathNameW(path.c_str(), size, result.data(), nullptr));
    return result;
}

/// On Wine the machine-wide data folder of a service differs from that of a console program: it is
/// the folder of the public user.
std::vector<std::wstring> LogFolders() {
    std::vector<std::wstring> folders;
    for (const wchar_t* base : {L"%ALLUSERSPROFILE%", L"%PUBLIC%", L"%ProgramData%"}) {
        const std::wstring folder = Expanded(base);
        const bool isKnown = !folder.empty() && folder.front() != L'%';
        const std::wstring full = folder + L"\\Velmora\\Quillon\\Logs\\";
        if (isKnown && std::find(folders.begin(), folders.end(), full) == folders.end()) {
            folders.push_back(full);
        }
    }
    return folders;
}

/// One run from registering to removing. The steps are in the order of execution.
class WatchedRun {
  public:
    WatchedRun(const Options& options, Terminal& terminal)
        : options_(options),
          terminal_(terminal),
          service_(options.serviceName),
          log_(LogFolders()),
          writer_({options.color, true}) {}

    ExitCode Run() {
        if (Prepare()) {
            StateWatch watch(options_.serviceName,
                             [this](const auto& status, auto since) { ShowStatus(status, since); });
            if (Start()) {
                FollowUntilEnd(watch);
                Stop(watch);
            }
            End(watch);
        }
        Remove();
        return succeeded_ ? ExitSuccess : ExitFailure;
    }

  private:
    bool Prepare() {
        if (service_.ManagerError() != 0) {
            return Fail("The Service Control Manager can't be reached", service_.ManagerError());
        }
        // The service of an earlier run that was killed.
        if (const DWORD error = service_.Remove(); error != 0) {
            return Fail("An earlier registration can't be removed", error);
        }
        if (const DWORD error = service_.Register(FullPath(options_.image)); error != 0) {
            return Fail("The service can't be registered", error);
        }
        return true;
    }

    bool Start() {
        const DWORD error = service_.Start();
        return error == 0 || Fail("The service didn't start", error);
    }

    void FollowUntilEnd(const StateWatch& watch) {
        const ULONGLONG limit = options_.seconds ? *options_.seconds * 1000ULL : NoLimit;
        switch (FollowUntil({interruptEvent, watch.StoppedEvent()}, limit)) {
            case Woken::First:
                return terminal_.Heading("Ctrl+C: stopping the service");
            case Woken::Second:
                return terminal_.Heading("The service stopped by itself");
            case Woken::ByLimit:
                return terminal_.Heading("Time is up; stopping the service");
        }
    }

    void Stop(const StateWatch& watch) {
        if (IsSet(watch.StoppedEvent())) {
            return;
        }
        // The call takes as long as the service takes to stop, so the log is shown meanwhile.
        const framework::KernelHandle refused(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
        DWORD error = 0;
        std::thread control([&] {
            error = SendStop(watch);
            if (error != 0) {
                ::SetEvent(refused.Get());
            }
        });
        FollowUntil({watch.StoppedEvent(), refused.Get()}, StopLimit);
        control.join();
        // Even if the call failed, the service may have stopped.
        if (::WaitForSingleObject(watch.StoppedEvent(), LateStopLimit) != WAIT_OBJECT_0) {
            Fail("The service didn't stop", error == 0 ? ERROR_SERVICE_REQUEST_TIMEOUT : error);
        }
    }

    /// Retries a stop that the service doesn't accept yet, because it is still starting.
    [[nodiscard]] DWORD SendStop(const StateWatch& watch) const {
        const ULONGLONG begin = ::GetTickCount64();
        while (true) {
            const DWORD error = service_.Stop();
            const bool notYet =
                error == ERROR_INVALID_SERVICE_CONTROL || error == ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
            if (!notYet || ::GetTickCount64() - begin > StopAcceptLimit ||
                ::WaitForSingleObject(watch.StoppedEvent(), FollowPause) == WAIT_OBJECT_0) {
                return error;
            }
        }
    }

    void End(const StateWatch& watch) {
        const HANDLE process = watch.Process();
        std::optional<DWORD> processCode;
        if (process != nullptr) {
            if (FollowUntil({process}, ProcessEndLimit) == Woken::ByLimit) {
                Fail("The process didn't end", ERROR_TIMEOUT);
                ::TerminateProcess(process, ERROR_PROCESS_ABORTED);
                ::WaitForSingleObject(process, static_cast<DWORD>(ProcessEndLimit));
            }
            DWORD code = 0;
            if (::GetExitCodeProcess(process, &code)) {
                processCode = code;
            }
        }
        log_.Finish([this](const auto& record) { ShowRecord(record); });
        ShowResult(watch, processCode);
    }

    void ShowResult(const StateWatch& watch, std::optional<DWORD> processCode) {
        const SERVICE_STATUS_PROCESS last = watch.Last();
        const bool isStopped = last.dwCurrentState == SERVICE_STOPPED;
        const bool isClean = isStopped && last.dwWin32ExitCode == 0 && processCode == DWORD{0};
        succeeded_ = succeeded_ && isClean;
        terminal_.Heading("Result");
        terminal_.Field("states seen", watch.StatesSeen());
        terminal_.Field("exit code", (isStopped ? std::to_string(last.dwWin32ExitCode) : "none") +
                                         " of the service, " +
                                         (processCode ? HexIfLarge(*processCode) : "none") +
                                         " of the process");
        terminal_.Field("log", std::to_string(log_.RecordCount()) + " records in " +
                                   std::to_string(log_.FileCount()) + " file(s)");
        if (const std::wstring file = log_.LastFile(); !file.empty()) {
            terminal_.Field("", framework::ToUtf8(Shown(file)));
        }
    }

    void Remove() {
        if (service_.ManagerError() != 0) {
            return;
        }
        if (const DWORD error = service_.Remove(); error != 0) {
            Fail("The service can't be removed", error);
        } else {
            terminal_.Field("service", "removed");
        }
    }

    void Follow() {
        log_.ReadNew([this](const auto& record) { ShowRecord(record); });
    }

    enum class Woken { First, Second, ByLimit };

    /// Shows the log until one of the handles is signaled or `limit` milliseconds have passed.
    Woken FollowUntil(const std::vector<HANDLE>& handles, ULONGLONG limit) {
        const ULONGLONG begin = ::GetTickCount64();
        while (true) {
            Follow();
            const DWORD result = ::WaitForMultipleObjects(static_cast<DWORD>(handles.size()),
                                                          handles.data(), FALSE, FollowPause);
            if (result != WAIT_TIMEOUT) {
                Follow();
                return result == WAIT_OBJECT_0 ? Woken::First : Woken::Second;
            }
            if (::GetTickCount64() - begin >= limit) {
                return Woken::ByLimit;
            }
        }
    }

    void ShowRecord(const quillon_log::Record& record) {
        std::wstring text;
        writer_.AppendText(text, record);
        terminal_.Write(framework::ToUtf8(text));
    }

    void ShowStatus(const SERVICE_STATUS_PROCESS& status, StateWatch::Clock::duration since) {
        const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(since).count();
        std::array<char, 32> time{};
        std::snprintf(time.data(), time.size(), "%7.3f s  ", static_cast<double>(ms) / 1000);
        terminal_.Write(terminal_.Styled(Style::Bold, "SCM " + std::string(time.data()) +
                                                          DescribeStatus(status)) +
                        "\n");
    }

    /// Always false, so that a step can return it.
    bool Fail(const char* what, DWORD error) {
        succeeded_ = false;
        terminal_.Write(
            terminal_.Styled(
                Style::Red, std::string(what) + ": " + framework::ToUtf8(tools::ErrorText(error))) +
            "\n");
        return false;
    }

    static bool IsSet(HANDLE event) { return ::WaitForSingleObject(event, 0) == WAIT_OBJECT_0; }

    static std::string HexIfLarge(DWORD code) {
        std::array<char, 16> text{};
        std::snprintf(text.data(), text.size(), code > 0xFFFF ? "0x%08lX" : "%lu", code);
        return text.data();
    }

    [[nodiscard]] std::wstring Shown(std::wstring path) const {
        if (options_.systemDrive.empty() || !path.starts_with(L"C:\\")) {
            return path;
        }
        std::replace(path.begin(), path.end(), L'\\', L'/');
        return options_.systemDrive + path.substr(2);
    }

    const Options& options_;
    Terminal& terminal_;
    ManagedService service_;
    RunLog log_;
    quillon_log::RecordWriter writer_;
    bool succeeded_ = true;
};

}  // namespace

ExitCode RunWatched(const Options& options, Terminal& terminal) {
    const framework::KernelHandle interrupt(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    interruptEvent = interrupt.Get();
    ::SetConsoleCtrlHandler(OnConsoleControl, TRUE);
    const ExitCode result = WatchedRun(options, terminal).Run();
    ::SetConsoleCtrlHandler(OnConsoleControl, FALSE);
    return result;
}

ExitCode RemoveRegistered(const Options& options, Terminal& terminal) {
    ManagedService service(options.serviceName);
    const DWORD error = service.ManagerError() != 0 ? service.ManagerError() : service.Remove();
    if (error != 0) {
        terminal.Write(
            "The service can't be removed: " + framework::ToUtf8(tools::ErrorText(error)) + "\n");
    }
    return error == 0 ? ExitSuccess : ExitFailure;
}

}  // namespace service_watch
