#include "tests/end-to-end/install/installation.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include "tests/support/elevation.h"
#include "tests/support/unique_name.h"
#include "tools/service-tool/folder_tree.h"
#include "tools/service-tool/registry_key.h"

namespace test {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> SplitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

/// The path in the Linux system below Wine.
std::wstring UnixPath(const fs::path& path) {
    using Function = char*(CDECL*)(const wchar_t*);
    const auto function = reinterpret_cast<Function>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "wine_get_unix_file_name")));
    char* name = function(path.c_str());
    const std::string bytes = name == nullptr ? "" : name;
    ::HeapFree(::GetProcessHeap(), 0, name);
    return fs::path(std::u8string(bytes.begin(), bytes.end())).wstring();
}

void RunProgram(const std::wstring& commandLine) {
    Child child(commandLine);
    if (child.Wait() != 0) {
        throw std::runtime_error(child.Output());
    }
}

/// A Linux program isn't a process that Wine can wait for; `link` shows its end.
void RunUnixProgram(std::wstring commandLine, const fs::path& link, bool makesLink) {
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION information = {};
    ::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                     &startup, &information);
    const framework::KernelHandle process(information.hProcess);
    const framework::KernelHandle thread(information.hThread);
    const ULONGLONG end = ::GetTickCount64() + 10000;
    while (service_tool::IsLink(link.wstring()) != makesLink) {
        if (::GetTickCount64() > end) {
            throw std::runtime_error("the link wasn't changed");
        }
        ::Sleep(10);
    }
}

}  // namespace

bool ToolRun::Says(const std::string& text) const {
    const bool isBegin = text.ends_with("...");
    const std::string begin = isBegin ? text.substr(0, text.size() - 3) : text;
    return std::any_of(lines.begin(), lines.end(), [&](const std::string& line) {
        return isBegin ? line.starts_with(begin) : line == text;
    });
}

bool ToolRun::Mentions(const std::string& text) const {
    return All().find(text) != std::string::npos;
}

std::string ToolRun::All() const {
    std::string all;
    for (const std::string& line : lines) {
        all += line + '\n';
    }
    return all;
}

void InstallTest::SetUp() {
    TakeAdministratorRightsOnWine();
    if (!service_tool::IsElevated()) {
        GTEST_SKIP() << "installing needs a prompt with administrator rights";
    }
    if (IsRegistered()) {
        GTEST_SKIP() << "the service is installed on this machine and stays as it is";
    }
    entered_ = true;
    if (fs::exists(fs::symlink_status(DataParent()))) {
        keptData_ = DataParent().wstring() + L"." + UniqueName(L"kept");
        fs::rename(DataParent(), keptData_);
    }
    Unpack();
}

void InstallTest::TearDown() {
    if (!entered_) {
        return;
    }
    RemoveService();
    static_cast<void>(service_tool::DeleteKey(service_tool::ServiceKey));
    static_cast<void>(service_tool::DeleteKey(service_tool::EventSourceKey));
    host_.reset();
    if (service_tool::IsLink(DataParent().wstring())) {
        RemoveFolderLink(DataParent());
    } else if (fs::exists(DataParent())) {
        EXPECT_EQ(service_tool::RemoveFolder(DataParent().wstring()), 0U);
    }
    if (!keptData_.empty()) {
        fs::rename(keptData_, DataParent());
    }
}

/// Works in any state that a test has left.
void InstallTest::RemoveService() {
    for (const DWORD id : service_tool::ProcessesOf(host_->Executable().wstring())) {
        const framework::KernelHandle process(
            ::OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id));
        ::TerminateProcess(process.Get(), 1);
        ::WaitForSingleObject(process.Get(), 10000);
    }
    {
        const service_tool::ServiceHandle service = service_tool::OpenRegistered(DELETE);
        if (service) {
            ::DeleteService(service.Get());
        }
    }
    const ULONGLONG end = ::GetTickCount64() + 10000;
    while (IsRegistered() && ::GetTickCount64() < end) {
        ::Sleep(20);
    }
    EXPECT_FALSE(IsRegistered());
}

void InstallTest::Unpack(const std::wstring& subfolder) {
    host_ = std::make_unique<HostFolder>(subfolder);
    for (const wchar_t* name : {L"service-tool.exe", L"tarnwick-messages.dll"}) {
        fs::copy_file(ProductFolder() / name, Folder() / name);
    }
}

ToolRun InstallTest::Tool(const std::wstring& arguments, const fs::path& folder) {
    constexpr DWORD Limit = 90000;
    const fs::path program = (folder.empty() ? Folder() : folder) / L"service-tool.exe";
    Child child(L'"' + program.wstring() + L"\" " + arguments);
    ToolRun run;
    run.code = child.Wait(Limit);
    run.lines = SplitLines(child.Output());
    return run;
}

void InstallTest::Install() {
    const ToolRun run = Tool(L"install");
    EXPECT_EQ(run.code, 0U) << run.All();
}

void InstallTest::StartService(bool awaitStopAccepted) {
    {
        const service_tool::ServiceHandle service = service_tool::OpenRegistered(SERVICE_START);
        ASSERT_TRUE(::StartServiceW(service.Get(), 0, nullptr)) << ::GetLastError();
    }
    const ULONGLONG end = ::GetTickCount64() + 30000;
    while (::GetTickCount64() < end) {
        const auto status = service_tool::ReadStatus();
        const bool accepts = status && (status->dwControlsAccepted & SERVICE_ACCEPT_STOP) != 0;
        if (status && status->dwCurrentState == SERVICE_RUNNING &&
            (accepts || !awaitStopAccepted)) {
            return;
        }
        ::Sleep(20);
    }
    FAIL() << "the service doesn't run";
}

DWORD InstallTest::State() const {
    const auto status = service_tool::ReadStatus();
    return status ? status->dwCurrentState : 0;
}

bool InstallTest::IsRegistered() const {
    return static_cast<bool>(service_tool::OpenRegistered(SERVICE_QUERY_STATUS));
}

void InstallTest::MakeFolderLink(const fs::path& target, const fs::path& link) {
    if (service_tool::IsWine()) {
        // A Linux program, because Wine 8 doesn't create links itself.
        RunUnixProgram(L"Z:\\bin\\ln -s \"" + UnixPath(target) + L"\" \"" +
                           UnixPath(link.parent_path()) + L"/" + link.filename().wstring() + L'"',
                       link, true);
    } else {
        RunProgram(L"cmd /c mklink /J \"" + link.wstring() + L"\" \"" + target.wstring() + L'"');
    }
}

void InstallTest::RemoveFolderLink(const fs::path& link) {
    if (service_tool::IsWine()) {
        RunUnixProgram(L"Z:\\bin\\rm \"" + UnixPath(link.parent_path()) + L"/" +
                           link.filename().wstring() + L'"',
                       link, false);
    } else {
        ::RemoveDirectoryW(link.c_str());
    }
}

}  // namespace test
