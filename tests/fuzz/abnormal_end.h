#ifndef TESTS_FUZZ_ABNORMAL_END_H
#define TESTS_FUZZ_ABNORMAL_END_H

#include <functional>

namespace fuzz {

/// Runs `call` and tells whether it would have ended the process the way an invalid parameter does.
/// In this program that way leads back here: the frames between are left without any clean-up, so
/// they must not own anything.
[[nodiscard]] bool EndsAbnormally(const std::function<void()>& call);

}  // namespace fuzz

#endif  // TESTS_FUZZ_ABNORMAL_END_H
