// The crash path while memory runs out: lines get lost, the dump and the exit code don't.

#include <gtest/gtest.h>

#include <cwchar>
#include <memory>
#include <new>
#include <vector>

#include "framework/exception/exception_filter.h"
#include "tests/framework/exception/crash_path_calls.h"
#include "tests/support/guarded_heap.h"
#include "tests/support/log_capture.h"

namespace framework {
namespace {

constexpr DWORD AccessViolation = 0xC0000005;

/// Refuses the allocations `first` to `last` of all that come while it lives, counted from 1.
class Refusal {
  public:
    Refusal(std::size_t first, std::size_t last) {
        count = 0;
        firstRefused = first;
        lastRefused = last;
        test::ObserveHeap(&Observer);
    }
    ~Refusal() { test::ObserveHeap(nullptr); }
    Refusal(const Refusal&) = delete;
    Refusal& operator=(const Refusal&) = delete;

    [[nodiscard]] static std::size_t Count() { return count; }

  private:
    static void Take() {
        ++count;
        if (count >= firstRefused && count <= lastRefused) {
            throw std::bad_alloc();
        }
    }

    static constexpr test::HeapObserver Observer = {Take, [](const void*) {}};
    inline static std::size_t count = 0;
    inline static std::size_t firstRefused = 0;
    inline static std::size_t lastRefused = 0;
};

class CrashMemory : public ::testing::Test {
  protected:
    /// One pass of the filter; how many lines it left.
    std::size_t LinesOfAPass(std::size_t firstRefused, std::size_t lastRefused) {
        log_.Clear();
        dumps_ = 0;
        ends_ = 0;
        test::MadeUpException exception(AccessViolation);
        {
            const Refusal refusal(firstRefused, lastRefused);
            ExceptionFilter::ExceptionProcessing(exception.Pointers());
            allocations_ = Refusal::Count();
        }
        EXPECT_EQ(dumps_, 1);
        EXPECT_EQ(ends_, 1);
        EXPECT_EQ(exitCode_, AccessViolation);
        return log_.Lines().size();
    }

    test::LogCapture log_;
    int dumps_ = 0;
    int ends_ = 0;
    UINT exitCode_ = 0;
    std::size_t allocations_ = 0;
    // Stand-ins that allocate nothing.
    test::ScopedHook<test::CreateFileWHook> create_{[](const wchar_t* name, auto... rest) {
        return std::wcsstr(name, L".dmp") != nullptr ? test::FakeDumpFile
                                                     : test::CreateFileWHook::Real(name, rest...);
    }};
    test::ScopedHook<test::MiniDumpWriteDumpHook> dump_{[this](auto...) {
        ++dumps_;
        return TRUE;
    }};
    test::ScopedHook<test::TerminateProcessHook> end_{[this](HANDLE, UINT exitCode) {
        ++ends_;
        exitCode_ = exitCode;
        return FALSE;
    }};
    // The line that names the dump needs memory because of the percent sign; the others need none.
    ExceptionFilter filter_{{nullptr, nullptr, 0, L"X:\\%a.dmp", 0}};
};

TEST_F(CrashMemory, AnAllocationRefused_LosesAtMostItsLine) {
    const std::size_t all = LinesOfAPass(0, 0);
    const std::size_t allocations = allocations_;
    ASSERT_EQ(all, 5U);
    ASSERT_GT(allocations, 0U);
    std::size_t lost = 0;
    for (std::size_t refused = 1; refused <= allocations; ++refused) {
        SCOPED_TRACE(refused);
        const std::size_t lines = LinesOfAPass(refused, refused);
        EXPECT_GE(lines, all - 1);
        lost += all - lines;
    }
    EXPECT_GT(lost, 0U) << "nothing was refused";
}

TEST_F(CrashMemory, AllAllocationsRefusedFromOneOn_StillEndsWithDumpAndCode) {
    LinesOfAPass(0, 0);
    const std::size_t allocations = allocations_;
    for (std::size_t refused = 1; refused <= allocations; ++refused) {
        SCOPED_TRACE(refused);
        LinesOfAPass(refused, SIZE_MAX);
    }
    EXPECT_EQ(LinesOfAPass(1, SIZE_MAX), 4U);
}

TEST_F(CrashMemory, RefusedInTheDestructor_LeavesTheLineThatNeedsNoMemory) {
    auto filter = std::make_unique<ExceptionFilter>(
        ExceptionFilterConfig{nullptr, nullptr, 0, L"X:\\a.dmp", 0});
    log_.Clear();
    {
        const Refusal refusal(1, SIZE_MAX);
        filter.reset();
    }
    EXPECT_EQ(log_.Lines().size(), 1U);
}

}  // namespace
}  // namespace framework
