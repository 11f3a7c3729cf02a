// Measures the logger in this process.

#include <cstring>

#include "bench/log/rows.h"

int main(int argc, char** argv) {
    bench::Effort effort;
    bool twoProcessors = false;
    for (int index = 1; index < argc; ++index) {
        effort.quick |= std::strcmp(argv[index], "--quick") == 0;
        twoProcessors |= std::strcmp(argv[index], "--two-processors") == 0;
    }
    if (twoProcessors) {
        bench::MeasureRecordFromThreads(effort, 4, 2);
        return 0;
    }
    bench::MeasureFilteredCall(effort);
    bench::MeasureRecordWork(effort);
    bench::MeasureRecordToFile(effort);
    bench::MeasureRecordFromThreads(effort, 4, 1);
#ifdef BENCH_PEERS
    bench::MeasurePeers(effort);
#endif
    bench::MeasureRotation(effort);
    bench::MeasureRetention(effort);
    return 0;
}
