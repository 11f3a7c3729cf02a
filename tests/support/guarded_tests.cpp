// Turns the guarded heap on during each test. Earlier allocations of the test library and the
// run-time library stay plain, because guarding them would cost seconds at each start of a test
// program.
//
// TARNWICK_GUARDED_HEAP=0 leaves it off. Only the first blocks of a test are guarded, unless long
// tests are requested: a guarded block costs some microseconds, too much for tests with thousands
// of random cases.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string_view>

#include "tests/support/guarded_heap.h"

namespace test {
namespace {

constexpr std::size_t MostBlocks = 100000;

bool Is(const char* variable, std::string_view wanted) {
    const char* const value = std::getenv(variable);
    return value != nullptr && value == wanted;
}

class GuardedTests : public testing::EmptyTestEventListener {
  public:
    void OnTestStart(const testing::TestInfo& /*test*/) override {
        if (!Is("TARNWICK_GUARDED_HEAP", "0")) {
            guard_.emplace(Is("TARNWICK_LONG_TESTS", "1") ? SIZE_MAX / 2 : MostBlocks);
        }
    }
    void OnTestEnd(const testing::TestInfo& /*test*/) override { guard_.reset(); }

  private:
    std::optional<GuardedHeap> guard_;
};

const bool appended = [] {
    testing::UnitTest::GetInstance()->listeners().Append(new GuardedTests);
    return true;
}();

}  // namespace
}  // namespace test
