/// Values that replacements of the platform and of the log leave as the last error, like real
/// functions may. Code that reads the last error after another call then gets a wrong one.
#ifndef TESTS_SUPPORT_SPOILED_ERROR_H
#define TESTS_SUPPORT_SPOILED_ERROR_H

#include <cerrno>
#include <string_view>
#include <type_traits>

#include "framework/system/platform.h"

namespace test {

/// No platform error, and no error that a test expects.
constexpr DWORD SpoiledLastError = 0x2000DEAD;

inline void SpoilErrors() {
    errno = EDOM;
    ::SetLastError(SpoiledLastError);
}

/// Spoils them at the end of its scope.
class SpoilAtEnd {
  public:
    SpoilAtEnd() = default;
    ~SpoilAtEnd() { SpoilErrors(); }
    SpoilAtEnd(const SpoilAtEnd&) = delete;
    SpoilAtEnd& operator=(const SpoilAtEnd&) = delete;
};

/// Whether this result of a platform call means that the last error holds the reason.
template <class Result>
bool IsToldByLastError(const char* name, Result result) {
    if constexpr (std::is_pointer_v<Result>) {
        return result == nullptr || reinterpret_cast<void*>(result) == INVALID_HANDLE_VALUE;
    } else if constexpr (std::is_same_v<Result, LONG>) {
        return false;  // a status or an HRESULT
    } else if constexpr (std::is_same_v<Result, DWORD>) {
        // The path of a module can be truncated, which is also a failure.
        return result == 0 || result == MAXDWORD || std::string_view(name) == "GetModuleFileNameW";
    } else {
        return result == 0;
    }
}

}  // namespace test

#endif  // TESTS_SUPPORT_SPOILED_ERROR_H
