/// The package's programs in a separate folder, and the service that they install.
#ifndef TESTS_END_TO_END_INSTALL_INSTALLATION_H
#define TESTS_END_TO_END_INSTALL_INSTALLATION_H

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/end-to-end/support/host_folder.h"
#include "tools/service-tool/place.h"
#include "tools/service-tool/service.h"

namespace test {

struct ToolRun {
    std::uint32_t code = 0;
    std::vector<std::string> lines;  ///< UTF-8

    /// Whether a line is exactly this, or begins with it if `text` ends with "...".
    [[nodiscard]] bool Says(const std::string& text) const;
    [[nodiscard]] bool Mentions(const std::string& text) const;
    [[nodiscard]] std::string All() const;
};

/// Uses the product's own service name and data folder, because `service-tool` supports no others.
/// On a machine with the service the tests are skipped. A data folder is moved aside and restored.
class InstallTest : public testing::Test {
  protected:
    void SetUp() override;
    void TearDown() override;

    /// The programs in a subfolder with this name, with the controller library.
    void Unpack(const std::wstring& subfolder = L"Prögram Files (x86)\\Tarnwick");

    /// Runs service-tool from the unpacked folder, or from `folder`.
    ToolRun Tool(const std::wstring& arguments, const std::filesystem::path& folder = {});
    /// Runs `install` and expects success.
    void Install();

    /// Starts the service and waits until it accepts a stop, or for RUNNING alone.
    void StartService(bool awaitStopAccepted = true);
    [[nodiscard]] DWORD State() const;
    [[nodiscard]] bool IsRegistered() const;

    HostFolder& Host() { return *host_; }
    [[nodiscard]] const std::filesystem::path& Folder() const { return host_->Path(); }
    [[nodiscard]] std::filesystem::path Data() const { return place_.data; }
    [[nodiscard]] std::filesystem::path DataParent() const { return place_.dataParent; }

    /// Makes `link` a link to the folder `target`: a Linux symbolic link on Wine, a junction
    /// elsewhere.
    static void MakeFolderLink(const std::filesystem::path& target,
                               const std::filesystem::path& link);
    static void RemoveFolderLink(const std::filesystem::path& link);

  private:
    void RemoveService();

    service_tool::Place place_ = service_tool::FindPlace();
    std::filesystem::path keptData_;
    std::unique_ptr<HostFolder> host_;
    bool entered_ = false;
};

}  // namespace test

#endif  // TESTS_END_TO_END_INSTALL_INSTALLATION_H
