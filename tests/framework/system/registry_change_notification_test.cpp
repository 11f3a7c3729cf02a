#include "framework/system/registry_change_notification.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "framework/system/locks.h"
#include "framework/system/unique_handle.h"
#include "tests/framework/system/scratch_key.h"
#include "tests/framework/system/trace_recorder.h"
#include "tests/framework/system/watched_block.h"
#include "tests/support/platform_hooks.h"

namespace framework {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr DWORD LimitMs = 20000;
constexpr std::uint32_t Baseline = 7;

const wchar_t* const NewIteration = L"4 RegChangeNotify: new iteration started";
const wchar_t* const StopPolled = L"4 RegChangeNotify: break because Stop event occured";
const wchar_t* const StopAwaited = L"4 RegChangeNotify: StopEvent occur";
const wchar_t* const Finished = L"4 RegChangeNotify finished syccesfully";

KernelHandle NewEvent() {
    KernelHandle event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    EXPECT_TRUE(event);
    return event;
}

bool Signalled(HANDLE handle, DWORD limitMs = 0) {
    return test::WaitForSingleObjectHook::Real(handle, limitMs) == WAIT_OBJECT_0;
}

/// Watches a value of a real key, on a thread or in place. Records the arguments of the callback
/// and which handles of the watch were opened and closed.
class RegChangeNotifyTest : public ::testing::Test {
  protected:
    ~RegChangeNotifyTest() override {
        // A test that failed half-way may have left its thread running.
        ::SetEvent(stop_.Get());
        if (thread_) {
            EXPECT_TRUE(Signalled(thread_.Get(), LimitMs));
        }
        // The keys that the watch leaves open on purpose.
        for (const HKEY key : LeftOpenKeys()) {
            test::RegCloseKeyHook::Real(key);
        }
    }

    RegChangeNotifyParams Params() {
        return {key_.Path(), L"Watched", Baseline,
                stop_.Get(), Callback,   reinterpret_cast<std::uintptr_t>(this)};
    }

    /// Runs the watch on this thread.
    std::uint32_t RunInPlace() {
        RegChangeNotifyParams params = Params();
        return RegChangeNotify(&params);
    }

    /// Starts the watch on its thread and returns when it is armed and waiting.
    void StartAndAwaitWaiting() {
        Start();
        AwaitWaiting();
    }

    void Start() {
        HANDLE thread = nullptr;
        ASSERT_EQ(CreateRegChangeNotifyThread(Params(), thread), 0U);
        thread_.Reset(thread);
    }

    void AwaitWaiting() {
        ASSERT_TRUE(Signalled(waiting_.Get(), LimitMs));
        test::ResetEventHook::Real(waiting_.Get());
    }

    std::uint32_t JoinThread() {
        EXPECT_TRUE(Signalled(thread_.Get(), LimitMs)) << "the watching thread didn't end";
        DWORD exitCode = 0;
        ::GetExitCodeThread(thread_.Get(), &exitCode);
        return exitCode;
    }

    /// The keys opened for the watch that were not closed.
    std::vector<HKEY> LeftOpenKeys() {
        const std::lock_guard guard(lock_);
        return open_;
    }

    test::ScratchKey key_;
    KernelHandle stop_ = NewEvent();
    KernelHandle waiting_ = NewEvent();  ///< set when the watch enters its wait
    KernelHandle thread_;

    /// Called in the callback after its notification has been recorded.
    std::function<std::uint32_t(RegChangeNotification&)> onCallback_ = [](RegChangeNotification&) {
        return 0U;
    };
    std::vector<std::uint32_t> values_;  ///< `CurrentValue` of each callback; read after the end

    CriticalSection lock_;
    std::vector<std::wstring> calls_;  ///< of the watch, in order; guarded by lock_
    HANDLE event_ = nullptr;           ///< the event of the watch
    int waits_ = 0;

  private:
    static std::uint32_t Callback(RegChangeNotification* notification) {
        return reinterpret_cast<RegChangeNotifyTest*>(notification->Context)
            ->Notified(*notification);
    }

