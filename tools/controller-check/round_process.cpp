#include "tools/controller-check/round_process.h"

#include <array>
#include <cwchar>
#include <system_error>

#include "tarnwick-service/filter_frame.h"
#include "tools/controller-check/journal.h"
#include "tools/controller-check/round_player.h"

namespace controller_check {
namespace {

constexpr const wchar_t* RoundSwitch = L"--as-round";
constexpr DWORD LookInterval = 10;  // milliseconds

struct RoundProcess {
    framework::KernelHandle job;  ///< closing it ends all processes of the round
    framework::KernelHandle process;
};

[[noreturn]] void ThrowLastError(const char* function) {
    throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), function);
}

framework::KernelHandle MakeJob() {
    framework::KernelHandle job(::CreateJobObjectW(nullptr, nullptr));
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (!job || ::SetInformationJobObject(job.Get(), JobObjectExtendedLimitInformation, &limits,
                                          sizeof(limits)) == FALSE) {
        ThrowLastError("CreateJobObjectW");
    }
    return job;
}

std::wstring OwnPath() {
    constexpr std::size_t LongestPath = 32768;
    std::wstring path(LongestPath, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

std::wstring CommandLine(Round round, const std::wstring& library, const Options& options,
                         HANDLE section) {
    const auto number = reinterpret_cast<std::uintptr_t>(section);
    return L'"' + OwnPath() + L"\" " + RoundSwitch + L' ' + InfoOf(round).name + L' ' +
           std::to_wstring(number) + L' ' + std::to_wstring(options.workTime) + L' ' +
           std::to_wstring(options.afterFreeTime) + L" \"" + library + L'"';
}

/// The library's output goes to standard error, so that it doesn't mix with the report.
RoundProcess StartProcess(std::wstring commandLine) {
    RoundProcess started;
    started.job = MakeJob();
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = ::GetStdHandle(STD_ERROR_HANDLE);
    startup.hStdError = startup.hStdOutput;
    PROCESS_INFORMATION information = {};
    if (::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED,
                         nullptr, nullptr, &startup, &information) == FALSE) {
        ThrowLastError("CreateProcessW");
    }
    started.process.Reset(information.hProcess);
    const framework::KernelHandle thread(information.hThread);
    // If this fails (jobs may not be nested), child processes of the round are not ended.
    ::AssignProcessToJobObject(started.job.Get(), information.hProcess);
    ::ResumeThread(thread.Get());
    return started;
}

/// Polls the journal, which has no event: its writer must need nothing but memory.
void AwaitEnd(const RoundProcess& round, const Journal& journal, std::uint64_t quietLimit,
              Story& story) {
    constexpr UINT EndedByForce = 1;
    const std::uint64_t start = ::GetTickCount64();
    while (::WaitForSingleObject(round.process.Get(), LookInterval) == WAIT_TIMEOUT) {
        story.overdue =
            FindOverdue(journal.Events(), start, ::GetTickCount64(), story.limit, quietLimit);
        if (story.overdue) {
            ::TerminateProcess(round.process.Get(), EndedByForce);
            ::WaitForSingleObject(round.process.Get(), INFINITE);
            return;
        }
    }
    DWORD exitCode = 0;
    ::GetExitCodeProcess(round.process.Get(), &exitCode);
    story.exitCode = exitCode;
}

}  // namespace

Story RunRound(Round round, const std::wstring& library, const Options& options) {
    const Journal journal;
    Story story;
    story.round = round;
    story.limit = options.timeout;
    const RoundProcess process =
        StartProcess(CommandLine(round, library, options, journal.Section()));
    AwaitEnd(process, journal,
             std::uint64_t{options.timeout} + options.workTime + options.afterFreeTime, story);
    story.events = journal.Events();
    story.logLines = journal.LogLines();
    return story;
}

std::optional<int> ServeAsRound(const std::vector<std::wstring>& arguments) {
    constexpr std::size_t ArgumentCount = 6;
    constexpr int Decimal = 10;
    if (arguments.size() != ArgumentCount || arguments[0] != RoundSwitch) {
        return std::nullopt;
    }
    PlayOrder order;
    order.round = FindRound(arguments[1]).value_or(Round::Service);
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an inherited handle comes as its number
    const auto section = reinterpret_cast<HANDLE>(
        static_cast<std::uintptr_t>(std::wcstoull(arguments[2].c_str(), nullptr, Decimal)));
    order.workTime =
        static_cast<std::uint32_t>(std::wcstoul(arguments[3].c_str(), nullptr, Decimal));
    order.afterFreeTime =
        static_cast<std::uint32_t>(std::wcstoul(arguments[4].c_str(), nullptr, Decimal));
    order.library = arguments[5];
    // Never destroyed, because threads of the library may still use it at process exit.
    Journal& journal = *new Journal(section);
    // The report shows a crash; an error box would wait for a user.
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
    tarnwick::CallOnFilterFrame([&] { PlayRound(order, journal); });
    return 0;
}

}  // namespace controller_check
