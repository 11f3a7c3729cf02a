#ifndef BENCH_PROCESS_SCM_H
#define BENCH_PROCESS_SCM_H

#include <filesystem>
#include <string>

#include "tools/shared/service_manager.h"

namespace bench {

using tools::ServiceHandle;

/// A service registered for the duration of a measurement. Throws if the service manager refuses.
class Service {
  public:
    Service(const std::wstring& name, const std::filesystem::path& executable);
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// The time from the start call until the service is running, in nanoseconds.
    double TimeStart();
    /// The time from the stop call to the end of the process, in nanoseconds.
    double TimeStop();
    /// The running service's process; the caller closes it.
    [[nodiscard]] framework::KernelHandle OpenProcess() const;

  private:
    void AwaitStop();

    ServiceHandle manager_;
    ServiceHandle service_;
};

}  // namespace bench

#endif  // BENCH_PROCESS_SCM_H
