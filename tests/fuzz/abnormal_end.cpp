#include "tests/fuzz/abnormal_end.h"

#include <cstdlib>

#include "framework/system/fail_fast.h"
#include "framework/system/platform.h"

namespace fuzz {
namespace {

CONTEXT wayBack;
volatile bool waiting = false;
volatile bool ended = false;

}  // namespace

bool EndsAbnormally(const std::function<void()>& call) {
    ended = false;
    // Returns a second time if the call ends abnormally. Not setjmp: longjmp unwinds, and a
    // function that must not throw would end the process.
    ::RtlCaptureContext(&wayBack);
    if (!ended) {
        waiting = true;
        call();
    }
    waiting = false;
    return ended;
}

}  // namespace fuzz

// Replaces the product's function: the linker prefers the program's definition to a library's.
void framework::FailFastInvalidParameter() noexcept {
    if (!fuzz::waiting) {
        std::abort();
    }
    fuzz::ended = true;
    ::RtlRestoreContext(&fuzz::wayBack, nullptr);
    std::abort();
}
