#include "tests/support/platform_hooks.h"

#ifdef TARNWICK_COVERAGE
extern "C" {
#include <gcov.h>
}
#endif

// Constant-initialised, because the run-time library's start-up already calls through them.
#define TEST_DEFINE_HOOK(module, name) decltype(&::name) __imp_##name = &test::name##Hook::Enter;

extern "C" {
TEST_PLATFORM_CALLS(TEST_DEFINE_HOOK)
}

#ifdef TARNWICK_COVERAGE
namespace {

/// A process that terminates itself would lose its coverage counts.
BOOL WINAPI TerminateCounted(HANDLE process, UINT exitCode) {
    if (process == ::GetCurrentProcess()) {
        __gcov_dump();
        __gcov_reset();
    }
    return test::TerminateProcessHook::Enter(process, exitCode);
}

[[maybe_unused]] const bool counted = [] {
    __imp_TerminateProcess = TerminateCounted;
    return true;
}();

}  // namespace
#endif
