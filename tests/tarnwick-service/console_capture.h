#ifndef TESTS_TARNWICK_SERVICE_CONSOLE_CAPTURE_H
#define TESTS_TARNWICK_SERVICE_CONSOLE_CAPTURE_H

#include <string>

#include "framework/system/unique_handle.h"
#include "tests/support/scratch_folder.h"

namespace test {

/// Sends this process's standard output to a file for as long as it lives. The test framework's own
/// output isn't touched.
class ConsoleCapture {
  public:
    ConsoleCapture();
    ~ConsoleCapture();
    ConsoleCapture(const ConsoleCapture&) = delete;
    ConsoleCapture& operator=(const ConsoleCapture&) = delete;

    /// All that was printed, with line feeds alone. Fails the test on a line feed that was printed
    /// without its carriage return.
    [[nodiscard]] std::string Text() const;

  private:
    ScratchFolder folder_;
    framework::FileHandle file_;
    HANDLE before_;
};

}  // namespace test

#endif  // TESTS_TARNWICK_SERVICE_CONSOLE_CAPTURE_H
