/// Starts programs and reports how they end, with all 32 bits of the exit code.
#ifndef TESTS_SUPPORT_CHILD_PROCESS_H
#define TESTS_SUPPORT_CHILD_PROCESS_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "framework/system/unique_handle.h"

namespace test {

struct ChildOptions {
    std::map<std::wstring, std::wstring> environment;  ///< added to this process's
    std::filesystem::path directory;                   ///< working directory; empty: this process's
    DWORD creationFlags = 0;
};

/// A started process. The destructor terminates it if it is still running.
class Child {
  public:
    /// Starts `commandLine` unchanged. Throws on failure. Standard output and error go to a file.
    explicit Child(std::wstring commandLine, const ChildOptions& options = {});
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Waits for the end and returns the exit code. Throws on a timeout.
    std::uint32_t Wait(DWORD limitMs = 60000);
    [[nodiscard]] bool Running() const;
    void Terminate(std::uint32_t exitCode = 1);
    /// The output so far, as bytes.
    [[nodiscard]] std::string Output() const;
    [[nodiscard]] DWORD ProcessId() const noexcept { return processId_; }
    [[nodiscard]] HANDLE Process() const noexcept { return process_.Get(); }
    [[nodiscard]] HANDLE Thread() const noexcept { return thread_.Get(); }

  private:
    framework::KernelHandle process_;
    framework::KernelHandle thread_;
    DWORD processId_ = 0;
    std::filesystem::path output_;
};

/// Registers a routine that this test program runs instead of tests when `StartSelf` starts it
/// under this name. Its result is the exit code.
///
///     const test::ChildRoutine crash(L"crash", [](const std::vector<std::wstring>& arguments)
///     {...});
class ChildRoutine {
  public:
    using Function = int (*)(const std::vector<std::wstring>& arguments);
    ChildRoutine(const wchar_t* name, Function function);
};

/// The command line that starts this program with a child routine.
[[nodiscard]] std::wstring SelfCommandLine(const std::wstring& name,
                                           const std::vector<std::wstring>& arguments = {});

/// Runs the child routine of the command line. False if it names none.
[[nodiscard]] bool RunChildRoutine(int argc, wchar_t** argv, int& exitCode);

/// Path of the running program.
[[nodiscard]] std::filesystem::path OwnPath();

}  // namespace test

#endif  // TESTS_SUPPORT_CHILD_PROCESS_H
