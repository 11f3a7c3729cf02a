// Where the allocations of the program arrive: operator new; malloc as the product's libraries and
// zlib call it; and malloc, calloc and realloc as the run-time libraries that are linked in call
// them. Those of the system's DLLs don't arrive here.

#include <cstdlib>
#include <new>

#include "framework/system/platform.h"
#include "tests/faults/fault_plan.h"

namespace {

/// A function of the C run-time library. By name: the linker takes __wrap_NAME for the import of
/// NAME as well, and lld also for __real_NAME.
template <class Function>
Function* RuntimeFunction(const char* name) {
    const HMODULE library = ::GetModuleHandleW(L"msvcrt.dll");
    return reinterpret_cast<Function*>(reinterpret_cast<void*>(::GetProcAddress(library, name)));
}

void* RealMalloc(std::size_t size) {
    static constinit void* (*real)(std::size_t) = nullptr;
    if (real == nullptr) {
        real = RuntimeFunction<void*(std::size_t)>("malloc");
    }
    return real(size);
}

}  // namespace

/// The name to which the copies of the product's libraries and of zlib change malloc.
extern "C" void* fault_malloc(std::size_t size) {
    return faults::Refuses("malloc", __builtin_return_address(0)) ? nullptr : RealMalloc(size);
}

// NOLINTBEGIN(bugprone-reserved-identifier, readability-identifier-naming): the linker's names
extern "C" {

void* __wrap_malloc(std::size_t size) {
    return faults::Refuses("run-time malloc", __builtin_return_address(0)) ? nullptr
                                                                           : RealMalloc(size);
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
    static constinit void* (*real)(std::size_t, std::size_t) = nullptr;
    if (real == nullptr) {
        real = RuntimeFunction<void*(std::size_t, std::size_t)>("calloc");
    }
    return faults::Refuses("run-time calloc", __builtin_return_address(0)) ? nullptr
                                                                           : real(count, size);
}

void* __wrap_realloc(void* block, std::size_t size) {
    static constinit void* (*real)(void*, std::size_t) = nullptr;
    if (real == nullptr) {
        real = RuntimeFunction<void*(void*, std::size_t)>("realloc");
    }
    return faults::Refuses("run-time realloc", __builtin_return_address(0)) ? nullptr
                                                                            : real(block, size);
}
}
// NOLINTEND(bugprone-reserved-identifier, readability-identifier-naming)

namespace {

void* Take(std::size_t size, const void* returnAddress) noexcept {
    if (faults::Refuses("operator new", returnAddress)) {
        return nullptr;
    }
    return RealMalloc(size == 0 ? 1 : size);
}

void* TakeOrThrow(std::size_t size, const void* returnAddress) {
    void* const block = Take(size, returnAddress);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

}  // namespace

void* operator new(std::size_t size) {
    return TakeOrThrow(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size) {
    return TakeOrThrow(size, __builtin_return_address(0));
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Take(size, __builtin_return_address(0));
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return Take(size, __builtin_return_address(0));
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}
void operator delete[](void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}
