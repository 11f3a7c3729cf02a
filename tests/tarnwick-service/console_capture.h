#ifndef TESTS_TARNWICK_SERVICE_CONSOLE_CAPTURE_H
#define TESTS_TARNWICK_SERVICE_CONSOLE_CAPTURE_H

#include <string>

#include "framework/system/unique_handle.h"
#include "tests/support/scratch_folder.h"

namespace test {

/// Redirects this process's standard output to a file during its lifetime. The output of the test
/// framework isn't affected.
class ConsoleCapture {
  public:
    ConsoleCapture();
    ~ConsoleCapture();
    ConsoleCapture(const ConsoleCapture&) = delete;
    ConsoleCapture& operator=(const ConsoleCapture&) = delete;

    /// All printed text, with line feeds only. Fails the test if a line feed was printed without
    /// its carriage return.
    [[nodiscard]] std::string Text() const;

  private:
    ScratchFolder folder_;
    framework::FileHandle file_;
    HANDLE before_;
};

}  // namespace test

#endif  // TESTS_TARNWICK_SERVICE_CONSOLE_CAPTURE_H
