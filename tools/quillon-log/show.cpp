#include "tools/quillon-log/show.h"

#include <array>
#include <deque>
#include <string>
#include <utility>

#include "framework/system/platform.h"
#include "framework/system/unique_handle.h"
#include "tools/quillon-log/cursor.h"
#include "tools/quillon-log/operands.h"
#include "tools/quillon-log/output.h"
#include "tools/quillon-log/problem_report.h"
#include "tools/quillon-log/reader.h"
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
          writer_(StyleOf(options, output_), options.host.empty() ? ComputerName() : options.host),
          reader_(std::move(operands.folders), SettingsOf(options), report_.Sink()) {
        for (const std::wstring& path : operands.missing) {
            WriteError(path + L": there is no such folder or file");
        }
        isAnyMissing_ = !operands.missing.empty();
    }

    ExitCode Run() {
        if (options_.UsesCursor() && !LoadCursor()) {
            return WrongCommandLine;
        }
        const bool isThere = ReadNew();
        Release();
        bool isSaved = SaveCursor();
        while (options_.follow && isSaved && output_.IsOpen() && WaitForMore()) {
            ReadNew();
            output_.Flush();
            isSaved = SaveCursor();
        }
        ShowCursor();
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
            WriteError(L"a cursor is for one folder");
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
        reader_.BeginAt(*std::move(positions));
        return true;
    }

    bool ReadNew() {
        return reader_.ReadNew(
            [this](const Record& record, const Origin& origin) { return Take(record, origin); });
    }

    bool Take(const Record& record, const Origin& origin) {
        constexpr std::size_t SaveInterval = 4 * 1024 * 1024;  // in characters
        isAnyNew_ = true;
        if (!options_.filter.IsInTime(record) || !options_.filter.Matches(record)) {
            return true;
        }
        if (isHolding_) {
            Hold(record, origin);
            return true;
        }
        Append(output_.Text(), record, origin);
        output_.Appended();
        if (options_.UsesCursor() && output_.Written() - savedAt_ > SaveInterval) {
            return output_.Flush() && SaveCursor();
        }
        return output_.IsOpen();
    }

    void Append(std::wstring& text, const Record& record, const Origin& origin) {
        if (options_.json) {
            writer_.AppendJson(text, record, origin);
        } else {
            writer_.AppendText(text, record, TagOf(origin));
        }
    }

    /// What tells the sources of records apart, if there is more than one.
    std::wstring TagOf(const Origin& origin) {
        if (!hasManyRuns_) {
            hasManyRuns_ = reader_.RunCount() > 1;
        }
        if (!hasManyRuns_) {
            return {};
        }
        return origin.pid ? std::to_wstring(*origin.pid) : origin.folder->RunName(origin.run);
    }

    void Hold(const Record& record, const Origin& origin) {
        Append(held_.emplace_back(), record, origin);
        if (held_.size() > *options_.lastRecords) {
            held_.pop_front();
        }
    }

    void Release() {
        isHolding_ = false;
        for (const std::wstring& text : held_) {
            output_.Text() += text;
            output_.Appended();
        }
        held_.clear();
        output_.Flush();
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
    RecordWriter writer_;
    Reader reader_;
    bool isAnyMissing_ = false;
    bool hasManyRuns_ = false;
    bool isHolding_ = options_.lastRecords.has_value();
    std::deque<std::wstring> held_;
    bool isOver_ = false;    ///< the time of --until has come
    bool isAnyNew_ = false;  ///< since the cursor was saved
    std::size_t savedAt_ = 0;
};

}  // namespace

ExitCode ShowLogs(const Options& options) {
    stopEvent.Reset(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    ::SetConsoleCtrlHandler(StopOnConsoleEvent, options.follow ? TRUE : FALSE);
    return Show(options, ResolveOperands(options.operands, options.follow)).Run();
}

}  // namespace quillon_log
