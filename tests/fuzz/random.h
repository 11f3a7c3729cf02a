#ifndef TESTS_FUZZ_RANDOM_H
#define TESTS_FUZZ_RANDOM_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>
#include <vector>

namespace fuzz {

/// Random numbers from a seed, the same with every tool chain, unlike the library's distributions.
class Random {
  public:
    explicit Random(std::uint64_t seed) : engine_(seed) {}

    std::uint64_t Bits() { return engine_(); }
    /// From 0 to `count` - 1. `count` is not 0.
    std::size_t Below(std::size_t count) { return static_cast<std::size_t>(Bits() % count); }
    /// Both ends are included.
    std::size_t Between(std::size_t first, std::size_t last) {
        return first + Below(last - first + 1);
    }
    bool OneIn(std::size_t count) { return Below(count) == 0; }

    template <class Item>
    const Item& Pick(const std::vector<Item>& items) {
        return items[Below(items.size())];
    }
    std::wstring Pick(std::initializer_list<const wchar_t*> items) {
        return items.begin()[Below(items.size())];
    }
    wchar_t Character(const std::wstring& characters) {
        return characters[Below(characters.size())];
    }
    /// Up to `longest` of the characters.
    std::wstring Text(const std::wstring& characters, std::size_t longest) {
        std::wstring text(Below(longest + 1), L'\0');
        for (wchar_t& character : text) {
            character = Character(characters);
        }
        return text;
    }

  private:
    std::mt19937_64 engine_;
};

}  // namespace fuzz

#endif  // TESTS_FUZZ_RANDOM_H
