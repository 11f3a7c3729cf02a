#include "tools/service-tool/uninstall.h"

#include <cwchar>
#include <string>

#include "tools/service-tool/folder_tree.h"
#include "tools/service-tool/parts.h"
#include "tools/service-tool/registry_key.h"
#include "tools/service-tool/service.h"
#include "tools/service-tool/stop.h"

namespace service_tool {
namespace {

constexpr DWORD PollPause = 100;  // milliseconds

class Uninstaller {
  public:
    Uninstaller(const Place& place, const Options& options) : place_(place), options_(options) {}

    bool Run() {
        if (RemoveService()) {
            RemoveEventSource();
            HandleDataFolder();
        }
        return !failed_;
    }

  private:
    bool RemoveService() {
        const auto registration = ReadRegistration();
        if (!registration) {
            PrintStep(L"gone", L"service was not registered");
            // Settings without a service, created by hand.
            return !KeyExists(ServiceKey) ||
                   Step(L"settings", std::wstring(L"deletes HKLM\\") + ServiceKey,
                        [] { return DeleteKey(ServiceKey); });
        }
        const std::wstring program = ProgramOf(registration->commandLine);
        if (_wcsicmp(program.c_str(), place_.executable.c_str()) != 0) {
            PrintStep(L"note", L"service is registered from another folder: " + program);
        }
        if (!StopFirst(program)) {
            return false;
        }
        PrintSettings();
        return Step(L"service and its settings", L"deletes the service and its registry key",
                    [this] { return DeleteRegistration(); });
    }

    bool StopFirst(const std::wstring& program) {
        const auto status = ReadStatus();
        const bool isStopped = !status || status->dwCurrentState == SERVICE_STOPPED;
        if (options_.dryRun && isStopped) {
            return true;
        }
        if (options_.dryRun) {
            PrintStep(L"to stop", L"service, and waits for the end of its process");
            return true;
        }
        const StopResult result = StopService(program, options_.waitSeconds);
        if (!result.stopped) {
            return Failed(result.text + L"; nothing was removed", result.remedy);
        }
        PrintStep(L"done", result.text);
        return true;
    }

    static void PrintSettings() {
        for (const Setting& setting : Settings) {
            const auto value = ReadNumber(ServiceKey, setting.name);
            if (value && *value != setting.defaultValue) {
                PrintStep(L"note", std::wstring(L"setting ") + setting.name + L" was " +
                                       std::to_wstring(*value) + L", default " +
                                       std::to_wstring(setting.defaultValue));
            }
        }
    }

    /// The name isn't free until the last handle to the service, in any process, is closed.
    [[nodiscard]] DWORD DeleteRegistration() const {
        {
            const ServiceHandle service = OpenRegistered(DELETE);
            if (!service || (!::DeleteService(service.Get()) &&
                             ::GetLastError() != ERROR_SERVICE_MARKED_FOR_DELETE)) {
                return ::GetLastError();
            }
        }
        const ULONGLONG end = ::GetTickCount64() + options_.waitSeconds * 1000ULL;
        while (OpenRegistered(SERVICE_QUERY_STATUS) || KeyExists(ServiceKey)) {
            if (::GetTickCount64() >= end) {
                return ERROR_SERVICE_MARKED_FOR_DELETE;
            }
            ::Sleep(PollPause);
        }
        return ERROR_SUCCESS;
    }

    void RemoveEventSource() {
        if (!KeyExists(EventSourceKey)) {
            return PrintStep(L"gone", L"event source was not registered");
        }
        Step(L"event source", std::wstring(L"deletes HKLM\\") + EventSourceKey,
             [] { return DeleteKey(EventSourceKey); });
    }

    void HandleDataFolder() {
        if (!FolderExists(place_.data) && !IsLink(place_.data)) {
            return;
        }
        if (!options_.removeLogs) {
            return PrintStep(L"kept", L"logs in " + place_.data);
        }
        if (const std::wstring link = LinkOf(place_); !link.empty()) {
            Failed(L"data folder: " + link + L" is a link; its target may be somebody else's",
                   L"see where it leads, remove the link with rmdir, then run this again");
            return;
        }
        const bool removed = Step(L"data folder, with all logs", L"removes " + place_.data,
                                  [this] { return RemoveFolder(place_.data); });
        if (removed && !options_.dryRun) {
            // Only if nothing else is in it.
            ::RemoveDirectoryW(place_.dataParent.c_str());
        }
    }

    template <class Action>
    bool Step(const std::wstring& name, const std::wstring& change, Action action) {
        if (options_.dryRun) {
            PrintStep(L"to remove", name);
            PrintUnderStep(change);
            return true;
        }
        if (const DWORD error = action(); error != ERROR_SUCCESS) {
            return Failed(name + L": " + ErrorText(error),
                          error == ERROR_SERVICE_MARKED_FOR_DELETE
                              ? L"something keeps it open: close the services console and what "
                                L"else shows services, then run this again"
                              : L"");
        }
        PrintStep(L"removed", name);
        return true;
    }

    bool Failed(const std::wstring& text, const std::wstring& remedy) {
        failed_ = true;
        PrintStep(L"FAILED", text);
        if (!remedy.empty()) {
            PrintUnderStep(remedy);
        }
        return false;
    }

    const Place& place_;
    const Options& options_;
    bool failed_ = false;
};

}  // namespace

ExitCode Uninstall(const Place& place, const Options& options) {
    Print(std::wstring(options.dryRun ? L"\nChanges to uninstall " : L"\nUninstalling ") +
          ServiceName + L"\n");
    if (!options.dryRun && !RequireElevation()) {
        return ExitFailure;
    }
    const bool done = Uninstaller(place, options).Run();
    Print(L"");
    if (options.dryRun) {
        Print(L"Nothing was changed.");
    } else {
        Print(done ? L"Done. This folder can be deleted now."
                   : L"Not everything was removed: see the lines above.");
    }
    return done ? ExitSuccess : ExitFailure;
}

}  // namespace service_tool
