/// One run of the subject with a failing call, observed from outside.
#ifndef TESTS_FAULTS_FAULTED_RUN_H
#define TESTS_FAULTS_FAULTED_RUN_H

#include <cstdint>
#include <string>
#include <vector>

#include "tests/faults/fault_plan.h"
#include "tests/faults/run_record.h"

namespace faults {

struct RunFacts {
    bool hung = false;
    std::uint32_t exitCode = 0;
    bool dispatched = false;
    bool unsettled = false;
    bool secondPress = false;
    std::uint32_t controllersLeft = 0;
    std::vector<ReportRecord> reports;
    std::uint32_t acceptedRecords = 0;
    std::vector<std::uint32_t> foundRecords;  ///< numbers, in the order of the log files
    bool endRecord = false;
    std::uint32_t crashLines = 0;  ///< of the exception filter and of the dump
    bool damagedLog = false;       ///< a compressed file isn't whole and its source is gone
    bool headless = false;         ///< a log file with records begins with another one
    std::uint64_t thrownRecords = 0;
    std::uint32_t openHandles = 0;
    bool dump = false;               ///< there is one, and it isn't empty
    bool dumpBesideProgram = false;  ///< and it isn't in the data folder
    std::vector<std::string> files;  ///< names of the files in the log folder
    std::vector<CallRecord> calls;
};

/// The call in the form of the subject's command line.
[[nodiscard]] std::string TextOf(const CallId& call);

/// Starts the subject, waits for its end or terminates it, and collects its results.
[[nodiscard]] RunFacts RunFaulted(const std::string& scenario, const FaultPlan& plan);

}  // namespace faults

#endif  // TESTS_FAULTS_FAULTED_RUN_H
