#include "tools/quillon-log/show.h"

#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <string>
#include <utility>

#include "framework/system/platform.h"
#include "framework/system/unique_handle.h"
#include "tools/quillon-log/backward_reader.h"
#include "tools/quillon-log/cursor.h"
#include "tools/quillon-log/operands.h"
#include "tools/quillon-log/output.h"
#include "tools/quillon-log/problem_report.h"
#include "tools/quillon-log/reader.h"
#include "tools/quillon-log/runs.h"
#include "tools/shared/terminal_output.h"

namespace quillon_log {
namespace {

// In milliseconds.
constexpr DWORD PollInterval = 200;
constexpr DWORD HeldBackInterval = 10;

// The console handler gets no context.
framework::KernelHandle stopEvent;

BOOL WINAPI StopOnConsoleEvent(DWORD /*controlType*/) {
    ::SetEvent(stopEvent.Get());
    return TRUE;
}

std::wstring ComputerName() {
    std::array<wchar_t, MAX_COMPUTERNAME_LENGTH + 1> name{};
    DWORD size = static_cast<DWORD>(name.size());
    return ::GetComputerNameW(name.data(), &size) == FALSE ? std::wstring()
                                                           : std::wstring(name.data(), size);
}

TextStyle StyleOf(const Options& options, const Output& output) {
    TextStyle style;
    style.color = !options.json && tools::WantsColor(options.color);
    style.escape = options.escape || output.IsTerminal();
    style.clock = options.clock;
    return style;
}

ReaderSettings SettingsOf(const Options& options) {
    ReaderSettings settings;
    settings.keepsPositions = options.follow || options.UsesCursor();
    settings.atEnd = options.follow         ? AtEnd::Wait
                     : options.UsesCursor() ? AtEnd::FinishUnlessOpen
                                            : AtEnd::Finish;
    settings.since = options.filter.since;
    settings.until = options.filter.until;
    return settings;
}

/// One run of the command.
class Show {
  public:
    Show(const Options& options, Operands operands)
        : options_(options),
          isOneFolder_(operands.isOneFolder),
          report_(options.json, options.filter.since, options.filter.until),
          settings_(SettingsOf(options)),
          writer_(StyleOf(options, output_), options.host.empty() ? ComputerName() : options.host),
          inputCopy_(std::move(operands.inputCopy)),
          reader_(std::move(operands.folders), settings_, report_.Sink()) {
        for (const std::wstring& path : operands.missing) {
            WriteError(path + L": there is no such folder or file");
        }
        isAnyMissing_ = !operands.missing.empty();
    }

    ExitCode Run() {
        if (options_.UsesCursor() && !LoadCursor()) {
            return WrongCommandLine;
        }
        const bool isThere = reader_.Refresh();
        if (isThere && !ChooseRun()) {
            return NothingThere;
        }
        if (options_.listRuns) {
            ListAllRuns();
        } else if (options_.newestFirst) {
            ShowNewestFirst();
        } else {
            BeginAtLast();
            ReadNew();
        }
        output_.Flush();
        bool isSaved = SaveCursor();
        while (options_.follow && isSaved && output_.IsOpen() && WaitForMore()) {
            ReadNew();
            output_.Flush();
            isSaved = SaveCursor();
        }
        ShowCursor();
        if (output_.Failure() != ERROR_SUCCESS) {
            WriteError(L"standard output can't be written (error " +
                       std::to_wstring(output_.Failure()) + L")");
            return SomethingMissing;
        }
        if (!options_.follow && (!isThere || reader_.RunCount() == 0)) {
            for (const Folder& folder : reader_.Folders()) {
                WriteError(folder.Path() +
                           (isThere ? L": no log here" : L": can't be read as a folder"));
            }
            return NothingThere;
        }
        return isAnyMissing_                        ? NothingThere
               : report_.IsAnyInRange() || !isSaved ? SomethingMissing
                                                    : AllRead;
    }

