#include "framework/system/trace.h"

namespace framework {
namespace {

constinit TraceSink traceSink = nullptr;

}  // namespace

void SetTraceSink(TraceSink sink) noexcept {
    traceSink = sink;
}

void SystemTraceUnchecked(std::uint32_t level, const wchar_t* format, ...) {
    if (traceSink == nullptr) {
        return;
    }
    std::va_list args;
    va_start(args, format);
    traceSink(level, format, args);
    va_end(args);
}

}  // namespace framework
