#ifndef TESTS_SUPPORT_UNIQUE_NAME_H
#define TESTS_SUPPORT_UNIQUE_NAME_H

#include <string>

namespace test {

/// `kind` and what makes it a name that no other call has, in any process: what an earlier test
/// left behind must not be taken for this one's when the system gives its process number once more.
[[nodiscard]] std::wstring UniqueName(const std::wstring& kind);

}  // namespace test

#endif  // TESTS_SUPPORT_UNIQUE_NAME_H
