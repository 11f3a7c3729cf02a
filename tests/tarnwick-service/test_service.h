#ifndef TESTS_TARNWICK_SERVICE_TEST_SERVICE_H
#define TESTS_TARNWICK_SERVICE_TEST_SERVICE_H

#include <functional>
#include <memory>

#include "tarnwick-service/windows_service_base.h"

namespace test {

/// Accepted controls of a service made with the flags 0, 1, 0.
constexpr DWORD ShutdownOnly = 4;

/// A service whose steps a test defines. The steps log nothing by themselves.
class TestService : public tarnwick::WindowsServiceBase {
  public:
    using Step = std::function<DWORD()>;

    using WindowsServiceBase::WindowsServiceBase;
    ~TestService() override;

    DWORD OnStart() override { return start ? start() : ERROR_SUCCESS; }
    DWORD OnStop() override { return stop ? stop() : ERROR_SUCCESS; }
    DWORD OnShutdown() override { return Unexpected(); }
    DWORD OnPause() override { return Unexpected(); }
    DWORD OnContinue() override { return Unexpected(); }

    Step start;
    Step stop;
    std::function<void()> destroyed;  ///< called by the destructor

    /// Creates one and puts it into the slot, which must be empty.
    static std::shared_ptr<TestService> Create(BYTE canStop = 0, BYTE canShutdown = 1,
                                               BYTE canPause = 0);

  private:
    static DWORD Unexpected();
};

}  // namespace test

#endif  // TESTS_TARNWICK_SERVICE_TEST_SERVICE_H
