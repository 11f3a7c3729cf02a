#include "tools/controller-check/options.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

namespace controller_check {
namespace {

constexpr std::uint32_t MillisecondsPerSecond = 1000;
constexpr std::uint32_t MostSeconds = 24 * 60 * 60;
constexpr std::uint32_t MostRepetitions = 1000;

class Walk final : public tools::OptionWalk {
  public:
    using OptionWalk::OptionWalk;

    [[nodiscard]] const Options& Result() const noexcept { return options_; }

  private:
    void TakeOperand(const std::wstring& argument) override {
        if (!options_.library.empty() || argument.empty()) {
            Fail(L"one library is to be named");
        }
        options_.library = argument;
    }

    bool TakeSwitch() override {
        if (Is(L"-h", L"--help")) {
            options_.help = true;
        } else if (Is(L"--version")) {
            options_.version = true;
        } else if (Is(L"-q", L"--quiet")) {
            options_.quiet = true;
        } else if (Is(L"--json")) {
            options_.json = true;
        } else {
            return false;
        }
        return true;
    }

    bool TakeValued() override {
        if (Is(L"--timeout")) {
            options_.timeout = Number(1, MostSeconds) * MillisecondsPerSecond;
        } else if (Is(L"--run")) {
            options_.workTime = Number(0, MostSeconds * MillisecondsPerSecond);
        } else if (Is(L"--after-free")) {
            options_.afterFreeTime = Number(0, MostSeconds * MillisecondsPerSecond);
        } else if (Is(L"--repeat")) {
            options_.repetitions = Number(1, MostRepetitions);
        } else if (Is(L"--round")) {
            TakeRound(Value());
        } else if (Is(L"--color", L"--colour")) {
            options_.color = Color();
        } else {
            return false;
        }
        return true;
    }

    void Finish() override {
        if (options_.library.empty() && !options_.help && !options_.version) {
            Fail(L"no library is named");
        }
        ChooseRounds();
    }

    void TakeRound(const std::wstring& value) {
        if (const std::optional<Round> round = FindRound(value)) {
            options_.rounds.push_back(*round);
        } else {
            Fail(L"there is no round " + value);
        }
    }

    /// Each named round once, in the order of `Rounds`; if none is named, all that need no name.
    void ChooseRounds() {
        const std::vector<Round> named = std::exchange(options_.rounds, {});
        for (const RoundInfo& info : Rounds) {
            const bool isNamed = std::find(named.begin(), named.end(), info.round) != named.end();
            if (isNamed || (named.empty() && !info.byNameOnly)) {
                options_.rounds.push_back(info.round);
            }
        }
    }

    Options options_;
};

}  // namespace

std::variant<Options, OptionError> ParseOptions(const std::vector<std::wstring>& arguments) {
    return tools::ParseWith<Walk>(arguments);
}

std::wstring HelpText() {
    std::wstring text =
        L"Usage: controller-check [options] DLL\n"
        L"\n"
        L"Plays the service host for a controller library and says which of the host's\n"
        L"expectations it meets. Each round is a process of its own.\n"
        L"\n"
        L"      --round NAME        only this round; can be given several times\n"
        L"      --timeout SECONDS   a call may take this long (30); a longer one ends the check\n"
        L"      --run MS            the library works this long between start and stop (1000)\n"
        L"      --after-free MS     this long nothing may come after the free call (500)\n"
        L"      --repeat COUNT      how often the round no-start is played (3)\n"
        L"      --json              one JSON object\n"
        L"  -q, --quiet             only what fails\n"
        L"      --color WHEN        auto, always or never\n"
        L"  -h, --help              this text\n"
        L"      --version           name and version\n"
        L"\n"
        L"Rounds:\n";
    for (const RoundInfo& info : Rounds) {
        std::wstring name = info.name;
        name.resize(14, L' ');
        text += L"  " + name + info.text + (info.byNameOnly ? L" (only if named)\n" : L"\n");
    }
    return text +
           L"\n"
           L"What the library prints goes to standard error.\n"
           L"\n"
           L"Exit codes: 0 nothing that could be seen fails; 1 something does; 2 the command line\n"
           L"is wrong; 3 the check itself could not be made. Advice is no failure.\n";
}

}  // namespace controller_check
