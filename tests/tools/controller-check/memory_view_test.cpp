#include "tools/controller-check/memory_view.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <string>

#include "tests/tools/controller-check/guarded_bytes.h"

namespace controller_check {
namespace {

/// A text that ends where its memory ends.
class TextAtEnd {
  public:
    explicit TextAtEnd(const std::wstring& text) : bytes_(text.size() * sizeof(wchar_t)) {
        text.copy(Get(), text.size());
    }

    [[nodiscard]] wchar_t* Get() const { return reinterpret_cast<wchar_t*>(bytes_.Begin()); }

  private:
    test::GuardedBytes bytes_;
};

TEST(IsReadable, PageBoundary_CountsToTheByte) {
    const test::GuardedBytes page(8);
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

TEST(RowFault, Members_AreJudgedOneByOneAndNamed) {
    constexpr std::array Two = {L"First", L"Second"};
    constexpr std::array Three = {L"First", L"Second", L"Third"};
    const auto* const code = reinterpret_cast<const void*>(&::GetTickCount64);
    const void* row[] = {code, code, nullptr};
    EXPECT_EQ(RowFault(row, Two), L"");
    EXPECT_EQ(RowFault(row, Three), L"the row's member Third is null");
    row[0] = row;
    EXPECT_EQ(RowFault(row, Two), L"the row's member First can't be called");
    EXPECT_EQ(RowFault(nullptr, Two), L"the row of functions is null");
    const test::GuardedBytes page(8);
    EXPECT_EQ(RowFault(page.End() - 8, Two), L"the row of functions isn't in readable memory");
}

TEST(TextFault, TextThatFillsItsPage_NeedsItsEndThere) {
    EXPECT_EQ(TextFault(TextAtEnd(std::wstring(L"ended\0", 6)).Get()), L"");
    EXPECT_EQ(TextFault(TextAtEnd(L"endless").Get()), L"runs on into unreadable memory");
}

TEST(TextFault, AddressThatIsNone_IsToldApart) {
    const test::GuardedBytes page(8);
    EXPECT_EQ(TextFault(reinterpret_cast<const wchar_t*>(page.End())), L"isn't in readable memory");
}

// The host reads it unchanged.
TEST(TextFault, OddAddress_IsInOrderIfTheTextEnds) {
    constexpr std::size_t Odd = 7;
    const test::GuardedBytes bytes(Odd);
    auto* const text = reinterpret_cast<const wchar_t*>(bytes.Begin());
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(text) % sizeof(wchar_t), 1U);
    std::fill(bytes.Begin(), bytes.End(), 'x');
    EXPECT_EQ(TextFault(text), L"runs on into unreadable memory");
    std::fill(bytes.Begin() + 4, bytes.Begin() + 6, '\0');
    EXPECT_EQ(TextFault(text), L"");
}

TEST(TextFault, LongText_IsInOrderIfItEnds) {
    EXPECT_EQ(TextFault(std::wstring(3 * 1024 * 1024, L'x').c_str()), L"");
}

TEST(DescribePlace, Code_IsToldByItsModule) {
    wchar_t text[64] = {};
    DescribePlace(reinterpret_cast<const void*>(::GetModuleHandleW(L"kernel32.dll") + 4), text,
                  std::size(text));
    EXPECT_EQ(std::wstring(text), L"kernel32.dll+0x10");
}

}  // namespace
}  // namespace controller_check
