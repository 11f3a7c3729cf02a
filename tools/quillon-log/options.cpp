#include "tools/quillon-log/options.h"

#include <cwchar>
#include <string_view>
#include <utility>

namespace quillon_log {

const wchar_t* const HelpText =
    L"Usage: quillon-log [options] [folder]\n"
    L"\n"
    L"Reads the logs of a folder, plain and compressed, in the order in which they were written.\n"
    L"The folder is %ALLUSERSPROFILE%\\Velmora\\Quillon\\Logs unless another one is named.\n"
    L"\n"
    L"  -f, --follow            go on with what is being written, across rotations, until Ctrl+C\n"
    L"  -n, --lines COUNT       only the last COUNT records\n"
    L"  -l, --level LEVEL       records of this level and louder: error, warning, trace, verbose\n"
    L"  -c, --component NAME    records of this component; can be given several times\n"
    L"  -g, --grep TEXT         records with this text in their message, ignoring case\n"
    L"      --since TIME        from this time on\n"
    L"      --until TIME        before this time\n"
    L"      --json              one JSON object a line\n"
    L"      --color WHEN        auto, always or never\n"
    L"  -h, --help              this text\n"
    L"\n"
    L"TIME is in UTC: 2026-11-20, \"2026-11-20 18:30\", 2026-11-20T18:30:05, an age such as 90s, "
    L"15m, 2h or 7d,\n"
    L"today or yesterday.\n"
    L"\n"
    L"Exit codes: 0 all was read; 1 something was damaged or unreadable and the rest was shown;\n"
    L"2 the command line is wrong; 3 there is no such folder or no log in it.\n";

namespace {

/// Walks over the arguments. An option's value stands behind it or behind an equals sign.
class OptionWalk {
  public:
    OptionWalk(const std::vector<std::wstring>& arguments, TimePoint now)
        : arguments_(arguments), now_(now) {}

    std::variant<Options, OptionError> Run() {
        while (index_ < arguments_.size() && error_.empty()) {
            Take(arguments_[index_++]);
        }
        if (!error_.empty()) {
            return OptionError{error_};
        }
        return options_;
    }

  private:
    void Take(const std::wstring& argument) {
        if (argument.size() < 2 || argument.front() != L'-') {
            TakeFolder(argument);
        } else if (argument.starts_with(L"--")) {
            const std::size_t equals = argument.find(L'=');
            TakeOption(argument.substr(0, equals), equals == argument.npos
                                                       ? std::optional<std::wstring>()
                                                       : argument.substr(equals + 1));
        } else {
            TakeShortOptions(argument);
        }
    }

    /// "-f", "-n5", "-fn5": switches can stand together, and a value can follow its option at once.
    void TakeShortOptions(const std::wstring& argument) {
        for (std::size_t index = 1; index < argument.size() && error_.empty(); ++index) {
            const std::wstring name = {L'-', argument[index]};
            const std::wstring rest = argument.substr(index + 1);
            const bool isSwitch = name == L"-f" || name == L"-h";
            TakeOption(name, isSwitch || rest.empty() ? std::optional<std::wstring>() : rest);
            if (!isSwitch) {
                return;
            }
        }
    }

    void TakeOption(const std::wstring& name, std::optional<std::wstring> attached) {
        name_ = name;
        attached_ = std::move(attached);
        if (!TakeSwitch() && !TakeValued()) {
            Fail(L"there is no option " + name_);
        } else if (attached_) {
            Fail(name_ + L" takes no value");
        }
    }

    void TakeFolder(const std::wstring& argument) {
        if (std::exchange(folderTaken_, true)) {
            Fail(L"only one folder can be named");
        }
        options_.folder = argument;
    }

    [[nodiscard]] bool Is(std::wstring_view shortName, std::wstring_view longName) const {
        return name_ == shortName || name_ == longName;
    }

    bool TakeSwitch() {
        if (Is(L"-f", L"--follow")) {
            options_.follow = true;
        } else if (Is(L"-h", L"--help")) {
            options_.help = true;
        } else if (name_ == L"--json") {
            options_.json = true;
        } else {
            return false;
        }
        return true;
    }

    bool TakeValued() {
        if (Is(L"-n", L"--lines")) {
            TakeCount(Value());
        } else if (Is(L"-l", L"--level")) {
            TakeLevel(Value());
        } else if (Is(L"-c", L"--component")) {
            options_.filter.components.push_back(Value());
        } else if (Is(L"-g", L"--grep")) {
            options_.filter.text = Value();
        } else if (name_ == L"--since") {
            options_.filter.since = Time(Value());
        } else if (name_ == L"--until") {
            options_.filter.until = Time(Value());
        } else if (Is(L"--color", L"--colour")) {
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

    void TakeCount(const std::wstring& value) {
        constexpr std::size_t MostDigits = 9;
        if (value.empty() || value.size() > MostDigits ||
            value.find_first_not_of(L"0123456789") != value.npos) {
            Fail(name_ + L" needs a number");
            return;
        }
        constexpr int Decimal = 10;
        options_.lastRecords = std::wcstoul(value.c_str(), nullptr, Decimal);
    }

    void TakeLevel(const std::wstring& value) {
        options_.filter.leastLevel = LevelRank(value);
        if (!options_.filter.leastLevel) {
            Fail(L"a level is error, warning, trace or verbose");
        }
    }

    std::optional<TimePoint> Time(const std::wstring& value) {
        const std::optional<TimePoint> time = ParseTime(value, now_);
        if (!time) {
            Fail(L"this is no time: " + value);
        }
        return time;
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

    void Fail(std::wstring text) {
        if (error_.empty()) {
            error_ = std::move(text);
        }
    }

    const std::vector<std::wstring>& arguments_;
    TimePoint now_;
    std::size_t index_ = 0;
    std::wstring name_;
    std::optional<std::wstring> attached_;
    bool folderTaken_ = false;
    std::wstring error_;
    Options options_;
};

}  // namespace

std::variant<Options, OptionError> ParseOptions(const std::vector<std::wstring>& arguments,
                                                TimePoint now) {
    return OptionWalk(arguments, now).Run();
}

}  // namespace quillon_log
