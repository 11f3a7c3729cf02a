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

/// The same for a run with refused allocations. The end by the exception that left the product is
/// then one outcome, "ended with a dump" or, while the exception filter isn't installed yet, "ended
/// before the filter"; all that is lost by it, apart from records, isn't told. `whole` is a run
/// without a refusal.
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
