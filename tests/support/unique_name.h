#ifndef TESTS_SUPPORT_UNIQUE_NAME_H
#define TESTS_SUPPORT_UNIQUE_NAME_H

#include <string>

namespace test {

/// `kind` with a suffix that no other call in any process has. Process ids are reused, so an id
/// alone could match leftovers of an earlier test.
[[nodiscard]] std::wstring UniqueName(const std::wstring& kind);

}  // namespace test

#endif  // TESTS_SUPPORT_UNIQUE_NAME_H
