// The logger's files: which one a record goes to, when a new one is begun, what becomes of the old.

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

/// Whether the thread carries a token of its own, that is, acts for somebody else.
bool IsImpersonating() {
    KernelHandle token;
    return ::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, FALSE, token.Receive()) != FALSE;
}

/// Compresses a closed file and deletes it if that went well. A file that stays is never tried
/// again; from then on retention looks after it.
void CompressAndDelete(const std::wstring& name, const std::wstring& compressedName) {
    if (CompressFile(name, compressedName) == 0) {
        ::DeleteFileW(name.c_str());
    }
}

std::wstring CompressedName(const std::wstring& name) {
    return name + L".gz";
}

/// Runs a step of the shutdown, which happens in a destructor: a failed allocation ends the step
/// and nothing else.
template <class Step>
void RunShutdownStep(const Step& step) {
    try {
        step();
    } catch (const std::exception&) {
        // Whatever could be reported would need memory too.
    }
}

}  // namespace

/// While it lives, records of this thread wait in `PendingRecords`; its end writes them to the file
/// that is current by then. Also when an exception passes.
class Logger::SwitchInProgress {
  public:
    explicit SwitchInProgress(Logger& logger) noexcept : Guard(logger.FileLock), Owner(logger) {
        ++Owner.RotationDepth;
    }
    ~SwitchInProgress() {
        --Owner.RotationDepth;
        // The header is among these and so doesn't count in WrittenBytes.
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
    // Only the thread that switches the file gets here meanwhile, with the new file's header.
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
    // Files are switched, compressed and deleted with the process's own rights alone: a thread that
    // acts for somebody else leaves it to the next record of one that doesn't.
    if (!PassedSizeLimit() || IsImpersonating()) {
        return;
    }
    Rotate();
}

/// The names are made first: once the file is switched, nothing but the work on the files
/// themselves can run out of memory.
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

/// Goes over to the file `nextName` and begins it with a header. If it can't be made, for instance
/// because it exists, the old file goes on and the next record tries again.
///
/// If the header runs out of memory the file is switched all the same, and `HeaderDue` stays set.
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

/// Puts the whole header into `PendingRecords`, or nothing of it.
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

/// A file begins with its header, so a record for which there is no header yet isn't written.
void Logger::WriteDueHeader() {
    const SwitchInProgress switching(*this);
    WriteHeaderOfNewFile();
}

/// The caller holds FileLock or is alone, at process exit.
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
    // Unlike a rotation, this doesn't take a link away from the compressed name, which is meant:
    // at process exit nothing is changed on disk but the log's own files.
    const std::wstring name = MakeFileName(NameTemplate, LogId);
    CompressAndDelete(name, CompressedName(name));
}

void Logger::Shutdown() noexcept {
    if (!Formatter) {
        return;
    }
    RunShutdownStep([] { InternalTrace(LevelTrace.Bit, L"End\n"); });
    RunShutdownStep([this] { CloseFile(); });
    if (Config.DisableLogRetention) {
        return;
    }
    StartRetention(true);
    const std::lock_guard guard(RetentionLock);
    static_cast<void>(RetentionBusy(true));
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

/// Whether the retention thread still runs, after waiting for its end if `wait`. The handle of a
/// finished one is closed here.
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

/// A pass that has no memory for its own parameters is left out. The next pass runs.
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
