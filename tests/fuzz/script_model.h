#ifndef TESTS_FUZZ_SCRIPT_MODEL_H
#define TESTS_FUZZ_SCRIPT_MODEL_H

#include <cstddef>
#include <string>

namespace fuzz {

/// The result of parsing a script: whether it is accepted, and how many of each kind it contains.
struct ScriptOutcome {
    bool accepted = false;
    std::size_t mistakeLine = 0;  ///< of the error, from 1; 0: the script as a whole
    std::size_t pointLines = 0;
    std::size_t importRules = 0;
    std::size_t routines = 0;

    bool operator==(const ScriptOutcome&) const = default;
};

/// The script language again, as a table of the words and their operands.
[[nodiscard]] ScriptOutcome ModelOfScript(const std::wstring& text);

}  // namespace fuzz

#endif  // TESTS_FUZZ_SCRIPT_MODEL_H
