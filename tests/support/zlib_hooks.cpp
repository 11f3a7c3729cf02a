#include "tests/support/zlib_hooks.h"

#include "tests/support/spoiled_error.h"

namespace {

test::ZlibReplacements& Replacements() {
    static test::ZlibReplacements replacements;
    return replacements;
}

}  // namespace

extern "C" {

gzFile HookedGzOpen(const char* path, const char* mode) {
    const test::GzOpen& replacement = Replacements().open;
    const test::SpoilAtEnd spoil;
    return replacement ? replacement(path, mode) : ::gzopen(path, mode);
}

int HookedGzWrite(gzFile file, voidpc data, unsigned size) {
    const test::GzWrite& replacement = Replacements().write;
    const test::SpoilAtEnd spoil;
    return replacement ? replacement(file, data, size) : ::gzwrite(file, data, size);
}

int HookedGzClose(gzFile file) {
    const test::GzClose& replacement = Replacements().close;
    const test::SpoilAtEnd spoil;
    return replacement ? replacement(file) : ::gzclose(file);
}

}  // extern "C"

namespace test {

ScopedZlib::ScopedZlib(ZlibReplacements replacements)
    : before_(std::exchange(Replacements(), std::move(replacements))) {}

ScopedZlib::~ScopedZlib() {
    Replacements() = std::move(before_);
}

}  // namespace test
