#include "framework/system/unique_handle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>
#include <utility>
#include <vector>

#include "tests/support/platform_hooks.h"

namespace framework {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A value that a platform call could have returned.
template <class Type>
Type Fake(std::uintptr_t number) {
    return reinterpret_cast<Type>(0x51500000 + number);
}

/// Runs for every kind of handle, with its closing call replaced by one that fails and spoils the
/// last error.
template <class Traits>
class UniqueHandleOf : public ::testing::Test {
  protected:
    using Owner = UniqueHandle<Traits>;
    using Type = typename Traits::Type;

    std::vector<void*> closed_;

  private:
    template <class Result>
    Result Close(void* handle) {
        closed_.push_back(handle);
        ::SetLastError(ERROR_INVALID_HANDLE);
        return Result{0};
    }

    static bool IsFake(void* handle) {
        return (reinterpret_cast<std::uintptr_t>(handle) & ~std::uintptr_t{0xFFFF}) == 0x51500000;
    }

    test::ScopedHook<test::CloseHandleHook> closeHandle_{[this](HANDLE handle) -> BOOL {
        return IsFake(handle) ? Close<BOOL>(handle) : test::CloseHandleHook::Real(handle);
    }};
    test::ScopedHook<test::RegCloseKeyHook> closeKey_{[this](HKEY key) -> LSTATUS {
        return IsFake(key) ? Close<LSTATUS>(key) : test::RegCloseKeyHook::Real(key);
    }};
    test::ScopedHook<test::DeregisterEventSourceHook> closeSource_{[this](HANDLE source) -> BOOL {
        return IsFake(source) ? Close<BOOL>(source) : test::DeregisterEventSourceHook::Real(source);
    }};
};

using Kinds =
    ::testing::Types<KernelHandleTraits, FileHandleTraits, RegistryKeyTraits, EventSourceTraits>;
TYPED_TEST_SUITE(UniqueHandleOf, Kinds);

TYPED_TEST(UniqueHandleOf, CannotBeCopied) {
    using Tested = typename TestFixture::Owner;
    EXPECT_FALSE(std::is_copy_constructible_v<Tested>);
    EXPECT_FALSE(std::is_copy_assignable_v<Tested>);
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<Tested>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<Tested>);
}

TYPED_TEST(UniqueHandleOf, MadeOfNothing_IsFalseAndClosesNothing) {
    {
        const typename TestFixture::Owner owner;
        EXPECT_FALSE(owner);
        EXPECT_EQ(owner.Get(), TypeParam::Invalid());
        const typename TestFixture::Owner failed(TypeParam::Invalid());
        EXPECT_FALSE(failed);
    }
    EXPECT_THAT(this->closed_, IsEmpty());
}

TYPED_TEST(UniqueHandleOf, End_ClosesOnceAndKeepsTheLastError) {
    const auto handle = Fake<typename TestFixture::Type>(1);
    ::SetLastError(1234);
    {
        const typename TestFixture::Owner owner(handle);
        EXPECT_TRUE(owner);
        EXPECT_EQ(owner.Get(), handle);
    }
    EXPECT_EQ(::GetLastError(), 1234U);
    EXPECT_THAT(this->closed_, ElementsAre(handle));
}

TYPED_TEST(UniqueHandleOf, Release_GivesTheHandleAwayUnclosed) {
    const auto handle = Fake<typename TestFixture::Type>(1);
    typename TestFixture::Owner owner(handle);
    EXPECT_EQ(owner.Release(), handle);
    EXPECT_FALSE(owner);
    EXPECT_THAT(this->closed_, IsEmpty());
}

TYPED_TEST(UniqueHandleOf, Reset_ClosesWhatWasHeldAndTakesTheNew) {
    const auto first = Fake<typename TestFixture::Type>(1);
    const auto second = Fake<typename TestFixture::Type>(2);
    typename TestFixture::Owner owner(first);
    owner.Reset(second);
    EXPECT_EQ(owner.Get(), second);
    EXPECT_THAT(this->closed_, ElementsAre(first));
    owner.Reset();
    EXPECT_FALSE(owner);
    EXPECT_THAT(this->closed_, ElementsAre(first, second));
}

