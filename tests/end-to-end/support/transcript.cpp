#include "tests/end-to-end/support/transcript.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>
#include <sstream>
#include <stdexcept>

namespace test {
namespace {

constexpr std::uint64_t OwnProcess = 0x10;

/// Removes a value from the front of `rest`; a quoted one may contain blanks and escapes.
std::string TakeValue(std::string& rest) {
    std::string value;
    std::size_t i = 0;
    if (rest.empty() || rest[0] != '"') {
        i = std::min(rest.find(' '), rest.size());
        value = rest.substr(0, i);
    } else {
        for (i = 1; i < rest.size() && rest[i] != '"'; ++i) {
            if (rest[i] == '\\' && i + 1 < rest.size()) {
                ++i;
            }
            value += rest[i];
        }
        i = std::min(i + 1, rest.size());
    }
    rest.erase(0, std::min(i + 1, rest.size()));
    return value;
}

}  // namespace

TranscriptEntry::TranscriptEntry(const std::string& line) {
    std::string rest = line;
    while (!rest.empty()) {
        const std::size_t equals = rest.find('=');
        if (equals == std::string::npos) {
            throw std::runtime_error("no transcript line: " + line);
        }
        const std::string name = rest.substr(0, equals);
        rest.erase(0, equals + 1);
        words_.emplace_back(name, TakeValue(rest));
    }
}

std::string TranscriptEntry::Get(const std::string& name) const {
    const auto word = std::find_if(words_.begin(), words_.end(),
                                   [&name](const auto& it) { return it.first == name; });
    return word == words_.end() ? "" : word->second;
}

std::uint64_t TranscriptEntry::Number(const std::string& name) const {
    return std::stoull(Get(name), nullptr, 0);
}

bool TranscriptEntry::Has(const std::string& name, const std::string& value) const {
    return std::find(words_.begin(), words_.end(), std::pair(name, value)) != words_.end();
}

std::ostream& operator<<(std::ostream& out, const StatusReport& report) {
    return out << "{state " << report.state << ", accepted " << report.accepted << ", exit code "
               << report.exitCode << ", checkpoint " << report.checkpoint << ", wait hint "
               << report.waitHint << "}";
}

Transcript::Transcript(const std::string& text) {
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        entries_.emplace_back(line);
    }
}

std::vector<TranscriptEntry> Transcript::With(const std::string& name,
                                              const std::string& value) const {
    std::vector<TranscriptEntry> found;
    std::copy_if(entries_.begin(), entries_.end(), std::back_inserter(found),
                 [&](const TranscriptEntry& entry) { return entry.Has(name, value); });
    return found;
}

TranscriptEntry Transcript::Only(const std::string& name, const std::string& value) const {
    const std::vector<TranscriptEntry> found = With(name, value);
    if (found.size() != 1) {
        throw std::runtime_error(std::to_string(found.size()) + " transcript lines with " + name +
                                 "=" + value);
    }
    return found.front();
}

std::vector<std::string> Transcript::Calls() const {
    std::vector<std::string> calls;
    for (const TranscriptEntry& entry : With("phase", "enter")) {
        if (!entry.Get("call").empty()) {
            calls.push_back(entry.Get("call"));
        }
    }
    return calls;
}

std::vector<StatusReport> Transcript::StatusReports() const {
    std::vector<StatusReport> reports;
    for (const TranscriptEntry& entry : With("status", "report")) {
        EXPECT_EQ(entry.Number("dwServiceType"), OwnProcess);
        EXPECT_EQ(entry.Number("dwServiceSpecificExitCode"), 0U);
        reports.push_back({entry.Number("dwCurrentState"), entry.Number("dwControlsAccepted"),
                           entry.Number("dwWin32ExitCode"), entry.Number("dwCheckPoint"),
                           entry.Number("dwWaitHint")});
    }
    return reports;
}

}  // namespace test
