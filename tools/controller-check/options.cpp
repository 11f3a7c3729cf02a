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

std::optional<std::uint32_t> ParseNumber(const std::wstring& text, std::uint32_t least,
                                         std::uint32_t most) {
    constexpr std::size_t MostDigits = 9;
    if (text.empty() || text.size() > MostDigits ||
        text.find_first_not_of(L"0123456789") != text.npos) {
        return std::nullopt;
    }
    const auto number = static_cast<std::uint32_t>(std::stoul(text));
    return number < least || number > most ? std::nullopt : std::optional(number);
}

/// Walks over the arguments. An option's value stands behind it or behind an equals sign.
class OptionWalk {
  public:
    explicit OptionWalk(const std::vector<std::wstring>& arguments) : arguments_(arguments) {}

    std::variant<Options, OptionError> Run() {
        while (index_ < arguments_.size() && error_.empty()) {
            Take(arguments_[index_++]);
        }
        if (options_.library.empty() && !options_.help) {
            Fail(L"no library is named");
        }
        if (!error_.empty()) {
            return OptionError{error_};
        }
        ChooseRounds();
        return options_;
    }

  private:
    void Take(const std::wstring& argument) {
        if (argument.size() < 2 || argument.front() != L'-') {
            TakeLibrary(argument);
            return;
        }
        const std::size_t equals =
            argument.starts_with(L"--") ? argument.find(L'=') : std::wstring::npos;
        name_ = argument.substr(0, equals);
        attached_ =
            equals == argument.npos ? std::optional<std::wstring>() : argument.substr(equals + 1);
        if (!TakeSwitch() && !TakeValued()) {
            Fail(L"there is no option " + name_);
        } else if (attached_) {
            Fail(name_ + L" takes no value");
        }
    }

    void TakeLibrary(const std::wstring& argument) {
        if (!options_.library.empty() || argument.empty()) {
            Fail(L"one library is to be named");
        }
        options_.library = argument;
    }

    bool TakeSwitch() {
        if (name_ == L"-h" || name_ == L"--help") {
            options_.help = true;
        } else if (name_ == L"-q" || name_ == L"--quiet") {
            options_.quiet = true;
        } else if (name_ == L"--json") {
            options_.json = true;
        } else {
            return false;
        }
        return true;
    }

    bool TakeValued() {
        if (name_ == L"--timeout") {
            options_.timeout = Number(1, MostSeconds) * MillisecondsPerSecond;
        } else if (name_ == L"--run") {
            options_.workTime = Number(0, MostSeconds * MillisecondsPerSecond);
        } else if (name_ == L"--after-free") {
            options_.afterFreeTime = Number(0, MostSeconds * MillisecondsPerSecond);
        } else if (name_ == L"--repeat") {
            options_.repetitions = Number(1, MostRepetitions);
        } else if (name_ == L"--round") {
            TakeRound(Value());
        } else if (name_ == L"--color" || name_ == L"--colour") {
            TakeColor(Value());
        } else {
            return false;
        }
        return true;
    }

    std::wstring Value() {
        if (attached_) {
            std::wstring value = std::move(*attached_);
            attached_.reset();
            return value;
        }
        if (index_ == arguments_.size()) {
            Fail(name_ + L" needs a value");
            return {};
        }
        return arguments_[index_++];
    }

    std::uint32_t Number(std::uint32_t least, std::uint32_t most) {
        const std::optional<std::uint32_t> number = ParseNumber(Value(), least, most);
        if (!number) {
            Fail(name_ + L" needs a number from " + std::to_wstring(least) + L" to " +
                 std::to_wstring(most));
        }
        return number.value_or(0);
    }

    void TakeRound(const std::wstring& value) {
        if (const std::optional<Round> round = FindRound(value)) {
            options_.rounds.push_back(*round);
        } else {
            Fail(L"there is no round " + value);
        }
    }

    void TakeColor(const std::wstring& value) {
        if (value == L"auto") {
            options_.color = ColorChoice::WhenTerminal;
        } else if (value == L"always") {
            options_.color = ColorChoice::Always;
        } else if (value == L"never") {
            options_.color = ColorChoice::Never;
        } else {
            Fail(name_ + L" takes auto, always or never");
        }
    }

    /// Each one once, in their own order; without a choice all that may be played unasked.
    void ChooseRounds() {
        const std::vector<Round> named = std::exchange(options_.rounds, {});
        for (const RoundInfo& info : Rounds) {
            const bool isNamed = std::find(named.begin(), named.end(), info.round) != named.end();
            if (isNamed || (named.empty() && !info.byNameOnly)) {
                options_.rounds.push_back(info.round);
            }
        }
    }

    void Fail(std::wstring text) {
        if (error_.empty()) {
            error_ = std::move(text);
        }
    }

    const std::vector<std::wstring>& arguments_;
    std::size_t index_ = 0;
    std::wstring name_;
    std::optional<std::wstring> attached_;
    std::wstring error_;
    Options options_;
};

}  // namespace

std::variant<Options, OptionError> ParseOptions(const std::vector<std::wstring>& arguments) {
    return OptionWalk(arguments).Run();
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
        L"  -q, --quiet             only what is not met\n"
        L"      --color WHEN        auto, always or never\n"
        L"  -h, --help              this text\n"
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
           L"Exit codes: 0 all that could be seen is met; 1 something is not; 2 the command line\n"
           L"is wrong; 3 the check itself could not be made.\n";
}

}  // namespace controller_check
