#ifndef TESTS_RACES_REPORT_ORDER_H
#define TESTS_RACES_REPORT_ORDER_H

#include <string>

#include "framework/system/platform.h"

namespace test {

/// The record of a service that has reported nothing.
inline constexpr SERVICE_STATUS Unreported = {
    SERVICE_WIN32_OWN_PROCESS, SERVICE_STOPPED, SERVICE_ACCEPT_SHUTDOWN, 0, 0, 0, 0};

/// What is wrong with a report that follows another; empty if nothing is.
[[nodiscard]] std::string BreachOfOrder(const SERVICE_STATUS& before, const SERVICE_STATUS& report);

}  // namespace test

#endif  // TESTS_RACES_REPORT_ORDER_H
