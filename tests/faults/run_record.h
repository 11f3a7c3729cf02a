/// What a faulted run leaves behind, in memory that its end can't take away: the subject writes it,
/// the sweep reads it, however the subject ended.
#ifndef TESTS_FAULTS_RUN_RECORD_H
#define TESTS_FAULTS_RUN_RECORD_H

#include <atomic>
#include <cstdint>

namespace faults {

constexpr std::uint32_t MaxCalls = 4096;
constexpr std::uint32_t MaxReports = 32;
constexpr std::uint32_t CallNameSize = 48;

/// Names a call of a run so that another run has the same one, whatever other threads do meanwhile.
struct CallId {
    std::uint32_t site;        ///< the return address, from the start of the executable
    std::uint32_t occurrence;  ///< counted from 1 for each site; 0 is no call
};

/// A call that could fail, and whether it was made to.
struct CallRecord {
    char name[CallNameSize];
    CallId id;
    std::uint32_t failed;
};

/// A report that the service manager has accepted.
struct ReportRecord {
    std::uint32_t state;
    std::uint32_t exitCode;
};

struct RunRecord {
    std::atomic<std::uint32_t> callCount;
    std::atomic<std::uint32_t> reportCount;
    std::atomic<std::uint32_t> acceptedRecords;  ///< numbered records whose log call is over
    std::atomic<std::uint32_t> dispatched;       ///< ServiceMain was called
    std::atomic<std::uint32_t> unsettled;        ///< the start or the stop took longer than allowed
    std::atomic<std::uint32_t> secondPress;      ///< the first Ctrl+C wasn't enough
    std::atomic<std::uint32_t> created;          ///< controllers made, less those freed
    std::atomic<std::uint32_t> openHandles;      ///< of the process, after the last record
    std::atomic<std::uint64_t> thrownRecords;    ///< one bit for each numbered record, from 1
    CallRecord calls[MaxCalls];
    ReportRecord reports[MaxReports];
};

}  // namespace faults

#endif  // TESTS_FAULTS_RUN_RECORD_H
