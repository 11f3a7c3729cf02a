#include "tools/quillon-log/options.h"

#include <algorithm>
#include <utility>

#include "tools/quillon-log/case_fold.h"

namespace quillon_log {

const wchar_t* const UsualFolder = L"%ALLUSERSPROFILE%\\Velmora\\Quillon\\Logs";

const wchar_t* const HelpText =
    L"Usage: quillon-log [options] [folder or file]...\n"
    L"\n"
    L"Shows the logs of a folder, plain and compressed, in the order of time. The folder is\n"
    L"%ALLUSERSPROFILE%\\Velmora\\Quillon\\Logs unless others are named; - is standard input.\n"
    L"\n"
    L"What to show:\n"
    L"  -f, --follow            follow what is being written, across files, until Ctrl+C\n"
    L"  -n, --lines COUNT       the last COUNT records\n"
    L"  -l, --level LEVEL       this level and more severe ones: error, warning, trace, verbose\n"
    L"  -c, --component NAME    records of this component; may be repeated\n"
    L"  -g, --grep TEXT         records with this text in their message, ignoring case\n"
    L"  -E, --regex PATTERN     the same with a regular expression\n"
    L"  -v, --invert            records without the texts of -g and -E\n"
    L"  -C, --context COUNT     also so many records before and after each that matches\n"
    L"  -B, --before COUNT      only those before\n"
    L"  -A, --after COUNT       only those after\n"
    L"  -r, --reverse           newest records first\n"
    L"      --runs              a list of the starts of the process and how "
    L"each ended\n"
    L"      --run NUMBER        one run: -1 is the last, 1 the first, crash "
    L"the last that crashed\n"
    L"      --since TIME        from this time on\n"
    L"      --until TIME        before this time\n"
    L"\n"
    L"How to show it:\n"
    L"      --json              one JSON object a line\n"
    L"      --host NAME         the host's name in JSON, instead of this computer's\n"
    L"      --local             local time instead of UTC, shown and typed\n"
    L"      --color WHEN        auto, always or never\n"
    L"      --escape            show control characters as escapes, not only on a terminal\n"
    L"\n"
    L"Continuing after the last run:\n"
    L"      --cursor-file FILE  begin at the cursor in FILE and keep it up to date\n"
    L"      --after-cursor TEXT begin at this cursor\n"
    L"      --show-cursor       print the cursor at the end\n"
    L"\n"
    L"  -h, --help, /?          this text\n"
    L"      --version           name and version\n"
    L"\n"
    L"TIME is in UTC: 2026-11-20, \"2026-11-20 18:30\", 2026-11-20T18:30:05.123, each also with Z "
    L"or\n"
    L"an offset such as +02:00; 18:30 or 18:30:05 of today; now, today or yesterday; an age such\n"
    L"as 90s, 15m, 1h30m or 7d.\n"
    L"\n"
    L"Exit codes: 0 all was read; 1 something is missing or damaged and the rest was shown;\n"
    L"2 the command line is wrong; 3 there is no such folder or file, or no log in it.\n";

namespace {

class Walk final : public tools::OptionWalk {
  public:
    Walk(const std::vector<std::wstring>& arguments, TimePoint now)
        : OptionWalk(arguments), now_(now) {}

    [[nodiscard]] const Options& Result() const noexcept { return options_; }

  private:
    void TakeOperand(const std::wstring& argument) override {
        if (argument == L"/?") {
            options_.help = true;
        } else {
            options_.operands.push_back(argument);
        }
    }

    bool TakeSwitch() override {
        if (Is(L"-f", L"--follow")) {
            options_.follow = true;
        } else if (Is(L"-r", L"--reverse")) {
            options_.newestFirst = true;
        } else if (Is(L"--runs")) {
            options_.listRuns = true;
        } else if (Is(L"-h", L"--help")) {
            options_.help = true;
        } else if (Is(L"-v", L"--invert")) {
            options_.filter.isInverted = true;
        } else if (Is(L"--version")) {
            options_.version = true;
        } else if (Is(L"--json")) {
            options_.json = true;
        } else if (Is(L"--escape")) {
            options_.escape = true;
        } else if (Is(L"--local")) {
            options_.clock = Clock::Local;
        } else if (Is(L"--show-cursor")) {
            options_.showCursor = true;
        } else {
            return false;
        }
        return true;
    }

