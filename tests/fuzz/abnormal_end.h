#ifndef TESTS_FUZZ_ABNORMAL_END_H
#define TESTS_FUZZ_ABNORMAL_END_H

#include <functional>

namespace fuzz {

/// Runs `call` and returns whether it would have ended the process as an invalid parameter does. In
/// this program such an end returns here. The frames between are abandoned without clean-up, so
/// they must not own anything.
[[nodiscard]] bool EndsAbnormally(const std::function<void()>& call);

}  // namespace fuzz

#endif  // TESTS_FUZZ_ABNORMAL_END_H
