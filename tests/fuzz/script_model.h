#ifndef TESTS_FUZZ_SCRIPT_MODEL_H
#define TESTS_FUZZ_SCRIPT_MODEL_H

#include <cstddef>
#include <string>

namespace fuzz {

/// What a script comes to: whether it is accepted, and how much of each kind it holds.
struct ScriptOutcome {
    bool accepted = false;
    std::size_t mistakeLine = 0;  ///< of a refused one, from 1; 0: the script as a whole
    std::size_t pointLines = 0;
    std::size_t importRules = 0;
    std::size_t routines = 0;

    bool operator==(const ScriptOutcome&) const = default;
};

/// The script language once more, as a table of what follows each word.
[[nodiscard]] ScriptOutcome ModelOfScript(const std::wstring& text);

}  // namespace fuzz

#endif  // TESTS_FUZZ_SCRIPT_MODEL_H
