// The log when one allocation fails, for each allocation.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <new>
#include <string>
#include <vector>

#include "framework/logger/internal_trace.h"
#include "framework/logger/log_compression.h"
#include "framework/logger/log_retention.h"
#include "framework/logger/logger.h"
#include "tests/framework/logger/log_run.h"
#include "tests/framework/logger/refused_memory.h"
#include "tests/support/platform_hooks.h"

namespace {

namespace fs = std::filesystem;
using framework::LoggerConfig;
using test::LogBytes;
using test::LogRun;
using test::RecordOfBytes;
using test::Refusal;
using test::RefusedMemory;
using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::wstring>;

constexpr std::uint32_t MostAllocations = 200;

DWORD OpenHandles() {
    DWORD count = 0;
    EXPECT_NE(::GetProcessHandleCount(::GetCurrentProcess(), &count), FALSE);
    return count;
}

/// Calls `act(refusal, number)` for each allocation in turn, until `number` exceeds the last one.
template <class Act>
void ForEachAllocation(const Act& act) {
    for (const Refusal refusal : {Refusal::Once, Refusal::FromThenOn}) {
        std::uint32_t number = 1;
        while (act(refusal, number)) {
            ASSERT_LT(++number, MostAllocations);
        }
        EXPECT_GT(number, 1U) << "nothing is allocated here";
    }
}

std::string Place(Refusal refusal, std::uint32_t number) {
    return "allocation " + std::to_string(number) +
           (refusal == Refusal::Once ? "" : " and all later ones");
}

class LoggerMemory : public testing::TestWithParam<bool> {};

LoggerConfig ConfigFor(bool compresses) {
    return compresses ? test::RotatingConfig() : test::PlainConfig();
}

/// The records of both files without the header, with which the second file begins.
Texts RecordsOfBothFiles(const LogRun& run) {
    Texts records = run.Records(0);
    Texts second = run.Records(1);
    const Texts header = test::HeaderRecords();
    EXPECT_GE(second.size(), header.size());
    if (second.size() >= header.size()) {
        const auto end = second.begin() + static_cast<std::ptrdiff_t>(header.size());
        EXPECT_EQ(Texts(second.begin(), end), header);
        records.insert(records.end(), end, second.end());
    }
    return records;
}

/// Logs the record that rotates, with one allocation failing. False if it needed no such
/// allocation.
bool RotateWithout(const LoggerConfig& config, Refusal refusal, std::uint32_t number) {
    SCOPED_TRACE(Place(refusal, number));
    LogRun run;
    run.Configure(config);
    const std::wstring rotating(600, L'a');
    bool refused = false;
    bool threw = false;
    {
        const RefusedMemory memory(number, refusal);
        try {
            framework::Logger::Instance().Log(4, L"T", nullptr, L"", 1, L"", L"%s",
                                              rotating.c_str());
        } catch (const std::bad_alloc&) {
            threw = true;
        }
        refused = RefusedMemory::Refused();
    }
    EXPECT_EQ(threw, refused);
    LogBytes(100, L'b');
    LogBytes(100, L'c');
    LogRun::End();
    EXPECT_THAT(RecordsOfBothFiles(run),
                ElementsAre(L"[T][quillon] " + rotating, RecordOfBytes(100, L'b'),
                            RecordOfBytes(100, L'c'), L"[T][quillon] End"));
    return refused;
}

TEST_P(LoggerMemory, RotationWithoutMemory_LeavesAWholeLog) {
    ForEachAllocation([](Refusal refusal, std::uint32_t number) {
        return RotateWithout(ConfigFor(GetParam()), refusal, number);
    });
}

INSTANTIATE_TEST_SUITE_P(Compression, LoggerMemory, testing::Bool(), [](const auto& compresses) {
    return std::string(compresses.param ? "On" : "Off");
});

TEST(LoggerMemory, UsualRecords_AllocateNothing) {
    LogRun run;
    run.Configure(test::QuietConfig());
    const RefusedMemory memory(1, Refusal::FromThenOn);
    framework::Logger::Instance().Log(4, L"T", nullptr, L"", 1, L"", L"%s",
                                      L"a text of some length");
    framework::InternalTrace(1, L"ExceptionFilter (Thread %lu): exception occur \n",
                             ::GetCurrentThreadId());
    framework::Logger::Instance().WriteHeader();
    EXPECT_FALSE(RefusedMemory::Refused());
}

TEST(LoggerMemory, LongRecordWithoutMemory_IsLostAlone) {
    LogRun run;
    run.Configure(test::QuietConfig());
    const std::wstring text(5000, L'a');
    {
        const RefusedMemory memory(1, Refusal::Once);
        EXPECT_THROW(
            framework::Logger::Instance().Log(4, L"T", nullptr, L"", 1, L"", L"%s", text.c_str()),
            std::bad_alloc);
    }
    test::LogMessage(L"later");
    EXPECT_THAT(run.Records(0), ElementsAre(L"[T][quillon] later"));
}

TEST(LoggerMemory, LostCompression_LeavesNoHandleOpen) {
    const test::ScratchFolder folder;
    const std::wstring source = folder.WithBackslash() + L"a.log";
    const std::wstring target = source + L".gz";
    ForEachAllocation([&](Refusal refusal, std::uint32_t number) {
        SCOPED_TRACE(Place(refusal, number));
        test::WriteFileBytes(source, "content");
        const DWORD before = OpenHandles();
        bool refused = false;
        {
            const RefusedMemory memory(number, refusal);
            try {
                static_cast<void>(framework::CompressFile(source, target));
            } catch (const std::bad_alloc&) {
            }
            refused = RefusedMemory::Refused();
        }
        EXPECT_EQ(OpenHandles(), before);
        EXPECT_TRUE(fs::remove(source));
        if (fs::exists(target)) {
            EXPECT_TRUE(fs::remove(target));
        }
        return refused;
    });
}

TEST(LoggerMemory, RetentionPass_LetsNothingOut) {
    test::LogCapture log;
    const test::ScratchFolder folder;
    ForEachAllocation([&](Refusal refusal, std::uint32_t number) {
        SCOPED_TRACE(Place(refusal, number));
        test::WriteFileBytes(folder.Path() / L"a.log", "content");
        test::WriteFileBytes(folder.Path() / L"b.log", "content");
        framework::LogRetentionParams params = {folder.WithBackslash(), L"*.log", 70, 5};
        const DWORD before = OpenHandles();
        const RefusedMemory memory(number, refusal);
        EXPECT_NO_THROW(framework::RunLogRetention(std::move(params)));
        EXPECT_EQ(OpenHandles(), before);
        return RefusedMemory::Refused();
    });
}

/// The number of allocations of the first of the two passes over this folder.
std::uint32_t AllocationsOfFirstPass(const test::ScratchFolder& folder) {
    const std::wstring directory = folder.WithBackslash();
    const RefusedMemory none(0, Refusal::Once);
    framework::RunLogRetention({directory, L"*.log", 70, 16 * 1024 * 1024});
    return RefusedMemory::Count();
}

/// The patterns that the last retention run searches for, with one allocation failing.
Texts PatternsOfLastRun(const LogRun& run, std::uint32_t number) {
    LoggerConfig config = test::RetentionConfig();
    LogRun::ConfigureIn(run.Folder().WithBackslash(), config);
    Texts patterns(2);
    std::size_t searches = 0;
    const test::ScopedHook<test::FindFirstFileWHook> hook(
        [&](const wchar_t* pattern, WIN32_FIND_DATAW* found) {
            if (std::wstring_view(pattern).ends_with(L".log.gz")) {
                patterns[searches++] = L"gz";
            } else {
                patterns[searches++] = L"log";
            }
            return test::FindFirstFileWHook::Real(pattern, found);
        });
    const RefusedMemory memory(number, Refusal::Once);
    LogRun::End();
    EXPECT_TRUE(RefusedMemory::Refused());
    patterns.resize(searches);
    return patterns;
}

TEST(LoggerMemory, FirstRetentionPassWithoutMemory_IsFollowedByTheSecond) {
    LogRun run;
    test::WriteFileBytes(run.Folder().Path() / L"a.log", "content");
    const std::uint32_t count = AllocationsOfFirstPass(run.Folder());
    ASSERT_GT(count, 0U);
    for (std::uint32_t number = 1; number <= count; ++number) {
        SCOPED_TRACE(Place(Refusal::Once, number));
        const Texts patterns = PatternsOfLastRun(run, number);
        ASSERT_THAT(patterns, testing::Not(IsEmpty()));
        EXPECT_EQ(patterns.back(), L"gz");
    }
}

TEST(LoggerMemory, ShutdownWithoutMemory_ClosesTheFileAndThrowsNothing) {
    ForEachAllocation([](Refusal refusal, std::uint32_t number) {
        SCOPED_TRACE(Place(refusal, number));
        LogRun run;
        run.Configure(test::RotatingConfig());
        LogBytes(100);
        bool refused = false;
        {
            const RefusedMemory memory(number, refusal);
            LogRun::End();
            refused = RefusedMemory::Refused();
        }
        EXPECT_THAT(run.Records(0), ElementsAre(RecordOfBytes(100), L"[T][quillon] End"));
        for (const std::wstring& name : run.Folder().Names()) {
            EXPECT_TRUE(fs::remove(run.Folder().Path() / name));
        }
        return refused;
    });
}

}  // namespace
