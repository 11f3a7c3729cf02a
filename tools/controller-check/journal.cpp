#include "tools/controller-check/journal.h"

#include <algorithm>
#include <system_error>

namespace controller_check {
namespace {

constexpr std::uint32_t Capacity = 4096;

struct Entry {
    std::atomic<std::uint32_t> ready;
    Event event;
};

[[noreturn]] void ThrowLastError(const char* function) {
    throw std::system_error(static_cast<int>(::GetLastError()), std::system_category(), function);
}

}  // namespace

/// A new section is zero, which is an empty journal.
struct Journal::Page {
    std::atomic<std::uint32_t> next;
    std::atomic<std::uint32_t> logLines;
    Entry entries[Capacity];
};

static_assert(std::atomic<std::uint32_t>::is_always_lock_free, "two processes share it");

Journal::Journal() {
    SECURITY_ATTRIBUTES inherited = {sizeof(inherited), nullptr, TRUE};
    section_.Reset(::CreateFileMappingW(INVALID_HANDLE_VALUE, &inherited, PAGE_READWRITE, 0,
                                        sizeof(Page), nullptr));
    if (!section_) {
        ThrowLastError("CreateFileMappingW");
    }
    Map();
}

Journal::Journal(HANDLE section) : section_(section) {
    Map();
}

Journal::~Journal() {
    ::UnmapViewOfFile(page_);
}

void Journal::Map() {
    page_ = static_cast<Page*>(
        ::MapViewOfFile(section_.Get(), FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, sizeof(Page)));
    if (page_ == nullptr) {
        ThrowLastError("MapViewOfFile");
    }
}

void Journal::Add(Event event, std::wstring_view text) noexcept {
    const std::uint32_t index = page_->next.fetch_add(1);
    if (index >= Capacity) {
        return;
    }
    event.thread = ::GetCurrentThreadId();
    event.tick = ::GetTickCount64();
    event.text = {};
    const std::wstring_view fitting = text.substr(0, event.text.size() - 1);
    std::copy(fitting.begin(), fitting.end(), event.text.begin());
    page_->entries[index].event = event;
    page_->entries[index].ready.store(1, std::memory_order_release);
}

void Journal::CountLogLine() noexcept {
    page_->logLines.fetch_add(1, std::memory_order_relaxed);
}

std::uint32_t Journal::LogLines() const noexcept {
    return page_->logLines.load(std::memory_order_relaxed);
}

std::vector<Event> Journal::Events() const {
    std::vector<Event> events;
    for (const Entry& entry : page_->entries) {
        // A thread killed during a write leaves a gap.
        if (entry.ready.load(std::memory_order_acquire) != 0) {
            events.push_back(entry.event);
        }
    }
    return events;
}

}  // namespace controller_check
