#include "tools/quillon-log/runs.h"

#include <algorithm>
#include <tuple>
#include <utility>

#include "tools/quillon-log/output.h"
#include "tools/quillon-log/record_filter.h"

namespace quillon_log {
namespace {

/// A record that the crash filter logs before it ends the process.
bool IsOfCrash(const Record& record) {
    return (record.message.starts_with(L"ExceptionFilter (Thread ") &&
            record.message.find(L"): exception occur") != record.message.npos) ||
           record.message.starts_with(L"VectoredExceptionProcessing occured for heap corruption");
}

const wchar_t* NameOf(Ending ending) {
    switch (ending) {
        case Ending::Ended:
            return L"ended";
        case Ending::Running:
            return L"running";
        case Ending::Crashed:
            return L"crashed";
        default:
            return L"cut off";
    }
}

void AppendColumn(std::wstring& text, const std::wstring& value, std::size_t width) {
    text.append(width - std::min(width, value.size()), L' ');
    text += value + L"  ";
}

std::wstring TimeText(TimePoint time, Clock clock) {
    std::wstring text;
    AppendTime(text, time, L' ',
               clock == Clock::Local ? LocalOffset(time) : std::chrono::minutes(0));
    return text;
}

}  // namespace

const wchar_t* const RunsHead =
    L"run  start                    process     last record              "
    L"ending  "
    L"errors  warnings     trace   verbose  files\n";

std::vector<RunId> ListRuns(const std::vector<Folder>& folders) {
    std::vector<RunId> runs;
    for (std::size_t index = 0; index < folders.size(); ++index) {
        for (const LogFile& file : folders[index].Files()) {
            const RunId id{index, file.run};
            if (runs.empty() || runs.back() != id) {
                runs.push_back(id);
            }
        }
    }
    std::sort(runs.begin(), runs.end(), [](const RunId& left, const RunId& right) {
        return std::tie(left.run.start, left) < std::tie(right.run.start, right);
    });
    return runs;
}

RunSummary Summarize(const Folder& folder, RunKey run, const ProblemSink& problems,
                     bool onlyLastFile) {
    const auto files = folder.FilesOf(run);
    if (!files) {
        return {};
    }
    const LogFile& last = folder.Files()[files->second];
    LogPosition begin;
    begin.number = onlyLastFile ? last.number : folder.Files()[files->first].number;
    const AtEnd atEnd = AtEnd::Finish;
    RunReader reader(folder, run, begin, atEnd, problems);
    RunSummary summary;
    bool hasEnded = false;
    bool hasCrashed = false;
    while (reader.Advance()) {
        const Record& record = reader.Current();
        if (const std::optional<int> rank = LevelRank(record.level)) {
            ++summary.counts[static_cast<std::size_t>(*rank)];
        }
        hasEnded = record.message == L"End";
        hasCrashed = (hasCrashed && !hasEnded) || IsOfCrash(record);
        summary.pid = reader.Source().pid ? reader.Source().pid : summary.pid;
    }
    summary.last = reader.Time();
    summary.files = files->second - files->first + 1;
    summary.ending = hasEnded     ? Ending::Ended
                     : hasCrashed ? Ending::Crashed
                     : last.plain && IsBeingWritten(folder.PlainPath(run, last.number))
                         ? Ending::Running
                         : Ending::CutOff;
    return summary;
}

void AppendRun(std::wstring& text, const Folder& folder, RunKey run, const RunSummary& summary,
               std::ptrdiff_t index, Clock clock) {
    AppendColumn(text, std::to_wstring(index), 3);
    AppendColumn(
        text, run.start == TimePoint::min() ? folder.RunName(run) : TimeText(run.start, clock), 23);
    AppendColumn(text, summary.pid ? std::to_wstring(*summary.pid) : L"unknown", 7);
    AppendColumn(text, TimeText(std::max(summary.last, run.start), clock), 23);
    AppendColumn(text, NameOf(summary.ending), 7);
    constexpr std::array<std::size_t, 4> Widths = {6, 8, 8, 8};
    for (std::size_t rank = 0; rank < summary.counts.size(); ++rank) {
        AppendColumn(text, std::to_wstring(summary.counts[rank]), Widths[rank]);
    }
    AppendColumn(text, std::to_wstring(summary.files), 5);
    text.erase(text.find_last_not_of(L' ') + 1);
    text += L'\n';
}

void AppendRunJson(std::wstring& json, const Folder& folder, RunKey run, const RunSummary& summary,
                   std::ptrdiff_t index) {
    constexpr std::array<const wchar_t*, 4> Levels = {L"errors", L"warnings", L"trace", L"verbose"};
    const auto appendTime = [&json](const wchar_t* name, TimePoint time) {
        json += std::wstring(L",\"") + name + L"\":\"";
        AppendTime(json, time, L'T');
        json += L"Z\"";
    };
    json += L"{\"run\":" + std::to_wstring(index) + L",\"name\":";
    AppendJsonText(json, folder.RunName(run));
    if (run.start != TimePoint::min()) {
        appendTime(L"start", run.start);
        appendTime(L"last", summary.last);
    }
    json += L",\"pid\":" + (summary.pid ? std::to_wstring(*summary.pid) : L"null");
    json += std::wstring(L",\"ending\":\"") + NameOf(summary.ending) + L'"';
    for (std::size_t rank = 0; rank < summary.counts.size(); ++rank) {
        json +=
            std::wstring(L",\"") + Levels[rank] + L"\":" + std::to_wstring(summary.counts[rank]);
    }
    json += L",\"files\":" + std::to_wstring(summary.files) + L"}\n";
}

}  // namespace quillon_log
