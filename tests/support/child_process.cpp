#include "tests/support/child_process.h"

#include <stdexcept>
#include <system_error>

#include "tests/support/scratch_folder.h"
#include "tests/support/unique_name.h"

namespace test {
namespace {

constexpr const wchar_t* ChildSwitch = L"--child-routine";

std::map<std::wstring, ChildRoutine::Function>& Routines() {
    static std::map<std::wstring, ChildRoutine::Function> routines;
    return routines;
}

std::filesystem::path NewOutputFile() {
    return std::filesystem::temp_directory_path() / (UniqueName(L"tarnwick-child") + L".txt");
}

std::wstring MakeEnvironment(const std::map<std::wstring, std::wstring>& added) {
    std::wstring block;
    wchar_t* const own = ::GetEnvironmentStringsW();
    for (const wchar_t* entry = own; *entry != 0; entry += std::wcslen(entry) + 1) {
        const std::wstring text = entry;
        const std::wstring name = text.substr(0, text.find(L'=', 1));
        if (added.find(name) == added.end()) {
            block += text;
            block += L'\0';
        }
    }
    ::FreeEnvironmentStringsW(own);
    for (const auto& [name, value] : added) {
        block += name + L'=' + value;
        block += L'\0';
    }
    block += L'\0';
    return block;
}

}  // namespace

Child::Child(std::wstring commandLine, const ChildOptions& options) : output_(NewOutputFile()) {
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    const framework::FileHandle output(
        ::CreateFileW(output_.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                      &inherited, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output.Get();
    startup.hStdError = output.Get();
    std::wstring environment = MakeEnvironment(options.environment);
    PROCESS_INFORMATION information = {};
    // Children inherit it. Otherwise Windows shows a message box about a missing library, and the
    // child waits until somebody closes it.
    ::SetErrorMode(::GetErrorMode() | SEM_FAILCRITICALERRORS);
    if (::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE,
                         options.creationFlags | CREATE_UNICODE_ENVIRONMENT, environment.data(),
                         options.directory.empty() ? nullptr : options.directory.c_str(), &startup,
                         &information) == FALSE) {
        throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(),
                                "CreateProcessW");
    }
    process_.Reset(information.hProcess);
    thread_.Reset(information.hThread);
    processId_ = information.dwProcessId;
}

Child::~Child() {
    if (Running()) {
        Terminate();
        ::WaitForSingleObject(process_.Get(), 10000);
    }
    std::error_code ignored;
    std::filesystem::remove(output_, ignored);
}

std::uint32_t Child::Wait(DWORD limitMs) {
    if (::WaitForSingleObject(process_.Get(), limitMs) != WAIT_OBJECT_0) {
        throw std::runtime_error("the child process didn't end in time");
    }
    DWORD exitCode = 0;
    ::GetExitCodeProcess(process_.Get(), &exitCode);
    return exitCode;
}

bool Child::Running() const {
    return ::WaitForSingleObject(process_.Get(), 0) != WAIT_OBJECT_0;
}

void Child::Terminate(std::uint32_t exitCode) {
    ::TerminateProcess(process_.Get(), exitCode);
}

std::string Child::Output() const {
    return ReadBytes(output_);
}

ChildRoutine::ChildRoutine(const wchar_t* name, Function function) {
    Routines().emplace(name, function);
}

std::wstring SelfCommandLine(const std::wstring& name, const std::vector<std::wstring>& arguments) {
    std::wstring line = L'"' + OwnPath().wstring() + L"\" " + ChildSwitch + L' ' + name;
    for (const std::wstring& argument : arguments) {
        line += L" \"" + argument + L'"';
    }
    return line;
}

bool RunChildRoutine(int argc, wchar_t** argv, int& exitCode) {
    if (argc < 3 || std::wstring(argv[1]) != ChildSwitch) {
        return false;
    }
    const auto routine = Routines().find(argv[2]);
    if (routine == Routines().end()) {
        throw std::runtime_error("no such child routine");
    }
    exitCode = routine->second(std::vector<std::wstring>(argv + 3, argv + argc));
    return true;
}

std::filesystem::path OwnPath() {
    std::wstring path(32768, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

}  // namespace test
