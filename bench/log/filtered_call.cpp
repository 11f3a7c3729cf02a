#include <cstdint>

#include "bench/log/rows.h"
#include "bench/log/scratch_logger.h"
#include "bench/support/measure.h"
#include "framework/logger/log_line.h"

namespace bench {
namespace {

constexpr framework::LogSite Site = {L"filtered_call", L"MeasureFilteredCall"};

volatile std::uint32_t mask = 7;
volatile int sink = 0;

}  // namespace

void MeasureFilteredCall(const Effort& effort) {
    const ScratchLogger logger;
    const int count = effort.Count(5000000);
    const auto product = [count] {
        int index = 0;
        return TimeEach(count, [&index] {
            framework::LogLine(framework::LevelVerbose, Site, L"%i %s %lu %s", ++index, L"text",
                               7UL, L"other");
        });
    };
    const auto limit = [count] {
        int index = 0;
        return TimeEach(count, [&index] {
            ++index;
            if ((mask & 8) != 0) {
                sink = index;
            }
        });
    };
    Print(Measure("filtered call", effort.Rounds(15), 3.0, product, limit));
}

}  // namespace bench
