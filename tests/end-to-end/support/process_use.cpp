#include "tests/end-to-end/support/process_use.h"

// Need windows.h before them.
#include <tlhelp32.h>
#include <winternl.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ostream>
#include <stdexcept>
#include <vector>

namespace test {
namespace {

constexpr DWORD PollMs = 20;
constexpr int Polls = 150;

using Query = LONG(WINAPI*)(int kind, void* result, ULONG size, ULONG* needed);

/// The system's information on all processes: records of varying length, one after the other.
std::vector<std::byte> AskForProcesses() {
    constexpr LONG LengthMismatch = static_cast<LONG>(0xC0000004);
    const auto query = reinterpret_cast<Query>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<std::byte> memory(1 << 16);
    for (;;) {
        const LONG status = query(SystemProcessInformation, memory.data(),
                                  static_cast<ULONG>(memory.size()), nullptr);
        if (status >= 0) {
            return memory;
        }
        if (status != LengthMismatch) {
            throw std::runtime_error("the system doesn't tell its processes");
        }
        memory.resize(memory.size() * 2);
    }
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const ProcessUse& use) {
    return out << use.handles << " handles and " << use.threads << " threads";
}

// Not GetProcessHandleCount, which returns 0 on Wine, nor the list of all handles, which crashes
// Wine's server if the list has a process without handles, one that is just starting or ending.
ProcessUse UseOf(HANDLE process) {
    const DWORD processId = ::GetProcessId(process);
    const std::vector<std::byte> memory = AskForProcesses();
    std::size_t offset = 0;
    for (;;) {
        SYSTEM_PROCESS_INFORMATION entry;
        std::memcpy(&entry, memory.data() + offset, sizeof(entry));
        if (static_cast<DWORD>(reinterpret_cast<std::uintptr_t>(entry.UniqueProcessId)) ==
            processId) {
            return {entry.HandleCount, entry.NumberOfThreads};
        }
        if (entry.NextEntryOffset == 0) {
            return {};
        }
        offset += entry.NextEntryOffset;
    }
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
