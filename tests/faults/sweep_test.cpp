// Runs each scenario once for every call that it makes, with that call failing.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <map>
#include <string_view>

#include "tests/faults/outcomes.h"

namespace faults {
namespace {

bool LongTests() {
    const char* const wanted = std::getenv("TARNWICK_LONG_TESTS");
    return wanted != nullptr && std::string_view(wanted) == "1";
}

std::string Replay(const std::string& scenario, const FaultPlan& plan) {
    return "cmake/wine.sh build/mingw/bin/fault_subject.exe --scenario " + scenario + " --fail " +
           TextOf(plan.failingCall) + (plan.lasting ? " --lasting" : "") +
           (plan.kind == FaultKind::Allocation ? " --memory" : "") + " --folder EMPTY-FOLDER";
}

/// The first call that failed on purpose, or null.
const CallRecord* FailedCall(const RunFacts& facts) {
    const auto found = std::find_if(facts.calls.begin(), facts.calls.end(),
                                    [](const CallRecord& call) { return call.failed != 0; });
    return found == facts.calls.end() ? nullptr : &*found;
}

class Sweep : public testing::TestWithParam<const char*> {
  protected:
    explicit Sweep(FaultKind kind = FaultKind::Call) : kind_(kind) {}

    void SetUp() override {
        whole_ = RunFaulted(Scenario(), {{}, false, kind_});
        ASSERT_EQ(OutcomesOf(Scenario(), whole_), std::set<std::string>{});
        ASSERT_GT(whole_.calls.size(), 0U);
        ASSERT_LT(whole_.calls.size(), MaxCalls);
    }

    [[nodiscard]] std::string Scenario() const { return GetParam(); }
    [[nodiscard]] const std::vector<CallRecord>& Calls() const { return whole_.calls; }

    void RunWith(const CallRecord& call, bool lasting);
    /// Fails for every allowed outcome that no run had.
    void ExpectAllAllowedSeen(bool lasting);
    void PrintTally();

  private:
    [[nodiscard]] std::set<std::string> OutcomesOfRun(const RunFacts& facts) const;
    void Judge(const FaultPlan& plan, const std::string& call, const std::string& outcome);

    FaultKind kind_;
    RunFacts whole_;
    std::uint32_t runs_ = 0;
    std::map<std::string, std::uint32_t> tally_;
    std::set<const AllowedOutcome*> seen_;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

std::set<std::string> Sweep::OutcomesOfRun(const RunFacts& facts) const {
    return kind_ == FaultKind::Call ? OutcomesOf(Scenario(), facts)
                                    : MemoryOutcomesOf(Scenario(), facts, whole_);
}

void Sweep::RunWith(const CallRecord& call, bool lasting) {
    // If threads race, a call can be skipped: retention that is still running isn't started again.
    constexpr int Tries = 3;
    const FaultPlan plan = {call.id, lasting, kind_};
    RunFacts facts;
    for (int tries = 0; tries < Tries && FailedCall(facts) == nullptr; ++tries) {
        ++runs_;
        facts = RunFaulted(Scenario(), plan);
    }
    const CallRecord* const failed = FailedCall(facts);
    EXPECT_NE(failed, nullptr) << call.name << " isn't made: " << Replay(Scenario(), plan);
    const std::set<std::string> outcomes = OutcomesOfRun(facts);
    if (outcomes.empty()) {
        ++tally_["good"];
    }
    for (const std::string& outcome : outcomes) {
        // Concurrent log calls share a call site, so the failed call can have another use than in
        // the run that identified it.
        Judge(plan, failed == nullptr ? call.name : failed->name, outcome);
    }
}

void Sweep::Judge(const FaultPlan& plan, const std::string& call, const std::string& outcome) {
    ++tally_[outcome];
    const AllowedOutcome* const allowed = FindAllowed(Scenario(), plan, call, outcome);
    if (allowed == nullptr) {
        ADD_FAILURE() << Scenario() << ", " << call << ": " << outcome << "\n  "
                      << Replay(Scenario(), plan);
    }
    seen_.insert(allowed);
}

void Sweep::ExpectAllAllowedSeen(bool lasting) {
    for (const AllowedOutcome* const entry : AllowedIn(Scenario(), {{}, lasting, kind_})) {
        if (entry->when == (lasting ? When::Lasting : When::Once)) {
            EXPECT_TRUE(seen_.contains(entry))
                << Scenario() << ", " << entry->call << ": " << entry->outcome
                << " is allowed, but nothing leads to it";
        }
    }
}

void Sweep::PrintTally() {
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin_;
    std::cout << Scenario() << ": " << Calls().size()
              << (kind_ == FaultKind::Call ? " calls, " : " allocations, ") << runs_ << " runs, "
              << time.count() << " s\n";
    for (const auto& [outcome, count] : tally_) {
        std::cout << "    " << count << ' ' << outcome << '\n';
    }
}

/// Whether to test this call of a site with many calls. The first and the last call always are, and
/// all of them in the long mode.
bool IsLookedAt(const CallRecord& call, const std::vector<CallRecord>& calls) {
    constexpr std::uint32_t Stride = 3;
    const bool isLast = std::none_of(calls.begin(), calls.end(), [&](const CallRecord& other) {
        return other.id.site == call.id.site && other.id.occurrence > call.id.occurrence;
    });
    return call.id.occurrence == 1 || isLast || call.id.occurrence % Stride == 0 || LongTests();
}

TEST_P(Sweep, EachCallFailingOnce_EndsAsAllowed) {
    for (const CallRecord& call : Calls()) {
        if (IsLookedAt(call, Calls())) {
            RunWith(call, false);
        }
    }
    ExpectAllAllowedSeen(false);
    PrintTally();
}

// Every call in the long mode, otherwise the first of each kind, which has the most after it.
TEST_P(Sweep, EachKindOfCallFailingFromThenOn_EndsAsAllowed) {
    std::set<std::string> kinds;
    for (const CallRecord& call : Calls()) {
        if (kinds.insert(call.name).second || LongTests()) {
            RunWith(call, true);
        }
    }
    ExpectAllAllowedSeen(true);
    PrintTally();
}

class MemorySweep : public Sweep {
  protected:
    MemorySweep() : Sweep(FaultKind::Allocation) {}
};

TEST_P(MemorySweep, EachAllocationRefusedOnce_EndsAsAllowed) {
    for (const CallRecord& allocation : Calls()) {
        if (IsLookedAt(allocation, Calls())) {
            RunWith(allocation, false);
        }
    }
    ExpectAllAllowedSeen(false);
    PrintTally();
}

// After a failed allocation, a run mostly ends at the next one, so in the short mode the first of
// each site is enough.
TEST_P(MemorySweep, AllAllocationsRefusedFromThenOn_EndsAsAllowed) {
    for (const CallRecord& allocation : Calls()) {
        if (allocation.id.occurrence == 1 || LongTests()) {
            RunWith(allocation, true);
        }
    }
    ExpectAllAllowedSeen(true);
    PrintTally();
}

INSTANTIATE_TEST_SUITE_P(Scenarios, MemorySweep,
                         testing::Values("crash", "rotation", "retention", "start", "stop",
                                         "console", "usage", "unpack", "dump"),
                         [](const auto& scenario) { return std::string(scenario.param); });

INSTANTIATE_TEST_SUITE_P(Scenarios, Sweep,
                         testing::Values("start", "stop", "console", "crash", "dump", "usage",
                                         "rotation", "retention"),
                         [](const auto& scenario) { return std::string(scenario.param); });

}  // namespace
}  // namespace faults
