#include "tarnwick-service/event_log_entry.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/child_process.h"
#include "tests/support/platform_hooks.h"
#include "tests/tarnwick-service/console_capture.h"
#include "tests/tarnwick-service/test_service.h"

#ifdef __MINGW32__

namespace {

// The argument list is a plain pointer on this platform.
struct FormatterCall {
    static constexpr const char* Module = "msvcrt";
    static constexpr const char* Name = "_vsnwprintf_s";
};
using FormatterHook = test::PlatformHook<FormatterCall, int(wchar_t*, std::size_t, std::size_t,
                                                            const wchar_t*, char*)>;

}  // namespace

extern "C" {
decltype(&FormatterHook::Enter) __imp__vsnwprintf_s = &FormatterHook::Enter;
}

#endif

namespace tarnwick {
namespace {

const auto Source = reinterpret_cast<HANDLE>(std::uintptr_t{0x4242});

struct Entry {
    WORD type;
    std::vector<std::wstring> texts;
};

class EventLogEntry : public testing::Test {
  protected:
    void TearDown() override { WindowsServiceBase::ResetInstance(); }

    test::ConsoleCapture console;
    bool sourceFails = false;
    bool reportFails = false;
    std::vector<std::wstring> sources;
    std::vector<Entry> entries;
    int closed = 0;
    test::ScopedHook<test::RegisterEventSourceWHook> registerHook{
        [this](const wchar_t* server, const wchar_t* name) -> HANDLE {
            EXPECT_EQ(server, nullptr);
            sources.emplace_back(name);
            return sourceFails ? nullptr : Source;
        }};
    test::ScopedHook<test::ReportEventWHook> reportHook{
        [this](HANDLE source, WORD type, WORD category, DWORD eventId, PSID user, WORD textCount,
               DWORD dataSize, const wchar_t** texts, void* data) -> BOOL {
            EXPECT_EQ(source, Source);
            EXPECT_EQ(category, 0);
            EXPECT_EQ(eventId, 0U);
            EXPECT_EQ(user, nullptr);
            EXPECT_EQ(dataSize, 0U);
            EXPECT_EQ(data, nullptr);
            entries.push_back({type, {texts, texts + textCount}});
            return reportFails ? FALSE : TRUE;
        }};
    test::ScopedHook<test::DeregisterEventSourceHook> closeHook{[this](HANDLE source) -> BOOL {
        EXPECT_EQ(source, Source);
        ++closed;
        return TRUE;
    }};
    std::shared_ptr<test::TestService> service = test::TestService::Create();
};

TEST_F(EventLogEntry, Entry_HoldsTheServicesNameAndTheMessage) {
    WriteEventLogEntry(EVENTLOG_WARNING_TYPE, L"%s has %u of %%", L"disk", 7U);
    EXPECT_EQ(sources, std::vector<std::wstring>{L"TestService"});
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].type, EVENTLOG_WARNING_TYPE);
    EXPECT_EQ(entries[0].texts, (std::vector<std::wstring>{L"TestService", L"disk has 7 of %"}));
    EXPECT_EQ(closed, 1);
    EXPECT_EQ(console.Text(), "");
    EXPECT_EQ(service.use_count(), 2);
}

TEST_F(EventLogEntry, Type_GoesThroughUnchanged) {
    for (const WORD type : {WORD{0}, WORD{1}, WORD{0x10}, WORD{0xFFFF}}) {
        WriteEventLogEntry(type, L"text");
        EXPECT_EQ(entries.back().type, type);
    }
}

TEST_F(EventLogEntry, MessageOf999Characters_IsWritten) {
    const std::wstring message(999, L'x');
    WriteEventLogEntry(EVENTLOG_ERROR_TYPE, L"%s", message.c_str());
    ASSERT_EQ(entries.size(), 1U);
    EXPECT_EQ(entries[0].texts[1], message);
    EXPECT_EQ(console.Text(), "");
}

