#include "tools/service-tool/install.h"

#include <algorithm>
#include <string>
#include <vector>

#include "tools/service-tool/parts.h"
#include "tools/service-tool/service.h"

namespace service_tool {
namespace {

class Installer {
  public:
    explicit Installer(bool dryRun) : dryRun_(dryRun) {}

    /// False if the part couldn't be made.
    bool Take(const Part& part) {
        const Finding finding = part.inspect();
        switch (finding.condition) {
            case Condition::Right:
            case Condition::Changed:
                if (part.make) {
                    PrintStep(L"kept", part.name);
                }
                return true;
            case Condition::NotSupported:
                PrintStep(L"not here", part.name + L" - " + finding.detail);
                return true;
            case Condition::Blocked:
                return Failed(part.name + L": " + finding.detail, finding.remedy);
            case Condition::Missing:
            case Condition::Different:
                break;
        }
        return !part.make || Make(part, finding);
    }

    [[nodiscard]] bool HasFailed() const noexcept { return failed_; }
    [[nodiscard]] bool HasChanged() const noexcept { return changed_; }

  private:
    bool Make(const Part& part, const Finding& finding) {
        changed_ = true;
        if (dryRun_) {
            PrintStep(L"to make", part.name);
            PrintUnderStep(part.change);
        } else if (const DWORD error = part.make(); error == ERROR_INVALID_LEVEL) {
            PrintStep(L"not here", part.name + L" - this service manager has none");
            return true;
        } else if (error != 0) {
            return Failed(part.name + L": " + ErrorText(error), L"");
        } else {
            PrintStep(L"made", part.name);
        }
        if (finding.condition == Condition::Different) {
            PrintUnderStep(L"before: " + finding.detail);
        }
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

    const bool dryRun_;
    bool failed_ = false;
    bool changed_ = false;
};

/// Text between two percent signs can be the name of a variable.
bool IsExpanded(const std::wstring& path) {
    return std::count(path.begin(), path.end(), L'%') > 1;
}

void TakeAll(Installer& installer, const Place& place) {
    // The service first: if it can't be registered, nothing else is changed.
    if (!installer.Take(ServicePart(place))) {
        return;
    }
    for (const Part& part : PartsOfService()) {
        installer.Take(part);
    }
    bool folderIsRight = true;
    for (const Part& part : PartsOfSystem(place)) {
        // Without a folder there are no rights to set.
        const bool isRights = part.name.starts_with(L"rights");
        if (!isRights || folderIsRight) {
            folderIsRight = installer.Take(part);
        }
    }
}

void PrintResult(const Installer& installer, const Place& place, bool dryRun) {
    Print(L"");
    if (installer.HasFailed()) {
        Print(L"Some steps failed: see the lines above.");
        return;
    }
    if (!installer.HasChanged()) {
        Print(L"Already installed; nothing changed.");
    } else if (dryRun) {
        Print(L"Nothing was changed. Run service-tool install to make these changes.");
    } else {
        Print(L"Done. Next: service-tool check, then: sc start " + std::wstring(ServiceName));
    }
    if (!FileExists(place.controller)) {
        Print(L"");
        Print(
            L"orrin-ctrl.dll is missing in this folder. It comes with the components and is not "
            L"in this\npackage. Copy it here before the first start; the start fails without "
            L"it.");
    }
}

}  // namespace

ExitCode Install(const Place& place, bool dryRun) {
    Print(std::wstring(dryRun ? L"\nChanges to install " : L"\nInstalling ") + ServiceName + L"\n");
    if (!dryRun && !RequireElevation()) {
        return ExitFailure;
    }
    if (!FileExists(place.executable)) {
        Print(
            L"tarnwick-service.exe is not in the folder of this program. Unpack the whole "
            L"package and\nrun service-tool from there.");
        return ExitFailure;
    }
    if (IsExpanded(place.executable)) {
        Print(
            L"The service manager replaces names between percent signs in a path. Use a folder "
            L"without them:\n" +
            place.executable);
        return ExitFailure;
    }
    Installer installer(dryRun);
    TakeAll(installer, place);
    PrintResult(installer, place, dryRun);
    return installer.HasFailed() ? ExitFailure : ExitSuccess;
}

}  // namespace service_tool
