#include "tests/framework/logger/refused_memory.h"

#include "framework/system/platform.h"
#include "tests/support/guarded_heap.h"

namespace test {
namespace {

struct Plan {
    DWORD thread = 0;  ///< none while it is 0
    std::uint32_t refused = 0;
    std::uint32_t count = 0;
    Refusal refusal = Refusal::Once;
    bool hit = false;
};
Plan plan;

bool Refuses() {
    if (plan.thread != ::GetCurrentThreadId()) {
        return false;
    }
    ++plan.count;
    const bool refuses =
        plan.count == plan.refused ||
        (plan.refusal == Refusal::FromThenOn && plan.refused != 0 && plan.count > plan.refused);
    plan.hit = plan.hit || refuses;
    return refuses;
}

constexpr HeapObserver Refuser = {[] {}, [](const void*) {}, Refuses};

}  // namespace

RefusedMemory::RefusedMemory(std::uint32_t number, Refusal refusal) noexcept {
    ObserveHeap(&Refuser);
    plan = {::GetCurrentThreadId(), number, 0, refusal, false};
}

RefusedMemory::~RefusedMemory() {
    plan.thread = 0;
}

std::uint32_t RefusedMemory::Count() noexcept {
    return plan.count;
}

bool RefusedMemory::Refused() noexcept {
    return plan.hit;
}

}  // namespace test
