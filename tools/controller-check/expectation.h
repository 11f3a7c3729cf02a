#ifndef TOOLS_CONTROLLER_CHECK_EXPECTATION_H
#define TOOLS_CONTROLLER_CHECK_EXPECTATION_H

#include <cstddef>
#include <string>
#include <vector>

#include "tools/controller-check/library_image.h"
#include "tools/controller-check/story.h"

namespace controller_check {

enum class Verdict {
    Met,
    Failed,
    Advice,  ///< the host copes with it, but the author should know
    Open
};

/// `detail` is what was observed (failed, advice) or why nothing was (open).
struct Finding {
    Verdict verdict = Verdict::Met;
    std::wstring detail;
};

/// Something that the host relies on. docs/writing-a-controller.md explains each one by its id.
struct Expectation {
    const wchar_t* id;
    const wchar_t* statement;
    const wchar_t* advice;
    /// Null if the file alone decides.
    Finding (*judge)(const Story& story);
};

/// In the order of the report. Those of the file come first, in the order of `JudgeFile`.
[[nodiscard]] const std::vector<Expectation>& Expectations();

inline constexpr std::size_t FileExpectations = 4;

/// Checks a file before it is loaded. `readError` is 0 if it could be read.
[[nodiscard]] std::vector<Finding> JudgeFile(unsigned long readError, const ImageFacts& facts);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_EXPECTATION_H
