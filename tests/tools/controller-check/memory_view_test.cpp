#include "tools/controller-check/memory_view.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>

#include "framework/system/platform.h"

namespace controller_check {
namespace {

constexpr std::size_t PageSize = 4096;

/// One page that can be read and written, before one that can't.
class LonePage {
  public:
    LonePage()
        : start_(static_cast<char*>(
              ::VirtualAlloc(nullptr, 2 * PageSize, MEM_RESERVE, PAGE_NOACCESS))) {
        ::VirtualAlloc(start_, PageSize, MEM_COMMIT, PAGE_READWRITE);
    }
    ~LonePage() { ::VirtualFree(start_, 0, MEM_RELEASE); }
    LonePage(const LonePage&) = delete;
    LonePage& operator=(const LonePage&) = delete;

    [[nodiscard]] char* End() const { return start_ + PageSize; }
    /// A text that fills the page to its end.
    wchar_t* PutAtEnd(const std::wstring& text) const {
        auto* const place = reinterpret_cast<wchar_t*>(End()) - text.size();
        text.copy(place, text.size());
        return place;
    }

  private:
    char* start_;
};

TEST(IsReadable, PageBoundary_CountsToTheByte) {
    const LonePage page;
    EXPECT_TRUE(IsReadable(page.End() - 8, 8));
    EXPECT_FALSE(IsReadable(page.End() - 8, 9));
    EXPECT_FALSE(IsReadable(nullptr, 1));
}

TEST(IsCallable, CodeIs_DataIsNot) {
    static int data;
    EXPECT_TRUE(IsCallable(reinterpret_cast<const void*>(&::GetTickCount64)));
    EXPECT_FALSE(IsCallable(&data));
    EXPECT_FALSE(IsCallable(nullptr));
}

TEST(RowFault, Rows_AreJudgedSlotBySlot) {
    const auto* const code = reinterpret_cast<const void*>(&::GetTickCount64);
    const void* row[] = {code, code, nullptr};
    EXPECT_EQ(RowFault(row, 2), L"");
    EXPECT_EQ(RowFault(row, 3), L"function 2 of the row is null");
    row[0] = row;
    EXPECT_EQ(RowFault(row, 2), L"function 0 of the row can't be called");
    EXPECT_EQ(RowFault(nullptr, 1), L"the row of functions is null");
    const LonePage page;
    EXPECT_EQ(RowFault(page.End() - 8, 2), L"the row of functions isn't in readable memory");
}

TEST(TextFault, TextThatFillsItsPage_NeedsItsEndThere) {
    const LonePage page;
    EXPECT_EQ(TextFault(page.PutAtEnd(std::wstring(L"ended\0", 6))), L"");
    EXPECT_EQ(TextFault(page.PutAtEnd(L"endless")), L"runs on into unreadable memory");
}

TEST(TextFault, AddressesThatAreNone_AreToldApart) {
    const LonePage page;
    EXPECT_EQ(TextFault(reinterpret_cast<const wchar_t*>(page.End())), L"isn't in readable memory");
    const std::wstring text = L"odd";
    EXPECT_EQ(TextFault(reinterpret_cast<const wchar_t*>(
                  reinterpret_cast<const char*>(text.c_str()) + 1)),
              L"begins at an odd address");
}

TEST(TextFault, LongText_HasALimit) {
    std::wstring text(1024 * 1024, L'x');
    EXPECT_EQ(TextFault(text.c_str()), L"has no end within a million characters");
    text.pop_back();
    EXPECT_EQ(TextFault(text.c_str()), L"");
}

TEST(DescribePlace, Code_IsToldByItsModule) {
    wchar_t text[64] = {};
    DescribePlace(reinterpret_cast<const void*>(::GetModuleHandleW(L"kernel32.dll") + 4), text,
                  std::size(text));
    EXPECT_EQ(std::wstring(text), L"kernel32.dll+0x10");
}

}  // namespace
}  // namespace controller_check