    std::uint32_t Notified(RegChangeNotification& notification) {
        Called(L"callback");
        EXPECT_EQ(notification.ReservedZero, 0U);
        EXPECT_FALSE(*notification.ContinueWatching);
        values_.push_back(notification.CurrentValue);
        return onCallback_(notification);
    }

    void Called(const wchar_t* name) {
        const std::lock_guard guard(lock_);
        calls_.emplace_back(name);
    }

    HANDLE OnCreateEvent(SECURITY_ATTRIBUTES* security, BOOL manual, BOOL set, const char* name) {
        EXPECT_EQ(security, nullptr);
        EXPECT_TRUE(manual);
        EXPECT_FALSE(set);
        EXPECT_EQ(name, nullptr);
        Called(L"CreateEventA");
        return event_ = test::CreateEventAHook::Real(security, manual, set, name);
    }

    DWORD OnPoll(HANDLE handle, DWORD limitMs) {
        if (handle == stop_.Get()) {
            EXPECT_EQ(limitMs, 0U);
            Called(L"poll");
        }
        return test::WaitForSingleObjectHook::Real(handle, limitMs);
    }

    LSTATUS OnOpen(HKEY root, const wchar_t* path, DWORD options, REGSAM access, HKEY* key) {
        EXPECT_EQ(root, HKEY_LOCAL_MACHINE);
        EXPECT_EQ(path, key_.Path());
        EXPECT_EQ(options, 0U);
        EXPECT_EQ(access, 16U);
        Called(L"RegOpenKeyExW");
        const LSTATUS status = test::RegOpenKeyExWHook::Real(root, path, options, access, key);
        if (status == ERROR_SUCCESS) {
            const std::lock_guard guard(lock_);
            open_.push_back(*key);
        }
        return status;
    }

    BOOL OnReset(HANDLE event) {
        EXPECT_EQ(event, event_);
        Called(L"ResetEvent");
        return test::ResetEventHook::Real(event);
    }

    LSTATUS OnArm(HKEY key, BOOL subtree, DWORD filter, HANDLE event, BOOL asynchronous) {
        EXPECT_EQ(key, open_.back());
        EXPECT_FALSE(subtree);
        EXPECT_EQ(filter, 4U);
        EXPECT_EQ(event, event_);
        EXPECT_TRUE(asynchronous);
        Called(L"RegNotifyChangeKeyValue");
        return test::RegNotifyChangeKeyValueHook::Real(key, subtree, filter, event, asynchronous);
    }

    LSTATUS OnQuery(HKEY key, const wchar_t* name, DWORD* reserved, DWORD* type, BYTE* data,
                    DWORD* size) {
        EXPECT_STREQ(name, L"Watched");
        Called(L"read");
        return test::RegQueryValueExWHook::Real(key, name, reserved, type, data, size);
    }

    DWORD OnWait(DWORD count, const HANDLE* handles, BOOL all, DWORD limitMs) {
        EXPECT_EQ(count, 2U);
        EXPECT_EQ(handles[0], stop_.Get());
        EXPECT_EQ(handles[1], event_);
        EXPECT_FALSE(all);
        EXPECT_EQ(limitMs, INFINITE);
        Called(L"WaitForMultipleObjects");
        ++waits_;
        ::SetEvent(waiting_.Get());
        return test::WaitForMultipleObjectsHook::Real(count, handles, all, limitMs);
    }

    LSTATUS OnCloseKey(HKEY key) {
        {
            const std::lock_guard guard(lock_);
            if (std::erase(open_, key) != 0) {
                calls_.emplace_back(L"RegCloseKey");
            }
        }
        return test::RegCloseKeyHook::Real(key);
    }

    BOOL OnCloseHandle(HANDLE handle) {
        if (handle == event_) {
            Called(L"CloseHandle");
        }
        return test::CloseHandleHook::Real(handle);
    }

    std::vector<HKEY> open_;  // guarded by lock_

  protected:
    test::TraceRecorder trace_;

