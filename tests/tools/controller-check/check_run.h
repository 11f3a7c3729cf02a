/// Runs controller-check on a library in a separate folder.
#ifndef TESTS_TOOLS_CONTROLLER_CHECK_CHECK_RUN_H
#define TESTS_TOOLS_CONTROLLER_CHECK_CHECK_RUN_H

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "tests/support/scratch_folder.h"

namespace test {

struct CheckOutcome {
    std::uint32_t exitCode = 0;
    std::string output;
    std::map<std::string, std::string> verdicts;  ///< by the expectation's identifier
    std::vector<std::string> failed;              ///< identifiers

    /// The line of one expectation in the report.
    [[nodiscard]] std::string LineOf(const std::string& id) const;
};

class CheckRun {
  public:
    /// Copies a library of the build into the folder.
    explicit CheckRun(const wchar_t* library);

    [[nodiscard]] const std::filesystem::path& Library() const noexcept { return library_; }
    [[nodiscard]] const std::filesystem::path& Folder() const noexcept { return folder_.Path(); }
    /// Uses the development controller, healthy except for these lines.
    void Script(const std::string& lines) const;
    /// Uses the faulty controller.
    void Fault(const std::wstring& name) { fault_ = name; }

    /// Short times, the report as JSON.
    [[nodiscard]] CheckOutcome Run(const std::wstring& options = L"") const;
    /// The arguments before the library.
    [[nodiscard]] CheckOutcome RunPlain(const std::wstring& arguments) const;

  private:
    ScratchFolder folder_;
    std::filesystem::path library_;
    std::wstring fault_;
};

}  // namespace test

#endif  // TESTS_TOOLS_CONTROLLER_CHECK_CHECK_RUN_H
