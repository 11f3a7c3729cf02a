#ifndef TESTS_SOAK_SAMPLE_H
#define TESTS_SOAK_SAMPLE_H

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>

#include "framework/system/unique_handle.h"

namespace soak {

/// The resource use of a service and its log folder at one time.
struct Sample {
    double seconds = 0;       ///< since the start of the run
    unsigned generation = 0;  ///< number of the start, from 1
    unsigned handles = 0;
    unsigned threads = 0;
    double privateBytes = 0;
    std::uintmax_t plainBytes = 0;       ///< of all "*.log"
    std::uintmax_t compressedBytes = 0;  ///< of all "*.log.gz"
    unsigned plainFiles = 0;
    unsigned compressedFiles = 0;
};

/// `executable` is the end of the process's command line as the kernel shows it under Wine.
[[nodiscard]] Sample TakeSample(HANDLE process, const std::string& executable,
                                const std::filesystem::path& logs);

/// The head of the table, and one line of it.
void PrintHead(std::ostream& out);
void Print(const Sample& sample, std::ostream& out);

}  // namespace soak

#endif  // TESTS_SOAK_SAMPLE_H
