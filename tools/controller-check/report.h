#ifndef TOOLS_CONTROLLER_CHECK_REPORT_H
#define TOOLS_CONTROLLER_CHECK_REPORT_H

#include <string>
#include <vector>

#include "tools/controller-check/expectation.h"
#include "tools/controller-check/options.h"

namespace controller_check {

/// A detail, and the rounds in which it was observed.
struct Remark {
    std::vector<Round> rounds;  ///< empty if it comes from the file
    std::wstring detail;
};

/// The result of an expectation over all rounds: the worst of failed, advice and met.
struct Result {
    const Expectation* expectation = nullptr;
    Verdict verdict = Verdict::Open;
    std::vector<Remark> remarks;  ///< for this verdict; none if it is met
};

/// Collects the results of the file and of each round.
class Results {
  public:
    Results();

    void AddFile(const std::vector<Finding>& findings);
    void AddRound(const Story& story);
    [[nodiscard]] const std::vector<Result>& All() const noexcept { return results_; }
    [[nodiscard]] bool HasFailure() const;

  private:
    std::vector<Result> results_;
};

/// Merges one finding; `round` is null for the file.
void Merge(Result& result, const Finding& finding, const Round* round);

[[nodiscard]] std::wstring ToText(const std::wstring& library, const std::vector<Result>& results,
                                  bool quiet, bool color);
[[nodiscard]] std::wstring ToJson(const std::wstring& library, const std::vector<Result>& results);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_REPORT_H
