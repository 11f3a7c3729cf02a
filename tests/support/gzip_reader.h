#ifndef TESTS_SUPPORT_GZIP_READER_H
#define TESTS_SUPPORT_GZIP_READER_H

#include <string>

namespace test {

/// The contents of a gzip file with one member. Throws if the file is truncated, has trailing
/// bytes, or has a wrong checksum or length.
[[nodiscard]] std::string Gunzip(const std::string& file);

}  // namespace test

#endif  // TESTS_SUPPORT_GZIP_READER_H
