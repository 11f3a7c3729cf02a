#include <aclapi.h>
#include <sddl.h>

#include <string>

#include "tests/end-to-end/install/installation.h"
#include "tests/support/scratch_folder.h"
#include "tools/service-tool/access_rights.h"
#include "tools/service-tool/folder_tree.h"
#include "tools/service-tool/registry_key.h"

namespace test {
namespace {

namespace fs = std::filesystem;
using service_tool::EventSourceKey;
using service_tool::ServiceKey;

TEST_F(InstallTest, Install_MakesWhatCheckExpects) {
    const ToolRun install = Tool(L"install");
    EXPECT_EQ(install.code, 0U);
    EXPECT_TRUE(
        install.Says("Done. Next: service-tool check, then: sc start "
                     "VelmoraTarnwickService"))
        << install.All();
    EXPECT_FALSE(install.Mentions("FAILED") || install.Mentions("kept"));
    const ToolRun check = Tool(L"check");
    EXPECT_EQ(check.code, 0U);
    EXPECT_TRUE(check.Says("Nothing is wrong.")) << check.All();

    const auto registration = service_tool::ReadRegistration();
    ASSERT_TRUE(registration);
    EXPECT_EQ(registration->commandLine, L'"' + Host().Executable().wstring() + L'"');
    EXPECT_EQ(registration->type, DWORD{SERVICE_WIN32_OWN_PROCESS});
    EXPECT_EQ(registration->startType, DWORD{SERVICE_AUTO_START});
    EXPECT_EQ(service_tool::ReadNumber(ServiceKey, L"MaxLogFilesSize"), 26214400U);
    EXPECT_EQ(service_tool::ReadText(EventSourceKey, L"EventMessageFile"),
              (Folder() / L"tarnwick-messages.dll").wstring());
    EXPECT_EQ(service_tool::ReadNumber(EventSourceKey, L"TypesSupported"), 7U);
    EXPECT_TRUE(fs::is_directory(Data()));
    EXPECT_NE(State(), DWORD{SERVICE_RUNNING}) << "install must not start the service";
}

TEST_F(InstallTest, Install_WhatTheSystemLacks_IsNamed) {
    if (!service_tool::IsWine()) {
        GTEST_SKIP() << "Windows lacks nothing of it";
    }
    const ToolRun install = Tool(L"install");
    EXPECT_TRUE(
        install.Says("  not here  recovery: restart after 5 s, 30 s, 2 min - this service "
                     "manager has none"))
        << install.All();
    EXPECT_TRUE(
        install.Says("  not here  rights of the data folder: SYSTEM and administrators - "
                     "Wine stores no access rights"));
    EXPECT_TRUE(Tool(L"check").Says("Not checked here: 3."));
}

TEST_F(InstallTest, Install_DryRun_NamesEveryChangeAndMakesNone) {
    const ToolRun run = Tool(L"install --dry-run");
    EXPECT_EQ(run.code, 0U);
    EXPECT_TRUE(
        run.Says("            writes HKLM\\SYSTEM\\CurrentControlSet\\Services\\"
                 "VelmoraTarnwickService\\MaxLogFilesSize = 26214400"))
        << run.All();
    EXPECT_TRUE(run.Says("            creates ..."));
    EXPECT_FALSE(IsRegistered());
    EXPECT_FALSE(service_tool::KeyExists(ServiceKey));
    EXPECT_FALSE(service_tool::KeyExists(EventSourceKey));
    EXPECT_FALSE(fs::exists(Data()));
}

TEST_F(InstallTest, Install_SecondTime_ChangesNothing) {
    Install();
    const ToolRun run = Tool(L"install");
    EXPECT_EQ(run.code, 0U);
    EXPECT_TRUE(run.Says("Already installed; nothing changed.")) << run.All();
    EXPECT_FALSE(run.Mentions("made"));
    EXPECT_TRUE(Tool(L"install --dry-run").Says("Already installed; nothing changed."));
}

TEST_F(InstallTest, Install_KeepsWhatAnAdministratorHasChanged) {
    ASSERT_EQ(service_tool::WriteNumber(ServiceKey, L"TraceLevelsMask", 15), 0U);
    EXPECT_TRUE(Tool(L"install").Says("  kept      setting TraceLevelsMask"));
    const ToolRun check = Tool(L"check");
    EXPECT_EQ(check.code, 0U);
    EXPECT_TRUE(check.Says("  ok        setting TraceLevelsMask: 15, default 7")) << check.All();
}

TEST_F(InstallTest, Install_OverARunningService_LeavesItRunning) {
    Install();
    StartService();
    const DWORD before = service_tool::ReadStatus()->dwProcessId;
    const ToolRun run = Tool(L"install");
    EXPECT_EQ(run.code, 0U);
    EXPECT_TRUE(run.Says("Already installed; nothing changed.")) << run.All();
    EXPECT_EQ(service_tool::ReadStatus()->dwProcessId, before);
    EXPECT_EQ(State(), DWORD{SERVICE_RUNNING});
}

TEST_F(InstallTest, Install_UnknownArgument_ChangesNothing) {
    for (const wchar_t* arguments : {L"install /quiet", L"install --quiet", L"instal", L""}) {
        const ToolRun run = Tool(arguments);
        EXPECT_EQ(run.code, 2U) << run.All();
        EXPECT_TRUE(run.Mentions("service-tool: ")) << run.All();
        EXPECT_FALSE(IsRegistered());
    }
}

TEST_F(InstallTest, Install_WithoutController_SaysWhatFollows) {
    fs::remove(Host().Library());
    const ToolRun install = Tool(L"install");
    EXPECT_EQ(install.code, 0U);
    EXPECT_TRUE(install.Says("orrin-ctrl.dll is missing in this folder...")) << install.All();
    const ToolRun check = Tool(L"check");
    EXPECT_EQ(check.code, 1U);
    EXPECT_TRUE(check.Says("  WRONG     orrin-ctrl.dll in this folder")) << check.All();
}

TEST_F(InstallTest, Install_WithoutExecutable_MakesNothing) {
    fs::remove(Host().Executable());
    EXPECT_EQ(Tool(L"install").code, 1U);
    EXPECT_FALSE(IsRegistered());
    EXPECT_TRUE(Tool(L"check").Says("  WRONG     tarnwick-service.exe in this folder"));
}

TEST_F(InstallTest, Install_FolderWasMoved_RegistersTheNewOne) {
    Install();
    const ScratchFolder other;
    fs::copy(Folder(), other.Path() / L"moved", fs::copy_options::recursive);
    const fs::path moved = other.Path() / L"moved";
    const ToolRun check = Tool(L"check", moved);
    EXPECT_EQ(check.code, 1U);
    EXPECT_TRUE(
        check.Says("  WRONG     service registered, own process, path in quotes: "
                   "registered is ..."))
        << check.All();
    const ToolRun install = Tool(L"install", moved);
    EXPECT_EQ(install.code, 0U) << install.All();
    EXPECT_TRUE(install.Says("            before: registered is ...")) << install.All();
    EXPECT_EQ(service_tool::ReadRegistration()->commandLine,
              L'"' + (moved / L"tarnwick-service.exe").wstring() + L'"');
    EXPECT_EQ(Tool(L"check", moved).code, 0U);
}

TEST_F(InstallTest, Install_ServiceMarkedForDeletion_IsNotKept) {
    Install();
    {
        const service_tool::ServiceHandle held = service_tool::OpenRegistered(DELETE);
        ASSERT_TRUE(::DeleteService(held.Get()));
        const ToolRun check = Tool(L"check");
        EXPECT_EQ(check.code, 1U);
        EXPECT_TRUE(check.Mentions("marked for deletion, but not gone yet")) << check.All();
        const ToolRun install = Tool(L"install");
        EXPECT_EQ(install.code, 1U);
        EXPECT_TRUE(
            install.Says("  FAILED    service registered, own process, path in quotes: "
                         "marked for deletion, but not gone yet"))
            << install.All();
    }
    EXPECT_EQ(Tool(L"install").code, 0U);
}

TEST_F(InstallTest, Check_FindsWhatIsMissing_AndInstallFixesIt) {
    Install();
    for (const auto& setting : service_tool::Settings) {
        ::RegDeleteKeyValueW(HKEY_LOCAL_MACHINE, ServiceKey, setting.name);
    }
    ASSERT_EQ(service_tool::WriteExpandText(EventSourceKey, L"EventMessageFile", L"C:\\other.dll"),
              0U);
    fs::remove_all(Data());
    const ToolRun check = Tool(L"check");
    EXPECT_EQ(check.code, 1U);
    EXPECT_TRUE(check.Says("  WRONG     setting DumpType: missing, the default 0 applies"))
        << check.All();
    EXPECT_TRUE(
        check.Says("  WRONG     event source, with the texts of tarnwick-messages.dll: "
                   "its message file is C:\\other.dll"));
    EXPECT_TRUE(check.Says("  WRONG     data folder"));
    EXPECT_TRUE(check.Says(service_tool::IsWine() ? "Wrong: 7." : "Wrong: 8.")) << check.All();
    Install();
    EXPECT_EQ(Tool(L"check").code, 0U);
    ASSERT_EQ(service_tool::WriteNumber(EventSourceKey, L"TypesSupported", 1), 0U);
    EXPECT_EQ(Tool(L"check").code, 1U);
    Install();
    EXPECT_EQ(Tool(L"check").code, 0U);
}

TEST_F(InstallTest, Check_WithoutService_FindsWhatIsMissing) {
    const ToolRun check = Tool(L"check");
    EXPECT_EQ(check.code, 1U);
    EXPECT_TRUE(check.Says("  WRONG     service registered, own process, path in quotes"));
    EXPECT_TRUE(check.Says("  WRONG     data folder"));
    EXPECT_TRUE(check.Mentions("state        not registered")) << check.All();
    EXPECT_FALSE(service_tool::KeyExists(ServiceKey));
}

TEST_F(InstallTest, Check_FindsDamageThatInstallLeavesAlone) {
    Install();
    const wchar_t text[] = L"0";
    ::RegSetKeyValueW(HKEY_LOCAL_MACHINE, ServiceKey, L"DumpType", REG_SZ, text, sizeof(text));
    {
        const service_tool::ServiceHandle service =
            service_tool::OpenRegistered(SERVICE_CHANGE_CONFIG);
        ASSERT_TRUE(::ChangeServiceConfigW(service.Get(), SERVICE_WIN32_SHARE_PROCESS,
                                           SERVICE_DISABLED, SERVICE_NO_CHANGE, nullptr, nullptr,
                                           nullptr, nullptr, nullptr, nullptr, nullptr));
    }
    fs::remove(Folder() / L"tarnwick-messages.dll");
    for (int time = 0; time < 2; ++time) {
        const ToolRun check = Tool(L"check");
        EXPECT_EQ(check.code, 1U);
        EXPECT_TRUE(check.Says("  WRONG     setting DumpType: not a REG_DWORD, ..."))
            << check.All();
        EXPECT_TRUE(check.Says("  WRONG     service starts with the system"));
        EXPECT_TRUE(check.Says("  WRONG     service has a process of its own"));
        EXPECT_TRUE(check.Says("  WRONG     tarnwick-messages.dll in this folder"));
        EXPECT_TRUE(check.Says("Wrong: 4.")) << check.All();
        EXPECT_EQ(Tool(L"install").code, 0U);
    }
}

TEST_F(InstallTest, DataFolderThatIsALink_IsRefused) {
    const ScratchFolder target;
    fs::create_directories(target.Path() / L"Quillon");
    WriteFileBytes(target.Path() / L"Quillon" / L"precious.txt", "x");
    Install();
    for (const bool parent : {false, true}) {
        const fs::path link = parent ? DataParent() : Data();
        ASSERT_EQ(service_tool::IsLink(link.wstring()), false);
        fs::remove_all(link);
        MakeFolderLink(parent ? target.Path() : target.Path() / L"Quillon", link);
        const std::string says = "data folder: " + link.string() + " is a link";
        const ToolRun install = Tool(L"install");
        EXPECT_EQ(install.code, 1U);
        EXPECT_TRUE(install.Says("  FAILED    " + says)) << install.All();
        EXPECT_FALSE(install.Mentions("made      rights"));
        EXPECT_TRUE(Tool(L"check").Says("  WRONG     " + says));
        const ToolRun uninstall = Tool(L"uninstall --remove-logs");
        EXPECT_EQ(uninstall.code, 1U);
        EXPECT_TRUE(uninstall.Says("  FAILED    " + says + "; ...")) << uninstall.All();
        EXPECT_TRUE(fs::exists(target.Path() / L"Quillon" / L"precious.txt"));
        RemoveFolderLink(link);
        Install();
    }
}

TEST_F(InstallTest, Install_ForeignDataFolder_IsTakenOver) {
    if (service_tool::IsWine()) {
        GTEST_SKIP() << "Wine stores no access rights; the calls are tested by RestrictFolder";
    }
    fs::create_directories(Data());
    WriteFileBytes(Data() / L"left-by-somebody.txt", "x");
    // Owned by the users, who have all rights; administrators have none.
    Install();
    PSECURITY_DESCRIPTOR foreign = nullptr;
    ASSERT_TRUE(::ConvertStringSecurityDescriptorToSecurityDescriptorW(
        L"O:BUD:P(A;OICI;FA;;;BU)", SDDL_REVISION_1, &foreign, nullptr));
    ASSERT_TRUE(::SetFileSecurityW((Data() / L"left-by-somebody.txt").c_str(),
                                   OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                                   foreign));
    ASSERT_TRUE(::SetFileSecurityW(
        Data().c_str(), OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, foreign));
    ::LocalFree(foreign);
    EXPECT_EQ(Tool(L"check").code, 1U);
    const ToolRun install = Tool(L"install");
    EXPECT_EQ(install.code, 0U) << install.All();
    std::wstring rights;
    ASSERT_EQ(service_tool::ReadRights(Data().wstring(), rights), 0U);
    EXPECT_TRUE(service_tool::IsRestricted(rights)) << testing::PrintToString(rights);
    ASSERT_EQ(service_tool::ReadRights((Data() / L"left-by-somebody.txt").wstring(), rights), 0U);
    EXPECT_TRUE(rights.starts_with(L"O:BA")) << testing::PrintToString(rights);
    EXPECT_EQ(rights.find(L";BU)"), rights.npos) << testing::PrintToString(rights);
}

TEST_F(InstallTest, Status_OfARunningService) {
    Install();
    StartService();
    const ToolRun run = Tool(L"status");
    EXPECT_EQ(run.code, 0U);
    EXPECT_TRUE(run.Says("  version      1...")) << run.All();
    EXPECT_TRUE(run.Says("  state        RUNNING"));
    EXPECT_TRUE(
        run.Says("  process      " + std::to_string(service_tool::ReadStatus()->dwProcessId)));
    EXPECT_TRUE(run.Says("  last start   2..."));
    EXPECT_TRUE(run.Says("  last end     none known"));
    EXPECT_TRUE(run.Says("  newest dump  none"));
    EXPECT_TRUE(run.Says("  free space   ..."));
}

TEST_F(InstallTest, Status_AfterAStopWithAnErrorAndACrash) {
    Host().Script("on load register\non activate enable-stop\non deactivate return 5\n");
    Install();
    StartService();
    EXPECT_EQ(Tool(L"stop").code, 0U);
    WriteFileBytes(Data() / L"tarnwick-service.exe.dmp", std::string(2 * 1024 * 1024, 'x'));
    const ToolRun run = Tool(L"status");
    EXPECT_TRUE(run.Says("  state        STOPPED"));
    EXPECT_TRUE(run.Mentions("by the newest log; exit code error ")) << run.All();
    EXPECT_TRUE(run.Mentions("tarnwick-service.exe.dmp, 2.0 MiB, 2")) << run.All();
}

class InstallFolderTest : public InstallTest, public testing::WithParamInterface<const wchar_t*> {};

/// Names with a meaning for command interpreters.
TEST_P(InstallFolderTest, InstallsStartsAndUninstalls) {
    Unpack(GetParam());
    Install();
    EXPECT_EQ(Tool(L"check").code, 0U);
    StartService();
    const ToolRun run = Tool(L"uninstall");
    EXPECT_EQ(run.code, 0U) << run.All();
    EXPECT_FALSE(IsRegistered());
}

/// The service manager would expand the name.
TEST_F(InstallTest, Install_FolderNameWithAVariable_IsRefused) {
    Unpack(L"a%OS%b");
    const ToolRun run = Tool(L"install");
    EXPECT_EQ(run.code, 1U);
    EXPECT_TRUE(run.Says("The service manager replaces names between percent signs in a path...."))
        << run.All();
    EXPECT_FALSE(IsRegistered());
    EXPECT_FALSE(fs::exists(Data()));
}

INSTANTIATE_TEST_SUITE_P(Names, InstallFolderTest,
                         testing::Values(L"a&b", L"a%b", L"a^b", L"a!b", L"it's",
                                         L" a (b) [c] {d} )", L"a=b,c  -d", L"#a~b@c+d`e$f_",
                                         L"äÖß Ж 日本"),
                         [](const auto& name) { return "Name" + std::to_string(name.index); });

}  // namespace
}  // namespace test
