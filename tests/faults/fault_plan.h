/// Which call of a run fails.
#ifndef TESTS_FAULTS_FAULT_PLAN_H
#define TESTS_FAULTS_FAULT_PLAN_H

#include <cstdint>

#include "tests/faults/run_record.h"

namespace faults {

struct FaultPlan {
    CallId failingCall = {};
    bool lasting = false;  ///< so do all later calls of the same function for the same use
};

/// Sets the plan and where the run is written down. Once, before the product runs.
void SetPlan(const FaultPlan& plan, RunRecord& record);
[[nodiscard]] RunRecord& Record();

/// Calls are counted, and fail, between these two. Before the first no call is counted.
void OpenWindow();
void CloseWindow();

/// Counts a call and says whether it fails. `detail` tells apart what one function is used for; it
/// and the name are literals.
[[nodiscard]] bool Fails(const char* function, const char* detail, const void* returnAddress);

}  // namespace faults

#endif  // TESTS_FAULTS_FAULT_PLAN_H