  private:
    bool LoadCursor() {
        if (!isOneFolder_) {
            WriteError(L"a cursor works with one folder only");
            return false;
        }
        std::wstring cursor = options_.afterCursor.value_or(L"");
        if (!options_.cursorFile.empty()) {
            const std::optional<std::wstring> kept = ReadCursorFile(options_.cursorFile);
            if (!kept) {
                WriteError(options_.cursorFile + L": can't be read (error " +
                           std::to_wstring(::GetLastError()) + L")");
                return false;
            }
            cursor = *kept;
        }
        if (cursor.empty() && !options_.afterCursor) {
            return true;
        }
        std::optional<Positions> positions = ParseCursor(cursor, reader_.Folders().front());
        if (!positions) {
            WriteError((options_.afterCursor ? L"--after-cursor" : options_.cursorFile) +
                       L": not a cursor of quillon-log");
            return false;
        }
        reader_.BeginAtCursor(*std::move(positions));
        hasCursor_ = true;
        return true;
    }

    bool ReadNew() {
        return reader_.ReadNew(
            [this](const Record& record, const Origin& origin) { return Take(record, origin); });
    }

    bool Take(const Record& record, const Origin& origin) {
        constexpr std::size_t SaveInterval = 4 * 1024 * 1024;  // in characters
        isAnyNew_ = true;
        if (!options_.filter.IsInTime(record)) {
            return true;
        }
        const bool matches =
            options_.filter.Matches(record) &&
            (ignoredMatches_ == 0 || std::exchange(ignoredMatches_, ignoredMatches_ - 1) == 0);
        if (matches) {
            ShowContext();
        } else if (contextLeft_ > 0) {
            --contextLeft_;
        } else {
            KeepContext(record, origin);
            return true;
        }
        Append(output_.Text(), record, origin);
        output_.Appended();
        if (options_.UsesCursor() && output_.Written() - savedAt_ > SaveInterval) {
            return output_.Flush() && SaveCursor();
        }
        return output_.IsOpen();
    }

    /// Shows what was kept before a match.
    void ShowContext() {
        if (options_.HasContext() && !options_.json && std::exchange(isAnyShown_, true) &&
            isContextBroken_) {
            output_.Text() += L"--\n";
        }
        if (!context_.empty()) {
            for (const std::wstring& text : context_) {
                output_.Text() += text;
            }
            context_.clear();
            contextSize_ = 0;
        }
        contextLeft_ = options_.after;
        isContextBroken_ = false;
    }

    /// Keeps a record for the case that one soon after it matches.
    void KeepContext(const Record& record, const Origin& origin) {
        constexpr std::size_t MostCharacters = 2 * 1024 * 1024;
        if (options_.before > 0) {
            Append(context_.emplace_back(), record, origin);
            contextSize_ += context_.back().size();
        }
        while (context_.size() > options_.before || contextSize_ > MostCharacters) {
            contextSize_ -= context_.front().size();
            context_.pop_front();
            isContextBroken_ = true;
        }
        isContextBroken_ = isContextBroken_ || options_.before == 0;
    }

    void Append(std::wstring& text, const Record& record, const Origin& origin) {
        if (options_.json) {
            writer_.AppendJson(text, record, origin);
        } else {
            writer_.AppendText(text, record, TagOf(origin));
        }
    }

    /// The name of a record's source; empty if there is only one source.
    std::wstring TagOf(const Origin& origin) {
        if (!hasManyRuns_ && !settings_.onlyRun) {
            hasManyRuns_ = reader_.RunCount() > 1;
        }
        if (!hasManyRuns_) {
            return {};
        }
        return origin.pid ? ProcessTag(*origin.pid, origin) : origin.folder->RunName(origin.run);
    }

    /// The process id; with the run's name if a run shown before had the same id.
    std::wstring ProcessTag(std::uint32_t pid, const Origin& origin) {
        const auto& [folder, run] =
            firstOfProcess_.emplace(pid, std::pair(origin.folder, origin.run)).first->second;
        std::wstring tag = std::to_wstring(pid);
        if (folder != origin.folder) {
            tag += L' ' + origin.folder->Path() + origin.folder->RunName(origin.run);
        } else if (run != origin.run) {
            tag += L' ' + origin.folder->RunName(origin.run);
        }
        return tag;
    }

