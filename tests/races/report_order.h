#ifndef TESTS_RACES_REPORT_ORDER_H
#define TESTS_RACES_REPORT_ORDER_H

#include <string>

#include "framework/system/platform.h"

namespace test {

/// The record of a service that has reported nothing.
inline constexpr SERVICE_STATUS Unreported = {
    SERVICE_WIN32_OWN_PROCESS, SERVICE_STOPPED, SERVICE_ACCEPT_SHUTDOWN, 0, 0, 0, 0};

/// The error in a report that follows another one; empty if there is none.
[[nodiscard]] std::string BreachOfOrder(const SERVICE_STATUS& before, const SERVICE_STATUS& report);

}  // namespace test

#endif  // TESTS_RACES_REPORT_ORDER_H
