// The first calls of the logger's accessor, on several threads at once.

#include <gtest/gtest.h>

#include <memory>

#include "tests/races/rounds.h"
#include "tests/support/child_process.h"

namespace {

constexpr unsigned LocksOfALogger = 3;

struct LibraryCloser {
    void operator()(HMODULE library) const { ::FreeLibrary(library); }
};
using Library = std::unique_ptr<std::remove_pointer_t<HMODULE>, LibraryCloser>;

template <class Function>
Function Find(const Library& library, const char* name) {
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(::GetProcAddress(library.get(), name)));
}

// A process has only one first call, but a library has one at each load.
TEST(LoggerRaces, FirstCallsOfInstance_MakeOneLogger) {
    const std::wstring path = test::OwnPath().parent_path() / L"first_use_library.dll";
    // Each load uses one of the 1,088 thread-local slots of a process: MinGW's thread library never
    // releases its slot.
    test::PlayRounds({.rounds = 300, .longRounds = 1000}, [&path](test::RaceRound& round) {
        const Library library(::LoadLibraryW(path.c_str()));
        ASSERT_NE(library, nullptr);
        const auto firstUse = Find<const void* (*)()>(library, "FirstUse");
        const auto locksMade = Find<unsigned (*)()>(library, "LocksMade");
        const void* seen[2] = {};
        test::RunTogether(round, {[&] { seen[0] = firstUse(); }, [&] { seen[1] = firstUse(); }});
        EXPECT_NE(seen[0], nullptr);
        EXPECT_EQ(seen[0], seen[1]);
        EXPECT_EQ(locksMade(), LocksOfALogger) << "the logger was made more than once";
    });
}

}  // namespace
