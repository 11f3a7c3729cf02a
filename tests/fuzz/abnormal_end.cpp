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
    // Comes back a second time if the call ends abnormally. Not setjmp: its way back unwinds, and a
    // function that must not throw would end the process on that way.
    ::RtlCaptureContext(&wayBack);
    if (!ended) {
        waiting = true;
        call();
    }
    waiting = false;
    return ended;
}

}  // namespace fuzz

// Stands in for the product's: the linker takes the definition of the program before a library's.
void framework::FailFastInvalidParameter() noexcept {
    if (!fuzz::waiting) {
        std::abort();
    }
    fuzz::ended = true;
    ::RtlRestoreContext(&fuzz::wayBack, nullptr);
    std::abort();
}
