/// The rows that a single process can measure.
#ifndef BENCH_LOG_ROWS_H
#define BENCH_LOG_ROWS_H

namespace bench {

/// How long to measure: `quick` only checks that everything runs.
struct Effort {
    bool quick = false;
    [[nodiscard]] int Rounds(int usual) const { return quick ? 1 : usual; }
    [[nodiscard]] int Count(int usual) const { return quick ? usual / 20 + 1 : usual; }
};

void MeasureFilteredCall(const Effort& effort);
void MeasureRecordWork(const Effort& effort);
void MeasureRecordToFile(const Effort& effort);
void MeasureRecordFromThreads(const Effort& effort, int threads, int processors);
void MeasurePeers(const Effort& effort);
void MeasureRotation(const Effort& effort);
void MeasureRetention(const Effort& effort);

}  // namespace bench

#endif  // BENCH_LOG_ROWS_H
