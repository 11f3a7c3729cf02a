#include "tests/framework/system/trace_recorder.h"

#include <mutex>

#include "framework/system/trace.h"
#include "framework/system/wide_format.h"
#include "tests/support/spoiled_error.h"

namespace test {
namespace {

TraceRecorder* current = nullptr;

}  // namespace

TraceRecorder::TraceRecorder() {
    current = this;
    framework::SetTraceSink(Record);
}

TraceRecorder::~TraceRecorder() {
    framework::SetTraceSink(nullptr);
    current = nullptr;
}

std::vector<std::wstring> TraceRecorder::Lines() const {
    const std::lock_guard guard(lock_);
    return lines_;
}

void TraceRecorder::Record(std::uint32_t level, const wchar_t* format, std::va_list args) {
    const std::lock_guard guard(current->lock_);
    current->lines_.push_back(std::to_wstring(level) + L' ' +
                              framework::PrintToString(format, args));
    SpoilErrors();
}

}  // namespace test
