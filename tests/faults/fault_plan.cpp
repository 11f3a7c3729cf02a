#include "tests/faults/fault_plan.h"

#include <cstdio>
#include <cstring>
#include <map>
#include <mutex>

#include "framework/system/locks.h"

namespace faults {
namespace {

FaultPlan currentPlan;
RunRecord* currentRecord;
std::atomic<bool> windowOpen{false};
framework::SrwLock lock;
// Guarded by lock.
std::map<std::uint32_t, std::uint32_t> callsOfSite;
const char* failedFunction;
const char* failedDetail;

std::uint32_t FromImageStart(const void* address) {
    const auto image = reinterpret_cast<std::uintptr_t>(::GetModuleHandleW(nullptr));
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address) - image);
}

bool FailsAgain(const char* function, const char* detail) {
    return currentPlan.lasting && failedFunction != nullptr &&
           std::strcmp(failedFunction, function) == 0 && std::strcmp(failedDetail, detail) == 0;
}

}  // namespace

void SetPlan(const FaultPlan& plan, RunRecord& record) {
    currentPlan = plan;
    currentRecord = &record;
}

RunRecord& Record() {
    return *currentRecord;
}

void OpenWindow() {
    windowOpen = true;
}

void CloseWindow() {
    windowOpen = false;
}

bool Fails(const char* function, const char* detail, const void* returnAddress) {
    if (!windowOpen) {
        return false;
    }
    const std::lock_guard guard(lock);
    const std::uint32_t site = FromImageStart(returnAddress);
    const CallId id = {site, ++callsOfSite[site]};
    const bool isPlanned =
        site == currentPlan.failingCall.site && id.occurrence == currentPlan.failingCall.occurrence;
    const bool fails = isPlanned || FailsAgain(function, detail);
    if (isPlanned) {
        failedFunction = function;
        failedDetail = detail;
    }
    const std::uint32_t number = currentRecord->callCount;
    if (number < MaxCalls) {
        CallRecord& call = currentRecord->calls[number];
        std::snprintf(call.name, sizeof(call.name), "%s%s", function, detail);
        call.id = id;
        call.failed = fails ? 1 : 0;
        currentRecord->callCount = number + 1;
    }
    return fails;
}

}  // namespace faults
