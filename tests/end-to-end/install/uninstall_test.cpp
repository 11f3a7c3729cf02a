#include <string>

#include "tests/end-to-end/install/installation.h"
#include "tests/end-to-end/support/log_files.h"
#include "tests/support/scratch_folder.h"
#include "tools/service-tool/registry_key.h"

namespace test {
namespace {

namespace fs = std::filesystem;
using service_tool::EventSourceKey;
using service_tool::ServiceKey;

constexpr const char* EndsLate = "on load register\non activate enable-stop\non free delay ";

TEST_F(InstallTest, Uninstall_LeavesNothingButTheLogs) {
    Install();
    StartService();
    const ToolRun run = Tool(L"uninstall");
    EXPECT_EQ(run.code, 0U);
    EXPECT_TRUE(run.Says("  done      service stopped, its process has ended")) << run.All();
    EXPECT_TRUE(run.Says("  removed   service and its settings"));
    EXPECT_TRUE(run.Says("  removed   event source"));
    EXPECT_TRUE(run.Says("  kept      logs in ..."));
    EXPECT_TRUE(service_tool::ProcessesOf(Host().Executable().wstring()).empty());
    EXPECT_FALSE(IsRegistered());
    EXPECT_FALSE(service_tool::KeyExists(ServiceKey));
    EXPECT_FALSE(service_tool::KeyExists(EventSourceKey));
    const auto logs = LogFilesIn(Data() / L"Logs");
    ASSERT_EQ(logs.size(), 1U);
    EXPECT_EQ(logs.front().extension(), L".gz") << "the log was not closed in order";
    EXPECT_TRUE(Tool(L"uninstall").Says("  gone      service was not registered"));
}

TEST_F(InstallTest, Uninstall_DryRun_ChangesNothing) {
    Install();
    StartService();
    const ToolRun run = Tool(L"uninstall --dry-run --remove-logs");
    EXPECT_EQ(run.code, 0U);
    EXPECT_TRUE(run.Says("  to stop   ...")) << run.All();
    EXPECT_TRUE(run.Says("            removes ..."));
    EXPECT_EQ(State(), DWORD{SERVICE_RUNNING});
    EXPECT_TRUE(service_tool::KeyExists(EventSourceKey));
    EXPECT_TRUE(fs::exists(Data()));
}

TEST_F(InstallTest, Uninstall_RemoveLogs_RemovesTheDataFolder) {
    Install();
    fs::create_directories(Data() / L"Logs");
    WriteFileBytes(Data() / L"Logs" / L"left-by-an-earlier-run.log", "x");
    const ToolRun run = Tool(L"uninstall --remove-logs");
    EXPECT_EQ(run.code, 0U);
    EXPECT_TRUE(run.Says("  removed   data folder, with all logs")) << run.All();
    EXPECT_FALSE(fs::exists(DataParent()));
}

TEST_F(InstallTest, Uninstall_RemoveLogs_LinkInTheFolder_ItsTargetStays) {
    const ScratchFolder target;
    WriteFileBytes(target.Path() / L"precious.txt", "x");
    Install();
    MakeFolderLink(target.Path(), Data() / L"link");
    const ToolRun run = Tool(L"uninstall --remove-logs");
    EXPECT_TRUE(fs::exists(target.Path() / L"precious.txt"));
    if (service_tool::IsWine()) {
        // Wine doesn't remove a link to a folder that isn't empty.
        EXPECT_EQ(run.code, 1U);
        EXPECT_TRUE(run.Says("  FAILED    data folder, with all logs: error ...")) << run.All();
        RemoveFolderLink(Data() / L"link");
    } else {
        EXPECT_EQ(run.code, 0U) << run.All();
        EXPECT_FALSE(fs::exists(Data()));
    }
}

TEST_F(InstallTest, Uninstall_OtherProductsFolder_Stays) {
    Install();
    fs::create_directories(DataParent() / L"Other");
    EXPECT_EQ(Tool(L"uninstall --remove-logs").code, 0U);
    EXPECT_FALSE(fs::exists(Data()));
    EXPECT_TRUE(fs::exists(DataParent() / L"Other"));
}

TEST_F(InstallTest, Uninstall_PrintsTheSettingsThatGo) {
    Install();
    ASSERT_EQ(service_tool::WriteNumber(ServiceKey, L"MaxLogFilesSize", 0x80000001), 0U);
    const ToolRun run = Tool(L"uninstall");
    EXPECT_TRUE(run.Says("  note      setting MaxLogFilesSize was 2147483649, default 26214400"))
        << run.All();
    EXPECT_FALSE(run.Mentions("TraceLevelsMask"));
}

TEST_F(InstallTest, Uninstall_ProcessThatEndsLate_IsAwaited) {
    Host().Script(std::string(EndsLate) + "3000\n");
    Install();
    StartService();
    const ToolRun run = Tool(L"uninstall");
    EXPECT_EQ(run.code, 0U) << run.All();
    EXPECT_TRUE(service_tool::ProcessesOf(Host().Executable().wstring()).empty());
}

TEST_F(InstallTest, Uninstall_ProcessThatStays_RemovesNothing) {
    Host().Script(std::string(EndsLate) + "60000\n");
    Install();
    StartService();
    const ToolRun run = Tool(L"uninstall --wait 2");
    EXPECT_EQ(run.code, 1U);
    EXPECT_TRUE(run.Mentions("of the executable still runs after 2 s; nothing was removed"))
        << run.All();
    EXPECT_TRUE(IsRegistered());
    EXPECT_TRUE(service_tool::KeyExists(EventSourceKey));
}

TEST_F(InstallTest, Uninstall_StopNotAllowed_RemovesNothing) {
    Host().Script("on load register\n");
    Install();
    StartService(false);
    const ToolRun run = Tool(L"uninstall --wait 3");
    EXPECT_EQ(run.code, 1U);
    EXPECT_TRUE(run.Says("  FAILED    service does not accept a stop now: error 1052..."))
        << run.All();
    EXPECT_EQ(State(), DWORD{SERVICE_RUNNING});
    EXPECT_TRUE(service_tool::KeyExists(EventSourceKey));
}

TEST_F(InstallTest, Uninstall_UnknownArgument_DoesNothing) {
    Install();
    EXPECT_EQ(Tool(L"uninstall /removelogs").code, 2U);
    EXPECT_EQ(Tool(L"uninstall --wait soon").code, 2U);
    EXPECT_TRUE(IsRegistered());
}

TEST_F(InstallTest, Uninstall_ServiceOfAnotherFolder_GoesToo) {
    Install();
    const ScratchFolder other;
    fs::copy_file(Folder() / L"service-tool.exe", other.Path() / L"service-tool.exe");
    fs::remove(Host().Executable());
    const ToolRun run = Tool(L"uninstall --wait 2", other.Path());
    EXPECT_EQ(run.code, 0U);
    EXPECT_TRUE(run.Says("  note      service is registered from another folder: ..."))
        << run.All();
    EXPECT_FALSE(IsRegistered());
}

TEST_F(InstallTest, Uninstall_ServiceHeldOpenBySomebody_IsReported) {
    Install();
    const service_tool::ServiceHandle held = service_tool::OpenRegistered(SERVICE_QUERY_STATUS);
    const ToolRun run = Tool(L"uninstall --wait 1");
    EXPECT_EQ(run.code, 1U);
    EXPECT_TRUE(run.Says("  FAILED    service and its settings: error 1072...")) << run.All();
    EXPECT_TRUE(service_tool::KeyExists(EventSourceKey));
}

TEST_F(InstallTest, Uninstall_ProgramInAConsole_RemovesNothing) {
    Install();
    Host().Script("on load register\n");
    const auto console = Host().Start(L"-run");
    ASSERT_TRUE(WaitForRecord(Host().Logs(),
                              L"[T][quillon] VelmoraTarnwickService in OnStart "
                              L"finished"));
    const ToolRun run = Tool(L"uninstall --wait 1");
    EXPECT_EQ(run.code, 1U);
    EXPECT_TRUE(run.Says("  FAILED    process " + std::to_string(console->ProcessId()) +
                         " of the executable still runs after 1 s; nothing was removed"))
        << run.All();
    console->Terminate();
    EXPECT_EQ(Tool(L"uninstall --wait 10").code, 0U);
}

TEST_F(InstallTest, Stop_StopsAndReportsTheEnd) {
    Install();
    StartService();
    const ToolRun run = Tool(L"stop");
    EXPECT_EQ(run.code, 0U);
    EXPECT_TRUE(run.Says("  done      service stopped, its process has ended")) << run.All();
    EXPECT_EQ(State(), DWORD{SERVICE_STOPPED});
    EXPECT_EQ(Tool(L"stop").code, 0U);
}

/// On Windows the recovery would restart it after 5 s.
TEST_F(InstallTest, Stop_ThatEndsWithAnError_StaysStopped) {
    constexpr DWORD LongerThanTheFirstDelay = 8000;
    Host().Script("on load register\non activate enable-stop\non deactivate return 5\n");
    Install();
    StartService();
    const ToolRun run = Tool(L"stop");
    EXPECT_EQ(run.code, 0U);
    EXPECT_TRUE(run.Mentions("the stop gave exit code error ")) << run.All();
    ::Sleep(service_tool::IsWine() ? 0 : LongerThanTheFirstDelay);
    EXPECT_EQ(State(), DWORD{SERVICE_STOPPED});
    EXPECT_EQ(Tool(L"check").code, 0U) << "the recovery wasn't restored";
}

TEST_F(InstallTest, Uninstall_AfterACrash) {
    Host().Script("on load register\non activate after 100 crash read\n");
    Install();
    {
        const service_tool::ServiceHandle service = service_tool::OpenRegistered(SERVICE_START);
        ASSERT_TRUE(::StartServiceW(service.Get(), 0, nullptr));
    }
    const ULONGLONG end = ::GetTickCount64() + 30000;
    const auto hasEnded = [this] {
        return fs::exists(Data() / L"tarnwick-service.exe.dmp") &&
               service_tool::ProcessesOf(Host().Executable().wstring()).empty();
    };
    while (::GetTickCount64() < end && !hasEnded()) {
        ::Sleep(20);
    }
    const ToolRun run = Tool(L"uninstall --wait 30");
    EXPECT_EQ(run.code, 0U) << run.All();
    EXPECT_FALSE(IsRegistered());
}

TEST_F(InstallTest, Stop_NotRegistered_Fails) {
    const ToolRun run = Tool(L"stop");
    EXPECT_EQ(run.code, 1U);
    EXPECT_TRUE(run.Says("  FAILED    service is not registered")) << run.All();
}

}  // namespace
}  // namespace test