    /// False if there is no such run.
    bool ChooseRun() {
        if (!options_.run && !options_.lastCrash) {
            return true;
        }
        const std::vector<RunId> runs = ListRuns(reader_.Folders());
        const auto count = static_cast<std::ptrdiff_t>(runs.size());
        std::ptrdiff_t index = options_.lastCrash  ? count - 1
                               : *options_.run < 0 ? count + *options_.run
                                                   : *options_.run - 1;
        while (options_.lastCrash && index >= 0 &&
               !HasCrashed(runs[static_cast<std::size_t>(index)])) {
            --index;
        }
        if (index < 0 || index >= count) {
            WriteError(options_.lastCrash ? std::wstring(L"no run has crashed")
                                          : L"there is no run " + std::to_wstring(*options_.run) +
                                                (count == 1 ? L"; there is " : L"; there are ") +
                                                std::to_wstring(count) + L" (see --runs)");
            return false;
        }
        settings_.onlyRun = runs[static_cast<std::size_t>(index)];
        reader_.ReadOnly(*settings_.onlyRun);
        hasManyRuns_ = false;
        return true;
    }

    bool HasCrashed(const RunId& id) {
        return Summarize(
                   reader_.Folders()[id.folder], id.run, [](const Problem&) {}, true)
                   .ending == Ending::Crashed;
    }

    void ListAllRuns() {
        const std::vector<RunId> runs = ListRuns(reader_.Folders());
        const auto count = static_cast<std::ptrdiff_t>(runs.size());
        output_.Text() += options_.json ? L"" : RunsHead;
        std::uint64_t left = options_.lastRecords.value_or(runs.size());
        // The last COUNT are found from the end, as are the newest to be shown first.
        std::vector<std::wstring> found;
        const bool isBackward = options_.newestFirst || options_.lastRecords;
        for (std::ptrdiff_t step = 0; step < count && left > 0 && output_.IsOpen(); ++step) {
            const std::ptrdiff_t index = isBackward ? count - 1 - step : step;
            std::wstring line = RunLine(runs[static_cast<std::size_t>(index)], index - count);
            left -= line.empty() ? 0U : 1U;
            if (isBackward && !options_.newestFirst) {
                found.push_back(std::move(line));
            } else {
                output_.Text() += line;
                output_.Appended();
            }
        }
        for (auto line = found.rbegin(); line != found.rend(); ++line) {
            output_.Text() += *line;
        }
    }

    /// A run as --runs shows it; empty if it isn't in the time asked for.
    std::wstring RunLine(const RunId& id, std::ptrdiff_t fromLast) {
        const Folder& folder = reader_.Folders()[id.folder];
        const RunSummary summary = Summarize(folder, id.run, report_.Sink());
        const bool isEarly = options_.filter.since && summary.last < *options_.filter.since;
        const bool isLate = options_.filter.until && id.run.start >= *options_.filter.until;
        std::wstring line;
        if (isEarly || isLate) {
            return line;
        }
        if (options_.json) {
            AppendRunJson(line, folder, id.run, summary, fromLast);
        } else {
            AppendRun(line, folder, id.run, summary, fromLast, options_.clock);
        }
        return line;
    }

    bool Passes(const Record& record) const {
        return options_.filter.IsInTime(record) && options_.filter.Matches(record);
    }

    void ShowNewestFirst() {
        BackwardReader backward(
            reader_.Folders(), settings_,
            [this](std::wstring& text, const Record& record, const Origin& origin) {
                const bool passes = Passes(record);
                if (passes) {
                    Append(text, record, origin);
                }
                return passes;
            },
            report_.Sink());
        std::uint64_t left = options_.lastRecords.value_or(~std::uint64_t{0});
        for (; left > 0 && output_.IsOpen() && backward.Advance(); --left) {
            output_.Text() += backward.Text();
            output_.Appended();
        }
    }

