#ifndef TESTS_TARNWICK_SERVICE_COMMAND_LINE_MODEL_H
#define TESTS_TARNWICK_SERVICE_COMMAND_LINE_MODEL_H

#include <string>
#include <vector>

namespace test {

/// The option grammar once more, written as plainly as can be and with nothing of the product: what
/// the arguments behind the program's name come to, in the words of `Describe` of the tests.
/// "abnormal end" if the process ends while it reads them.
[[nodiscard]] std::string ModelOfCommandLine(const std::vector<std::wstring>& arguments);

}  // namespace test

#endif  // TESTS_TARNWICK_SERVICE_COMMAND_LINE_MODEL_H
