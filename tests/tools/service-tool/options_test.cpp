#include "tools/service-tool/options.h"

#include <gtest/gtest.h>

#include <string>

namespace service_tool {
namespace {

std::wstring ErrorOf(const std::vector<std::wstring>& arguments) {
    const auto parsed = ParseOptions(arguments);
    const auto* error = std::get_if<OptionError>(&parsed);
    return error == nullptr ? L"" : error->text;
}

Options Parse(const std::vector<std::wstring>& arguments) {
    const auto parsed = ParseOptions(arguments);
    EXPECT_TRUE(std::holds_alternative<Options>(parsed));
    return std::holds_alternative<Options>(parsed) ? std::get<Options>(parsed) : Options();
}

TEST(ServiceToolOptions, Commands) {
    EXPECT_EQ(Parse({L"install"}).command, Command::Install);
    EXPECT_EQ(Parse({L"check"}).command, Command::Check);
    EXPECT_EQ(Parse({L"status"}).command, Command::Status);
    EXPECT_EQ(Parse({L"stop"}).command, Command::Stop);
    EXPECT_EQ(Parse({L"uninstall"}).command, Command::Uninstall);
}

TEST(ServiceToolOptions, OptionsBeforeOrAfterTheCommand) {
    const Options options = Parse({L"--dry-run", L"uninstall", L"--remove-logs", L"--wait", L"7"});
    EXPECT_TRUE(options.dryRun);
    EXPECT_TRUE(options.removeLogs);
    EXPECT_EQ(options.waitSeconds, 7U);
    EXPECT_EQ(Parse({L"stop"}).waitSeconds, 120U);
}

TEST(ServiceToolOptions, UnknownArgument_IsAnError) {
    EXPECT_EQ(ErrorOf({L"instal"}), L"there is no command instal");
    EXPECT_EQ(ErrorOf({L"install", L"now"}), L"unknown argument: now");
    EXPECT_EQ(ErrorOf({L"install", L"/dryrun"}), L"unknown argument: /dryrun");
    EXPECT_EQ(ErrorOf({L"install", L"--dryrun"}), L"there is no option --dryrun");
    EXPECT_EQ(ErrorOf({}), L"a command is missing");
    EXPECT_EQ(ErrorOf({L"--dry-run"}), L"a command is missing");
}

TEST(ServiceToolOptions, OptionOfAnotherCommand_IsAnError) {
    EXPECT_EQ(ErrorOf({L"check", L"--dry-run"}), L"check takes no --dry-run");
    EXPECT_EQ(ErrorOf({L"install", L"--wait", L"5"}), L"install takes no --wait");
    EXPECT_EQ(ErrorOf({L"stop", L"--remove-logs"}), L"stop takes no --remove-logs");
}

TEST(ServiceToolOptions, WaitThatIsNoNumber_IsAnError) {
    for (const wchar_t* value : {L"abc", L"12x", L"-1", L"3-1", L"", L"86401"}) {
        EXPECT_EQ(ErrorOf({L"uninstall", L"--wait", value}),
                  L"--wait needs a number from 0 to 86400");
    }
    EXPECT_EQ(ErrorOf({L"uninstall", L"--wait"}), L"--wait needs a value");
    EXPECT_EQ(Parse({L"uninstall", L"--wait", L"86400"}).waitSeconds, 86400U);
}

TEST(ServiceToolOptions, Help_NeedsNoCommand) {
    EXPECT_TRUE(Parse({L"--help"}).help);
    EXPECT_TRUE(Parse({L"-h"}).help);
}

}  // namespace
}  // namespace service_tool
