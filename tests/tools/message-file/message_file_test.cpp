// Reads the message file like an event viewer, with the strings that the service host passes.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tarnwick-service/event_log_entry.h"
#include "tests/support/child_process.h"
#include "tests/support/platform_hooks.h"
#include "tests/tarnwick-service/test_service.h"

namespace {

class MessageFile : public testing::Test {
  protected:
    MessageFile() {
        const std::filesystem::path path = test::OwnPath().parent_path() / L"tarnwick-messages.dll";
        library_ = ::LoadLibraryExW(path.c_str(), nullptr,
                                    LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    }
    ~MessageFile() override {
        ::FreeLibrary(library_);
        tarnwick::WindowsServiceBase::ResetInstance();
    }
    void SetUp() override { ASSERT_NE(library_, nullptr) << ::GetLastError(); }

    [[nodiscard]] HMODULE Library() const { return library_; }

    /// The viewer's text for the host's entry; empty with the error in `formatError`.
    std::wstring Show(DWORD eventId, const std::vector<std::wstring>& texts) {
        std::vector<DWORD_PTR> arguments;
        for (const std::wstring& text : texts) {
            arguments.push_back(reinterpret_cast<DWORD_PTR>(text.c_str()));
        }
        std::wstring shown(4000, L'\0');
        const DWORD length =
            ::FormatMessageW(FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_ARGUMENT_ARRAY, library_,
                             eventId, 0, shown.data(), static_cast<DWORD>(shown.size()),
                             reinterpret_cast<va_list*>(arguments.data()));
        formatError = length == 0 ? ::GetLastError() : ERROR_SUCCESS;
        shown.resize(length);
        return shown;
    }

    /// Makes the host write `message` and formats its entry.
    std::wstring ShowEntry(const std::wstring& message) {
        const std::shared_ptr<test::TestService> service = test::TestService::Create();
        std::wstring shown;
        const test::ScopedHook<test::RegisterEventSourceWHook> source(
            [](const wchar_t*, const wchar_t*) {
                return reinterpret_cast<HANDLE>(std::uintptr_t{1});
            });
        const test::ScopedHook<test::DeregisterEventSourceHook> close(
            [](HANDLE) -> BOOL { return TRUE; });
        const test::ScopedHook<test::ReportEventWHook> report(
            [&](HANDLE, WORD, WORD, DWORD eventId, PSID, WORD count, DWORD, const wchar_t** texts,
                void*) -> BOOL {
                shown = Show(eventId, {texts, texts + count});
                return TRUE;
            });
        tarnwick::WriteEventLogEntry(EVENTLOG_WARNING_TYPE, L"%s", message.c_str());
        return shown;
    }

    DWORD formatError = ERROR_SUCCESS;

  private:
    HMODULE library_ = nullptr;
};

TEST_F(MessageFile, Entry_IsShownAsServiceNameAndMessage) {
    EXPECT_EQ(ShowEntry(L"the disk is full"), L"TestService: the disk is full\r\n");
}

TEST_F(MessageFile, Message_StaysAsItIs) {
    EXPECT_EQ(ShowEntry(L"100 %1 of %n\nsecond line, \u0436"),
              L"TestService: 100 %1 of %n\nsecond line, \u0436\r\n");
}

TEST_F(MessageFile, LongestMessage_IsShownWhole) {
    const std::wstring message(999, L'x');
    EXPECT_EQ(ShowEntry(message), L"TestService: " + message + L"\r\n");
}

/// The documented layout: MESSAGE_RESOURCE_DATA, one MESSAGE_RESOURCE_BLOCK, and the entry.
struct TableOfOneMessage {
    std::uint32_t blockCount;
    std::uint32_t lowId;
    std::uint32_t highId;
    std::uint32_t offsetToEntries;
    std::uint16_t length;
    std::uint16_t flags;
    wchar_t text[10];
};

TEST_F(MessageFile, Table_HasTheDocumentedLayout) {
    const HRSRC place = ::FindResourceW(Library(), MAKEINTRESOURCEW(1), MAKEINTRESOURCEW(11));
    ASSERT_NE(place, nullptr) << ::GetLastError();
    ASSERT_EQ(::SizeofResource(Library(), place), sizeof(TableOfOneMessage));
    TableOfOneMessage table = {};
    std::memcpy(&table, ::LockResource(::LoadResource(Library(), place)), sizeof(table));
    EXPECT_EQ(table.blockCount, 1U);
    EXPECT_EQ(table.lowId, 0U);
    EXPECT_EQ(table.highId, 0U);
    EXPECT_EQ(table.offsetToEntries, 16U);
    EXPECT_EQ(table.length, 24U);  // of the entry, a multiple of 4
    EXPECT_EQ(table.flags, 1U);    // MESSAGE_RESOURCE_UNICODE
    EXPECT_EQ(std::wstring(table.text, 10), std::wstring(L"%1: %2\r\n\0\0", 10));
}

TEST_F(MessageFile, OtherIdentifiers_HaveNoText) {
    EXPECT_EQ(Show(1, {L"name", L"message"}), L"");
    EXPECT_EQ(formatError, static_cast<DWORD>(ERROR_MR_MID_NOT_FOUND));
}

}  // namespace
