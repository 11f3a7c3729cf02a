#include "tools/shared/service_manager.h"

#include <gmock/gmock.h>

namespace tools {
namespace {

TEST(ServiceManager, StateName_EachState_AndNumbersWithoutAName) {
    EXPECT_EQ(StateName(SERVICE_STOPPED), L"STOPPED");
    EXPECT_EQ(StateName(SERVICE_PAUSED), L"PAUSED");
    EXPECT_EQ(StateName(0), L"state 0");
    EXPECT_EQ(StateName(8), L"state 8");
}

TEST(ServiceManager, ErrorText_HasTheNumberAndTheSystemsTextWithoutLineEnd) {
    const std::wstring text = ErrorText(ERROR_ACCESS_DENIED);
    EXPECT_THAT(text, ::testing::StartsWith(L"error 5: "));
    EXPECT_GT(text.back(), L' ');
    EXPECT_EQ(ErrorText(0xE0000001), L"error 3758096385");
}

TEST(ServiceManager, QueryStatus_GivesNothingWithoutAService) {
    EXPECT_FALSE(QueryStatus(ServiceHandle()));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

}  // namespace
}  // namespace tools
