#include "tarnwick-service/event_log_entry.h"

#include <algorithm>
#include <cstdarg>
#include <cstddef>
#include <iterator>
#include <vector>

#include "framework/system/console.h"
#include "framework/system/fail_fast.h"
#include "framework/system/unique_handle.h"
#include "tarnwick-service/windows_service_base.h"

namespace tarnwick {
namespace {

/// Prints into `buffer`, which is left with the finished text. Returns its length; 0, -1 or the
/// buffer's size if there is no message.
///
/// The buffer grows after an empty result only; a message of 1000 characters or more gives -1 at
/// once. That bounds what a caller can put into the system's log.
int FormMessage(std::vector<wchar_t>& buffer, const wchar_t* format, std::va_list args) {
    constexpr std::size_t FirstSize = 1000;
    constexpr std::size_t LastSizeToGrow = 4000;
    int written = 0;
    std::size_t wanted = FirstSize;
    const auto fillsBuffer = [&] { return static_cast<std::size_t>(written) == buffer.size(); };
    while ((written == 0 || fillsBuffer()) && buffer.size() <= LastSizeToGrow) {
        if (buffer.size() < wanted) {
            buffer.resize(wanted);
        }
        std::va_list copy;
        va_copy(copy, args);
        written = std::max(framework::PrintCut(buffer.data(), buffer.size(), format, copy), -1);
        va_end(copy);
        wanted *= 2;
    }
    return written;
}

}  // namespace

void WriteEventLogEntryUnchecked(WORD eventType, const wchar_t* format, ...) {
    if (format == nullptr) {
        framework::FailFastInvalidParameter();
    }
    std::vector<wchar_t> message;
    std::va_list args;
    va_start(args, format);
    const int written = FormMessage(message, format, args);
    va_end(args);
    if (written <= 0 || static_cast<std::size_t>(written) == message.size()) {
        framework::ConsolePrint(L"WriteEventLogEntry: message forming failed %d \n", written);
        return;
    }
    const auto service = WindowsServiceBase::GetInstance();
    if (service == nullptr) {
        return;
    }
    const wchar_t* serviceName = service->ServiceName().c_str();
    const framework::EventSource source(::RegisterEventSourceW(nullptr, serviceName));
    if (!source) {
        return;
    }
    const wchar_t* texts[] = {serviceName, message.data()};
    ::ReportEventW(source.Get(), eventType, 0, 0, nullptr, static_cast<WORD>(std::size(texts)), 0,
                   texts, nullptr);
}

}  // namespace tarnwick
