/// The development controller's transcript of a run, line by line.
#ifndef TESTS_END_TO_END_SUPPORT_TRANSCRIPT_H
#define TESTS_END_TO_END_SUPPORT_TRANSCRIPT_H

#include <cstdint>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

namespace test {

/// One line: the pairs NAME=VALUE in their order, without quotes and escapes.
class TranscriptEntry {
  public:
    explicit TranscriptEntry(const std::string& line);

    /// Empty if there is no such name.
    [[nodiscard]] std::string Get(const std::string& name) const;
    /// Decimal, or hexadecimal with 0x. Throws if there is no such number.
    [[nodiscard]] std::uint64_t Number(const std::string& name) const;
    [[nodiscard]] bool Has(const std::string& name, const std::string& value) const;

  private:
    std::vector<std::pair<std::string, std::string>> words_;
};

/// A status report, as the platform call received it.
struct StatusReport {
    std::uint64_t state = 0;
    std::uint64_t accepted = 0;
    std::uint64_t exitCode = 0;
    std::uint64_t checkpoint = 0;
    std::uint64_t waitHint = 0;

    bool operator==(const StatusReport&) const = default;
};
std::ostream& operator<<(std::ostream& out, const StatusReport& report);

class Transcript {
  public:
    explicit Transcript(const std::string& text);

    [[nodiscard]] const std::vector<TranscriptEntry>& Entries() const noexcept { return entries_; }
    /// The entries with the pair `name`=`value`.
    [[nodiscard]] std::vector<TranscriptEntry> With(const std::string& name,
                                                    const std::string& value) const;
    /// The only such entry. Throws unless there is exactly one.
    [[nodiscard]] TranscriptEntry Only(const std::string& name, const std::string& value) const;
    /// The library's functions in the order in which the host called them: "create", "load", ...
    [[nodiscard]] std::vector<std::string> Calls() const;
    /// The reports of `record-status`, in order. Also checks the two constant fields.
    [[nodiscard]] std::vector<StatusReport> StatusReports() const;

  private:
    std::vector<TranscriptEntry> entries_;
};

}  // namespace test

#endif  // TESTS_END_TO_END_SUPPORT_TRANSCRIPT_H
