#include "framework/logger/logger_config.h"

namespace framework {
namespace {

constexpr std::uint32_t PlainLogsShare = 16 * 1024 * 1024;

}  // namespace

RetentionBudgets SplitBudget(std::uint32_t maxLogFilesSize, bool compress) noexcept {
    if (!compress) {
        return {.CompressedLogsBudget = 0, .PlainLogsBudget = maxLogFilesSize};
    }
    const bool leavesEnough = maxLogFilesSize >= 2 * PlainLogsShare;
    return {
        .CompressedLogsBudget = leavesEnough ? maxLogFilesSize - PlainLogsShare : PlainLogsShare,
        .PlainLogsBudget = PlainLogsShare};
}

}  // namespace framework
