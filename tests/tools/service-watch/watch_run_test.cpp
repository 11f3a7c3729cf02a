#include <gmock/gmock.h>

#include "tests/end-to-end/support/host_folder.h"
#include "tests/support/unique_name.h"
#include "tools/service-watch/managed_service.h"

namespace {

using testing::HasSubstr;

std::wstring CommandLine(const std::wstring& arguments) {
    return L'"' + (test::ProductFolder() / L"service-watch.exe").wstring() + L"\" " + arguments;
}

bool IsRegistered(const std::wstring& name) {
    const service_watch::ServiceHandle manager(
        ::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
    const service_watch::ServiceHandle service(
        ::OpenServiceW(manager.Get(), name.c_str(), SERVICE_QUERY_STATUS));
    return static_cast<bool>(service);
}

TEST(ServiceWatch, GoodRun_ShowsStatesAndLog_RemovesTheService) {
    const test::HostFolder host;
    host.Script("on load register\non activate enable-stop\n");
    const std::wstring name = test::UniqueName(L"TarnwickWatch");
    test::Child watch(
        CommandLine(L"--for 2 " + name + L" \"" + host.Executable().wstring() + L'"'));
    EXPECT_EQ(watch.Wait(), 0U) << watch.Output();
    EXPECT_THAT(watch.Output(), HasSubstr("RUNNING        accepts stop, shutdown"));
    EXPECT_THAT(watch.Output(), HasSubstr("VelmoraTarnwickService in OnStart finished"));
    EXPECT_THAT(watch.Output(), HasSubstr("exit code    0 of the service, 0 of the process"));
    EXPECT_FALSE(IsRegistered(name));
}

TEST(ServiceWatch, StopThatFails_IsAFailure) {
    const test::HostFolder host;
    host.Script("on load register\non activate enable-stop\non deactivate return 5\n");
    const std::wstring name = test::UniqueName(L"TarnwickWatch");
    test::Child watch(
        CommandLine(L"--for 2 " + name + L" \"" + host.Executable().wstring() + L'"'));
    EXPECT_EQ(watch.Wait(), 1U) << watch.Output();
    EXPECT_THAT(watch.Output(), HasSubstr("exit code    1359 of the service"));
    EXPECT_FALSE(IsRegistered(name));
}

TEST(ServiceWatch, MissingExecutable_IsAFailure) {
    const std::wstring name = test::UniqueName(L"TarnwickWatch");
    test::Child watch(CommandLine(L"--for 1 " + name + L" C:\\no-such-program.exe"));
    EXPECT_EQ(watch.Wait(), 1U);
    EXPECT_THAT(watch.Output(), HasSubstr("The service didn't start: error "));
    EXPECT_FALSE(IsRegistered(name));
}

TEST(ServiceWatch, Remove_OfARegisteredAndOfAnUnknownService) {
    const std::wstring name = test::UniqueName(L"TarnwickWatch");
    {
        service_watch::ManagedService service(name);
        ASSERT_EQ(service.Register(L"C:\\x.exe"), 0U);
    }
    ASSERT_TRUE(IsRegistered(name));
    for (int time = 0; time < 2; ++time) {
        test::Child watch(CommandLine(L"--remove " + name));
        EXPECT_EQ(watch.Wait(), 0U) << watch.Output();
        EXPECT_FALSE(IsRegistered(name));
    }
}

TEST(ServiceWatch, WrongCommandLine_GivesTwo) {
    test::Child watch(CommandLine(L"--loud"));
    EXPECT_EQ(watch.Wait(), 2U);
    EXPECT_THAT(watch.Output(), HasSubstr("service-watch [--for SECONDS]"));
}

}  // namespace
