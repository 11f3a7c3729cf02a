#include "framework/logger/logger.h"

#include <cstdarg>
#include <cstddef>
#include <cwchar>
#include <exception>
#include <mutex>
#include <new>
#include <utility>

#include "framework/logger/internal_trace.h"
#include "framework/system/console.h"
#include "framework/system/trace.h"

namespace framework {
namespace {

static_assert(ErrorLevel == LevelError.Bit && TraceLevel == LevelTrace.Bit,
              "framework/system uses the logger's level bits");

/// Owns the singleton and shuts it down at process exit, without destroying it.
class ProcessLogger {
  public:
    ProcessLogger() { new (Storage) Logger(); }
    ~ProcessLogger() { Get().Shutdown(); }
    ProcessLogger(const ProcessLogger&) = delete;
    ProcessLogger& operator=(const ProcessLogger&) = delete;

    Logger& Get() { return *std::launder(reinterpret_cast<Logger*>(Storage)); }

  private:
    alignas(Logger) std::byte Storage[sizeof(Logger)] = {};
};

/// Not a `std::wstring`, so that a header needs no more memory than its records.
struct ModulePath {
    wchar_t Text[MAX_PATH + 1] = {};
};

/// The path of the running executable; empty on failure.
ModulePath GetModulePath() noexcept {
    ModulePath path;
    path.Text[::GetModuleFileNameW(nullptr, path.Text, MAX_PATH)] = 0;
    return path;
}

/// Runs one step of the shutdown. A failed allocation skips only this step: the shutdown runs in a
/// destructor.
template <class Step>
void RunShutdownStep(const Step& step) {
    try {
        step();
    } catch (const std::exception&) {
        // Reporting it would need memory too.
    }
}

}  // namespace

Logger::~Logger() {
    Shutdown();
    PassingLevels.store(0, std::memory_order_relaxed);
}

Logger& Logger::Instance() {
    static ProcessLogger logger;
    return logger.Get();
}

bool Logger::Configure(LoggerConfig config) {
    Config = std::move(config);
    Budgets = SplitBudget(Config.MaxLogFilesSize, Config.CompressRotatedLogs);
    Formatter = std::make_unique<RecordFormatter>(
        RecordFormatter{Config.RecordSourceLocation, Config.RecordFlag});
    PassingLevels.store(Config.TraceLevelsMask, std::memory_order_relaxed);
    SetTraceSink(InternalTraceList);
    if (Config.LogToFile) {
        OpenFirstFile();
    }
    return true;
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

bool Logger::LogUnchecked(const RecordInfo& info, const wchar_t* format, ...) {
    std::va_list args;
    va_start(args, format);
    const bool result = LogList(info, format, args);
    va_end(args);
    return result;
}

bool Logger::LogRuntimeText(const RecordInfo& info, const wchar_t* text) {
    if (std::wcschr(text, L'%') == nullptr) {
        return LogUnchecked(info, text);
    }
    return LogUnchecked(info, WithoutConversions(text).c_str());
}

void Logger::LogWithoutMemory(std::uint32_t level, const RecordInfo& info,
                              const wchar_t* text) noexcept {
    if (!Passes(level)) {
        return;
    }
    const std::lock_guard guard(RecordLock);
    if (Config.RecordSourceLocation || RotationDepth > 0 || HeaderDue) {
        return;
    }
    WithoutMemory = true;
    LogUnchecked(info, text);
    WithoutMemory = false;
}

bool Logger::LogList(const RecordInfo& info, const wchar_t* format, std::va_list args) {
    RecordInfo named = info;
    if (named.Component == nullptr) {
        named.Component = Config.ComponentName.c_str();
    }
    const std::lock_guard guard(RecordLock);
    RecordText record;
    Formatter->Format(record, named, format, args);
    const std::wstring_view text = record.View();
    if (text.empty()) {
        return true;
    }
    if (Config.LogToConsole && !WithoutMemory) {
        ConsolePrint(L"%ws", text.data());
    }
    if (Config.LogToDebugger) {
        ::OutputDebugStringW(text.data());
    }
    if (Config.LogToFile) {
        WriteRecord(text);
    }
    return true;
}

void Logger::WriteHeader() {
    InternalTrace(LevelTrace.Bit, L"build: %u, process: %u, '%s'\n", Config.BuildNumber,
                  ::GetCurrentProcessId(), GetModulePath().Text);
    SYSTEMTIME now = {};
    ::GetSystemTime(&now);
    InternalTrace(LevelTrace.Bit, L"%04hu.%02hu.%02hu %02hu:%02hu:%02hu UTC\n", now.wYear,
                  now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond);
    SYSTEMTIME local = {};
    if (::SystemTimeToTzSpecificLocalTime(nullptr, &now, &local) != FALSE) {
        InternalTrace(LevelTrace.Bit, L"%04hu.%02hu.%02hu %02hu:%02hu:%02hu LOCAL\n", local.wYear,
                      local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond);
    }
}

void LogFlush() {
    Logger::Instance().Flush();
}

}  // namespace framework
