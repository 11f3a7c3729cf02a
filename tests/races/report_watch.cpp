#include "tests/races/report_watch.h"

#include <mutex>
#include <utility>

#include "tests/races/report_order.h"

namespace test {

ReportWatch::ReportWatch(std::function<void()> during) : during_(std::move(during)) {
    recorder_.OnReport([this](const SERVICE_STATUS& report) { Take(report); });
}

void ReportWatch::Take(const SERVICE_STATUS& report) {
    const bool alone = !inReport_.exchange(true);
    {
        const std::lock_guard guard(lock_);
        const SERVICE_STATUS before = reports_.empty() ? Unreported : reports_.back();
        const std::string breach =
            alone ? BreachOfOrder(before, report) : "a report inside of another";
        if (!breach.empty()) {
            breaches_ +=
                breach + ":\n  " + test::Describe(before) + "\n  " + test::Describe(report) + "\n";
        }
        reports_.push_back(report);
    }
    if (report.dwCurrentState == SERVICE_RUNNING) {
        running.Set();
    }
    during_();
    inReport_ = false;
}

std::vector<SERVICE_STATUS> ReportWatch::Reports() const {
    const std::lock_guard guard(lock_);
    return reports_;
}

std::string ReportWatch::Breaches() const {
    const std::lock_guard guard(lock_);
    return breaches_;
}

std::string ReportWatch::Describe() const {
    std::string text;
    for (const SERVICE_STATUS& report : Reports()) {
        text += test::Describe(report) + "\n";
    }
    return text;
}

}  // namespace test
