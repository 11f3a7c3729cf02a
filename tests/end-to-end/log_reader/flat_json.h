#ifndef TESTS_END_TO_END_LOG_READER_FLAT_JSON_H
#define TESTS_END_TO_END_LOG_READER_FLAT_JSON_H

#include <map>
#include <string>
#include <string_view>

namespace test {

/// Reads one JSON object whose values are texts, whole numbers, `true` or `null`,
/// strictly: throws `std::runtime_error` on
/// anything else, blanks between the parts included. Escapes beyond ASCII aren't taken.
[[nodiscard]] std::map<std::string, std::string> ParseFlatJson(std::string_view text);

}  // namespace test

#endif  // TESTS_END_TO_END_LOG_READER_FLAT_JSON_H
