#include "tests/fuzz/target.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>
#include <vector>

#include "tests/fuzz/edge_map.h"
#include "tests/fuzz/last_input.h"
#include "tests/fuzz/watchdog.h"
#include "tests/support/guarded_heap.h"
#include "tests/support/scratch_folder.h"

namespace fuzz {
namespace {

constexpr std::uint64_t UsualSeed = 1;

std::string Environment(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? "" : value;
}

bool IsLongRun() {
    return Environment("TARNWICK_LONG_TESTS") == "1";
}

std::uint64_t Seed() {
    const std::string given = Environment("TARNWICK_SEED");
    if (!given.empty()) {
        return std::strtoull(given.c_str(), nullptr, 10);
    }
    return IsLongRun() ? std::random_device{}() : UsualSeed;
}

/// The single input of the environment variable.
std::optional<Input> GivenInput() {
    std::string line = Environment("TARNWICK_FUZZ_INPUT");
    if (line.empty()) {
        return std::nullopt;
    }
    if (line.front() == '@') {
        line = test::ReadBytes(line.substr(1));
        // The file has a fixed size, padded with blanks or zeros.
        line.resize(line.find_last_not_of(std::string(" \r\n\0", 4)) + 1);
    }
    std::optional<Input> input = FromEscaped(line);
    EXPECT_TRUE(input) << "TARNWICK_FUZZ_INPUT is no escaped input: " << line;
    return input ? input : Input{};
}

/// Inputs that have reached new edges, as the base of mutations.
class Corpus {
  public:
    void Keep(const Input& input) {
        constexpr std::size_t Most = 4096;
        if (inputs_.size() < Most) {
            inputs_.push_back(input);
        }
    }
    [[nodiscard]] std::size_t Size() const { return inputs_.size(); }

    Input Next(const Target& target, Random& random) const {
        if (inputs_.empty() || random.OneIn(3)) {
            return target.generate(random);
        }
        // Half of the time one of the latest, which reach deepest.
        constexpr std::size_t Latest = 16;
        const std::size_t first =
            inputs_.size() > Latest && random.OneIn(2) ? inputs_.size() - Latest : 0;
        Input input = inputs_[random.Between(first, inputs_.size() - 1)];
        Mutate(input, random.Pick(inputs_), target.vocabulary, random);
        return input;
    }

  private:
    std::vector<Input> inputs_;
};

void Fail(const Target& target, const Input& input, std::uint64_t seed, std::size_t number) {
    const Input smallest = Shrunk(target, input);
    const std::string line = Escaped(smallest);
    ADD_FAILURE() << target.check(smallest) << "\ntarget " << target.name << ", seed " << seed
                  << ", input " << number << ": " << Escaped(input) << "\nat its smallest: " << line
                  << "\nto see it again: TARNWICK_FUZZ_INPUT='" << line << "'";
}

/// Returns the number of inputs tried.
std::size_t TryInputs(const Target& target, std::uint64_t seed, std::size_t count, Corpus& corpus) {
    LastInput last(std::string(target.name) + ".last-input");
    Watchdog watchdog(last.Name());
    Random random(seed);
    for (std::size_t number = 1; number <= count; ++number) {
        const Input input = corpus.Next(target, random);
        last.Store(Escaped(input));
        watchdog.Mark();
        BeginEdges();
        const std::string wrong = target.check(input);
        if (EndEdges()) {
            corpus.Keep(input);
            // Too slow for every input, so only for those that reach something new.
            const test::GuardedHeap guards;
            static_cast<void>(target.check(input));
        }
        if (!wrong.empty()) {
            Fail(target, input, seed, number);
            return number;
        }
    }
    return count;
}

}  // namespace

void TryTarget(const Target& target) {
    if (const std::optional<Input> given = GivenInput()) {
        EXPECT_EQ(target.check(*given), "") << Escaped(*given);
        return;
    }
    const std::uint64_t seed = Seed();
    const std::size_t count = IsLongRun() ? target.longCount : target.shortCount;
    // Printed in advance, so that it is known even if the run doesn't finish.
    std::printf("fuzz %s: seed %llu, %llu inputs\n", target.name,
                static_cast<unsigned long long>(seed), static_cast<unsigned long long>(count));
    std::fflush(stdout);
    const auto began = std::chrono::steady_clock::now();
    Corpus corpus;
    const std::size_t tried = TryInputs(target, seed, count, corpus);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    std::printf("fuzz %s: %llu inputs tried, %llu edges, %llu inputs kept, %.1f s\n", target.name,
                static_cast<unsigned long long>(tried),
                static_cast<unsigned long long>(EdgeCount()),
                static_cast<unsigned long long>(corpus.Size()), took.count());
#ifndef _MSC_VER
    EXPECT_NE(EdgeCount(), 0U) << "the code under test doesn't tell its ways";
#endif
}

Input Shrunk(const Target& target, Input input) {
    constexpr std::chrono::seconds Limit(10);
    const auto end = std::chrono::steady_clock::now() + Limit;
    const auto takeIfWrong = [&](const Input& smaller) {
        if (std::chrono::steady_clock::now() > end || target.check(smaller).empty()) {
            return false;
        }
        input = smaller;
        return true;
    };
    for (std::size_t index = input.size(); index-- != 0 && !target.vocabulary.fixedCount;) {
        Input smaller = input;
        smaller.erase(smaller.begin() + static_cast<std::ptrdiff_t>(index));
        takeIfWrong(smaller);
    }
    for (std::size_t index = 0; index < input.size(); ++index) {
        for (std::size_t length = input[index].size(); length != 0; length /= 2) {
            for (std::size_t begin = 0; begin + length <= input[index].size();) {
                Input smaller = input;
                smaller[index].erase(begin, length);
                begin += takeIfWrong(smaller) ? 0 : length;
            }
        }
    }
    return input;
}

}  // namespace fuzz
