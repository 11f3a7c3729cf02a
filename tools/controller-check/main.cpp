// Plays the service host for a controller library and reports which expectations it meets.

#include <exception>
#include <string>
#include <variant>
#include <vector>

#include "tools/controller-check/library_file.h"
#include "tools/controller-check/report.h"
#include "tools/controller-check/round_process.h"
#include "tools/shared/terminal_output.h"
#include "tools/shared/version_line.h"

namespace controller_check {
namespace {

constexpr const wchar_t* ProgramName = L"controller-check";

enum ExitCode { AllMet = 0, SomethingFailed = 1, WrongCommandLine = 2, NotChecked = 3 };

std::wstring FullPath(const std::wstring& path) {
    constexpr std::size_t LongestPath = 32768;
    std::wstring full(LongestPath, L'\0');
    full.resize(
        ::GetFullPathNameW(path.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr));
    return full.empty() ? path : full;
}

/// False if the file can't be loaded.
bool LookAtFile(const std::wstring& library, Results& results) {
    const std::optional<std::string> bytes = ReadFileBytes(library);
    const DWORD error = bytes ? ERROR_SUCCESS : ::GetLastError();
    results.AddFile(JudgeFile(error, ReadImage(bytes.value_or(""))));
    return !results.HasFailure();
}

/// Continues after a crash, but not after a hang: the next rounds would hang too.
void PlayRounds(const std::wstring& library, const Options& options, Results& results) {
    for (const Round round : options.rounds) {
        const std::uint32_t times = round == Round::NoStart ? options.repetitions : 1;
        for (std::uint32_t time = 0; time < times; ++time) {
            const Story story = RunRound(round, library, options);
            results.AddRound(story);
            if (story.overdue || story.Has(EventKind::LoadFailed)) {
                return;
            }
        }
    }
}

int Check(const Options& options) {
    const std::wstring library = FullPath(options.library);
    Results results;
    if (LookAtFile(library, results)) {
        PlayRounds(library, options, results);
    }
    static_cast<void>(tools::WriteOutput(
        options.json ? ToJson(library, results.All())
                     : ToText(library, results.All(), options.quiet, WantsColor(options.color))));
    return results.HasFailure() ? SomethingFailed : AllMet;
}

int Run(const std::vector<std::wstring>& arguments) {
    if (const std::optional<int> exitCode = ServeAsRound(arguments)) {
        return *exitCode;
    }
    const auto parsed = ParseOptions(arguments);
    if (const auto* const error = std::get_if<OptionError>(&parsed)) {
        tools::WriteError(ProgramName, error->text + L" (--help tells more)");
        return WrongCommandLine;
    }
    const auto& options = std::get<Options>(parsed);
    if (options.help) {
        static_cast<void>(tools::WriteOutput(HelpText()));
        return AllMet;
    }
    if (options.version) {
        static_cast<void>(tools::WriteOutput(tools::VersionLine(ProgramName)));
        return AllMet;
    }
    try {
        return Check(options);
    } catch (const std::exception& failure) {
        const std::string text = failure.what();
        tools::WriteError(ProgramName, std::wstring(text.begin(), text.end()));
        return NotChecked;
    }
}

}  // namespace
}  // namespace controller_check

int wmain(int argc, wchar_t* argv[]) {
    return controller_check::Run(std::vector<std::wstring>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
