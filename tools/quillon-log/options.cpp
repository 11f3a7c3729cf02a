#include "tools/quillon-log/options.h"

#include <cstdint>
#include <optional>
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
    L"      --version           name and version\n"
    L"\n"
    L"TIME is in UTC: 2026-11-20, \"2026-11-20 18:30\", 2026-11-20T18:30:05, an age such as 90s, "
    L"15m, 2h or 7d,\n"
    L"today or yesterday.\n"
    L"\n"
    L"Exit codes: 0 all was read; 1 something was damaged or unreadable and the rest was shown;\n"
    L"2 the command line is wrong; 3 there is no such folder or no log in it.\n";

namespace {

class Walk final : public tools::OptionWalk {
  public:
    Walk(const std::vector<std::wstring>& arguments, TimePoint now)
        : OptionWalk(arguments), now_(now) {}

    [[nodiscard]] const Options& Result() const noexcept { return options_; }

  private:
    void TakeOperand(const std::wstring& argument) override {
        if (std::exchange(folderTaken_, true)) {
            Fail(L"only one folder can be named");
        }
        options_.folder = argument;
    }

    bool TakeSwitch() override {
        if (Is(L"-f", L"--follow")) {
            options_.follow = true;
        } else if (Is(L"-h", L"--help")) {
            options_.help = true;
        } else if (Is(L"--version")) {
            options_.version = true;
        } else if (Is(L"--json")) {
            options_.json = true;
        } else {
            return false;
        }
        return true;
    }

    bool TakeValued() override {
        constexpr std::uint32_t MostRecords = 999999999;
        if (Is(L"-n", L"--lines")) {
            options_.lastRecords = Number(0, MostRecords);
        } else if (Is(L"-l", L"--level")) {
            TakeLevel(Value());
        } else if (Is(L"-c", L"--component")) {
            options_.filter.components.push_back(Value());
        } else if (Is(L"-g", L"--grep")) {
            options_.filter.text = Value();
        } else if (Is(L"--since")) {
            options_.filter.since = Time(Value());
        } else if (Is(L"--until")) {
            options_.filter.until = Time(Value());
        } else if (Is(L"--color", L"--colour")) {
            options_.color = Color();
        } else {
            return false;
        }
        return true;
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

    TimePoint now_;
    bool folderTaken_ = false;
    Options options_;
};

}  // namespace

std::variant<Options, OptionError> ParseOptions(const std::vector<std::wstring>& arguments,
                                                TimePoint now) {
    Walk walk(arguments, now);
    if (std::optional<OptionError> error = walk.TakeAll()) {
        return *std::move(error);
    }
    return walk.Result();
}

}  // namespace quillon_log
