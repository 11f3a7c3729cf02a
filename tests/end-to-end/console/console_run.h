#ifndef TESTS_END_TO_END_CONSOLE_CONSOLE_RUN_H
#define TESTS_END_TO_END_CONSOLE_CONSOLE_RUN_H

#include <memory>
#include <string>

#include "tests/end-to-end/support/expected_log.h"
#include "tests/end-to-end/support/host_folder.h"

namespace test {

/// A run of the host in its own console.
class ConsoleRun {
  public:
    explicit ConsoleRun(const HostFolder& host, const std::wstring& arguments = L"-run");

    /// Waits for the end of `OnStart`.
    void AwaitServing() const;
    /// Sends Ctrl+C.
    void Interrupt() const;
    /// Waits for the end and returns the exit code.
    std::uint32_t Wait() { return process_->Wait(); }
    /// All three in one: a complete run, stopped by the user.
    std::uint32_t ServeAndStop();

    [[nodiscard]] const Child& Process() const noexcept { return *process_; }
    [[nodiscard]] std::string Output() const { return process_->Output(); }
    /// The log of an orderly run with `body` between the parameters and the end.
    [[nodiscard]] Records Expected(const Records& body) const;

  private:
    const HostFolder& host_;
    Records arguments_;
    std::unique_ptr<Child> process_;
};

/// The texts that most console runs share. Constants, so that lists at namespace scope can use
/// them.
inline constexpr wchar_t ComReady[] = L"[T][quillon] CoInitializeEx successed";
inline constexpr wchar_t Working[] = L"[T][quillon] Keldane is working... Press Ctrl+c to stop ";
inline constexpr wchar_t StartBegun[] = L"[T][quillon] VelmoraTarnwickService in OnStart started";
inline constexpr wchar_t StartOver[] = L"[T][quillon] VelmoraTarnwickService in OnStart finished";
inline constexpr wchar_t CtrlC[] = L"[T][quillon] Ctrl+c event was recieved ";
inline constexpr wchar_t StopBegun[] = L"[T][quillon] VelmoraTarnwickService in OnStop started";
inline constexpr wchar_t StopOver[] = L"[T][quillon] VelmoraTarnwickService in OnStop finished ";
inline constexpr wchar_t Freed[] = L"[T][quillon] OrrinFreeComponentModelController successed";

}  // namespace test

#endif  // TESTS_END_TO_END_CONSOLE_CONSOLE_RUN_H
