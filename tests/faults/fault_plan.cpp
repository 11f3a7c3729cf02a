#include "tests/faults/fault_plan.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <mutex>

#include "framework/system/locks.h"
#include "tarnwick-service/start_up.h"

namespace faults {
namespace {

constexpr const char* RunTime = "run-time ";

struct SiteCount {
    std::uint32_t site;
    std::uint32_t calls;
};

constinit FaultPlan currentPlan;
constinit RunRecord* currentRecord = nullptr;
constinit std::atomic<bool> windowOpen{false};
framework::SrwLock lock;
// Guarded by lock. Not a container, whose own allocations would count.
constinit std::array<SiteCount, MaxCalls> callsOfSite{};
constinit const char* failedFunction = nullptr;
constinit const char* failedDetail = nullptr;
// Not thread_local, which allocates for each thread.
const DWORD ownAllocationsSlot = ::TlsAlloc();

std::uintptr_t OwnAllocationsDepth() {
    return reinterpret_cast<std::uintptr_t>(::TlsGetValue(ownAllocationsSlot));
}

void SetOwnAllocationsDepth(std::uintptr_t depth) {
    ::TlsSetValue(ownAllocationsSlot, reinterpret_cast<void*>(depth));
}

std::uint32_t FromImageStart(const void* address) {
    const auto image = reinterpret_cast<std::uintptr_t>(::GetModuleHandleW(nullptr));
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address) - image);
}

/// Counts a call of the site; the first is 1.
std::uint32_t CountCall(std::uint32_t site) {
    for (SiteCount& entry : callsOfSite) {
        if (entry.site == site || entry.site == 0) {
            entry.site = site;
            return ++entry.calls;
        }
    }
    return 0;
}

/// The run-time libraries' own allocations fail only when they are the planned one: without any
/// memory at all, libstdc++ can't throw (docs/faults.md).
bool FailsAgain(const char* function, const char* detail) {
    if (!currentPlan.lasting || failedFunction == nullptr) {
        return false;
    }
    if (currentPlan.kind == FaultKind::Allocation) {
        return std::strncmp(function, RunTime, std::strlen(RunTime)) != 0;
    }
    return (std::strcmp(failedFunction, function) == 0 && std::strcmp(failedDetail, detail) == 0);
}

bool CountAndJudge(const char* function, const char* detail, const void* returnAddress) {
    const OwnAllocations own;  // those of the print below
    const std::lock_guard guard(lock);
    const std::uint32_t site = FromImageStart(returnAddress);
    const CallId id = {site, CountCall(site)};
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
        call.filterStands = tarnwick::exceptionFilterSlot != nullptr ? 1 : 0;
        currentRecord->callCount = number + 1;
    }
    return fails;
}

}  // namespace

void SetPlan(const FaultPlan& plan, RunRecord& record) {
    currentPlan = plan;
    currentRecord = &record;
}

RunRecord& Record() {
    return *currentRecord;
}

bool CountsAllocations() {
    return currentPlan.kind == FaultKind::Allocation;
}

void OpenWindow() {
    windowOpen = true;
}

void CloseWindow() {
    windowOpen = false;
}

bool Fails(const char* function, const char* detail, const void* returnAddress) {
    return windowOpen && currentPlan.kind == FaultKind::Call &&
           CountAndJudge(function, detail, returnAddress);
}

bool Refuses(const char* function, const void* returnAddress) {
    return windowOpen && currentPlan.kind == FaultKind::Allocation && OwnAllocationsDepth() == 0 &&
           CountAndJudge(function, "", returnAddress);
}

OwnAllocations::OwnAllocations() {
    SetOwnAllocationsDepth(OwnAllocationsDepth() + 1);
}

OwnAllocations::~OwnAllocations() {
    SetOwnAllocationsDepth(OwnAllocationsDepth() - 1);
}

}  // namespace faults
