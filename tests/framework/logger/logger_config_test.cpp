#include "framework/logger/logger_config.h"

#include <gmock/gmock.h>

namespace framework {
namespace {

constexpr std::uint32_t MiB = 1024 * 1024;

struct BudgetCase {
    std::uint32_t maxLogFilesSize;
    bool compress;
    std::uint32_t compressedBudget;
    std::uint32_t plainBudget;
};

void PrintTo(const BudgetCase& row, std::ostream* out) {
    *out << row.maxLogFilesSize << (row.compress ? " with" : " without") << " compression";
}

class SplitBudgetTable : public ::testing::TestWithParam<BudgetCase> {};

TEST_P(SplitBudgetTable, Budgets_AreSplitAsTold) {
    const BudgetCase& row = GetParam();
    const RetentionBudgets budgets = SplitBudget(row.maxLogFilesSize, row.compress);
    EXPECT_EQ(budgets.CompressedLogsBudget, row.compressedBudget);
    EXPECT_EQ(budgets.PlainLogsBudget, row.plainBudget);
}

const BudgetCase BudgetCases[] = {
    {0, true, 16 * MiB, 16 * MiB},
    {1, true, 16 * MiB, 16 * MiB},
    {16 * MiB, true, 16 * MiB, 16 * MiB},
    // The default: the sum of the two exceeds it.
    {25 * MiB, true, 16 * MiB, 16 * MiB},
    {33554431, true, 16777216, 16777216},
    {33554432, true, 16777216, 16777216},
    {33554433, true, 16777217, 16777216},
    {100 * MiB, true, 84 * MiB, 16 * MiB},
    {4294967295U, true, 4278190079U, 16777216},
    {0, false, 0, 0},
    {25 * MiB, false, 0, 25 * MiB},
    {33554433, false, 0, 33554433},
    {4294967295U, false, 0, 4294967295U},
};

INSTANTIATE_TEST_SUITE_P(Sizes, SplitBudgetTable, ::testing::ValuesIn(BudgetCases));

TEST(RetentionBudgets, RecordThatNobodyFilled_IsAllZero) {
    const RetentionBudgets budgets;
    EXPECT_EQ(budgets.CompressedLogsBudget, 0U);
    EXPECT_EQ(budgets.PlainLogsBudget, 0U);
}

TEST(LoggerConfig, RecordThatNobodyFilled_IsAllZero) {
    const LoggerConfig config;
    EXPECT_TRUE(config.ComponentName.empty() && config.LogDirectory.empty() &&
                config.FilePrefix.empty());
    EXPECT_EQ(config.BuildNumber, 0U);
    EXPECT_EQ(config.MaxFileSize, 0U);
    EXPECT_EQ(config.TraceLevelsMask, 0U);
    EXPECT_FALSE(config.LogToFile || config.LogToConsole || config.LogToDebugger);
    EXPECT_FALSE(config.RecordFlag || config.RecordSourceLocation);
    EXPECT_FALSE(config.DisableLogRetention || config.CompressRotatedLogs);
    EXPECT_EQ(config.ExpiredPeriodInDays, 0U);
    EXPECT_EQ(config.MaxLogFilesSize, 0U);
}

}  // namespace
}  // namespace framework
