#include "tests/fuzz/edge_map.h"

#include <array>
#include <bit>
#include <cstdint>

#ifndef _MSC_VER
extern "C" {
/// The address at which the program is loaded, so that another run finds the same edges. The linker
/// defines it.
extern const char __ImageBase;  // NOLINT(bugprone-reserved-identifier)
/// The compiler inserts a call of this into every basic block.
void __sanitizer_cov_trace_pc();  // NOLINT(bugprone-reserved-identifier)
}
#endif

namespace fuzz {
namespace {

constexpr std::size_t MapSize = 1 << 16;

struct EdgeMap {
    std::array<std::uint16_t, MapSize> hits;
    /// The powers of two of each edge's counts so far.
    std::array<std::uint16_t, MapSize> seen;
    /// The edges of this call, so that not the whole map is searched for each input.
    std::array<std::uint16_t, MapSize> touched;
    std::size_t touchedCount;
    std::size_t edgeCount;
    std::size_t previous;
    bool counting;
};

EdgeMap map;

}  // namespace

void BeginEdges() {
    map.touchedCount = 0;
    map.previous = 0;
    map.counting = true;
}

bool EndEdges() {
    map.counting = false;
    bool isNew = false;
    for (std::size_t index = 0; index < map.touchedCount; ++index) {
        const std::uint16_t edge = map.touched[index];
        const auto bucket = static_cast<std::uint16_t>(std::bit_floor(map.hits[edge]));
        map.hits[edge] = 0;
        map.edgeCount += map.seen[edge] == 0 ? 1U : 0U;
        isNew = isNew || (map.seen[edge] & bucket) == 0;
        map.seen[edge] = static_cast<std::uint16_t>(map.seen[edge] | bucket);
    }
    return isNew;
}

std::size_t EdgeCount() {
    return map.edgeCount;
}

}  // namespace fuzz

#ifndef _MSC_VER
extern "C" void __sanitizer_cov_trace_pc() {
    using fuzz::map;
    if (!map.counting) {
        return;
    }
    const auto place = static_cast<std::size_t>(
        static_cast<const char*>(__builtin_return_address(0)) - &__ImageBase);
    const std::size_t edge = (place ^ map.previous) % fuzz::MapSize;
    map.previous = place >> 1;
    std::uint16_t& hits = map.hits[edge];
    if (hits == 0) {
        map.touched[map.touchedCount++] = static_cast<std::uint16_t>(edge);
    }
    hits = hits == UINT16_MAX ? hits : static_cast<std::uint16_t>(hits + 1);
}
#endif
