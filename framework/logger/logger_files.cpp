// The logger's files: which one a record goes to, when a new one is begun, what becomes of the old.

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

/// Holds a counter one higher for as long as it lives, also when an exception passes.
class ScopedIncrement {
  public:
    explicit ScopedIncrement(std::uint32_t& counter) noexcept : counter_(counter) { ++counter_; }
    ~ScopedIncrement() { --counter_; }
    ScopedIncrement(const ScopedIncrement&) = delete;
    ScopedIncrement& operator=(const ScopedIncrement&) = delete;

  private:
    std::uint32_t& counter_;
};

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

}  // namespace

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

void Logger::WriteRecord(const std::wstring& text) {
    // Only the thread that switches the file gets here meanwhile, with the new file's header.
    if (RotationDepth > 0) {
        PendingRecords.push_back(text);
        return;
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
    const std::wstring oldName = MakeFileName(NameTemplate, LogId);
    if (!SwitchFile(MakeFileName(NameTemplate, LogId + 1))) {
        return;
    }
    if (Config.CompressRotatedLogs) {
        const std::wstring compressedName = CompressedName(oldName);
        RemoveLinkAt(compressedName);
        CompressAndDelete(oldName, compressedName);
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
bool Logger::SwitchFile(const std::wstring& nextName) {
    const std::lock_guard guard(FileLock);
    bool switched = false;
    {
        const ScopedIncrement switching(RotationDepth);
        RemoveLinksOnPath(nextName);
        LogFile next = CreateLogFile(nextName);
        if (next) {
            switched = true;
            CurrentFile = std::move(next);
            WrittenBytes = 0;
            ++LogId;
            WriteHeader();
        }
    }
    // The header is written here and so doesn't count in WrittenBytes.
    DrainPending();
    return switched;
}

/// The caller holds FileLock or is alone, at process exit.
void Logger::DrainPending() {
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

void Logger::Shutdown() {
    if (!Formatter) {
        return;
    }
    InternalTrace(LevelTrace.bit, L"End\n");
    CloseFile();
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
    RunLogRetention(
        {Config.LogDirectory, L"*.log", Config.ExpiredPeriodInDays, Budgets.PlainLogsBudget});
    if (Config.CompressRotatedLogs) {
        RunLogRetention({Config.LogDirectory, L"*.log.gz", Config.ExpiredPeriodInDays,
                         Budgets.CompressedLogsBudget});
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
