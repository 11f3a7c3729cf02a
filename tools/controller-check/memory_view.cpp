#include "tools/controller-check/memory_view.h"

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <iterator>

#include "framework/system/platform.h"

namespace controller_check {
namespace {

constexpr DWORD Readable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                           PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
constexpr DWORD Executable =
    PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;

/// Where the pages around `address` that allow `access` end; `address` itself if they don't.
std::uintptr_t EndOfAccess(std::uintptr_t address, DWORD access) {
    MEMORY_BASIC_INFORMATION region = {};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address is walked over
    if (::VirtualQuery(reinterpret_cast<const void*>(address), &region, sizeof(region)) == 0 ||
        region.State != MEM_COMMIT || (region.Protect & PAGE_GUARD) != 0 ||
        (region.Protect & access) == 0) {
        return address;
    }
    return reinterpret_cast<std::uintptr_t>(region.BaseAddress) + region.RegionSize;
}

}  // namespace

bool IsReadable(const void* address, std::size_t size) {
    auto next = reinterpret_cast<std::uintptr_t>(address);
    const std::uintptr_t end = next + size;
    while (next < end) {
        const std::uintptr_t reached = EndOfAccess(next, Readable);
        if (reached == next) {
            return false;
        }
        next = reached;
    }
    return true;
}

bool IsCallable(const void* address) {
    const auto start = reinterpret_cast<std::uintptr_t>(address);
    return EndOfAccess(start, Executable) != start;
}

std::wstring RowFault(const void* row, std::size_t count) {
    if (row == nullptr) {
        return L"the row of functions is null";
    }
    if (!IsReadable(row, count * sizeof(void*))) {
        return L"the row of functions isn't in readable memory";
    }
    const auto* const functions = static_cast<const void* const*>(row);
    for (std::size_t slot = 0; slot < count; ++slot) {
        if (!IsCallable(functions[slot])) {
            return L"function " + std::to_wstring(slot) + L" of the row " +
                   (functions[slot] == nullptr ? L"is null" : L"can't be called");
        }
    }
    return {};
}

std::wstring TextFault(const wchar_t* text) {
    constexpr std::size_t LongestText = 1024 * 1024;  // characters
    if (reinterpret_cast<std::uintptr_t>(text) % sizeof(wchar_t) != 0) {
        return L"begins at an odd address";
    }
    const wchar_t* next = text;
    while (static_cast<std::size_t>(next - text) < LongestText) {
        const auto start = reinterpret_cast<std::uintptr_t>(next);
        const std::uintptr_t end = EndOfAccess(start, Readable);
        if (end == start) {
            return next == text ? L"isn't in readable memory" : L"runs on into unreadable memory";
        }
        const std::size_t length = std::min((end - start) / sizeof(wchar_t), LongestText);
        if (std::wmemchr(next, L'\0', length) != nullptr) {
            return {};
        }
        next += length;
    }
    return L"has no end within a million characters";
}

void DescribePlace(const void* address, wchar_t* buffer, std::size_t size) {
    HMODULE module = nullptr;
    wchar_t path[MAX_PATH] = {};
    constexpr DWORD Flags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    if (::GetModuleHandleExW(Flags, static_cast<const wchar_t*>(address), &module) == FALSE ||
        ::GetModuleFileNameW(module, path, static_cast<DWORD>(std::size(path))) == 0) {
        ::_snwprintf(buffer, size - 1, L"0x%llx", reinterpret_cast<unsigned long long>(address));
        return;
    }
    const wchar_t* const slash = std::wcsrchr(path, L'\\');
    const auto offset =
        reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(module);
    ::_snwprintf(buffer, size - 1, L"%ls+0x%llx", slash == nullptr ? path : slash + 1,
                 static_cast<unsigned long long>(offset));
}

}  // namespace controller_check
