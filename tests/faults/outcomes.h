/// The outcome of a run, in words, and the outcomes that a failing call may have.
#ifndef TESTS_FAULTS_OUTCOMES_H
#define TESTS_FAULTS_OUTCOMES_H

#include <set>
#include <string>
#include <vector>

#include "tests/faults/faulted_run.h"

namespace faults {

/// All differences between the run and a good one; empty if there are none.
[[nodiscard]] std::set<std::string> OutcomesOf(const std::string& scenario, const RunFacts& facts);

/// The same for a run with failed allocations. A good end is then also the end at the crash filter
/// by the C++ exception that left the product, with a dump: everything lost by that is one outcome,
/// "ended by bad_alloc". `whole` is a run without a failure.
[[nodiscard]] std::set<std::string> MemoryOutcomesOf(const std::string& scenario,
                                                     const RunFacts& facts, const RunFacts& whole);

/// The condition of an outcome.
enum class When {
    Once,     ///< the call fails once
    Lasting,  ///< it fails from then on
    Racing    ///< the call fails once and threads take turns so; not every sweep sees it
};

/// A bad outcome that follows from the product's design.
struct AllowedOutcome {
    const char* scenarios;  ///< names, separated by blanks
    const char* call;       ///< with its use, or without for all uses
    const char* outcome;
    When when;
    const char* reason;
};

/// The entry that allows it, or null.
[[nodiscard]] const AllowedOutcome* FindAllowed(const std::string& scenario, const FaultPlan& plan,
                                                const std::string& call,
                                                const std::string& outcome);

/// All entries of a scenario, to check that each is needed.
[[nodiscard]] std::vector<const AllowedOutcome*> AllowedIn(const std::string& scenario,
                                                           const FaultPlan& plan);

}  // namespace faults

#endif  // TESTS_FAULTS_OUTCOMES_H
