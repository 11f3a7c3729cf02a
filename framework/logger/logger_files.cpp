// The file sink: choosing the current file, rotating it, and disposing of the old one.

#include <cstddef>
#include <exception>
#include <mutex>
#include <utility>

#include "framework/logger/internal_trace.h"
#include "framework/logger/log_compression.h"
#include "framework/logger/log_directory.h"
#include "framework/logger/log_file_name.h"
#include "framework/logger/log_retention.h"
#include "framework/logger/logger.h"

namespace framework {
namespace {

/// Whether the thread is impersonating.
bool IsImpersonating() {
    KernelHandle token;
    return ::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, FALSE, token.Receive()) != FALSE;
}

/// Compresses a closed file and deletes it on success. On failure the file stays: compression isn't
/// retried, and retention deletes it later.
void CompressAndDelete(const std::wstring& name, const std::wstring& compressedName) {
    if (CompressFile(name, compressedName) == 0) {
        ::DeleteFileW(name.c_str());
    }
}

std::wstring CompressedName(const std::wstring& name) {
    return name + L".gz";
}

}  // namespace

/// During its lifetime, this thread's records are kept in `PendingRecords`. The destructor, also
/// after an exception, writes them to the file that is then current.
class Logger::SwitchInProgress {
  public:
    explicit SwitchInProgress(Logger& logger) noexcept : Guard(logger.FileLock), Owner(logger) {
        ++Owner.RotationDepth;
    }
    ~SwitchInProgress() {
        --Owner.RotationDepth;
        // These include the header, so it isn't counted in WrittenBytes.
        Owner.DrainPending();
    }
    SwitchInProgress(const SwitchInProgress&) = delete;
    SwitchInProgress& operator=(const SwitchInProgress&) = delete;

  private:
    std::lock_guard<CriticalSection> Guard;
    Logger& Owner;
};

void Logger::OpenFirstFile() {
    if (CurrentFile || Config.LogDirectory.empty()) {
        return;
    }
    RemoveLinksOnPath(Config.LogDirectory);
    if (!CreateDirectoryChain(Config.LogDirectory)) {
        return;
    }
    SYSTEMTIME now = {};
    ::GetSystemTime(&now);
    std::wstring nameTemplate = MakeNameTemplate(Config.LogDirectory, Config.FilePrefix, now);
    if (nameTemplate.empty()) {
        return;
    }
    NameTemplate = std::move(nameTemplate);
    const std::wstring name = MakeFileName(NameTemplate, LogId);
    RemoveLinkAt(name);
    CurrentFile = CreateLogFile(name);
}

void Logger::WriteRecord(std::wstring_view text) {
    // During a switch only the switching thread gets here, with the new file's header.
    if (RotationDepth > 0) {
        PendingRecords.emplace_back(text);
        return;
    }
    if (HeaderDue) {
        WriteDueHeader();
    }
    if (!WriteText(CurrentFile.Get(), text)) {
        return;
    }
    WrittenBytes += static_cast<std::uint32_t>(text.size() * sizeof(wchar_t));
    // Files are switched, compressed and deleted only with the process's own rights. An
    // impersonating thread leaves the rotation to the next record of another thread.
    if (!PassedSizeLimit() || WithoutMemory || IsImpersonating()) {
        return;
    }
    Rotate();
}

/// Allocates all names before the switch, so that afterwards only the work on the files can run out
/// of memory.
void Logger::Rotate() {
    const std::wstring oldName = MakeFileName(NameTemplate, LogId);
    const std::wstring nextName = MakeFileName(NameTemplate, LogId + 1);
    const std::wstring compressedName = CompressedName(oldName);
    try {
        if (!SwitchFile(nextName)) {
            return;
        }
    } catch (const std::exception&) {
        if (HeaderDue) {
            DisposeOfClosedFile(oldName, compressedName);
        }
        throw;
    }
    DisposeOfClosedFile(oldName, compressedName);
}

