#include "tests/end-to-end/support/process_use.h"

// Needs windows.h before it.
#include <tlhelp32.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <stdexcept>
#include <vector>

namespace test {
namespace {

constexpr DWORD PollMs = 20;
constexpr int Polls = 150;

DWORD ThreadCount(DWORD processId) {
    const framework::FileHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
    DWORD count = 0;
    THREADENTRY32 entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL more = ::Thread32First(snapshot.Get(), &entry); more != FALSE;
         more = ::Thread32Next(snapshot.Get(), &entry)) {
        count += entry.th32OwnerProcessID == processId ? 1U : 0U;
    }
    return count;
}

/// What the system tells about each open handle of all processes.
struct HandleEntry {
    void* object;
    std::uintptr_t processId;
    std::uintptr_t handle;
    std::uint32_t access;
    std::uint16_t creatorBackTraceIndex;
    std::uint16_t typeIndex;
    std::uint32_t attributes;
    std::uint32_t reserved;
};
struct HandleTable {
    std::uintptr_t count;
    std::uintptr_t reserved;
};

/// Not with GetProcessHandleCount, which gives 0 on Wine.
DWORD HandleCount(DWORD processId) {
    using Query = LONG(WINAPI*)(int kind, void* result, ULONG size, ULONG* needed);
    constexpr int ExtendedHandles = 64;
    constexpr std::size_t MostEntries = 200000;
    const auto query = reinterpret_cast<Query>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<HandleEntry> memory(MostEntries);
    ULONG needed = 0;
    if (query(ExtendedHandles, memory.data(),
              static_cast<ULONG>(memory.size() * sizeof(HandleEntry)), &needed) != 0) {
        throw std::runtime_error("the system doesn't tell its handles");
    }
    HandleTable table = {};
    std::memcpy(&table, memory.data(), sizeof(table));
    std::vector<HandleEntry> entries(table.count);
    std::memcpy(entries.data(), reinterpret_cast<const char*>(memory.data()) + sizeof(table),
                entries.size() * sizeof(HandleEntry));
    return static_cast<DWORD>(std::count_if(
        entries.begin(), entries.end(),
        [processId](const HandleEntry& entry) { return entry.processId == processId; }));
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const ProcessUse& use) {
    return out << use.handles << " handles and " << use.threads << " threads";
}

ProcessUse UseOf(HANDLE process) {
    const DWORD processId = ::GetProcessId(process);
    return {HandleCount(processId), ThreadCount(processId)};
}

ProcessUse AwaitUse(HANDLE process, const ProcessUse& expected) {
    ProcessUse use = UseOf(process);
    for (int poll = 0; poll < Polls && !(use == expected); ++poll) {
        ::Sleep(PollMs);
        use = UseOf(process);
    }
    return use;
}

ProcessUse SettledUse(HANDLE process) {
    constexpr int LooksInARow = 15;
    ProcessUse use = UseOf(process);
    for (int poll = 0, same = 0; poll < Polls && same < LooksInARow; ++poll) {
        ::Sleep(PollMs);
        const ProcessUse next = UseOf(process);
        same = next == use ? same + 1 : 0;
        use = next;
    }
    return use;
}

framework::KernelHandle ProcessNamed(const std::wstring& fileName) {
    const framework::FileHandle snapshot(::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof(entry);
    for (BOOL more = ::Process32FirstW(snapshot.Get(), &entry); more != FALSE;
         more = ::Process32NextW(snapshot.Get(), &entry)) {
        if (fileName == entry.szExeFile) {
            return framework::KernelHandle(
                ::OpenProcess(PROCESS_ALL_ACCESS, FALSE, entry.th32ProcessID));
        }
    }
    return {};
}

}  // namespace test
