#include "dev-controller/crash.h"

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <stdexcept>

#include "dev-controller/platform.h"

namespace dev_controller {
namespace {

constexpr DWORD StatusHeapCorruption = 0xC0000374;
/// Not null, so that neither the compiler nor an undefined-behaviour check sees a null pointer.
constexpr std::uintptr_t UnmappedAddress = 0x10000 - 0x1000;

/// Read at run time, so that the compiler cannot reason about the crash and remove it.
volatile std::uintptr_t unmappedAddress = UnmappedAddress;
volatile int zero = 0;

int* UnmappedInt() {
    return reinterpret_cast<int*>(unmappedAddress);
}

void ReadUnmapped() {
    const volatile int value = *static_cast<volatile int*>(UnmappedInt());
    static_cast<void>(value);
}

void WriteUnmapped() {
    *static_cast<volatile int*>(UnmappedInt()) = 1;
}

/// Calls machine code in its own page. The call crashes, so nothing is freed.
void CallBytes(std::initializer_list<unsigned char> code, DWORD protection) {
    void* page = VirtualAlloc(nullptr, code.size(), MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
    if (page == nullptr) {
        throw std::runtime_error("no page to crash in");
    }
    std::memcpy(page, code.begin(), code.size());
    DWORD oldProtection = 0;
    VirtualProtect(page, code.size(), protection, &oldProtection);
    reinterpret_cast<void (*)()>(reinterpret_cast<std::uintptr_t>(page))();
}

void ExecuteData() {
    CallBytes({0xC3}, PAGE_READWRITE);
}

/// movaps xmm0, [rsp+1]; ret. The stack pointer is aligned to 8 bytes, so that address never is.
void ReadMisaligned() {
    CallBytes({0x0F, 0x28, 0x44, 0x24, 0x01, 0xC3}, PAGE_EXECUTE_READ);
}

/// The call crashes, so nothing is freed.
void ReadGuardPage() {
    const auto* page = static_cast<volatile char*>(
        VirtualAlloc(nullptr, 1, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE | PAGE_GUARD));
    if (page == nullptr) {
        throw std::runtime_error("no page to crash in");
    }
    static_cast<void>(*page);
}

/// mov eax, 80000000h; cdq; or ecx, -1; idiv ecx; ret
void DivideLeastByMinusOne() {
    CallBytes({0xB8, 0x00, 0x00, 0x00, 0x80, 0x99, 0x83, 0xC9, 0xFF, 0xF7, 0xF9, 0xC3},
              PAGE_EXECUTE_READ);
}

/// hlt; ret
void Halt() {
    CallBytes({0xF4, 0xC3}, PAGE_EXECUTE_READ);
}

void ExecuteUndefinedInstruction() {
    CallBytes({0x0F, 0x0B}, PAGE_EXECUTE_READ);
}

/// mov ecx, 7; int 29h. Code 7 is the platform's "fatal application exit".
void FailFast() {
    CallBytes({0xB9, 0x07, 0x00, 0x00, 0x00, 0xCD, 0x29}, PAGE_EXECUTE_READ);
}

/// The run-time library divides, so that a check compiled into this file can't intercept it.
void DivideByZero() {
    const volatile int quotient = std::div(1, zero).quot;
    static_cast<void>(quotient);
}

int OverflowStack(int depth) {
    volatile char frame[4096];
    frame[0] = static_cast<char>(depth);
    // Work after the call keeps the compiler from turning the recursion into a loop.
    return zero == 0 ? OverflowStack(depth + 1) + frame[0] : depth;
}

void ThrowAndCatch(std::uint32_t count) {
    for (std::uint32_t i = 0; i < count; ++i) {
        try {
            throw std::runtime_error("handled");
        } catch (const std::runtime_error&) {
            continue;
        }
    }
}

struct Expected {
    DWORD threadId;
    DWORD code;
};

/// The exception that `RaiseAndContinue` is raising; only one such action at a time.
Expected expected = {};

LONG CALLBACK ContinueExpected(EXCEPTION_POINTERS* pointers) {
    const bool mine = expected.threadId == GetCurrentThreadId() &&
                      expected.code == pointers->ExceptionRecord->ExceptionCode;
    return mine ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
}

/// Uses the last vectored handler, because not every compiler for this target has frame handlers
/// for codes other than C++ exceptions.
void RaiseAndContinue(DWORD code, std::uint32_t count) {
    expected = {GetCurrentThreadId(), code};
    void* handler = AddVectoredExceptionHandler(0, ContinueExpected);
    for (std::uint32_t i = 0; i < count; ++i) {
        RaiseException(code, 0, 0, nullptr);
    }
    RemoveVectoredExceptionHandler(handler);
    expected = {};
}

void Handle(const CrashRequest& request) {
    if (request.code == 0) {
        ThrowAndCatch(request.count);
    } else {
        RaiseAndContinue(request.code, request.count);
    }
}

}  // namespace

void Crash(const CrashRequest& request) {
    switch (request.kind) {
        case CrashKind::Read:
            return ReadUnmapped();
        case CrashKind::Write:
            return WriteUnmapped();
        case CrashKind::Execute:
            return ExecuteData();
        case CrashKind::Guard:
            return ReadGuardPage();
        case CrashKind::Misaligned:
            return ReadMisaligned();
        case CrashKind::Divide:
            return DivideByZero();
        case CrashKind::Overflow:
            return DivideLeastByMinusOne();
        case CrashKind::Illegal:
            return ExecuteUndefinedInstruction();
        case CrashKind::Privileged:
            return Halt();
        case CrashKind::Breakpoint:
            return DebugBreak();
        case CrashKind::Cpp:
            throw std::runtime_error("uncaught on purpose");
        case CrashKind::Raise:
            return RaiseException(request.code, request.continuable ? 0 : EXCEPTION_NONCONTINUABLE,
                                  0, nullptr);
        case CrashKind::HeapCorruption:
            return RaiseException(StatusHeapCorruption, EXCEPTION_NONCONTINUABLE, 0, nullptr);
        case CrashKind::StackOverflow:
            static_cast<void>(OverflowStack(0));
            return;
        case CrashKind::FailFast:
            return FailFast();
        case CrashKind::Handled:
            return Handle(request);
    }
}

}  // namespace dev_controller
