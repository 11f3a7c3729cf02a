#include "tests/end-to-end/support/remote_call.h"

#include <stdexcept>

namespace test {

framework::KernelHandle StartRemoteCall(HANDLE process, std::uint64_t address,
                                        std::uint32_t argument) {
    framework::KernelHandle thread(::CreateRemoteThread(
        process, nullptr, 0, reinterpret_cast<LPTHREAD_START_ROUTINE>(address),
        reinterpret_cast<void*>(static_cast<std::uintptr_t>(argument)), 0, nullptr));
    if (!thread) {
        throw std::runtime_error("CreateRemoteThread failed");
    }
    return thread;
}

std::uint32_t CallRemotely(HANDLE process, std::uint64_t address, std::uint32_t argument,
                           DWORD limitMs) {
    const framework::KernelHandle thread = StartRemoteCall(process, address, argument);
    if (::WaitForSingleObject(thread.Get(), limitMs) != WAIT_OBJECT_0) {
        throw std::runtime_error("the call in the other process didn't return in time");
    }
    DWORD result = 0;
    ::GetExitCodeThread(thread.Get(), &result);
    return result;
}

}  // namespace test
