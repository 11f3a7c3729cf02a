// The targets of the product's calls: the pointers and functions that its renamed libraries use.

#include "tests/faults/fault_calls.h"

#include <atomic>
#include <cstdint>
#include <string_view>

#include "tests/faults/fault_plan.h"
#include "tests/faults/played_calls.h"
#include "tests/support/spoiled_error.h"

// Need windows.h before them.
#include <objbase.h>
#include <shlwapi.h>
#include <zlib.h>

namespace faults {
namespace {

/// Distinguishes uses of one function if the outcome depends on the use.
template <class Call>
struct DetailOf {
    template <class... Args>
    static const char* Of(const Args&... /*arguments*/) {
        return "";
    }
};

// Nothing can replace the first log file.
constinit std::atomic<std::uint32_t> logFilesBegun{0};

struct CreateFileWCall;
template <>
struct DetailOf<CreateFileWCall> {
    static const char* Of(const wchar_t* /*path*/, DWORD /*access*/, DWORD /*share*/,
                          const SECURITY_ATTRIBUTES* /*security*/, DWORD disposition, DWORD flags,
                          HANDLE /*pattern*/) {
        switch (disposition) {
            case CREATE_NEW:
                return ++logFilesBegun == 1 ? " (first log)" : " (next log)";
            case CREATE_ALWAYS:
                return " (dump)";
            default:
                return (flags & FILE_FLAG_OPEN_REPARSE_POINT) != 0 ? " (link)" : " (compression)";
        }
    }
};

struct WriteFileCall;
template <>
struct DetailOf<WriteFileCall> {
    static const char* Of(HANDLE /*file*/, const void* /*data*/, DWORD size,
                          const DWORD* /*written*/, const OVERLAPPED* /*position*/) {
        if (size != sizeof(wchar_t)) {
            return " (record)";
        }
        return logFilesBegun == 1 ? " (first mark)" : " (next mark)";
    }
};

struct CreateDirectoryWCall;
template <>
struct DetailOf<CreateDirectoryWCall> {
    static const char* Of(const wchar_t* path, const SECURITY_ATTRIBUTES* /*security*/) {
        return std::wstring_view(path).ends_with(L"\\Logs") ? " (Logs)" : " (above)";
    }
};

struct ExpandEnvironmentStringsWCall;
template <>
struct DetailOf<ExpandEnvironmentStringsWCall> {
    static const char* Of(const wchar_t* source, const wchar_t* /*buffer*/, DWORD /*size*/) {
        return std::wstring_view(source).ends_with(L".dmp") ? " (dump)" : " (log)";
    }
};

// Only the header of a log uses the platform's usual buffer size.
struct GetModuleFileNameWCall;
template <>
struct DetailOf<GetModuleFileNameWCall> {
    static const char* Of(HMODULE /*module*/, const wchar_t* /*path*/, DWORD size) {
        return size == MAX_PATH ? " (header)" : " (dump)";
    }
};

struct SetServiceStatusCall;
template <>
struct DetailOf<SetServiceStatusCall> {
    static const char* Of(SERVICE_STATUS_HANDLE /*handle*/, const SERVICE_STATUS* status) {
        switch (status->dwCurrentState) {
            case SERVICE_RUNNING:
                return " (running)";
            case SERVICE_STOPPED:
                return " (stopped)";
            default:
                return " (pending)";
        }
    }
};

struct WaitForSingleObjectCall;
template <>
struct DetailOf<WaitForSingleObjectCall> {
    static const char* Of(HANDLE object, DWORD milliseconds) {
        return milliseconds == 0 ? " (look)" : UseOfThread(object);
    }
};

template <class Call, class Signature>
struct Entry;

template <class Call, class Result, class... Args>
struct Entry<Call, Result(Args...)> {
    static Result Enter(Args... args) {
        if (Fails(Call::Name, DetailOf<Call>::Of(args...), __builtin_return_address(0))) {
            ::SetLastError(Call::Error);
            return static_cast<Result>(Call::Failure());
        }
        const Result result = Call::Real(args...);
        if (!test::IsToldByLastError(Call::Name, result)) {
            test::SpoilErrors();
        }
        return result;
    }
};

}  // namespace
}  // namespace faults

#define FAULT_DEFINE(name, failure, error, real)                     \
    namespace faults {                                               \
    namespace {                                                      \
    struct name##Call {                                              \
        static constexpr const char* Name = #name;                   \
        static constexpr DWORD Error = error;                        \
        static auto Failure() {                                      \
            return failure;                                          \
        }                                                            \
        template <class... Args>                                     \
        static auto Real(Args... args) {                             \
            return real(args...);                                    \
        }                                                            \
    };                                                               \
    }                                                                \
    }                                                                \
    extern "C" {                                                     \
    decltype(&::name) __imp_fault_##name =                           \
        &faults::Entry<faults::name##Call, decltype(::name)>::Enter; \
    }

#define FAULT_CALL(name, failure, error) FAULT_DEFINE(name, failure, error, ::name)
#define FAULT_PLAYED(name, failure, error) \
    FAULT_DEFINE(name, failure, error, ::faults::Played##name)

FAULT_CALLS(FAULT_CALL, FAULT_PLAYED)
FAULT_DIRECT_CALLS(FAULT_CALL, FAULT_PLAYED)

// Can't fail, but takes time.
extern "C" {
decltype(&::Sleep) __imp_fault_Sleep = &faults::PlayedSleep;
}

// Like the pointer that an import library defines for a call that doesn't use it.
#define FAULT_THUNK(name, failure, error) \
    __asm__(".text\n.globl fault_" #name  \
            "\n"                          \
            "fault_" #name ": jmp *__imp_fault_" #name "(%rip)\n");

FAULT_DIRECT_CALLS(FAULT_THUNK, FAULT_THUNK)
