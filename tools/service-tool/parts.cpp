#include "tools/service-tool/parts.h"

#include <cwchar>

#include "tools/service-tool/access_rights.h"
#include "tools/service-tool/folder_tree.h"
#include "tools/service-tool/registry_key.h"
#include "tools/service-tool/service.h"

namespace service_tool {
namespace {

constexpr DWORD EventTypes =
    EVENTLOG_ERROR_TYPE | EVENTLOG_WARNING_TYPE | EVENTLOG_INFORMATION_TYPE;
constexpr const wchar_t* RunInstall = L"run: service-tool install";

Recovery WantedRecovery() {
    constexpr DWORD SecondsOfDay = 86400;
    return {SecondsOfDay,
            {{SC_ACTION_RESTART, 5000}, {SC_ACTION_RESTART, 30000}, {SC_ACTION_RESTART, 120000}}};
}

Finding RightIf(bool right, Condition otherwise) {
    return {right ? Condition::Right : otherwise};
}

/// The finding for a failed query: not supported by the manager, or refused.
Finding QueryFailed(DWORD error) {
    if (error == ERROR_INVALID_LEVEL) {
        return {Condition::NotSupported, L"this service manager has none"};
    }
    return error == ERROR_SERVICE_DOES_NOT_EXIST ? Finding{Condition::Missing}
                                                 : Finding{Condition::Blocked, ErrorText(error)};
}

// ---- the service ---------------------------------------------------------------------------

Finding InspectService(const Place& place) {
    const auto registration = ReadRegistration();
    if (!registration) {
        return {Condition::Missing};
    }
    if (IsMarkedForDeletion()) {
        return {Condition::Blocked, L"marked for deletion, but not gone yet",
                L"close the services console and what else shows services, or restart the "
                L"machine; then run: service-tool install"};
    }
    const std::wstring wanted = L'"' + place.executable + L'"';
    if (_wcsicmp(registration->commandLine.c_str(), wanted.c_str()) != 0) {
        return {Condition::Different, L"registered is " + registration->commandLine,
                L"run service-tool install in the folder that is to be used"};
    }
    return {Condition::Right};
}

Part DescriptionPart() {
    return {L"description",
            [] {
                std::wstring text;
                const DWORD error = ReadDescription(text);
                return error != 0 ? QueryFailed(error) : RightIf(!text.empty(), Condition::Missing);
            },
            RunInstall, std::wstring(L"sets the description: ") + Description,
            [] { return WriteDescription(Description); }};
}

Part RecoveryPart() {
    return {L"recovery: restart after 5 s, 30 s, 2 min",
            [] {
                Recovery found;
                const DWORD error = ReadRecovery(found);
                if (error != 0) {
                    return QueryFailed(error);
                }
                return found.actions.empty()
                           ? Finding{Condition::Missing}
                           : RightIf(found == WantedRecovery(), Condition::Changed);
            },
            std::wstring(L"run: sc failure ") + ServiceName +
                L" reset= 86400 actions= restart/5000/restart/30000/restart/120000",
            L"sets the recovery actions; failures are counted anew after one day without any",
            [] { return WriteRecovery(WantedRecovery()); }};
}

/// A forced stop ends with an exit code, not a crash; the service must then be restarted too.
Part RecoveryFlagPart() {
    return {L"recovery after a stop with an error too",
            [] {
                bool on = false;
                const DWORD error = ReadRecoveryFlag(on);
                return error != 0 ? QueryFailed(error) : RightIf(on, Condition::Missing);
            },
            std::wstring(L"run: sc failureflag ") + ServiceName + L" 1",
            L"sets the flag FailureActionsOnNonCrashFailures",
            [] { return WriteRecoveryFlag(true); }};
}

Part TypePart() {
    return {L"service has a process of its own",
            [] {
                const auto registration = ReadRegistration();
                return RightIf(registration && registration->type == SERVICE_WIN32_OWN_PROCESS,
                               Condition::Changed);
            },
            std::wstring(L"run: sc config ") + ServiceName + L" type= own"};
}

Part StartTypePart() {
    return {
        L"service starts with the system",
        [] {
            const auto registration = ReadRegistration();
            return RightIf(registration && registration->startType == SERVICE_AUTO_START,
                           Condition::Changed);
        },
        std::wstring(L"if that is not intended, run: sc config ") + ServiceName + L" start= auto"};
}

Finding InspectSetting(const Setting& setting) {
    const std::wstring byDefault = std::to_wstring(setting.defaultValue);
    const auto type = ValueType(ServiceKey, setting.name);
    if (!type) {
        return {Condition::Missing, L"missing, the default " + byDefault + L" applies"};
    }
    const auto value = ReadNumber(ServiceKey, setting.name);
    if (!value) {
        return {Condition::Changed, L"not a REG_DWORD, the default " + byDefault + L" applies",
                L"delete the value, then run: service-tool install"};
    }
    return {Condition::Right,
            std::to_wstring(*value) +
                (*value == setting.defaultValue ? L"" : L", default " + byDefault)};
}

Part SettingPart(const Setting& setting) {
    return {std::wstring(L"setting ") + setting.name,
            [&setting] { return InspectSetting(setting); }, RunInstall,
            std::wstring(L"writes HKLM\\") + ServiceKey + L"\\" + setting.name + L" = " +
                std::to_wstring(setting.defaultValue),
            [&setting] { return WriteNumber(ServiceKey, setting.name, setting.defaultValue); }};
}

// ---- data folder and event source ----------------------------------------------------------

Finding InspectDataFolder(const Place& place) {
    if (const std::wstring link = LinkOf(place); !link.empty()) {
        return {Condition::Blocked, link + L" is a link",
                L"anybody may have made the link, and its target would get the rights of the "
                L"data folder: see where it leads, remove the link with rmdir, then run: "
                L"service-tool install"};
    }
    return RightIf(FolderExists(place.data), Condition::Missing);
}

DWORD MakeDataFolder(const Place& place) {
    for (const std::wstring& folder : {place.dataParent, place.data}) {
        if (!::CreateDirectoryW(folder.c_str(), nullptr) &&
            ::GetLastError() != ERROR_ALREADY_EXISTS) {
            return ::GetLastError();
        }
    }
    return ERROR_SUCCESS;
}

Finding InspectRights(const Place& place) {
    if (IsWine()) {
        return {Condition::NotSupported, L"Wine stores no access rights"};
    }
    if (!LinkOf(place).empty()) {
        return {Condition::Blocked, L"the folder is a link"};
    }
    std::wstring rights;
    switch (const DWORD error = ReadRights(place.data, rights)) {
        case ERROR_SUCCESS:
            return {IsRestricted(rights) ? Condition::Right : Condition::Different,
                    IsRestricted(rights) ? L"" : L"they are " + rights};
        case ERROR_FILE_NOT_FOUND:
        case ERROR_PATH_NOT_FOUND:
            return {Condition::Missing};
        case ERROR_ACCESS_DENIED:
            // If even reading the rights is refused, this user isn't an administrator or another
            // user owns the folder.
            return {Condition::Different, L"they can't be read without administrator rights"};
        default:
            return {Condition::Blocked, ErrorText(error)};
    }
}

Finding InspectEventSource(const Place& place) {
    const auto file = ReadText(EventSourceKey, L"EventMessageFile");
    if (!file) {
        return {Condition::Missing};
    }
    if (_wcsicmp(file->c_str(), place.messages.c_str()) != 0) {
        return {Condition::Different, L"its message file is " + *file};
    }
    const bool allTypes = ReadNumber(EventSourceKey, L"TypesSupported") == EventTypes;
    return {allTypes ? Condition::Right : Condition::Different,
            allTypes ? L"" : L"not for errors, warnings and information"};
}

DWORD MakeEventSource(const Place& place) {
    const DWORD error = WriteExpandText(EventSourceKey, L"EventMessageFile", place.messages);
    return error != 0 ? error : WriteNumber(EventSourceKey, L"TypesSupported", EventTypes);
}

Part FilePart(const wchar_t* name, const std::wstring& path, const wchar_t* remedy) {
    return {std::wstring(name) + L" in this folder",
            [path] { return RightIf(FileExists(path), Condition::Missing); }, remedy};
}

}  // namespace

Part ServicePart(const Place& place) {
    return {L"service registered, own process, path in quotes",
            [&place] { return InspectService(place); }, RunInstall,
            std::wstring(L"registers ") + ServiceName + L" for \"" + place.executable +
                L"\", account LocalSystem, started with the system",
            [&place] {
                return ReadRegistration() ? MoveRegistration(place.executable)
                                          : CreateRegistration(place.executable);
            }};
}

std::vector<Part> PartsOfService() {
    std::vector<Part> parts = {TypePart(), StartTypePart(), DescriptionPart(), RecoveryPart(),
                               RecoveryFlagPart()};
    for (const Setting& setting : Settings) {
        parts.push_back(SettingPart(setting));
    }
    return parts;
}

std::vector<Part> PartsOfSystem(const Place& place) {
    return {{L"data folder", [&place] { return InspectDataFolder(place); }, RunInstall,
             L"creates " + place.data, [&place] { return MakeDataFolder(place); }},
            {L"rights of the data folder: SYSTEM and administrators",
             [&place] { return InspectRights(place); }, RunInstall,
             L"makes the administrators the owner of " + place.data +
                 L" and all in it; full rights for SYSTEM and administrators, none for others",
             [&place] { return RestrictFolder(place.data); }},
            {L"event source, with the texts of tarnwick-messages.dll",
             [&place] { return InspectEventSource(place); }, RunInstall,
             std::wstring(L"writes EventMessageFile and TypesSupported to HKLM\\") + EventSourceKey,
             [&place] { return MakeEventSource(place); }}};
}

std::vector<Part> PartsOfFolder(const Place& place) {
    return {FilePart(L"tarnwick-service.exe", place.executable,
                     L"unpack the whole package and run service-tool from there"),
            FilePart(L"orrin-ctrl.dll", place.controller,
                     L"copy it here; the service can't start without it"),
            FilePart(L"tarnwick-messages.dll", place.messages,
                     L"unpack the whole package; events have no text without it")};
}

std::wstring LinkOf(const Place& place) {
    if (IsLink(place.dataParent)) {
        return place.dataParent;
    }
    return IsLink(place.data) ? place.data : L"";
}

}  // namespace service_tool
