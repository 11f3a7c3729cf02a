#include "tests/support/guarded_heap.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <new>
#include <thread>
#include <vector>

#include "tests/support/child_process.h"

namespace test {
namespace {

constexpr std::uint32_t AccessViolation = 0xC0000005;

/// Hides the errors below from the compiler, which could warn or optimise them away.
template <class Pointer>
Pointer Unseen(Pointer pointer) {
    volatile Pointer place = pointer;
    return place;
}

using Misuse = void (*)();

struct NamedMisuse {
    const char* name;
    std::uint32_t exitCode;
    Misuse misuse;
};

void FreeWithSize(void* block, std::size_t size) {
    ::operator delete(block, size);
}

struct alignas(64) Aligned {
    char text[64];
};

const NamedMisuse Misuses[] = {
    {"read_behind", AccessViolation,
     [] {
         const std::unique_ptr<char[]> block(new char[32]);
         static_cast<void>(*Unseen<volatile char*>(block.get() + 32));
     }},
    {"write_behind", AccessViolation,
     [] {
         const std::unique_ptr<char[]> block(new char[4096]);
         *Unseen<volatile char*>(block.get() + 4096) = 1;
     }},
    {"write_into_the_gap_behind", HeapMisuse,
     [] {
         const std::unique_ptr<char[]> block(new char[33]);
         *Unseen<volatile char*>(block.get() + 33) = 1;
     }},
    {"write_before", HeapMisuse,
     [] {
         const std::unique_ptr<char[]> block(new char[32]);
         *Unseen<volatile char*>(block.get() - 1) = 1;
     }},
    {"write_before_a_large_one", AccessViolation,
     [] {
         const std::unique_ptr<char[]> block(new char[8192]);
         *Unseen<volatile char*>(block.get() - 1) = 1;
     }},
    {"read_freed", AccessViolation,
     [] {
         int* const block = Unseen(new int(7));
         delete block;
         static_cast<void>(*Unseen<volatile int*>(block));
     }},
    {"write_freed", AccessViolation,
     [] {
         int* const block = Unseen(new int(7));
         delete block;
         *Unseen<volatile int*>(block) = 8;
     }},
    {"free_twice", HeapMisuse,
     [] {
         int* const block = Unseen(new int(7));
         delete block;
         delete Unseen(block);
     }},
    {"free_inside", HeapMisuse,
     [] { ::operator delete(Unseen(static_cast<char*>(::operator new(64)) + 16)); }},
    {"array_as_object", HeapMisuse,
     [] { ::operator delete(Unseen(static_cast<void*>(::operator new[](32)))); }},
    {"object_as_array", HeapMisuse,
     [] { ::operator delete[](Unseen(static_cast<void*>(::operator new(32)))); }},
    {"other_size", HeapMisuse, [] { FreeWithSize(Unseen(::operator new(32)), 48); }},
    {"other_alignment", HeapMisuse,
     [] { ::operator delete(Unseen(::operator new(64, std::align_val_t(64)))); }},
};

const ChildRoutine misuseRoutine(L"misuse", [](const std::vector<std::wstring>& arguments) {
    // Ends the process with the exception code, without any installed debugger.
    ::SetUnhandledExceptionFilter(
        [](EXCEPTION_POINTERS*) -> LONG { return EXCEPTION_EXECUTE_HANDLER; });
    const GuardedHeap guards;
    Misuses[std::stoul(arguments.at(0))].misuse();
    return 0;
});

class GuardedHeapMisuse : public testing::TestWithParam<std::size_t> {};

TEST_P(GuardedHeapMisuse, EndsTheProcess) {
    Child child(SelfCommandLine(L"misuse", {std::to_wstring(GetParam())}));
    EXPECT_EQ(child.Wait(), Misuses[GetParam()].exitCode);
    const bool isTold = child.Output().find("guarded heap: ") != std::string::npos;
    EXPECT_EQ(isTold, Misuses[GetParam()].exitCode == HeapMisuse) << child.Output();
}

INSTANTIATE_TEST_SUITE_P(Every, GuardedHeapMisuse,
                         testing::Range(std::size_t{0}, std::size(Misuses)),
                         [](const auto& row) { return Misuses[row.param].name; });

TEST(GuardedHeap, IsSwitchedOnInTests) {
    const std::size_t before = GuardedBlocks();
    const std::unique_ptr<int> block(Unseen(new int(1)));
    EXPECT_EQ(GuardedBlocks(), before + 1);
}

TEST(GuardedHeap, BlocksOfEverySize_HoldWhatIsPutThere) {
    for (std::size_t size = 0; size < 9000; size += size < 70 ? 1 : 61) {
        std::vector<unsigned char> block(size, 0xA5);
        const std::vector<unsigned char> other(size, 0x5A);
        EXPECT_EQ(block, std::vector<unsigned char>(size, 0xA5));
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.data()) % 16, 0U);
    }
}

TEST(GuardedHeap, BlockOfNoSize_CanBeFreed) {
    const std::unique_ptr<char[]> block(new char[Unseen(std::size_t{0})]);
    EXPECT_NE(block, nullptr);
}

TEST(GuardedHeap, AlignedBlocks_AreAligned) {
    for (int round = 0; round < 10; ++round) {
        const auto block = std::make_unique<Aligned>();
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block.get()) % 64, 0U);
    }
}

TEST(GuardedHeap, BlocksBehindTheLimit_ArePlainUntilItEnds) {
    const std::size_t before = GuardedBlocks();
    {
        const GuardedHeap three(3);
        for (int index = 0; index < 5; ++index) {
            delete Unseen(new int(index));
        }
        EXPECT_EQ(GuardedBlocks(), before + 3);
    }
    delete Unseen(new int(5));
    EXPECT_EQ(GuardedBlocks(), before + 4);
}

TEST(GuardedHeap, MoreBlocksThanThereAreAddresses_AreAllGuarded) {
    constexpr int Blocks = 300000;  // of two pages each, in 2 GiB
    const GuardedHeap guards(Blocks);
    for (int index = 0; index < Blocks; ++index) {
        delete Unseen(new int(index));
    }
    EXPECT_EQ(UnguardedBlocks(), 0U);
}

TEST(GuardedHeap, Threads_TakeAndFreeAtTheSameTime) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([] {
            for (std::size_t round = 1; round < 500; ++round) {
                std::vector<std::size_t> block(round, round);
                EXPECT_EQ(block.back(), round);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// Allocated before any test starts.
std::unique_ptr<std::vector<int>> plain = std::make_unique<std::vector<int>>(3);

TEST(GuardedHeap, PlainBlockFreedWhileGuardsAreOn_IsNoMistake) {
    const std::size_t before = GuardedBlocks();
    plain.reset();
    EXPECT_EQ(GuardedBlocks(), before);
}

}  // namespace
}  // namespace test
