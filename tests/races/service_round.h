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

/// One life of the service, from the making of its object to its end, with a controller library and
/// a Service Control Manager that are part of the test. The library's calls take a time of chance.
/// The pending reporter's sleeps take none, so that it reports as often as it can.
class ServiceRound {
  public:
    explicit ServiceRound(RaceRound& round);
    ServiceRound(const ServiceRound&) = delete;
    ServiceRound& operator=(const ServiceRound&) = delete;

    /// `Activate` fails, and with it the start.
    void LetStartFail() { controller_.results["Activate"] = 5; }

    /// What the manager calls: the entry point, and the handler that it has registered.
    void Start();
    void Control(DWORD control);
    void AwaitRunning() const;
    /// What the library calls.
    void Interrupt() const;
    [[nodiscard]] DWORD EnableStop() const;

    /// Waits for the end of every thread of an action.
    void AwaitThreads() { threads_.JoinAll(); }
    /// Ends as the entry point does once the dispatcher has returned, that is while threads of a
    /// start may still work. Then checks what every life has in common: each report was in order,
    /// the log tells the reports in their order, and the object went once, after all else.
    void End();

    [[nodiscard]] std::vector<SERVICE_STATUS> Reports() const { return reports_.Reports(); }
    [[nodiscard]] SERVICE_STATUS LastReport() const { return reports_.Reports().back(); }
    [[nodiscard]] std::size_t CountReports(DWORD state, DWORD exitCode) const;
    [[nodiscard]] std::size_t CountCalls(const std::string& call) const;
    /// How many reports of the stop permission the log tells.
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
    // Joins its threads before any of what stands above goes.
    ThreadWatch threads_;
    std::shared_ptr<tarnwick::WindowsServiceBase> service_;
    RaceRound::HangReport hangReport_;
};

}  // namespace test

#endif  // TESTS_RACES_SERVICE_ROUND_H
