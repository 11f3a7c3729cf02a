/// The process-wide logger: filters lines by level, formats records and writes them to the console,
/// the debugger channel and log files.
///
/// Logging is synchronous: the calling thread formats and writes the record, rotates the file when
/// it exceeds its limit and compresses the old one. Other logging threads wait meanwhile. When the
/// call returns, the record has been written to the operating system.
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

/// A format that is known only at run time and has no arguments. Its conversions never read an
/// argument; see `WithoutConversions`.
struct RuntimeText {
    const wchar_t* Text;
};

class Logger {
  public:
    Logger() = default;
    /// Calls `Shutdown`.
    ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    /// The singleton. Thread-safe; created by the first call and shut down at process exit. It is
    /// never destroyed, so a thread that still logs at exit uses a valid object without a file.
    [[nodiscard]] static Logger& Instance();

    /// Whether a line of this level would be written. Takes no lock and needs no object.
    [[nodiscard]] static bool Passes(std::uint32_t level) noexcept {
        return (PassingLevels.load(std::memory_order_relaxed) & level) != 0;
    }

    /// Writes one record. A null `component` selects the configured name. Pointers must stay valid
    /// for the duration of the call. Thread-safe, and reentrant during a rotation. Always returns
    /// true. If a sink fails, only that sink loses the record; for failures of the file see
    /// `WriteBytes`.
    ///
    /// Throws `std::bad_alloc` if memory runs out; later calls work again. A record of usual size
    /// that goes to the debugger or a file, without a rotation, allocates nothing.
    ///
    /// A line that doesn't pass costs a load, an AND and a branch. So the filter is inline and the
    /// rest is not.
    template <class... Args>
    bool Log(std::uint32_t level, const wchar_t* tag, const wchar_t* component, const wchar_t* file,
             std::uint32_t line, const wchar_t* function, FormatFor<Args...> format, Args... args) {
        if (!Passes(level)) {
            return true;
        }
        return LogUnchecked({tag, component, file, function, line}, format.Text(), args...);
    }

    /// As above, for a format that is known only at run time.
    bool Log(std::uint32_t level, const wchar_t* tag, const wchar_t* component, const wchar_t* file,
             std::uint32_t line, const wchar_t* function, RuntimeText format) {
        if (!Passes(level)) {
            return true;
        }
        return LogRuntimeText({tag, component, file, function, line}, format.Text);
    }

    /// Writes one record without allocating and without throwing, for a crash without memory: to
    /// the debugger channel, and to the current file, which isn't rotated. `text` is short and has
    /// no percent sign. The record is lost while the file is being switched or has no header yet,
    /// with a source location, and on the console. Any thread.
    void LogWithoutMemory(std::uint32_t level, const RecordInfo& info,
                          const wchar_t* text) noexcept;

    /// Copies the settings and opens the first file. Call once, before any other thread exists.
    /// Always returns true; a failed open is reported only to the debugger channel.
    bool Configure(LoggerConfig config);

    /// Logs the three header records: build, process and path; the time in UTC; the local time.
    void WriteHeader();

    /// Flushes the current file to disk. Thread-safe. Waits for a switch of files, but not for a
    /// record in progress.
    void Flush();

    /// Writes the last record, closes and compresses the file and runs retention. Does nothing if
    /// the logger was never configured. For process exit; other threads should no longer log. A
    /// step that runs out of memory is skipped.
    void Shutdown() noexcept;

  private:
    friend DWORD WINAPI RetentionThreadProc(void* logger);

    // `Log` without the compile-time check of `format` against the arguments.
    bool LogUnchecked(const RecordInfo& info, const wchar_t* format, ...);
    bool LogRuntimeText(const RecordInfo& info, const wchar_t* text);
    bool LogList(const RecordInfo& info, const wchar_t* format, std::va_list args);

    class SwitchInProgress;

    // Defined in logger_files.cpp.
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

    /// A copy of `TraceLevelsMask` that a filtered call reads without the object. 0 until
    /// `Configure`.
    inline static constinit std::atomic<std::uint32_t> PassingLevels{0};

    // Written by Configure, before any other thread exists, and read without a lock.
    LoggerConfig Config;
    RetentionBudgets Budgets;
    std::unique_ptr<RecordFormatter> Formatter;

    // A log call holds RecordLock from formatting to the last sink, so that every sink has the same
    // order of records. Recursive, because a rotation logs the header of the new file within a log
    // call. Locked before the other two.
    CriticalSection RecordLock;
    // Guarded by RecordLock.
    std::wstring NameTemplate;
    LogFile CurrentFile;
    bool HeaderDue = false;           ///< writing the current file's header ran out of memory
    bool WithoutMemory = false;       ///< the record in progress must not allocate
    std::uint32_t RotationDepth = 0;  ///< above 0 while the file is being switched
    std::uint32_t LogId = 0;          ///< number of the current file
    std::uint32_t WrittenBytes = 0;   ///< bytes counted for the current file

    // FileLock guards CurrentFile during a switch, against Flush, and PendingRecords while they are
    // written.
    CriticalSection FileLock;
    std::list<std::wstring> PendingRecords;  ///< held back while the file is being switched

    // Guards RetentionThread. At exit held during the whole last run.
    CriticalSection RetentionLock;
    KernelHandle RetentionThread;
};

/// The routine of the retention thread: one run. Returns 1 for a null argument, else 0.
DWORD WINAPI RetentionThreadProc(void* logger);

/// Calls `Logger::Flush` on the singleton. The controller library gets its address.
void LogFlush();

}  // namespace framework

#endif  // FRAMEWORK_LOGGER_LOGGER_H
