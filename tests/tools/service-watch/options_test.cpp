#include "tools/service-watch/options.h"

#include <gtest/gtest.h>

namespace service_watch {
namespace {

/// The options, or nothing for a usage error.
std::optional<Options> Parse(const std::vector<std::wstring>& arguments) {
    const auto parsed = ParseOptions(arguments);
    const auto* options = std::get_if<Options>(&parsed);
    return options == nullptr ? std::nullopt : std::optional(*options);
}

TEST(ServiceWatchOptions, ServiceAndExecutable) {
    const auto options =
        Parse({L"--for", L"5", L"--color", L"--system-drive", L"/c", L"Name", L"C:\\a b.exe"});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->seconds, 5U);
    EXPECT_TRUE(options->color);
    EXPECT_EQ(options->systemDrive, L"/c");
    EXPECT_EQ(options->serviceName, L"Name");
    EXPECT_EQ(options->image, L"C:\\a b.exe");
    EXPECT_FALSE(options->removeOnly);
}

TEST(ServiceWatchOptions, Remove_TakesAServiceAlone) {
    const auto options = Parse({L"--remove", L"Name"});
    ASSERT_TRUE(options);
    EXPECT_TRUE(options->removeOnly);
    EXPECT_EQ(options->serviceName, L"Name");
    EXPECT_FALSE(Parse({L"--remove"}));
    EXPECT_FALSE(Parse({L"--remove", L"Name", L"x.exe"}));
}

TEST(ServiceWatchOptions, WrongCommandLines_GiveNothing) {
    EXPECT_FALSE(Parse({}));
    EXPECT_FALSE(Parse({L"Name"}));
    EXPECT_FALSE(Parse({L"Name", L"x.exe", L"y"}));
    EXPECT_FALSE(Parse({L"--loud", L"Name", L"x.exe"}));
    EXPECT_FALSE(Parse({L"", L"x.exe"}));
    EXPECT_FALSE(Parse({L"Name", L"x.exe", L"--for"}));
    EXPECT_FALSE(Parse({L"Name", L"x.exe", L"--system-drive"}));
}

TEST(ServiceWatchOptions, Seconds_UpToAWeek) {
    EXPECT_EQ(Parse({L"--for", L"604800", L"Name", L"x.exe"})->seconds, 604800U);
    EXPECT_EQ(Parse({L"--for", L"0", L"Name", L"x.exe"})->seconds, 0U);
    for (const wchar_t* seconds : {L"604801", L"4294967297", L"-1", L"1s", L""}) {
        EXPECT_FALSE(Parse({L"--for", seconds, L"Name", L"x.exe"}));
    }
}

}  // namespace
}  // namespace service_watch