void Logger::DisposeOfClosedFile(const std::wstring& name, const std::wstring& compressedName) {
    if (Config.CompressRotatedLogs) {
        RemoveLinkAt(compressedName);
        CompressAndDelete(name, compressedName);
    }
    if (!Config.DisableLogRetention) {
        StartRetention(false);
    }
}

bool Logger::PassedSizeLimit() const noexcept {
    return Config.MaxFileSize != 0 && WrittenBytes > Config.MaxFileSize;
}

/// Switches to the new file `nextName` and writes its header. On failure (e.g. the name exists)
/// keeps the old file; the next record retries. If the header runs out of memory, the file is
/// switched anyway and `HeaderDue` stays set.
bool Logger::SwitchFile(const std::wstring& nextName) {
    const SwitchInProgress switching(*this);
    RemoveLinksOnPath(nextName);
    LogFile next = CreateLogFile(nextName);
    if (!next) {
        return false;
    }
    CurrentFile = std::move(next);
    WrittenBytes = 0;
    ++LogId;
    HeaderDue = true;
    WriteHeaderOfNewFile();
    return true;
}

/// Appends the whole header to `PendingRecords`, or nothing.
void Logger::WriteHeaderOfNewFile() {
    const std::size_t waiting = PendingRecords.size();
    try {
        WriteHeader();
    } catch (const std::exception&) {
        PendingRecords.resize(waiting);
        throw;
    }
    HeaderDue = false;
}

/// A file must begin with its header: if this throws, the record isn't written.
void Logger::WriteDueHeader() {
    const SwitchInProgress switching(*this);
    WriteHeaderOfNewFile();
}

/// The caller must hold FileLock, or be the only thread at process exit.
void Logger::DrainPending() noexcept {
    while (!PendingRecords.empty()) {
        if (CurrentFile) {
            static_cast<void>(WriteText(CurrentFile.Get(), PendingRecords.front()));
        }
        PendingRecords.pop_front();
    }
}

void Logger::Flush() {
    const std::lock_guard guard(FileLock);
    DrainPending();
    ::FlushFileBuffers(CurrentFile.Get());
}

void Logger::CloseFile() {
    if (!CurrentFile) {
        return;
    }
    DrainPending();
    CurrentFile.Reset();
    if (!Config.CompressRotatedLogs) {
        return;
    }
    // Unlike a rotation, this deliberately doesn't remove a link at the compressed name: at process
    // exit only the log's own files are changed.
    const std::wstring name = MakeFileName(NameTemplate, LogId);
    CompressAndDelete(name, CompressedName(name));
}

void Logger::StartRetention(bool onThisThread) {
    const std::lock_guard guard(RetentionLock);
    if (RetentionBusy(false)) {
        return;
    }
    if (onThisThread) {
        RunRetention();
        return;
    }
    RetentionThread.Reset(::CreateThread(nullptr, 0, RetentionThreadProc, this, 0, nullptr));
}

/// Whether the retention thread is running; with `wait`, waits for its end first. Closes the handle
/// of a finished thread.
bool Logger::RetentionBusy(bool wait) {
    if (!RetentionThread) {
        return false;
    }
    if (::WaitForSingleObject(RetentionThread.Get(), wait ? INFINITE : 0) != WAIT_OBJECT_0) {
        return true;
    }
    RetentionThread.Reset();
    return false;
}

void Logger::RunRetention() const {
    RunRetentionPass(PlainLogPattern, Budgets.PlainLogsBudget);
    if (Config.CompressRotatedLogs) {
        RunRetentionPass(CompressedLogPattern, Budgets.CompressedLogsBudget);
    }
}

/// A pass without memory for its parameters is skipped; the next pass runs.
void Logger::RunRetentionPass(const wchar_t* pattern, std::uint32_t sizeLimit) const {
    try {
        RunLogRetention({Config.LogDirectory, pattern, Config.ExpiredPeriodInDays, sizeLimit});
    } catch (const std::exception&) {
        ReportFailedPass();
    }
}

DWORD WINAPI RetentionThreadProc(void* logger) {
    if (logger == nullptr) {
        return 1;
    }
    static_cast<Logger*>(logger)->RunRetention();
    return 0;
}

}  // namespace framework
