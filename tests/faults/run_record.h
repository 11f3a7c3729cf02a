/// The results of a faulted run, in memory that survives its end: the subject writes it, the sweep
/// reads it, however the subject ended.
#ifndef TESTS_FAULTS_RUN_RECORD_H
#define TESTS_FAULTS_RUN_RECORD_H

#include <atomic>
#include <cstdint>

namespace faults {

constexpr std::uint32_t MaxCalls = 4096;
constexpr std::uint32_t MaxReports = 32;
constexpr std::uint32_t CallNameSize = 48;

/// Identifies a call so that another run has the same one, whatever other threads do.
struct CallId {
    std::uint32_t site;        ///< the return address, from the start of the executable
    std::uint32_t occurrence;  ///< counted from 1 for each site; 0 means no call
};

/// A call that could fail, and whether it did.
struct CallRecord {
    char name[CallNameSize];
    CallId id;
    std::uint32_t failed;
    std::uint32_t filterStands;  ///< the product's exception filter is installed
};

/// A report that the service manager has accepted.
struct ReportRecord {
    std::uint32_t state;
    std::uint32_t exitCode;
};

struct RunRecord {
    std::atomic<std::uint32_t> callCount;
    std::atomic<std::uint32_t> reportCount;
    std::atomic<std::uint32_t> acceptedRecords;  ///< numbered records whose log call has returned
    std::atomic<std::uint32_t> dispatched;       ///< ServiceMain was called
    std::atomic<std::uint32_t> unsettled;        ///< the start or the stop took longer than allowed
    std::atomic<std::uint32_t> secondPress;      ///< the first Ctrl+C had no effect
    std::atomic<std::uint32_t> created;          ///< controllers created minus controllers freed
    std::atomic<std::uint32_t> openHandles;      ///< of the process, after the last record
    std::atomic<std::uint64_t> thrownRecords;    ///< one bit per numbered record, from 1
    CallRecord calls[MaxCalls];
    ReportRecord reports[MaxReports];
};

}  // namespace faults

#endif  // TESTS_FAULTS_RUN_RECORD_H
