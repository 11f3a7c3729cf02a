#ifndef TESTS_TARNWICK_SERVICE_COMMAND_LINE_MODEL_H
#define TESTS_TARNWICK_SERVICE_COMMAND_LINE_MODEL_H

#include <string>
#include <vector>

namespace test {

/// A second, simple implementation of the option grammar, independent of the product: the result of
/// the arguments after the program's name, in the form of `Describe` of the tests. "abnormal end"
/// if parsing ends the process.
[[nodiscard]] std::string ModelOfCommandLine(const std::vector<std::wstring>& arguments);

}  // namespace test

#endif  // TESTS_TARNWICK_SERVICE_COMMAND_LINE_MODEL_H
