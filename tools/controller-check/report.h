#ifndef TOOLS_CONTROLLER_CHECK_REPORT_H
#define TOOLS_CONTROLLER_CHECK_REPORT_H

#include <string>
#include <vector>

#include "tools/controller-check/expectation.h"
#include "tools/controller-check/options.h"

namespace controller_check {

/// The same detail, seen in one or more rounds.
struct Remark {
    std::vector<Round> rounds;  ///< empty for what the file alone tells
    std::wstring detail;
};

/// One expectation over all rounds: failed if it failed in one, else advice if there was in one,
/// else met if it was in one.
struct Result {
    const Expectation* expectation = nullptr;
    Verdict verdict = Verdict::Open;
    std::vector<Remark> remarks;  ///< those of the verdict; none if it is met
};

/// Collects what the file and each round say.
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

/// Takes one finding in, of a round if there is one.
void Merge(Result& result, const Finding& finding, const Round* round);

[[nodiscard]] std::wstring ToText(const std::wstring& library, const std::vector<Result>& results,
                                  bool quiet, bool color);
[[nodiscard]] std::wstring ToJson(const std::wstring& library, const std::vector<Result>& results);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_REPORT_H
