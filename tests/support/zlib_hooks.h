/// Replaces zlib's calls in the sources that the program compiles with `gzopen=HookedGzOpen`,
/// `gzwrite=HookedGzWrite` and `gzclose=HookedGzClose` defined.
#ifndef TESTS_SUPPORT_ZLIB_HOOKS_H
#define TESTS_SUPPORT_ZLIB_HOOKS_H

#include <zlib.h>

#include <functional>
#include <utility>

namespace test {

using GzOpen = std::function<gzFile(const char* path, const char* mode)>;
using GzWrite = std::function<int(gzFile file, voidpc data, unsigned size)>;
using GzClose = std::function<int(gzFile file)>;

/// The replacements. Without one the real function runs.
struct ZlibReplacements {
    GzOpen open;
    GzWrite write;
    GzClose close;
};

/// Sets replacements during its lifetime.
class ScopedZlib {
  public:
    explicit ScopedZlib(ZlibReplacements replacements);
    ~ScopedZlib();
    ScopedZlib(const ScopedZlib&) = delete;
    ScopedZlib& operator=(const ScopedZlib&) = delete;

  private:
    ZlibReplacements before_;
};

}  // namespace test

#endif  // TESTS_SUPPORT_ZLIB_HOOKS_H