    /// Finds the last records from the end backward, and has reading begin there.
    void BeginAtLast() {
        if (!options_.lastRecords || hasCursor_) {
            return;
        }
        constexpr const wchar_t* Matching = L"+";
        constexpr std::size_t MostProblems = 1000;
        std::vector<Problem> problems;
        BackwardReader backward(
            reader_.Folders(), settings_,
            [this](std::wstring& text, const Record& record, const Origin& /*origin*/) {
                const bool matches = Passes(record);
                text += matches ? Matching : L"";
                return matches || (options_.before > 0 && options_.filter.IsInTime(record));
            },
            [&problems](const Problem& problem) {
                if (problems.size() < MostProblems) {
                    problems.push_back(problem);
                }
            });
        std::uint64_t left = *options_.lastRecords;
        TimePoint oldest = TimePoint::max();
        while (left > 0 && backward.Advance()) {
            oldest = std::min(oldest, backward.Time());
            left -= backward.Text() == Matching ? 1U : 0U;
        }
        // What is before the first match is shown, but not as a match.
        for (std::uint32_t count = 0; left == 0 && count < options_.before; ++count) {
            if (!backward.Advance()) {
                break;
            }
            ignoredMatches_ += backward.Text() == Matching ? 1U : 0U;
        }
        if (left == 0 && oldest != TimePoint::max()) {
            report_.SetSince(oldest);
        }
        std::for_each(problems.begin(), problems.end(), report_.Sink());
        reader_.BeginAt(backward.Starts(), !options_.follow);
    }

    bool WaitForMore() {
        const DWORD wait = reader_.HoldsBack() ? HeldBackInterval : PollInterval;
        if (::WaitForSingleObject(stopEvent.Get(), wait) != WAIT_TIMEOUT) {
            return false;
        }
        // One more look after the end: a record gets its time before it is written.
        return !std::exchange(isOver_,
                              options_.filter.until && CurrentTime() >= *options_.filter.until);
    }

    /// Only after the output was written: what a cursor is past was shown.
    bool SaveCursor() {
        if (!options_.UsesCursor() || !isAnyNew_ || !output_.IsOpen()) {
            return true;
        }
        isAnyNew_ = false;
        savedAt_ = output_.Written();
        if (options_.cursorFile.empty()) {
            return true;
        }
        output_.Sync();
        if (!WriteCursorFile(options_.cursorFile,
                             CursorOf(reader_.Reached(), reader_.Folders().front()))) {
            WriteError(options_.cursorFile + L": can't be written (error " +
                       std::to_wstring(::GetLastError()) + L")");
            return false;
        }
        return true;
    }

    void ShowCursor() {
        if (!options_.showCursor) {
            return;
        }
        const std::wstring cursor = CursorOf(reader_.Reached(), reader_.Folders().front());
        output_.Text() +=
            options_.json ? L"{\"cursor\":\"" + cursor + L"\"}\n" : L"-- cursor: " + cursor + L"\n";
        output_.Flush();
    }

    const Options& options_;
    const bool isOneFolder_;
    Output output_;
    ProblemReport report_;
    ReaderSettings settings_;
    RecordWriter writer_;
    framework::FileHandle inputCopy_;
    Reader reader_;
    bool isAnyMissing_ = false;
    bool hasManyRuns_ = false;
    bool hasCursor_ = false;  ///< reading began at a cursor
    /// The run that was shown first of those with a process id.
    std::map<std::uint32_t, std::pair<const Folder*, RunKey>> firstOfProcess_;
    std::deque<std::wstring> context_;  ///< records before one that may match
    std::size_t contextSize_ = 0;       ///< in characters
    std::uint32_t contextLeft_ = 0;     ///< so many records after a match are still shown
    bool isContextBroken_ = false;      ///< some records were left out since the last match
    bool isAnyShown_ = false;
    std::uint64_t ignoredMatches_ = 0;  ///< so many matches are older than the last COUNT
    bool isOver_ = false;               ///< the time of --until has come
    bool isAnyNew_ = true;              ///< since the cursor was saved, or it never was
    std::size_t savedAt_ = 0;
};

}  // namespace

ExitCode ShowLogs(const Options& options) {
    stopEvent.Reset(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    ::SetConsoleCtrlHandler(StopOnConsoleEvent, options.follow ? TRUE : FALSE);
    return Show(options, ResolveOperands(options.operands, options.follow,
                                         options.lastRecords || options.newestFirst))
        .Run();
}

}  // namespace quillon_log