TEST_F(EventLogEntry, MessageOf1000CharactersOrMore_FailsWithMinusOne) {
    for (const std::size_t length : {1000U, 1001U, 5000U}) {
        const std::wstring message(length, L'x');
        WriteEventLogEntry(EVENTLOG_ERROR_TYPE, L"%s", message.c_str());
    }
    EXPECT_TRUE(sources.empty());
    const std::string line = "WriteEventLogEntry: message forming failed -1 \n";
    EXPECT_EQ(console.Text(), line + line + line);
}

TEST_F(EventLogEntry, EmptyMessage_FailsWithZero) {
    WriteEventLogEntry(EVENTLOG_ERROR_TYPE, L"");
    WriteEventLogEntry(EVENTLOG_ERROR_TYPE, L"%s", L"");
    EXPECT_TRUE(sources.empty());
    const std::string line = "WriteEventLogEntry: message forming failed 0 \n";
    EXPECT_EQ(console.Text(), line + line);
}

#ifdef __MINGW32__

class FormatterSizes : public EventLogEntry {
  protected:
    std::vector<std::size_t> sizes;
    test::ScopedHook<FormatterHook> formatterHook{[this](wchar_t* buffer, std::size_t size,
                                                         std::size_t count, const wchar_t* format,
                                                         char* args) {
        // The same formatter prints the failure line.
        if (std::wstring(format).find(L"message forming") == std::wstring::npos) {
            sizes.push_back(size);
        }
        return FormatterHook::Real(buffer, size, count, format, args);
    }};
};

TEST_F(FormatterSizes, EmptyMessage_IsTriedWithFourSizes) {
    WriteEventLogEntry(EVENTLOG_ERROR_TYPE, L"");
    EXPECT_EQ(sizes, (std::vector<std::size_t>{1000, 2000, 4000, 8000}));
}

TEST_F(FormatterSizes, LongMessage_IsTriedOnce) {
    const std::wstring message(1000, L'x');
    WriteEventLogEntry(EVENTLOG_ERROR_TYPE, L"%s", message.c_str());
    EXPECT_EQ(sizes, std::vector<std::size_t>{1000});
}

TEST_F(FormatterSizes, GoodMessage_IsFormedOnce) {
    WriteEventLogEntry(EVENTLOG_ERROR_TYPE, L"text");
    EXPECT_EQ(sizes, std::vector<std::size_t>{1000});
}

#endif

TEST_F(EventLogEntry, WithoutAService_NothingIsWrittenOrTold) {
    service.reset();
    WindowsServiceBase::ResetInstance();
    WriteEventLogEntry(EVENTLOG_ERROR_TYPE, L"text");
    EXPECT_TRUE(sources.empty());
    EXPECT_EQ(console.Text(), "");
}

TEST_F(EventLogEntry, WithoutAService_AFailedMessageIsToldAllTheSame) {
    service.reset();
    WindowsServiceBase::ResetInstance();
    WriteEventLogEntry(EVENTLOG_ERROR_TYPE, L"");
    EXPECT_EQ(console.Text(), "WriteEventLogEntry: message forming failed 0 \n");
}

TEST_F(EventLogEntry, WithoutASource_NothingIsWrittenToldOrClosed) {
    sourceFails = true;
    WriteEventLogEntry(EVENTLOG_ERROR_TYPE, L"text");
    EXPECT_EQ(sources.size(), 1U);
    EXPECT_TRUE(entries.empty());
    EXPECT_EQ(closed, 0);
    EXPECT_EQ(console.Text(), "");
}

TEST_F(EventLogEntry, RefusedEntry_IsDroppedAndTheSourceClosed) {
    reportFails = true;
    WriteEventLogEntry(EVENTLOG_ERROR_TYPE, L"text");
    EXPECT_EQ(closed, 1);
    EXPECT_EQ(console.Text(), "");
}

const test::ChildRoutine nullFormat(L"event-log-null-format", [](const auto&) {
    WriteEventLogEntryUnchecked(EVENTLOG_ERROR_TYPE, nullptr);
    return 0;
});

TEST(EventLogEntryProcess, NullFormat_EndsTheProcess) {
    test::Child child(test::SelfCommandLine(L"event-log-null-format"));
    EXPECT_EQ(child.Wait(), 0xC0000409U);
    EXPECT_EQ(child.Output(), "");
}

}  // namespace
}  // namespace tarnwick
