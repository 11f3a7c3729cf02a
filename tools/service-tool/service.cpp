#include "tools/service-tool/service.h"

#include <algorithm>

#include "tools/service-tool/place.h"

namespace service_tool {
namespace {

ServiceHandle OpenManager(DWORD access) {
    return ServiceHandle(::OpenSCManagerW(nullptr, nullptr, access));
}

std::wstring Quoted(const std::wstring& path) {
    return L'"' + path + L'"';
}

/// Calls `query` with a growing buffer. The records hold pointers into the buffer.
template <class Query>
DWORD QueryGrowing(std::vector<BYTE>& buffer, Query query) {
    constexpr std::size_t FirstSize = 1024;
    buffer.resize(FirstSize);
    while (true) {
        DWORD needed = 0;
        if (query(buffer.data(), static_cast<DWORD>(buffer.size()), &needed)) {
            return ERROR_SUCCESS;
        }
        const DWORD error = ::GetLastError();
        if (error != ERROR_INSUFFICIENT_BUFFER || needed <= buffer.size()) {
            return error;
        }
        buffer.resize(needed);
    }
}

DWORD QueryLevel(DWORD level, std::vector<BYTE>& buffer) {
    const ServiceHandle service = OpenRegistered(SERVICE_QUERY_CONFIG);
    if (!service) {
        return ::GetLastError();
    }
    return QueryGrowing(buffer, [&](BYTE* data, DWORD size, DWORD* needed) {
        return ::QueryServiceConfig2W(service.Get(), level, data, size, needed);
    });
}

DWORD ChangeLevel(DWORD level, void* record) {
    // Setting a restart as a recovery action needs the right to start.
    const ServiceHandle service = OpenRegistered(SERVICE_CHANGE_CONFIG | SERVICE_START);
    if (!service || !::ChangeServiceConfig2W(service.Get(), level, record)) {
        return ::GetLastError();
    }
    return ERROR_SUCCESS;
}

DWORD ChangeCommandLine(const wchar_t* commandLine) {
    const ServiceHandle service = OpenRegistered(SERVICE_CHANGE_CONFIG);
    if (!service || !::ChangeServiceConfigW(service.Get(), SERVICE_NO_CHANGE, SERVICE_NO_CHANGE,
                                            SERVICE_NO_CHANGE, commandLine, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr)) {
        return ::GetLastError();
    }
    return ERROR_SUCCESS;
}

}  // namespace

ServiceHandle OpenRegistered(DWORD access) {
    const ServiceHandle manager = OpenManager(SC_MANAGER_CONNECT);
    return manager ? ServiceHandle(::OpenServiceW(manager.Get(), ServiceName, access))
                   : ServiceHandle();
}

DWORD CreateRegistration(const std::wstring& executable) {
    const ServiceHandle manager = OpenManager(SC_MANAGER_CONNECT | SC_MANAGER_CREATE_SERVICE);
    if (!manager) {
        return ::GetLastError();
    }
    // Quoted, so that a path with a blank can't name another program.
    const ServiceHandle service(
        ::CreateServiceW(manager.Get(), ServiceName, DisplayName, SERVICE_QUERY_STATUS,
                         SERVICE_WIN32_OWN_PROCESS, SERVICE_AUTO_START, SERVICE_ERROR_NORMAL,
                         Quoted(executable).c_str(), nullptr, nullptr, nullptr, nullptr, nullptr));
    return service ? ERROR_SUCCESS : ::GetLastError();
}

DWORD MoveRegistration(const std::wstring& executable) {
    return ChangeCommandLine(Quoted(executable).c_str());
}

bool IsMarkedForDeletion() {
    // Even an empty change fails with this error.
    return ChangeCommandLine(nullptr) == ERROR_SERVICE_MARKED_FOR_DELETE;
}

std::optional<Registration> ReadRegistration() {
    const ServiceHandle service = OpenRegistered(SERVICE_QUERY_CONFIG);
    std::vector<BYTE> buffer;
    const auto query = [&](BYTE* data, DWORD size, DWORD* needed) {
        return ::QueryServiceConfigW(service.Get(), reinterpret_cast<QUERY_SERVICE_CONFIGW*>(data),
                                     size, needed);
    };
    if (!service || QueryGrowing(buffer, query) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    const auto* record = reinterpret_cast<const QUERY_SERVICE_CONFIGW*>(buffer.data());
    return Registration{record->lpBinaryPathName == nullptr ? L"" : record->lpBinaryPathName,
                        record->dwServiceType, record->dwStartType};
}

std::optional<SERVICE_STATUS_PROCESS> ReadStatus() {
    const ServiceHandle service = OpenRegistered(SERVICE_QUERY_STATUS);
    return service ? tools::QueryStatus(service) : std::nullopt;
}

DWORD ReadDescription(std::wstring& text) {
    std::vector<BYTE> buffer;
    const DWORD error = QueryLevel(SERVICE_CONFIG_DESCRIPTION, buffer);
    if (error == ERROR_SUCCESS) {
        const auto* record = reinterpret_cast<const SERVICE_DESCRIPTIONW*>(buffer.data());
        text = record->lpDescription == nullptr ? L"" : record->lpDescription;
    }
    return error;
}

DWORD WriteDescription(const std::wstring& text) {
    std::wstring copy = text;
    SERVICE_DESCRIPTIONW record = {copy.data()};
    return ChangeLevel(SERVICE_CONFIG_DESCRIPTION, &record);
}

bool operator==(const Recovery& one, const Recovery& other) {
    return one.resetSeconds == other.resetSeconds &&
           std::equal(one.actions.begin(), one.actions.end(), other.actions.begin(),
                      other.actions.end(), [](const SC_ACTION& left, const SC_ACTION& right) {
                          return left.Type == right.Type && left.Delay == right.Delay;
                      });
}

DWORD ReadRecovery(Recovery& recovery) {
    std::vector<BYTE> buffer;
    const DWORD error = QueryLevel(SERVICE_CONFIG_FAILURE_ACTIONS, buffer);
    if (error == ERROR_SUCCESS) {
        const auto* record = reinterpret_cast<const SERVICE_FAILURE_ACTIONSW*>(buffer.data());
        recovery.resetSeconds = record->dwResetPeriod;
        recovery.actions.assign(record->lpsaActions, record->lpsaActions + record->cActions);
    }
    return error;
}

DWORD WriteRecovery(const Recovery& recovery) {
    std::vector<SC_ACTION> actions = recovery.actions;
    // Null leaves the command and the reboot message unchanged.
    SERVICE_FAILURE_ACTIONSW record = {recovery.resetSeconds, nullptr, nullptr,
                                       static_cast<DWORD>(actions.size()), actions.data()};
    return ChangeLevel(SERVICE_CONFIG_FAILURE_ACTIONS, &record);
}

DWORD ReadRecoveryFlag(bool& on) {
    std::vector<BYTE> buffer;
    const DWORD error = QueryLevel(SERVICE_CONFIG_FAILURE_ACTIONS_FLAG, buffer);
    if (error == ERROR_SUCCESS) {
        on = reinterpret_cast<const SERVICE_FAILURE_ACTIONS_FLAG*>(buffer.data())
                 ->fFailureActionsOnNonCrashFailures != FALSE;
    }
    return error;
}

DWORD WriteRecoveryFlag(bool on) {
    SERVICE_FAILURE_ACTIONS_FLAG record = {on ? TRUE : FALSE};
    return ChangeLevel(SERVICE_CONFIG_FAILURE_ACTIONS_FLAG, &record);
}

}  // namespace service_tool
