#include "tools/shared/service_manager.h"

#include <array>

namespace tools {

std::optional<SERVICE_STATUS_PROCESS> QueryStatus(const ServiceHandle& service) {
    SERVICE_STATUS_PROCESS status{};
    DWORD needed = 0;
    if (!::QueryServiceStatusEx(service.Get(), SC_STATUS_PROCESS_INFO,
                                reinterpret_cast<BYTE*>(&status), sizeof(status), &needed)) {
        return std::nullopt;
    }
    return status;
}

std::wstring StateName(DWORD state) {
    constexpr std::array<const wchar_t*, 8> Names = {
        nullptr,    L"STOPPED",          L"START_PENDING", L"STOP_PENDING",
        L"RUNNING", L"CONTINUE_PENDING", L"PAUSE_PENDING", L"PAUSED"};
    return state != 0 && state < Names.size() ? Names[state] : L"state " + std::to_wstring(state);
}

std::wstring ErrorText(DWORD error) {
    std::array<wchar_t, 512> buffer{};
    DWORD length =
        ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, error,
                         0, buffer.data(), static_cast<DWORD>(buffer.size()), nullptr);
    while (length > 0 && buffer[length - 1] <= L' ') {
        --length;
    }
    const std::wstring code = L"error " + std::to_wstring(error);
    return length == 0 ? code : code + L": " + std::wstring(buffer.data(), length);
}

}  // namespace tools