TYPED_TEST(UniqueHandleOf, Receive_ClosesWhatWasHeldAndOwnsWhatIsWritten) {
    const auto first = Fake<typename TestFixture::Type>(1);
    const auto second = Fake<typename TestFixture::Type>(2);
    {
        typename TestFixture::Owner owner(first);
        auto* const place = owner.Receive();
        EXPECT_THAT(this->closed_, ElementsAre(first));
        EXPECT_FALSE(owner);
        *place = second;
    }
    EXPECT_THAT(this->closed_, ElementsAre(first, second));
}

TYPED_TEST(UniqueHandleOf, MoveConstruction_LeavesTheSourceEmpty) {
    const auto handle = Fake<typename TestFixture::Type>(1);
    {
        typename TestFixture::Owner source(handle);
        const typename TestFixture::Owner target(std::move(source));
        EXPECT_EQ(target.Get(), handle);
        EXPECT_FALSE(source);  // NOLINT(bugprone-use-after-move): the state that is promised
    }
    EXPECT_THAT(this->closed_, ElementsAre(handle));
}

TYPED_TEST(UniqueHandleOf, MoveAssignment_ClosesTheTargetsOwn) {
    const auto first = Fake<typename TestFixture::Type>(1);
    const auto second = Fake<typename TestFixture::Type>(2);
    {
        typename TestFixture::Owner source(second);
        typename TestFixture::Owner target(first);
        target = std::move(source);
        EXPECT_EQ(target.Get(), second);
        EXPECT_THAT(this->closed_, ElementsAre(first));
    }
    EXPECT_THAT(this->closed_, ElementsAre(first, second));
}

TYPED_TEST(UniqueHandleOf, MoveAssignmentToItself_KeepsTheHandle) {
    const auto handle = Fake<typename TestFixture::Type>(1);
    {
        typename TestFixture::Owner owner(handle);
        auto& same = owner;
        owner = std::move(same);
        EXPECT_EQ(owner.Get(), handle);
        EXPECT_THAT(this->closed_, IsEmpty());
    }
    EXPECT_THAT(this->closed_, ElementsAre(handle));
}

TEST(UniqueHandle, Kinds_CountAsFailedWhatTheirCallsGive) {
    EXPECT_FALSE(KernelHandle(nullptr));
    EXPECT_FALSE(FileHandle(INVALID_HANDLE_VALUE));
    EXPECT_FALSE(RegistryKey(nullptr));
    EXPECT_FALSE(EventSource(nullptr));
}

TEST(UniqueHandle, Kinds_CloseByTheCallOfTheirOwn) {
    std::vector<const char*> calls;
    const test::ScopedHook<test::CloseHandleHook> closeHandle([&](HANDLE) -> BOOL {
        calls.push_back("CloseHandle");
        return TRUE;
    });
    const test::ScopedHook<test::RegCloseKeyHook> closeKey([&](HKEY) -> LSTATUS {
        calls.push_back("RegCloseKey");
        return ERROR_SUCCESS;
    });
    const test::ScopedHook<test::DeregisterEventSourceHook> closeSource([&](HANDLE) -> BOOL {
        calls.push_back("DeregisterEventSource");
        return TRUE;
    });
    KernelHandle(Fake<HANDLE>(1)).Reset();
    FileHandle(Fake<HANDLE>(2)).Reset();
    RegistryKey(Fake<HKEY>(3)).Reset();
    EventSource(Fake<HANDLE>(4)).Reset();
    EXPECT_THAT(calls, ElementsAre(::testing::StrEq("CloseHandle"), ::testing::StrEq("CloseHandle"),
                                   ::testing::StrEq("RegCloseKey"),
                                   ::testing::StrEq("DeregisterEventSource")));
}

}  // namespace
}  // namespace framework
