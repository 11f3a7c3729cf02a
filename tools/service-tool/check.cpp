#include "tools/service-tool/check.h"

#include <string>
#include <vector>

#include "tools/service-tool/parts.h"
#include "tools/service-tool/service.h"
#include "tools/service-tool/status.h"

namespace service_tool {
namespace {

class Judge {
  public:
    void Take(const Part& part) {
        const Finding finding = part.inspect();
        const std::wstring text =
            part.name + (finding.detail.empty() ? L"" : L": " + finding.detail);
        if (finding.condition == Condition::Right) {
            PrintStep(L"ok", text);
        } else if (finding.condition == Condition::NotSupported) {
            Print(L"  not checked here: " + part.name + L" - " + finding.detail);
            ++notChecked_;
        } else {
            PrintStep(L"WRONG", text);
            PrintUnderStep(L"to fix it: " +
                           (finding.remedy.empty() ? part.remedy : finding.remedy));
            ++wrong_;
        }
    }

    void TakeAll(const std::vector<Part>& parts) {
        for (const Part& part : parts) {
            Take(part);
        }
    }

    ExitCode Result() const {
        Print(L"");
        if (notChecked_ > 0) {
            Print(L"Not checked here: " + std::to_wstring(notChecked_) + L".");
        }
        Print(wrong_ == 0 ? L"Nothing is wrong." : L"Wrong: " + std::to_wstring(wrong_) + L".");
        return wrong_ == 0 ? ExitSuccess : ExitFailure;
    }

  private:
    int wrong_ = 0;
    int notChecked_ = 0;
};

}  // namespace

ExitCode Check(const Place& place) {
    Print(L"\nChecking " + std::wstring(ServiceName) + L"\n");
    Judge judge;
    judge.TakeAll(PartsOfFolder(place));
    judge.Take(ServicePart(place));
    if (ReadRegistration()) {
        judge.TakeAll(PartsOfService());
    }
    judge.TakeAll(PartsOfSystem(place));
    Print(L"");
    PrintStatus(place);
    return judge.Result();
}

}  // namespace service_tool
