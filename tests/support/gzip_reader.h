#ifndef TESTS_SUPPORT_GZIP_READER_H
#define TESTS_SUPPORT_GZIP_READER_H

#include <string>

namespace test {

/// What a gzip file of one member holds. Throws if the file isn't whole: cut, with something behind
/// its end, or with a wrong check sum or length.
[[nodiscard]] std::string Gunzip(const std::string& file);

}  // namespace test

#endif  // TESTS_SUPPORT_GZIP_READER_H
