#include "tests/faults/outcomes.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "framework/system/platform.h"

namespace faults {
namespace {

/// The exception of GCC's run-time library.
constexpr std::uint32_t CppException = 0x20474343;

bool IsService(const std::string& scenario) {
    return scenario == "start" || scenario == "stop";
}

void JudgeEnd(const std::string& scenario, const RunFacts& facts, std::set<std::string>& words) {
    if (facts.hung) {
        words.insert("hang");
        return;
    }
    const std::uint32_t expected = scenario == "crash" ? EXCEPTION_ACCESS_VIOLATION : 0;
    if (facts.exitCode != expected) {
        char text[32];
        std::snprintf(text, sizeof(text), "exit code 0x%08X", facts.exitCode);
        words.insert(text);
    }
}

/// The manager must end at SERVICE_STOPPED, after SERVICE_RUNNING or with an error.
void JudgeReports(const RunFacts& facts, std::set<std::string>& words) {
    if (!facts.dispatched) {
        words.insert("no service");
        return;
    }
    if (facts.reports.empty()) {
        words.insert("no report");
        return;
    }
    const ReportRecord& last = facts.reports.back();
    if (last.state != SERVICE_STOPPED || facts.unsettled) {
        words.insert("no final report");
    }
    const auto any = [&](auto condition) {
        return std::any_of(facts.reports.begin(), facts.reports.end(), condition);
    };
    // Not only the last one, because a wrong report may precede the right one.
    if (any([](const ReportRecord& report) { return report.exitCode != 0; })) {
        words.insert("stopped with an error");
    } else if (!any([](const ReportRecord& report) { return report.state == SERVICE_RUNNING; })) {
        words.insert("never running");
    }
}

void JudgeRecords(const RunFacts& facts, std::set<std::string>& words) {
    std::vector<std::uint32_t> found = facts.foundRecords;
    if (!std::is_sorted(found.begin(), found.end())) {
        words.insert("records out of order");
    }
    std::sort(found.begin(), found.end());
    if (std::adjacent_find(found.begin(), found.end()) != found.end()) {
        words.insert("record twice");
    }
    std::uint32_t lost = 0;
    for (std::uint32_t number = 1; number <= facts.acceptedRecords; ++number) {
        // A call that ran out of memory may or may not have written its record.
        const bool threw = (facts.thrownRecords >> number & 1) != 0;
        lost += threw || std::binary_search(found.begin(), found.end(), number) ? 0U : 1U;
    }
    if (lost != 0) {
        words.insert(lost == 1 ? "one record lost" : "records lost");
    }
    if (facts.damagedLog) {
        words.insert("damaged log");
    }
}

void JudgeRetention(const RunFacts& facts, std::set<std::string>& words) {
    const auto left = [&](const std::string& prefix) {
        return std::count_if(facts.files.begin(), facts.files.end(), [&](const std::string& name) {
            return name.compare(0, prefix.size(), prefix) == 0;
        });
    };
    constexpr std::ptrdiff_t FilesToKeep = 2;
    if (left("kept") != FilesToKeep) {
        words.insert("files deleted that should stay");
    }
    if (left("expired") + left("excess") != 0) {
        words.insert("files left");
    }
}

}  // namespace

std::set<std::string> MemoryOutcomesOf(const std::string& scenario, const RunFacts& facts,
                                       const RunFacts& whole) {
    std::set<std::string> words;
    const auto failed = std::find_if(facts.calls.begin(), facts.calls.end(),
                                     [](const CallRecord& call) { return call.failed != 0; });
    const bool filterStood = failed != facts.calls.end() && failed->filterStands != 0;
    const bool isEndedByIt =
        facts.exitCode == CppException ||
        (facts.exitCode == EXCEPTION_ACCESS_VIOLATION && failed != facts.calls.end() &&
         std::string_view(failed->name).starts_with("run-time "));
    if (isEndedByIt && scenario != "crash") {
        words.insert(filterStood ? "ended with a dump" : "ended before the filter");
        JudgeRecords(facts, words);
        if (filterStood && !facts.dump) {
            words.insert("no dump");
        }
    } else {
        words = OutcomesOf(scenario, facts);
    }
    if (facts.headless) {
        words.insert("log without its header");
    }
    if (scenario == "crash" && facts.crashLines < whole.crashLines) {
        words.insert("crash line lost");
    }
    if (!facts.hung && facts.openHandles > whole.openHandles) {
        words.insert("handle leaked");
    }
    return words;
}

std::set<std::string> OutcomesOf(const std::string& scenario, const RunFacts& facts) {
    std::set<std::string> words;
    JudgeEnd(scenario, facts, words);
    JudgeRecords(facts, words);
    if (IsService(scenario)) {
        JudgeReports(facts, words);
    }
    if (facts.secondPress) {
        words.insert("second Ctrl+C");
    }
    if ((scenario == "crash" || scenario == "dump") && !facts.dump) {
        words.insert("no dump");
    }
    if (facts.dumpBesideProgram) {
        words.insert("dump beside the program");
    }
    if (scenario == "crash") {
        return words;
    }
    if (!facts.endRecord) {
        words.insert("no end record");
    }
    if (facts.controllersLeft != 0) {
        words.insert("controller not freed");
    }
    if (scenario == "retention") {
        JudgeRetention(facts, words);
    }
    return words;
}

}  // namespace faults
