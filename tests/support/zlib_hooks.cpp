#include "tests/support/zlib_hooks.h"

namespace {

test::ZlibReplacements& Replacements() {
    static test::ZlibReplacements replacements;
    return replacements;
}

}  // namespace

#ifdef _MSC_VER

namespace test {

gzFile RealGzOpen(const char* path, const char* mode) {
    return ::gzopen(path, mode);
}

int RealGzWrite(gzFile file, voidpc data, unsigned size) {
    return ::gzwrite(file, data, size);
}

int RealGzClose(gzFile file) {
    return ::gzclose(file);
}

}  // namespace test

#else

// The names are the linker's: it turns each call of NAME into one of __wrap_NAME, and leaves the
// real one as __real_NAME.
extern "C" {

gzFile __real_gzopen(const char* path, const char* mode);
int __real_gzwrite(gzFile file, voidpc data, unsigned size);
int __real_gzclose(gzFile file);

gzFile __wrap_gzopen(const char* path, const char* mode) {
    const test::GzOpen& replacement = Replacements().open;
    return replacement ? replacement(path, mode) : __real_gzopen(path, mode);
}

int __wrap_gzwrite(gzFile file, voidpc data, unsigned size) {
    const test::GzWrite& replacement = Replacements().write;
    return replacement ? replacement(file, data, size) : __real_gzwrite(file, data, size);
}

int __wrap_gzclose(gzFile file) {
    const test::GzClose& replacement = Replacements().close;
    return replacement ? replacement(file) : __real_gzclose(file);
}

}  // extern "C"

namespace test {

gzFile RealGzOpen(const char* path, const char* mode) {
    return __real_gzopen(path, mode);
}

int RealGzWrite(gzFile file, voidpc data, unsigned size) {
    return __real_gzwrite(file, data, size);
}

int RealGzClose(gzFile file) {
    return __real_gzclose(file);
}

}  // namespace test

#endif

namespace test {

ScopedZlib::ScopedZlib(ZlibReplacements replacements)
    : before_(std::exchange(Replacements(), std::move(replacements))) {}

ScopedZlib::~ScopedZlib() {
    Replacements() = std::move(before_);
}

}  // namespace test
