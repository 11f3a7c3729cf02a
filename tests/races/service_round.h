#ifndef TESTS_RACES_SERVICE_ROUND_H
#define TESTS_RACES_SERVICE_ROUND_H

#include <memory>
#include <string>
#include <vector>

#include "tarnwick-service/keldane_service.h"
#include "tests/races/lock_delay.h"
#include "tests/races/report_watch.h"
#include "tests/races/rounds.h"
#include "tests/support/log_capture.h"
#include "tests/tarnwick-service/counted_sleep.h"
#include "tests/tarnwick-service/fake_controller.h"
#include "tests/tarnwick-service/thread_watch.h"

namespace test {

/// One life of the service, from the construction of its object to its end. The controller library
/// and the Service Control Manager are part of the test. Library calls take a random time. The
/// pending reporter's sleeps take none, so that it reports as often as possible.
class ServiceRound {
  public:
    explicit ServiceRound(RaceRound& round);
    ServiceRound(const ServiceRound&) = delete;
    ServiceRound& operator=(const ServiceRound&) = delete;

    /// Makes `Activate`, and so the start, fail.
    void LetStartFail() { controller_.results["Activate"] = 5; }

    /// The manager's calls: the entry point, and the registered handler.
    void Start();
    void Control(DWORD control);
    void AwaitRunning() const;
    /// The library's calls.
    void Interrupt() const;
    [[nodiscard]] DWORD EnableStop() const;

    /// Waits for the end of every thread of an action.
    void AwaitThreads() { threads_.JoinAll(); }
    /// Ends like the entry point after the dispatcher has returned: threads of a start may still
    /// run. Then checks the common conditions: each report was in order, the log lists the reports
    /// in their order, and the object was destroyed once, after all its uses.
    void End();

    [[nodiscard]] std::vector<SERVICE_STATUS> Reports() const { return reports_.Reports(); }
    [[nodiscard]] SERVICE_STATUS LastReport() const { return reports_.Reports().back(); }
    [[nodiscard]] std::size_t CountReports(DWORD state, DWORD exitCode) const;
    [[nodiscard]] std::size_t CountCalls(const std::string& call) const;
    /// The number of stop permissions in the log.
    [[nodiscard]] std::size_t CountAllowances() const;

  private:
    [[nodiscard]] std::string Tell() const;
    void CheckLog() const;

    LogCapture log_;
    Signal startBegun_;
    ReportWatch reports_;
    CountedSleep sleeps_{100};
    ScopedHook<CoInitializeExHook> initializeHook_{[](auto...) { return S_OK; }};
    ScopedHook<CoUninitializeHook> uninitializeHook_{[] {}};
    LPHANDLER_FUNCTION handler_ = nullptr;
    ScopedHook<RegisterServiceCtrlHandlerWHook> registerHook_;
    FakeController controller_;
    LockDelay lockDelay_;
    // Joins its threads before the members above are destroyed.
    ThreadWatch threads_;
    std::shared_ptr<tarnwick::WindowsServiceBase> service_;
    RaceRound::HangReport hangReport_;
};

}  // namespace test

#endif  // TESTS_RACES_SERVICE_ROUND_H
