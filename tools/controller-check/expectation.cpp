#include "tools/controller-check/expectation.h"

#include <algorithm>

#include "tools/controller-check/round_verdicts.h"

namespace controller_check {
namespace {

constexpr std::uint16_t Machine64Bit = 0x8664;
constexpr std::uint16_t Machine32Bit = 0x014C;

Finding JudgeMachine(std::uint16_t machine) {
    if (machine == Machine64Bit) {
        return {};
    }
    return {Verdict::Failed, machine == Machine32Bit ? L"it is built for 32-bit Windows"
                                                     : L"it is built for another processor"};
}

Finding JudgeExports(const std::vector<std::string>& exports) {
    std::wstring missing;
    for (const wchar_t* name : {L"OrrinCreateComponentModelController",
                                L"OrrinFreeComponentModelController", L"OrrinBootstrap"}) {
        const bool found = std::any_of(exports.begin(), exports.end(), [&](const auto& each) {
            return std::wstring(each.begin(), each.end()) == name;
        });
        if (!found) {
            missing += (missing.empty() ? L"missing: " : L", ") + std::wstring(name);
        }
    }
    return {missing.empty() ? Verdict::Met : Verdict::Failed, missing};
}

}  // namespace

const std::vector<Expectation>& Expectations() {
    static const std::vector<Expectation> expectations = {
        {L"file", L"the file can be read", L"Check the path, and who may read the file.", nullptr},
        {L"library", L"it is a Windows library", L"Link it as a shared library (DLL) for Windows.",
         nullptr},
        {L"64-bit", L"it is built for 64-bit Windows on x64", L"Build it for x64; the host is.",
         nullptr},
        {L"exports", L"it has the three exports",
         L"Define ORRIN_CTRL_EXPORTS before the header is included and implement all three as "
         L"declared there, in C++ too.",
         nullptr},
        {L"dependencies", L"the libraries that it needs are found",
         L"Put them beside it, or link them statically.", JudgeDependencies},
        {L"attach", L"its entry point lets it be loaded",
         L"Make DllMain return TRUE, and do in the create call what can fail.", JudgeAttach},
        {L"create-result", L"the create call gives 0",
         L"With another code the host frees nothing and the service ends with 1359.",
         JudgeCreateResult},
        {L"controller-row", L"the create call stores a row of four functions",
         L"Store the address of an OrrinController with all four members set; an object with a "
         L"table pointer isn't one.",
         JudgeControllerRow},
        {L"load-result", L"LoadAddons gives 0",
         L"With another code the service ends with 1359; neither Activate nor Deactivate follows.",
         JudgeLoadResult},
        {L"activate-result", L"Activate gives 0 or 3",
         L"0 is success, 3 the soft failure; with another code the service ends with 1359.",
         JudgeActivateResult},
        {L"notify-result", L"NotifyOnStop gives 0",
         L"With another code Deactivate isn't called, and the stop ends with 1359.",
         JudgeNotifyResult},
        {L"deactivate-result", L"Deactivate gives 0", L"With another code the stop ends with 1359.",
         JudgeDeactivateResult},
        {L"free-result", L"the free call gives 0", L"Another code is an error in the host's log.",
         JudgeFreeResult},
        {L"row-callable", L"the four functions stay callable until free",
         L"Keep the row where it is and as it is until the free call.", JudgeRowCallable},
        {L"register-context", L"the context is handed back as it was given",
         L"Pass params->context as the fourth argument of RegisterHostComponentEntry.",
         JudgeRegisterContext},
        {L"registrar-row", L"the registrar has a function to call",
         L"Pass the address of an OrrinInterfaceRegistrar with its member set.", JudgeRegistrarRow},
        {L"register-result", L"both interfaces are taken",
         L"Return 0 from RegisterInterface, also for an interface that isn't used.",
         JudgeRegisterResult},
        {L"too-early", L"no stop permission and no interrupt before create has returned",
         L"Wait for LoadAddons or Activate: until then there is no service to tell.",
         JudgeTooEarly},
        {L"too-late", L"no stop permission and no interrupt during free",
         L"End the threads that may call them before the stop is over.", JudgeTooLate},
        {L"goes-on", L"the library doesn't give up",
         L"OrrinInterruptCallback ends the service with 713; see why it was called.", JudgeGoesOn},
        {L"stop-permission", L"a stop is allowed once the library is active",
         L"Call OrrinEnableServiceStop, usually at the end of Activate. If it comes later, give "
         L"--run more time.",
         JudgeStopPermission},
        {L"log-text", L"the texts of log calls can be read to their end",
         L"Hand over UTF-16 that ends with a null character and lives until the call returns.",
         JudgeLogText},
        {L"records", L"the host's records are left as they are",
         L"Look for a write through params or through an interface, or past its end.",
         JudgeRecords},
        {L"crash-filter", L"the host's crash filter stays",
         L"Don't call SetUnhandledExceptionFilter; see OrrinSetPreExceptionCallback.",
         JudgeCrashFilter},
        {L"com", L"COM on the main thread stays as the host made it",
         L"Pair each CoUninitialize with a CoInitializeEx of your own on the same thread.",
         JudgeCom},
        {L"pre-exception", L"no pre-exception callback is left behind",
         L"Set a function or null, and remove it before free returns.", JudgePreException},
        {L"after-free", L"no call and no access after free",
         L"Join your threads before the free call returns.", JudgeAfterFree},
        {L"in-time", L"no call takes too long",
         L"Look for a wait without a limit. If the time is needed, give --timeout more.",
         JudgeInTime},
        {L"no-crash", L"no crash, and no exception leaves the library",
         L"The host would write a dump and end the process; docs/crashes.md tells how to open one.",
         JudgeNoCrash},
        {L"no-exit", L"the library ends neither the process nor the host's thread",
         L"Return a code, or call OrrinInterruptCallback, instead of ExitProcess or ExitThread.",
         JudgeNoExit},
    };
    return expectations;
}

std::vector<Finding> JudgeFile(unsigned long readError, const ImageFacts& facts) {
    const Finding open = {Verdict::Open, L"the file isn't what is needed"};
    std::vector<Finding> findings(FileExpectations, open);
    if (readError != 0) {
        findings[0] = {Verdict::Failed, L"it can't be read, error " + std::to_wstring(readError)};
        return findings;
    }
    findings[0] = {};
    if (!facts.isImage || !facts.isLibrary) {
        findings[1] = {Verdict::Failed, facts.isImage ? L"it is a Windows program, not a library"
                                                      : L"it isn't a Windows image at all"};
        return findings;
    }
    findings[1] = {};
    findings[2] = JudgeMachine(facts.machine);
    if (findings[2].verdict == Verdict::Met) {
        findings[3] = JudgeExports(facts.exports);
    }
    return findings;
}

}  // namespace controller_check
