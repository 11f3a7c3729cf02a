/// One run of the host that crashes, and its results.
#ifndef TESTS_END_TO_END_CRASH_CRASH_RUN_H
#define TESTS_END_TO_END_CRASH_CRASH_RUN_H

#include <cstdint>
#include <filesystem>
#include <string>

#include "tests/end-to-end/support/expected_log.h"
#include "tests/end-to-end/support/host_folder.h"

namespace test {

inline constexpr std::uint32_t AccessViolation = 0xC0000005;
inline constexpr std::uint32_t Breakpoint = 0x80000003;
inline constexpr std::uint32_t IllegalInstruction = 0xC000001D;
inline constexpr std::uint32_t DivisionByZero = 0xC0000094;
inline constexpr std::uint32_t HeapCorruption = 0xC0000374;
inline constexpr std::uint32_t IntegerOverflow = 0xC0000095;
inline constexpr std::uint32_t FailFastExit = 0xC0000409;
/// The exception code of a thrown C++ exception depends on the compiler.
#ifdef _MSC_VER
inline constexpr std::uint32_t CppException = 0xE06D7363;
#else
inline constexpr std::uint32_t CppException = 0x20474343;
#endif

/// A host built by GCC has no frame for C++ exceptions from the free call, nor for those whose dump
/// fails.
#if defined(__GNUC__) && !defined(__clang__)
inline constexpr bool HasFilterFrame = false;
#else
inline constexpr bool HasFilterFrame = true;
#endif

/// Script lines that skip writing the dump and report success. A dump takes seconds on Wine, and
/// most tests don't check its content.
inline constexpr const char* PretendDump = "fail-import MiniDumpWriteDump every 0 1\n";
/// Blocks the call in which it is used. A crash elsewhere ends the process meanwhile.
inline constexpr const char* Forever = "wait-event Local\\tarnwick-test-never 60000\n";

/// "ExceptionFilter (Thread 12): text"
[[nodiscard]] std::wstring FilterText(std::uint64_t thread, const std::wstring& text);

/// The lines of a pass, except a callback's.
[[nodiscard]] Records PassBegins(std::uint64_t thread);
[[nodiscard]] Records DumpWritten(std::uint64_t thread, const std::filesystem::path& dump);
[[nodiscard]] Records DumpFailed(std::uint64_t thread, const std::wstring& why);

[[nodiscard]] bool OnWine();
/// The code of a division overflow. Wine reports a division by zero instead.
[[nodiscard]] std::uint32_t DivisionOverflow();
/// The exit code after a stack overflow on the main thread. Wine ends the thread alone, and with
/// the main thread the process: Wine 8 with 0, Wine 10 with 1.
[[nodiscard]] std::uint32_t StackOverflowExit();

/// Leaves crashes to the crash handling: no debugger and no message box, also in children.
class CrashRun {
  public:
    explicit CrashRun(const std::wstring& subfolder = L"");

    [[nodiscard]] const HostFolder& Host() const noexcept { return host_; }
    void Script(const std::string& lines) const { host_.Script(lines); }
    /// Runs the host to its end and returns its exit code.
    std::uint32_t Run(const std::wstring& arguments, const ChildOptions& options = {});
    [[nodiscard]] const std::string& Output() const noexcept { return output_; }

    [[nodiscard]] std::filesystem::path DumpFile() const;
    /// Creates the folder of the dump file, which otherwise the logger creates above its own.
    void MakeDumpFolder() const;
    /// The number of files named like a dump anywhere below the test's folder.
    [[nodiscard]] std::size_t DumpCount() const;
    /// The thread of the script's last crash.
    [[nodiscard]] std::uint64_t CrashingThread() const;
    /// The records from the first one of the crash handling on. The log must be plain and without
    /// an end, because a crash neither closes nor compresses it.
    [[nodiscard]] Records CrashRecords() const;

  private:
    HostFolder host_;
    std::string output_;
};

/// The records from the first one of the crash handling on.
[[nodiscard]] Records FromCrashOn(const Records& records);

/// The same without the lines of the service's actions. Another thread logs them, at any moment of
/// the crash: the one whose start ends while the library's thread crashes, or that of a stop.
[[nodiscard]] Records OfTheCrash(const Records& records);

}  // namespace test

#endif  // TESTS_END_TO_END_CRASH_CRASH_RUN_H
