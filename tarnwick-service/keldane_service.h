#ifndef TARNWICK_SERVICE_KELDANE_SERVICE_H
#define TARNWICK_SERVICE_KELDANE_SERVICE_H

#include <cstdint>
#include <memory>

#include "tarnwick-service/orrin_ctrl_loader.h"
#include "tarnwick-service/service_descriptor.h"
#include "tarnwick-service/windows_service_base.h"

namespace tarnwick {

/// The one concrete service: starts and stops the controller library's components. The same object
/// serves the run under the Service Control Manager and the console run.
class KeldaneService : public WindowsServiceBase {
  public:
    /// Creates the controller; see `OrrinLoader`. A failure shows in `OnStart`.
    explicit KeldaneService(const ServiceDescriptor& descriptor);
    ~KeldaneService() override;

    /// The object of the process, created by the first call, on the main thread. The descriptor of
    /// a later call is ignored. COM and the library's create call run under the creation lock.
    static std::shared_ptr<WindowsServiceBase> GetOrCreateInstance(ServiceDescriptor descriptor);

    [[nodiscard]] BOOL Run() override;
    /// 0, or 1359 (`ERROR_INTERNAL_ERROR`) for any failure in the library.
    [[nodiscard]] DWORD OnStart() override;
    [[nodiscard]] DWORD OnStop() override;

  private:
    std::uint8_t stopRequested = 0;  ///< set by `OnStop`; nothing reads it
    std::unique_ptr<OrrinLoader> loader;
    [[maybe_unused]] ServiceDescriptor descriptor;  ///< nothing reads it after construction
};

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_KELDANE_SERVICE_H
