/// What became of a run, in words, and which words a failing call may lead to.
#ifndef TESTS_FAULTS_OUTCOMES_H
#define TESTS_FAULTS_OUTCOMES_H

#include <set>
#include <string>
#include <vector>

#include "tests/faults/faulted_run.h"

namespace faults {

/// Everything about the run that differs from a good one; empty if nothing does.
[[nodiscard]] std::set<std::string> OutcomesOf(const std::string& scenario, const RunFacts& facts);

/// The same for a run with refused allocations. A good end is then also the end at the crash filter
/// by the C++ exception that left the product, with a dump: all that is lost by that is one
/// outcome, "ended by bad_alloc". `whole` is a run without a refusal.
[[nodiscard]] std::set<std::string> MemoryOutcomesOf(const std::string& scenario,
                                                     const RunFacts& facts, const RunFacts& whole);

/// What it takes for an outcome.
enum class When {
    Once,     ///< the call fails once
    Lasting,  ///< it fails from then on
    Racing    ///< the call fails once and threads take turns so; not every sweep sees it
};

/// An outcome that isn't good but follows from how the product is meant to be.
struct AllowedOutcome {
    const char* scenarios;  ///< names with blanks between them
    const char* call;       ///< with its use, or without for all uses
    const char* outcome;
    When when;
    const char* reason;
};

/// The entry that allows it, or null.
[[nodiscard]] const AllowedOutcome* FindAllowed(const std::string& scenario, const FaultPlan& plan,
                                                const std::string& call,
                                                const std::string& outcome);

/// All entries of a scenario, for the look whether each is needed.
[[nodiscard]] std::vector<const AllowedOutcome*> AllowedIn(const std::string& scenario,
                                                           const FaultPlan& plan);

}  // namespace faults

#endif  // TESTS_FAULTS_OUTCOMES_H
