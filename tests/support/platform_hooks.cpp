#include "tests/support/platform_hooks.h"

// Initialised before any code runs: the run-time library's own start-up calls through them too.
#define TEST_DEFINE_HOOK(module, name) decltype(&::name) __imp_##name = &test::name##Hook::Enter;

extern "C" {
TEST_PLATFORM_CALLS(TEST_DEFINE_HOOK)
}
