/// The verdict of a round on each expectation, as a function of its story.
#ifndef TOOLS_CONTROLLER_CHECK_ROUND_VERDICTS_H
#define TOOLS_CONTROLLER_CHECK_ROUND_VERDICTS_H

#include "tools/controller-check/expectation.h"
#include "tools/controller-check/story.h"

namespace controller_check {

// The library's file and results.
Finding JudgeDependencies(const Story& story);
Finding JudgeAttach(const Story& story);
Finding JudgeCreateResult(const Story& story);
Finding JudgeControllerRow(const Story& story);
Finding JudgeLoadResult(const Story& story);
Finding JudgeActivateResult(const Story& story);
Finding JudgeNotifyResult(const Story& story);
Finding JudgeDeactivateResult(const Story& story);
Finding JudgeFreeResult(const Story& story);
Finding JudgeRowCallable(const Story& story);

// Its calls to the host.
Finding JudgeRegisterContext(const Story& story);
Finding JudgeRegistrarRow(const Story& story);
Finding JudgeRegisterResult(const Story& story);
Finding JudgeTooEarly(const Story& story);
Finding JudgeTooLate(const Story& story);
Finding JudgeGoesOn(const Story& story);
Finding JudgeStopPermission(const Story& story);
Finding JudgeLogText(const Story& story);
Finding JudgeRecords(const Story& story);
Finding JudgeCrashFilter(const Story& story);
Finding JudgeCom(const Story& story);
Finding JudgePreException(const Story& story);
Finding JudgeAfterFree(const Story& story);

// The end of its process.
Finding JudgeInTime(const Story& story);
Finding JudgeNoCrash(const Story& story);
Finding JudgeNoExit(const Story& story);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_ROUND_VERDICTS_H
