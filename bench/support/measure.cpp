#include "bench/support/measure.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <utility>

namespace bench {

Spread SpreadOf(std::vector<double> samples) {
    std::sort(samples.begin(), samples.end());
    const auto at = [&samples](double part) {
        return samples[static_cast<std::size_t>(part * static_cast<double>(samples.size() - 1))];
    };
    return {at(0.5), at(0.25), at(0.75)};
}

Row Measure(std::string name, int rounds, double reach, const Batch& product, const Batch& limit) {
    std::vector<double> products;
    std::vector<double> limits[2];
    product();
    limit();
    for (int round = 0; round < rounds * 2; ++round) {
        products.push_back(product());
        limits[round % 2].push_back(limit());
    }
    Row row;
    row.name = std::move(name);
    row.reach = reach;
    row.noise = SpreadOf(limits[0]).median / SpreadOf(limits[1]).median;
    row.product = SpreadOf(products);
    limits[0].insert(limits[0].end(), limits[1].begin(), limits[1].end());
    row.limit = SpreadOf(limits[0]);
    return row;
}

double Now() {
    using Nanoseconds = std::chrono::duration<double, std::nano>;
    return std::chrono::duration_cast<Nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

void Print(const Row& row) {
    std::printf(
        "{\"row\":\"%s\",\"product\":[%.2f,%.2f,%.2f],\"limit\":[%.2f,%.2f,%.2f],"
        "\"noise\":%.3f,\"reach\":%.2f,\"remark\":\"%s\"}\n",
        row.name.c_str(), row.product.median, row.product.lower, row.product.upper,
        row.limit.median, row.limit.lower, row.limit.upper, row.noise, row.reach,
        row.remark.c_str());
    std::fflush(stdout);
}

}  // namespace bench
