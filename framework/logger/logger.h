/// The one logger of the process: filters a line by its level, makes a record of it and hands the
/// record to the console, the debugger channel and the log files.
///
/// Logging is synchronous. The calling thread formats and writes its own record, rotates the file
/// when it has grown past its limit, and compresses the old one; a log call can last as long as
/// that, and every other logging thread waits for it. A record is with the operating system when
/// the call returns.
#ifndef FRAMEWORK_LOGGER_LOGGER_H
#define FRAMEWORK_LOGGER_LOGGER_H

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <string_view>

#include "framework/logger/log_file.h"
#include "framework/logger/logger_config.h"
#include "framework/logger/record_formatter.h"
#include "framework/system/locks.h"
#include "framework/system/platform.h"
#include "framework/system/wide_format.h"

namespace framework {

/// A text that is known at run time only and is to be read as a format without arguments. No
/// conversion in it ever reads an argument; see `WithoutConversions`.
struct RuntimeText {
    const wchar_t* Text;
};

class Logger {
  public:
    Logger() = default;
    /// Ends logging by `Shutdown`.
    ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    /// The one object. Made at the first call, on any thread; shut down at process exit. It isn't
    /// destroyed there, so that a thread that still logs finds a whole object with no open file.
    [[nodiscard]] static Logger& Instance();

    /// Whether a line of this level would be written. No lock, no look at the object.
    [[nodiscard]] static bool Passes(std::uint32_t level) noexcept {
        return (PassingLevels.load(std::memory_order_relaxed) & level) != 0;
    }

    /// Writes one record. `component` may be null, which selects the configured name. The texts are
    /// borrowed for the call. Any thread, also from within a rotation of the same thread. Always
    /// true. A failing sink loses the record in that sink alone; see `WriteBytes` for what is told.
    ///
    /// A failed allocation leaves the call as `std::bad_alloc`, and later calls go on. A usual
    /// record that goes to a file or the debugger and rotates nothing allocates nothing.
    ///
    /// A line that doesn't pass costs a load, an AND and a branch: this stays inline, and all that
    /// follows stays out of line.
    template <class... Args>
    bool Log(std::uint32_t level, const wchar_t* tag, const wchar_t* component, const wchar_t* file,
             std::uint32_t line, const wchar_t* function, FormatFor<Args...> format, Args... args) {
        if (!Passes(level)) {
            return true;
        }
        return LogUnchecked({tag, component, file, function, line}, format.Text(), args...);
    }

    /// The same for a text that is known at run time only.
    bool Log(std::uint32_t level, const wchar_t* tag, const wchar_t* component, const wchar_t* file,
             std::uint32_t line, const wchar_t* function, RuntimeText format) {
        if (!Passes(level)) {
            return true;
        }
        return LogRuntimeText({tag, component, file, function, line}, format.Text);
    }

    /// Takes over the settings and opens the first file. Called once, before any other thread
    /// exists. Always true; a file that can't be opened shows on the debugger channel alone.
    bool Configure(LoggerConfig config);

    /// Logs the three header lines: build, process and path; the time in UTC; the local time.
    void WriteHeader();

    /// Forces what has been written to disk. Any thread. Waits only while the file is being
    /// switched, not for a record in progress.
    void Flush();

    /// The end of logging: the last record, the file closed and compressed, the last retention run.
    /// Does nothing on a logger that was never configured. For the process's exit, when no other
    /// thread is expected to log. A step that runs out of memory is left out; the next ones run.
    void Shutdown() noexcept;

  private:
    friend DWORD WINAPI RetentionThreadProc(void* logger);

    bool LogUnchecked(const RecordInfo& info, const wchar_t* format, ...);
    bool LogRuntimeText(const RecordInfo& info, const wchar_t* text);
    bool LogList(const RecordInfo& info, const wchar_t* format, std::va_list args);

    class SwitchInProgress;

    void OpenFirstFile();
    void WriteRecord(std::wstring_view text);
    [[nodiscard]] bool PassedSizeLimit() const noexcept;
    void Rotate();
    [[nodiscard]] bool SwitchFile(const std::wstring& nextName);
    void WriteHeaderOfNewFile();
    void WriteDueHeader();
    void DisposeOfClosedFile(const std::wstring& name, const std::wstring& compressedName);
    void CloseFile();
    void DrainPending() noexcept;
    void StartRetention(bool onThisThread);
    [[nodiscard]] bool RetentionBusy(bool wait);
    void RunRetention() const;
    void RunRetentionPass(const wchar_t* pattern, std::uint32_t sizeLimit) const;

    /// `TraceLevelsMask` once more, where a filtered call reaches it without the object. 0 until
    /// `Configure`.
    inline static constinit std::atomic<std::uint32_t> PassingLevels{0};

    // Written by Configure, before the first thread starts, and read without a lock.
    LoggerConfig Config;
    RetentionBudgets Budgets;
    std::unique_ptr<RecordFormatter> Formatter;

    // RecordLock is held by a log call from before the formatting to after the last sink, so that
    // records leave in one order in every sink. It is recursive because the header of a new file is
    // logged by the thread that is inside a log call already. Taken before the other two.
    CriticalSection RecordLock;
    // Guarded by RecordLock.
    std::wstring NameTemplate;
    LogFile CurrentFile;
    bool HeaderDue = false;           ///< the current file has no header yet for lack of memory
    std::uint32_t RotationDepth = 0;  ///< above 0 while the file is being switched
    std::uint32_t LogId = 0;          ///< number of the current file
    std::uint32_t WrittenBytes = 0;   ///< bytes counted for the current file

    // FileLock guards CurrentFile while it is switched, against Flush, and PendingRecords while
    // they are drained.
    CriticalSection FileLock;
    std::list<std::wstring> PendingRecords;  ///< held back while the file is being switched

    // RetentionLock guards RetentionThread; at exit it is held over the whole last run.
    CriticalSection RetentionLock;
    KernelHandle RetentionThread;
};

/// The routine of the thread that lives for one retention run. 1 for a null argument, else 0.
DWORD WINAPI RetentionThreadProc(void* logger);

/// `Logger::Flush` of the one object, in the form in which the controller library is handed it.
void LogFlush();

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOGGER_H