  private:
    test::ScopedHook<test::CreateEventAHook> createEvent_{
        [this](auto... args) { return OnCreateEvent(args...); }};
    test::ScopedHook<test::WaitForSingleObjectHook> poll_{
        [this](auto... args) { return OnPoll(args...); }};
    test::ScopedHook<test::RegOpenKeyExWHook> openKey_{
        [this](auto... args) { return OnOpen(args...); }};
    test::ScopedHook<test::ResetEventHook> reset_{[this](HANDLE event) { return OnReset(event); }};
    test::ScopedHook<test::RegNotifyChangeKeyValueHook> arm_{
        [this](auto... args) { return OnArm(args...); }};
    test::ScopedHook<test::RegQueryValueExWHook> query_{
        [this](auto... args) { return OnQuery(args...); }};
    test::ScopedHook<test::WaitForMultipleObjectsHook> wait_{
        [this](auto... args) { return OnWait(args...); }};
    test::ScopedHook<test::RegCloseKeyHook> closeKey_{[this](HKEY key) { return OnCloseKey(key); }};
    test::ScopedHook<test::CloseHandleHook> closeHandle_{
        [this](HANDLE handle) { return OnCloseHandle(handle); }};
};

// ---- Stopping ----------------------------------------------------------------------------------

TEST_F(RegChangeNotifyTest, StopBeforeStart_EndsAtTheFirstPollWithoutOpeningTheKey) {
    key_.Set(L"Watched", Baseline + 1);
    ::SetEvent(stop_.Get());
    Start();
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_THAT(trace_.Lines(), ElementsAre(NewIteration, StopPolled, Finished));
    EXPECT_THAT(calls_, ElementsAre(L"CreateEventA", L"poll", L"CloseHandle"));
    EXPECT_THAT(values_, IsEmpty());
}

TEST_F(RegChangeNotifyTest, StopWhileWaiting_EndsWithoutACallback) {
    key_.Set(L"Watched", Baseline);
    StartAndAwaitWaiting();
    ::SetEvent(stop_.Get());
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_THAT(trace_.Lines(), ElementsAre(NewIteration, StopAwaited, Finished));
    EXPECT_THAT(calls_, ElementsAre(L"CreateEventA", L"poll", L"RegOpenKeyExW", L"ResetEvent",
                                    L"RegNotifyChangeKeyValue", L"read", L"WaitForMultipleObjects",
                                    L"RegCloseKey", L"CloseHandle"));
    EXPECT_THAT(values_, IsEmpty());
    EXPECT_TRUE(Signalled(stop_.Get())) << "the stop event is the caller's";
}

TEST_F(RegChangeNotifyTest, StopAndChangeTogether_StopGoesFirst) {
    key_.Set(L"Watched", Baseline);
    const test::ScopedHook<test::WaitForMultipleObjectsHook> wait(
        [&](DWORD count, const HANDLE* handles, BOOL all, DWORD limitMs) -> DWORD {
            key_.Set(L"Watched", Baseline + 1);
            ::SetEvent(stop_.Get());
            return test::WaitForMultipleObjectsHook::Real(count, handles, all, limitMs);
        });
    EXPECT_EQ(RunInPlace(), 0U);
    EXPECT_THAT(trace_.Lines(), ElementsAre(NewIteration, StopAwaited, Finished));
    EXPECT_THAT(values_, IsEmpty());
}

// ---- Changes of the real registry --------------------------------------------------------------

TEST_F(RegChangeNotifyTest, ValueOtherThanBaselineAtStart_CallsBackAtOnceAfterArming) {
    key_.Set(L"Watched", Baseline + 1);
    Start();
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_THAT(values_, ElementsAre(Baseline + 1));
    EXPECT_THAT(trace_.Lines(), ElementsAre(NewIteration, Finished));
    EXPECT_THAT(calls_, ElementsAre(L"CreateEventA", L"poll", L"RegOpenKeyExW", L"ResetEvent",
                                    L"RegNotifyChangeKeyValue", L"read", L"callback",
                                    L"RegCloseKey", L"CloseHandle"));
}

TEST_F(RegChangeNotifyTest, ChangeWhileWaiting_IsReadAndDeliveredOnce) {
    key_.Set(L"Watched", Baseline);
    StartAndAwaitWaiting();
    key_.Set(L"Watched", 4000000000U);
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_THAT(values_, ElementsAre(4000000000U));
    EXPECT_THAT(trace_.Lines(), ElementsAre(NewIteration, Finished));
    EXPECT_THAT(calls_, ElementsAre(L"CreateEventA", L"poll", L"RegOpenKeyExW", L"ResetEvent",
                                    L"RegNotifyChangeKeyValue", L"read", L"WaitForMultipleObjects",
                                    L"read", L"callback", L"RegCloseKey", L"CloseHandle"));
}

TEST_F(RegChangeNotifyTest, ChangeBetweenArmingAndReading_IsNotLost) {
    key_.Set(L"Watched", Baseline);
    const test::ScopedHook<test::RegQueryValueExWHook> query([&](auto... args) -> LSTATUS {
        const LSTATUS status = test::RegQueryValueExWHook::Real(args...);
        // Just too late for the first read.
        key_.Set(L"Watched", Baseline + 1);
        return status;
    });
    Start();
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_THAT(values_, ElementsAre(Baseline + 1));
    EXPECT_EQ(waits_, 1);
}

TEST_F(RegChangeNotifyTest, ChangeOfAnotherValue_CallsBackWithTheUnchangedOne) {
    key_.Set(L"Watched", Baseline);
    StartAndAwaitWaiting();
    key_.Set(L"Another", 1);
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_THAT(values_, ElementsAre(Baseline));
}

TEST_F(RegChangeNotifyTest, DeletionOfTheValue_CallsBackWithTheBaseline) {
    key_.Set(L"Watched", Baseline);
    StartAndAwaitWaiting();
    key_.Delete(L"Watched");
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_THAT(values_, ElementsAre(Baseline));
}

TEST_F(RegChangeNotifyTest, MissingValue_CountsAsUnchangedUntilItIsCreated) {
    key_.Create();
    StartAndAwaitWaiting();
    key_.Set(L"Watched", 0);
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_THAT(values_, ElementsAre(0U));
}

TEST_F(RegChangeNotifyTest, ChangeToAnotherType_CallsBackWithTheBaseline) {
    key_.Set(L"Watched", Baseline);
    StartAndAwaitWaiting();
    key_.Set(L"Watched", test::TextValue(L"text"));
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_THAT(values_, ElementsAre(Baseline));
}

TEST_F(RegChangeNotifyTest, ChangeInASubkey_DoesNotWake) {
    key_.Set(L"Watched", Baseline);
    key_.Create(L"Sub");
    StartAndAwaitWaiting();
    key_.Set(L"Watched", test::DwordValue(Baseline + 1), L"Sub");
    key_.Set(L"Watched", test::DwordValue(Baseline + 2), L"Sub");
    // A change that counts signals the event before the setting call returns.
    EXPECT_FALSE(Signalled(event_));
    EXPECT_FALSE(Signalled(thread_.Get()));
    ::SetEvent(stop_.Get());
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_THAT(trace_.Lines(), ElementsAre(NewIteration, StopAwaited, Finished));
    EXPECT_THAT(values_, IsEmpty());
}

TEST_F(RegChangeNotifyTest, WakeUpWithoutAnyChange_CallsBackAllTheSame) {
    // A rewrite with the same data looks like this if the platform reports it.
    key_.Set(L"Watched", Baseline);
    const test::ScopedHook<test::WaitForMultipleObjectsHook> wait(
        [](auto...) -> DWORD { return WAIT_OBJECT_0 + 1; });
    EXPECT_EQ(RunInPlace(), 0U);
    EXPECT_THAT(values_, ElementsAre(Baseline));
    EXPECT_THAT(trace_.Lines(), ElementsAre(NewIteration, Finished));
}

// ---- Callbacks ---------------------------------------------------------------------------------

TEST_F(RegChangeNotifyTest, CallbackError_EndsTheThreadWithItEvenIfItAsksForMore) {
    key_.Set(L"Watched", Baseline + 1);
    onCallback_ = [](RegChangeNotification& notification) {
        *notification.ContinueWatching = true;
        return 0xE0000007U;
    };
    Start();
    EXPECT_EQ(JoinThread(), 0xE0000007U);
    EXPECT_EQ(values_.size(), 1U);
    EXPECT_THAT(
        trace_.Lines(),
        ElementsAre(
            NewIteration,
            L"1 RegChangeNotify: RegChangeNotificationCallback failed with error 3758096391",
            L"1 RegChangeNotify finished with error 3758096391"));
    EXPECT_THAT(LeftOpenKeys(), IsEmpty());
}

TEST_F(RegChangeNotifyTest, RearmingUnderALastingDifference_LoopsWithoutWaiting) {
    key_.Set(L"Watched", Baseline + 1);
    onCallback_ = [this](RegChangeNotification& notification) {
        *notification.ContinueWatching = values_.size() < 4;
        return 0U;
    };
    EXPECT_EQ(RunInPlace(), 0U);
    EXPECT_THAT(values_, ElementsAre(Baseline + 1, Baseline + 1, Baseline + 1, Baseline + 1));
    EXPECT_EQ(waits_, 0);
    EXPECT_THAT(trace_.Lines(),
                ElementsAre(NewIteration, NewIteration, NewIteration, NewIteration, Finished));
}

TEST_F(RegChangeNotifyTest, Rearming_OpensTheKeyAnewAndClosesOnlyTheLast) {
    key_.Set(L"Watched", Baseline + 1);
    onCallback_ = [this](RegChangeNotification& notification) {
        *notification.ContinueWatching = values_.size() < 3;
        return 0U;
    };
    EXPECT_EQ(RunInPlace(), 0U);
    EXPECT_THAT(calls_, ElementsAre(L"CreateEventA",                                   //
                                    L"poll", L"RegOpenKeyExW", L"ResetEvent",          //
                                    L"RegNotifyChangeKeyValue", L"read", L"callback",  //
                                    L"poll", L"RegOpenKeyExW", L"ResetEvent",          //
                                    L"RegNotifyChangeKeyValue", L"read", L"callback",  //
                                    L"poll", L"RegOpenKeyExW", L"ResetEvent",          //
                                    L"RegNotifyChangeKeyValue", L"read", L"callback",  //
                                    L"RegCloseKey", L"CloseHandle"));
    EXPECT_EQ(LeftOpenKeys().size(), 2U);
}

TEST_F(RegChangeNotifyTest, Rearming_WaitsAgainForTheNextChange) {
    key_.Set(L"Watched", Baseline);
    onCallback_ = [](RegChangeNotification& notification) {
        *notification.ContinueWatching = true;
        return 0U;
    };
    StartAndAwaitWaiting();
    key_.Set(L"Another", 1);
    AwaitWaiting();
    key_.Set(L"Another", 2);
    AwaitWaiting();
    ::SetEvent(stop_.Get());
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_THAT(values_, ElementsAre(Baseline, Baseline));
    EXPECT_THAT(trace_.Lines(),
                ElementsAre(NewIteration, NewIteration, NewIteration, StopAwaited, Finished));
}

TEST_F(RegChangeNotifyTest, Baseline_IsNeverUpdated) {
    key_.Set(L"Watched", Baseline);
    onCallback_ = [this](RegChangeNotification& notification) {
        *notification.ContinueWatching = true;
        if (values_.size() == 3) {
            key_.Set(L"Watched", Baseline);
        }
        return 0U;
    };
    StartAndAwaitWaiting();
    key_.Set(L"Watched", Baseline + 1);
    // The callback sets the baseline again; only then does the watch wait again.
    AwaitWaiting();
    ::SetEvent(stop_.Get());
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_THAT(values_, ElementsAre(Baseline + 1, Baseline + 1, Baseline + 1));
    EXPECT_EQ(waits_, 2);
}

TEST_F(RegChangeNotifyTest, StopDuringARearmingCallback_EndsAtTheNextPoll) {
    key_.Set(L"Watched", Baseline + 1);
    onCallback_ = [this](RegChangeNotification& notification) {
        *notification.ContinueWatching = true;
        ::SetEvent(stop_.Get());
        return 0U;
    };
    EXPECT_EQ(RunInPlace(), 0U);
    EXPECT_EQ(values_.size(), 1U);
    EXPECT_THAT(trace_.Lines(), ElementsAre(NewIteration, NewIteration, StopPolled, Finished));
    EXPECT_THAT(LeftOpenKeys(), IsEmpty());
}

TEST_F(RegChangeNotifyTest, StopDuringAnOrdinaryCallback_IsNotPolledAnyMore) {
    key_.Set(L"Watched", Baseline + 1);
    onCallback_ = [this](RegChangeNotification&) {
        ::SetEvent(stop_.Get());
        return 0U;
    };
    EXPECT_EQ(RunInPlace(), 0U);
    EXPECT_THAT(trace_.Lines(), ElementsAre(NewIteration, Finished));
}

// ---- Failures ----------------------------------------------------------------------------------

TEST_F(RegChangeNotifyTest, MissingKey_EndsWithStatus2) {
    Start();
    EXPECT_EQ(JoinThread(), 2U);
    EXPECT_THAT(trace_.Lines(),
                ElementsAre(NewIteration, L"1 RegChangeNotify: RegOpenKeyExW failed with error 2",
                            L"1 RegChangeNotify finished with error 2"));
    EXPECT_THAT(calls_, ElementsAre(L"CreateEventA", L"poll", L"RegOpenKeyExW", L"CloseHandle"));
}

TEST_F(RegChangeNotifyTest, KeyDeletedBeforeRearming_EndsWithStatus2) {
    key_.Set(L"Watched", Baseline + 1);
    onCallback_ = [this](RegChangeNotification& notification) {
        *notification.ContinueWatching = true;
        ::RegDeleteTreeW(HKEY_LOCAL_MACHINE, key_.Path().c_str());
        return 0U;
    };
    EXPECT_EQ(RunInPlace(), 2U);
    EXPECT_THAT(trace_.Lines(), ElementsAre(NewIteration, NewIteration,
                                            L"1 RegChangeNotify: RegOpenKeyExW failed with error 2",
                                            L"1 RegChangeNotify finished with error 2"));
}

TEST_F(RegChangeNotifyTest, FailedReopenThatLeavesTheVariable_ClosesTheKeyHeldInIt) {
    key_.Set(L"Watched", Baseline + 1);
    onCallback_ = [](RegChangeNotification& notification) {
        *notification.ContinueWatching = true;
        return 0U;
    };
    const auto before = test::RegOpenKeyExWHook::replacement;
    const test::ScopedHook<test::RegOpenKeyExWHook> open([&](auto... args) -> LSTATUS {
        return values_.empty() ? before(args...) : ERROR_ACCESS_DENIED;
    });
    EXPECT_EQ(RunInPlace(), 5U);
    EXPECT_THAT(trace_.Lines(), ElementsAre(NewIteration, NewIteration,
                                            L"1 RegChangeNotify: RegOpenKeyExW failed with error 5",
                                            L"1 RegChangeNotify finished with error 5"));
    EXPECT_THAT(LeftOpenKeys(), IsEmpty());
}

TEST_F(RegChangeNotifyTest, CreateEventFailure_EndsWithItsErrorAndNothingElse) {
    key_.Set(L"Watched", Baseline + 1);
    const test::ScopedHook<test::CreateEventAHook> createEvent([](auto...) -> HANDLE {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    });
    Start();
    EXPECT_EQ(JoinThread(), 8U);
    EXPECT_THAT(trace_.Lines(),
                ElementsAre(L"1 RegChangeNotify: CreateEventA failed with error 8"));
    EXPECT_THAT(calls_, IsEmpty());
}

TEST_F(RegChangeNotifyTest, NotifyFailure_EndsWithItsStatusAndClosesBoth) {
    key_.Set(L"Watched", Baseline + 1);
    const test::ScopedHook<test::RegNotifyChangeKeyValueHook> arm(
        [](auto...) -> LSTATUS { return ERROR_KEY_DELETED; });
    EXPECT_EQ(RunInPlace(), 1018U);
    EXPECT_THAT(trace_.Lines(),
                ElementsAre(NewIteration,
                            L"1 RegChangeNotify: RegNotifyChangeKeyValue failed with error 1018",
                            L"1 RegChangeNotify finished with error 1018"));
    EXPECT_THAT(calls_, ElementsAre(L"CreateEventA", L"poll", L"RegOpenKeyExW", L"ResetEvent",
                                    L"RegCloseKey", L"CloseHandle"));
}

TEST_F(RegChangeNotifyTest, WaitFailure_EndsWithTheLastError) {
    key_.Set(L"Watched", Baseline);
    const test::ScopedHook<test::WaitForMultipleObjectsHook> wait([](auto...) -> DWORD {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return WAIT_FAILED;
    });
    EXPECT_EQ(RunInPlace(), 6U);
    EXPECT_THAT(
        trace_.Lines(),
        ElementsAre(NewIteration, L"1 RegChangeNotify: WaitForMultipleObjects failed with error 6",
                    L"1 RegChangeNotify finished with error 6"));
    EXPECT_THAT(values_, IsEmpty());
    EXPECT_THAT(LeftOpenKeys(), IsEmpty());
}

class UnexpectedWaitResult : public RegChangeNotifyTest,
                             public ::testing::WithParamInterface<DWORD> {};

TEST_P(UnexpectedWaitResult, IsAnErrorLineButAnOrdinaryEnd) {
    key_.Set(L"Watched", Baseline);
    const test::ScopedHook<test::WaitForMultipleObjectsHook> wait(
        [](auto...) -> DWORD { return GetParam(); });
    EXPECT_EQ(RunInPlace(), 0U);
    EXPECT_THAT(trace_.Lines(),
                ElementsAre(NewIteration,
                            L"1 RegChangeNotify: WaitForMultipleObjects finished with result " +
                                std::to_wstring(GetParam()),
                            Finished));
    EXPECT_THAT(values_, IsEmpty());
    EXPECT_THAT(LeftOpenKeys(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Results, UnexpectedWaitResult,
                         ::testing::Values(2U, WAIT_ABANDONED_0, WAIT_ABANDONED_0 + 1U,
                                           WAIT_IO_COMPLETION, WAIT_TIMEOUT, 0xFFFFFFFEU));

TEST_F(RegChangeNotifyTest, FailedCloses_AreTracedAndLeaveTheExitCodeAtSuccess) {
    key_.Set(L"Watched", Baseline + 1);
    const test::ScopedHook<test::RegCloseKeyHook> closeKey(
        [](HKEY) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    const test::ScopedHook<test::CloseHandleHook> closeHandle([](HANDLE) -> BOOL {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    });
    EXPECT_EQ(RunInPlace(), 0U);
    EXPECT_THAT(trace_.Lines(),
                ElementsAre(NewIteration, L"4 RegChangeNotify: RegCloseKey failed with error 5",
                            L"4 RegChangeNotify: CloseHandle failed with error 6", Finished));
}

TEST_F(RegChangeNotifyTest, FailedCloses_LeaveAnErrorAsItIs) {
    key_.Set(L"Watched", Baseline + 1);
    onCallback_ = [](RegChangeNotification&) { return 99U; };
    const test::ScopedHook<test::RegCloseKeyHook> closeKey(
        [](HKEY) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    const test::ScopedHook<test::CloseHandleHook> closeHandle([](HANDLE) -> BOOL {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    });
    EXPECT_EQ(RunInPlace(), 99U);
    EXPECT_THAT(
        trace_.Lines(),
        ElementsAre(NewIteration,
                    L"1 RegChangeNotify: RegChangeNotificationCallback failed with error 99",
                    L"4 RegChangeNotify: RegCloseKey failed with error 5",
                    L"4 RegChangeNotify: CloseHandle failed with error 6",
                    L"1 RegChangeNotify finished with error 99"));
}

TEST_F(RegChangeNotifyTest, FailedReset_IsNotLookedAt) {
    key_.Set(L"Watched", Baseline + 1);
    const test::ScopedHook<test::ResetEventHook> reset([](HANDLE) -> BOOL {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    });
    EXPECT_EQ(RunInPlace(), 0U);
    EXPECT_THAT(values_, ElementsAre(Baseline + 1));
    EXPECT_THAT(trace_.Lines(), ElementsAre(NewIteration, Finished));
}

// ---- The thread --------------------------------------------------------------------------------

TEST_F(RegChangeNotifyTest, CreateThread_GetsDefaultsAndACopyOfTheParameters) {
    const auto fakeThread = reinterpret_cast<HANDLE>(std::uintptr_t{0x4444});
    void* argument = nullptr;
    const test::ScopedHook<test::CreateThreadHook> createThread(
        [&](SECURITY_ATTRIBUTES* security, SIZE_T stackSize, LPTHREAD_START_ROUTINE routine,
            void* parameter, DWORD flags, DWORD* threadId) -> HANDLE {
            EXPECT_EQ(security, nullptr);
            EXPECT_EQ(stackSize, 0U);
            EXPECT_EQ(routine, &RegChangeNotify);
            EXPECT_EQ(flags, 0U);
            EXPECT_EQ(threadId, nullptr);
            argument = parameter;
            return fakeThread;
        });
    HANDLE thread = nullptr;
    EXPECT_EQ(CreateRegChangeNotifyThread(Params(), thread), 0U);
    EXPECT_EQ(thread, fakeThread);
    ASSERT_NE(argument, nullptr);
    const auto& copy = *static_cast<const RegChangeNotifyParams*>(argument);
    EXPECT_EQ(copy.KeyPath, key_.Path());
    EXPECT_EQ(copy.ValueName, L"Watched");
    EXPECT_EQ(copy.BaselineValue, Baseline);
    EXPECT_EQ(copy.StopEvent, stop_.Get());
    EXPECT_EQ(copy.Callback, Params().Callback);
    EXPECT_EQ(copy.CallbackContext, reinterpret_cast<std::uintptr_t>(this));
    EXPECT_THAT(trace_.Lines(), IsEmpty());
}

TEST_F(RegChangeNotifyTest, CreateThreadFailure_IsTracedReturnedAndLeavesTheHandleAlone) {
    const test::ScopedHook<test::CreateThreadHook> createThread([](auto...) -> HANDLE {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    });
    const auto untouched = reinterpret_cast<HANDLE>(std::uintptr_t{0x4444});
    HANDLE thread = untouched;
    EXPECT_EQ(CreateRegChangeNotifyThread(Params(), thread), 8U);
    EXPECT_EQ(thread, untouched);
    EXPECT_THAT(trace_.Lines(), ElementsAre(L"1 CreateRegChangeNotifyThread failed with error 8"));
}

TEST_F(RegChangeNotifyTest, Callback_RunsOnTheThreadThatTheHandleStandsFor) {
    key_.Set(L"Watched", Baseline + 1);
    DWORD threadId = 0;
    onCallback_ = [&](RegChangeNotification&) {
        threadId = ::GetCurrentThreadId();
        return 0U;
    };
    Start();
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_EQ(threadId, ::GetThreadId(thread_.Get()));
    EXPECT_NE(threadId, ::GetCurrentThreadId());
}

TEST_F(RegChangeNotifyTest, Copy_LivesOnAfterTheThread) {
    key_.Set(L"Watched", Baseline + 1);
    const test::ScopedHook<test::CreateThreadHook> createThread(
        [&](SECURITY_ATTRIBUTES* security, SIZE_T stackSize, LPTHREAD_START_ROUTINE routine,
            void* parameter, DWORD flags, DWORD* threadId) -> HANDLE {
            test::WatchBlock(parameter);
            return test::CreateThreadHook::Real(security, stackSize, routine, parameter, flags,
                                                threadId);
        });
    Start();
    EXPECT_EQ(JoinThread(), 0U);
    EXPECT_FALSE(test::WatchedBlockIsFreed());
}

TEST_F(RegChangeNotifyTest, Copy_LivesOnAlthoughItsThreadCouldNotBeCreated) {
    const test::ScopedHook<test::CreateThreadHook> createThread(
        [](SECURITY_ATTRIBUTES*, SIZE_T, LPTHREAD_START_ROUTINE, void* parameter, DWORD,
           DWORD*) -> HANDLE {
            test::WatchBlock(parameter);
            return nullptr;
        });
    HANDLE thread = nullptr;
    static_cast<void>(CreateRegChangeNotifyThread(Params(), thread));
    EXPECT_FALSE(test::WatchedBlockIsFreed());
}

TEST(WatchedBlock, DeletingIt_IsSeen) {
    auto* const params = new RegChangeNotifyParams();
    test::WatchBlock(params);
    EXPECT_FALSE(test::WatchedBlockIsFreed());
    delete params;
    EXPECT_TRUE(test::WatchedBlockIsFreed());
}

}  // namespace
}  // namespace framework