    bool TakeValued() override {
        constexpr std::uint32_t MostRecords = 999999999;
        constexpr std::uint32_t MostContext = 1000;
        if (Is(L"-n", L"--lines")) {
            options_.lastRecords = Number(0, MostRecords);
        } else if (Is(L"-C", L"--context")) {
            options_.before = options_.after = Number(0, MostContext);
        } else if (Is(L"-B", L"--before")) {
            options_.before = Number(0, MostContext);
        } else if (Is(L"-A", L"--after")) {
            options_.after = Number(0, MostContext);
        } else if (Is(L"-l", L"--level")) {
            TakeLevel(Value());
        } else if (Is(L"-c", L"--component")) {
            options_.filter.components.push_back(Value());
        } else if (Is(L"-g", L"--grep")) {
            options_.filter.texts.push_back(Capitals(Value()));
        } else if (Is(L"-E", L"--regex")) {
            TakePattern(Value());
        } else if (Is(L"--since")) {
            since_ = Value();
        } else if (Is(L"--until")) {
            until_ = Value();
        } else if (Is(L"--run")) {
            TakeRun(Value());
        } else if (Is(L"--host")) {
            options_.host = Value();
        } else if (Is(L"--cursor-file")) {
            options_.cursorFile = Value();
            if (options_.cursorFile.empty()) {
                Fail(L"--cursor-file needs the name of a file");
            }
        } else if (Is(L"--after-cursor")) {
            options_.afterCursor = Value();
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
            Fail(L"not a level: " + value + L"; a level is error, warning, trace or verbose");
        }
    }

    void TakeRun(const std::wstring& value) {
        constexpr std::size_t MostDigits = 6;
        const bool isFromLast = value.starts_with(L'-');
        const std::wstring digits = value.substr(isFromLast ? 1 : 0);
        options_.lastCrash = value == L"crash";
        if (options_.lastCrash) {
            return;
        }
        const bool isNumber = !digits.empty() && digits.size() <= MostDigits &&
                              digits.find_first_not_of(L"0123456789") == digits.npos;
        const std::int32_t number = isNumber ? std::stoi(digits) : 0;
        if (number == 0) {
            Fail(L"not a run: " + value +
                 L"; a run is -1 for the last, -2 for the one before, 1 for the "
                 L"first, or crash");
        }
        options_.run = isFromLast ? -number : number;
    }

    void TakePattern(const std::wstring& value) {
        auto pattern = Pattern::Parse(value);
        if (const auto* error = std::get_if<std::wstring>(&pattern)) {
            Fail(L"not a regular expression: " + value + L": " + *error);
        } else {
            options_.filter.patterns.push_back(std::get<Pattern>(std::move(pattern)));
        }
    }

    /// Times are read at the end: --local says what they mean.
    std::optional<TimePoint> Time(const std::optional<std::wstring>& value) {
        if (!value) {
            return std::nullopt;
        }
        const std::optional<TimePoint> time = ParseTime(*value, now_, options_.clock);
        if (!time) {
            Fail(L"not a time: " + *value + L"; a time is " + TimeForms);
        }
        return time;
    }

    void Finish() override {
        RecordFilter& filter = options_.filter;
        filter.since = Time(since_);
        filter.until = Time(until_);
        const bool readsInput = std::find(options_.operands.begin(), options_.operands.end(),
                                          L"-") != options_.operands.end();
        if (options_.help || options_.version) {
            return;
        }
        if (filter.since && filter.until && *filter.since >= *filter.until) {
            Fail(L"the range is empty: --since " + *since_ + L" isn't before --until " + *until_);
        } else if (options_.follow && filter.until && *filter.until <= now_) {
            Fail(L"-f waits for new records, but --until " + *until_ + L" isn't in the future");
        } else if (options_.newestFirst && options_.follow) {
            Fail(L"-r can't be combined with -f");
        } else if (options_.newestFirst && options_.HasContext()) {
            Fail(L"-r can't be combined with -A, -B and -C");
        } else if (options_.newestFirst && options_.UsesCursor()) {
            Fail(L"-r can't be combined with a cursor, which moves from old records to new ones");
        } else if (options_.listRuns && (options_.follow || options_.UsesCursor() || readsInput)) {
            Fail(L"--runs can't be combined with -f, a cursor or standard input");
        } else if (options_.listRuns && HasRecordOptions()) {
            Fail(
                L"--runs lists whole runs; it can't be combined with -l, -c, -g, -E, -A, -B or -C");
        } else if (options_.listRuns && (options_.run || options_.lastCrash)) {
            Fail(L"--runs lists all runs and --run shows one; give one of them");
        } else if (options_.follow && readsInput) {
            Fail(L"-f follows folders and files, not standard input");
        } else if (filter.isInverted && filter.texts.empty() && filter.patterns.empty()) {
            Fail(L"-v needs a text or pattern to leave out: -g TEXT or -E PATTERN");
        } else if (options_.UsesCursor() && (readsInput || options_.operands.size() > 1)) {
            Fail(L"a cursor works with one folder only");
        } else if (options_.UsesCursor() && filter.until) {
            Fail(L"--until can't be combined with a cursor, which moves on to the newest record");
        } else if (options_.afterCursor && !options_.cursorFile.empty()) {
            Fail(L"--cursor-file and --after-cursor both set the start; give one of them");
        }
    }

    /// Whether the options choose single records.
    [[nodiscard]] bool HasRecordOptions() const {
        const RecordFilter& filter = options_.filter;
        return filter.leastLevel || !filter.components.empty() || !filter.texts.empty() ||
               !filter.patterns.empty() || options_.HasContext();
    }

    TimePoint now_;
    std::optional<std::wstring> since_;
    std::optional<std::wstring> until_;
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
