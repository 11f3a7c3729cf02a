#include "tools/quillon-log/log_name.h"

#include <gtest/gtest.h>

namespace quillon_log {
namespace {

TEST(ParseLogName, PlainAndCompressedName_TellTheSameLog) {
    const auto plain = ParseLogName(L"quillon-20261120-183005-123.10.log");
    const auto packed = ParseLogName(L"quillon-20261120-183005-123.10.log.gz");
    ASSERT_TRUE(plain && packed);
    EXPECT_EQ(plain->name, packed->name);
    EXPECT_FALSE(plain->compressed);
    EXPECT_TRUE(packed->compressed);
    EXPECT_EQ(plain->name.prefix, L"quillon");
    EXPECT_EQ(plain->name.start, 20261120'183005'123);
    EXPECT_EQ(plain->name.number, 10U);
}

TEST(ParseLogName, PrefixWithHyphensAndDots_IsKeptWhole) {
    const auto parsed = ParseLogName(L"a-b.c-20261120-183005-123.0.log");
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->name.prefix, L"a-b.c");
}

TEST(ParseLogName, OtherNames_AreNoLogs) {
    for (const wchar_t* name :
         {L"", L".log", L"notes.log", L"quillon-20261120-183005-123.log",
          L"quillon-20261120-183005-123..log", L"quillon-20261120-183005-123.x.log",
          L"quillon-20261120-183005-123.4294967296.log", L"quillon20261120-183005-123.0.log",
          L"quillon-20261120-183005-123.0.txt", L"quillon-20261120-183005-123.0.log.gz.bak"}) {
        EXPECT_FALSE(ParseLogName(name)) << name;
    }
}

TEST(LogName, Order_IsByStartThenByNumberAsANumber) {
    const auto name = [](const wchar_t* text) { return ParseLogName(text)->name; };
    EXPECT_LT(name(L"quillon-20261120-183005-123.9.log"),
              name(L"quillon-20261120-183005-123.10.log"));
    EXPECT_LT(name(L"quillon-20261120-183005-123.10.log"),
              name(L"quillon-20261120-183005-124.0.log"));
    EXPECT_LT(name(L"zeta-20261119-235959-999.0.log"), name(L"alpha-20261120-000000-000.0.log"));
}

}  // namespace
}  // namespace quillon_log
