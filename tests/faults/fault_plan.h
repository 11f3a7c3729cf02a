/// Selects the call of a run that fails.
#ifndef TESTS_FAULTS_FAULT_PLAN_H
#define TESTS_FAULTS_FAULT_PLAN_H

#include <cstdint>

#include "tests/faults/run_record.h"

namespace faults {

/// What fails.
enum class FaultKind {
    Call,       ///< a platform call
    Allocation  ///< an allocation
};

struct FaultPlan {
    CallId failingCall = {};  ///< or allocation
    /// So do all later calls of the same function for the same use, or all later allocations.
    bool lasting = false;
    FaultKind kind = FaultKind::Call;
};

/// Sets the plan and the record of the run. Once, before the product runs.
void SetPlan(const FaultPlan& plan, RunRecord& record);
[[nodiscard]] RunRecord& Record();

/// Whether the plan fails allocations.
[[nodiscard]] bool CountsAllocations();

/// Calls are counted, and fail, only between these two.
void OpenWindow();
void CloseWindow();

/// Counts a call and returns whether it fails. `detail` distinguishes uses of one function. It and
/// the name are literals.
[[nodiscard]] bool Fails(const char* function, const char* detail, const void* returnAddress);

/// The same for an allocation.
[[nodiscard]] bool Refuses(const char* function, const void* returnAddress);

/// Allocations of this thread during its lifetime belong to this program and don't count.
class OwnAllocations {
  public:
    OwnAllocations();
    ~OwnAllocations();
    OwnAllocations(const OwnAllocations&) = delete;
    OwnAllocations& operator=(const OwnAllocations&) = delete;
};

}  // namespace faults

#endif  // TESTS_FAULTS_FAULT_PLAN_H
