/// Measures a product against a limit, side by side in one run.
#ifndef BENCH_SUPPORT_MEASURE_H
#define BENCH_SUPPORT_MEASURE_H

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// One batch of work; returns the time of one operation in nanoseconds.
using Batch = std::function<double()>;

/// Median and quartiles of samples.
struct Spread {
    double median = 0;
    double lower = 0;
    double upper = 0;
};

[[nodiscard]] Spread SpreadOf(std::vector<double> samples);

/// A row of the table. Times are in nanoseconds.
struct Row {
    std::string name;
    Spread product;
    Spread limit;
    double noise = 1;  ///< the limit against itself: 1 on an idle machine
    double reach = 0;  ///< the highest ratio that counts as reached; 0: shown, not judged
    std::string remark;
};

/// Runs product, limit, product, limit ... for `rounds` rounds, after one uncounted round. The
/// limit's batches are split into two halves, which give the noise.
[[nodiscard]] Row Measure(std::string name, int rounds, double reach, const Batch& product,
                          const Batch& limit);

/// Times `count` calls of `operation` and returns the time of one.
template <class Operation>
double TimeEach(int count, const Operation& operation);

/// The current time in nanoseconds.
[[nodiscard]] double Now();

/// Prints the row as one line of JSON.
void Print(const Row& row);

template <class Operation>
double TimeEach(int count, const Operation& operation) {
    const double begin = Now();
    for (int index = 0; index < count; ++index) {
        operation();
    }
    return (Now() - begin) / count;
}

}  // namespace bench

#endif  // BENCH_SUPPORT_MEASURE_H
