#include "framework/system/fail_fast.h"

#include "framework/system/platform.h"

#ifdef _MSC_VER
#include <intrin.h>
#endif

namespace framework {
namespace {

/// FAST_FAIL_INVALID_ARG of the platform's headers, which not every tool chain defines.
constexpr unsigned FailFastInvalidArgument = 5;

}  // namespace

void FailFastInvalidParameter() noexcept {
#ifdef _MSC_VER
    __fastfail(FailFastInvalidArgument);
#else
    __asm__ __volatile__("int $0x29" : : "c"(FailFastInvalidArgument));
    __builtin_unreachable();
#endif
}

}  // namespace framework
