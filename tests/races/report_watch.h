#ifndef TESTS_RACES_REPORT_WATCH_H
#define TESTS_RACES_REPORT_WATCH_H

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "framework/system/locks.h"
#include "tests/tarnwick-service/signal.h"
#include "tests/tarnwick-service/status_recorder.h"

namespace test {

/// The Service Control Manager's side of a race: records every report and checks each one on
/// arrival.
class ReportWatch {
  public:
    /// `during` runs inside each report, with the locks that the service holds there.
    explicit ReportWatch(std::function<void()> during);

    [[nodiscard]] std::vector<SERVICE_STATUS> Reports() const;
    /// The errors, each with the reports before and after it.
    [[nodiscard]] std::string Breaches() const;
    /// All reports so far, one per line.
    [[nodiscard]] std::string Describe() const;

    Signal running;  ///< set inside the report of SERVICE_RUNNING

  private:
    void Take(const SERVICE_STATUS& report);

    std::function<void()> during_;
    std::atomic<bool> inReport_{false};
    mutable framework::SrwLock lock_;
    // Guarded by lock_.
    std::vector<SERVICE_STATUS> reports_;
    std::string breaches_;
    StatusRecorder recorder_;
};

}  // namespace test

#endif  // TESTS_RACES_REPORT_WATCH_H
