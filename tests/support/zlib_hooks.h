/// Replaces zlib's calls in a program that is linked with `--wrap` for each of them: the product's
/// call of `gzwrite` then arrives here.
#ifndef TESTS_SUPPORT_ZLIB_HOOKS_H
#define TESTS_SUPPORT_ZLIB_HOOKS_H

#include <zlib.h>

#include <functional>
#include <utility>

namespace test {

/// A linker without `--wrap` can't replace the calls of a static library: tests that need it are
/// skipped there.
#ifdef _MSC_VER
constexpr bool ZlibCallsCanBeReplaced = false;
#else
constexpr bool ZlibCallsCanBeReplaced = true;
#endif

using GzOpen = std::function<gzFile(const char* path, const char* mode)>;
using GzWrite = std::function<int(gzFile file, voidpc data, unsigned size)>;
using GzClose = std::function<int(gzFile file)>;

/// The replacements; empty ones let the real function run.
struct ZlibReplacements {
    GzOpen open;
    GzWrite write;
    GzClose close;
};

gzFile RealGzOpen(const char* path, const char* mode);
int RealGzWrite(gzFile file, voidpc data, unsigned size);
int RealGzClose(gzFile file);

/// Sets replacements for as long as it lives.
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
