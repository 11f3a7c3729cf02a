#include "tools/controller-check/memory_view.h"

#include <cstdint>
#include <cstring>
#include <cwchar>
#include <iterator>

#include "framework/system/platform.h"

namespace controller_check {
namespace {

constexpr DWORD Readable = PAGE_READONLY | PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READ |
                           PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
constexpr DWORD Executable =
    PAGE_EXECUTE | PAGE_EXECUTE_READ | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;

/// The end of the pages at `address` that allow `access`; `address` itself if they don't.
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

std::wstring RowFault(const void* row, std::span<const wchar_t* const> members) {
    if (row == nullptr) {
        return L"the row of functions is null";
    }
    if (!IsReadable(row, members.size() * sizeof(void*))) {
        return L"the row of functions isn't in readable memory";
    }
    const auto* const functions = static_cast<const void* const*>(row);
    for (std::size_t slot = 0; slot < members.size(); ++slot) {
        if (!IsCallable(functions[slot])) {
            return L"the row's member " + std::wstring(members[slot]) +
                   (functions[slot] == nullptr ? L" is null" : L" can't be called");
        }
    }
    return {};
}

// As in the host: of any length and, on x64, at any address.
std::wstring TextFault(const wchar_t* text) {
    const auto start = reinterpret_cast<std::uintptr_t>(text);
    std::uintptr_t readableEnd = start;
    for (std::uintptr_t next = start;; next += sizeof(wchar_t)) {
        while (next + sizeof(wchar_t) > readableEnd) {
            const std::uintptr_t end = EndOfAccess(readableEnd, Readable);
            if (end == readableEnd) {
                return next == start ? L"isn't in readable memory"
                                     : L"runs on into unreadable memory";
            }
            readableEnd = end;
        }
        wchar_t character = 0;
        // NOLINTNEXTLINE(performance-no-int-to-ptr): an address is walked over
        std::memcpy(&character, reinterpret_cast<const void*>(next), sizeof(character));
        if (character == 0) {
            return {};
        }
    }
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
