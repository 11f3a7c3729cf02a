#include "tools/quillon-log/log_name.h"

#include <gtest/gtest.h>

namespace quillon_log {
namespace {

TEST(ParseLogName, PlainAndCompressedName_TellTheSameLog) {
    const auto plain = ParseLogName(L"quillon-20261120-183005-123.10.log");
    const auto packed = ParseLogName(L"quillon-20261120-183005-123.10.log.gz");
    ASSERT_TRUE(plain && packed);
    EXPECT_FALSE(plain->compressed);
    EXPECT_TRUE(packed->compressed);
    for (const auto& name : {*plain, *packed}) {
        EXPECT_EQ(name.prefix, L"quillon");
        EXPECT_EQ(name.start, ParseStamp(L"20261120-183005-123"));
        EXPECT_EQ(name.number, 10U);
        EXPECT_EQ(PlainName(name.prefix, name.start, name.number),
                  L"quillon-20261120-183005-123.10.log");
    }
}

TEST(ParseLogName, PrefixWithHyphensAndDots_IsKeptWhole) {
    const auto parsed = ParseLogName(L"a-b.c-20261120-183005-123.0.log");
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->prefix, L"a-b.c");
}

TEST(ParseLogName, OtherNames_AreNoLogs) {
    for (const wchar_t* name :
         {L"", L".log", L"notes.log", L"quillon-20261120-183005-123.log",
          L"quillon-20261120-183005-123..log", L"quillon-20261120-183005-123.x.log",
          L"quillon-20261120-183005-123.07.log", L"quillon-20261120-183005-123.4294967296.log",
          L"quillon20261120-183005-123.0.log", L"quillon-20261120-183005-123.0.txt",
          L"quillon-20261120-183005-123.0.log.gz.bak"}) {
        EXPECT_FALSE(ParseLogName(name)) << name;
    }
}

}  // namespace
}  // namespace quillon_log
