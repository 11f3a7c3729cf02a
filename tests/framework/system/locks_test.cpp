#include "framework/system/locks.h"

#include <gtest/gtest.h>

#include <mutex>
#include <shared_mutex>

#include "framework/system/unique_handle.h"

namespace framework {
namespace {

constexpr DWORD LimitMs = 20000;
/// How long a thread that must be kept out has to enter by mistake.
constexpr DWORD KeptOutMs = 50;

/// A thread that enters a lock, reports it and leaves it again.
template <class Lock, class Guard>
class Visitor {
  public:
    explicit Visitor(Lock& lock) : lock_(lock) {}
    ~Visitor() { EXPECT_EQ(::WaitForSingleObject(thread_.Get(), LimitMs), WAIT_OBJECT_0); }
    Visitor(const Visitor&) = delete;
    Visitor& operator=(const Visitor&) = delete;

    [[nodiscard]] bool IsIn(DWORD limitMs = LimitMs) const {
        return ::WaitForSingleObject(thread_.Get(), limitMs) == WAIT_OBJECT_0;
    }

  private:
    static DWORD WINAPI Visit(void* self) {
        const Guard guard(static_cast<Visitor*>(self)->lock_);
        return 0;
    }

    Lock& lock_;
    KernelHandle thread_{::CreateThread(nullptr, 0, Visit, this, 0, nullptr)};
};

using SectionVisitor = Visitor<CriticalSection, std::lock_guard<CriticalSection>>;
using Reader = Visitor<SrwLock, std::shared_lock<SrwLock>>;
using Writer = Visitor<SrwLock, std::unique_lock<SrwLock>>;

TEST(CriticalSection, Owner_EntersAgainAndKeepsOthersOutUntilItHasLeftAsOften) {
    CriticalSection section;
    std::unique_lock outer(section);
    std::unique_lock inner(section);
    const SectionVisitor visitor(section);
    EXPECT_FALSE(visitor.IsIn(KeptOutMs));
    inner.unlock();
    EXPECT_FALSE(visitor.IsIn(KeptOutMs));
    outer.unlock();
    EXPECT_TRUE(visitor.IsIn());
}

TEST(SrwLock, Readers_ShareItAndKeepAWriterOut) {
    SrwLock lock;
    std::shared_lock own(lock);
    {
        const Reader reader(lock);
        EXPECT_TRUE(reader.IsIn());
    }
    const Writer writer(lock);
    EXPECT_FALSE(writer.IsIn(KeptOutMs));
    own.unlock();
    EXPECT_TRUE(writer.IsIn());
}

TEST(SrwLock, Writer_KeepsReadersAndWritersOut) {
    SrwLock lock;
    std::unique_lock own(lock);
    const Reader reader(lock);
    const Writer writer(lock);
    EXPECT_FALSE(reader.IsIn(KeptOutMs));
    EXPECT_FALSE(writer.IsIn(KeptOutMs));
    own.unlock();
    EXPECT_TRUE(reader.IsIn());
    EXPECT_TRUE(writer.IsIn());
}

}  // namespace
}  // namespace framework
