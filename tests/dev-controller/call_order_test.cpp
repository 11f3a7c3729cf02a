#include "dev-controller/call_order.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace dev_controller {
namespace {

constexpr auto Load = ControllerCall::Load;
constexpr auto Activate = ControllerCall::Activate;
constexpr auto Notify = ControllerCall::Notify;
constexpr auto Deactivate = ControllerCall::Deactivate;

CallOrder After(std::initializer_list<ControllerCall> calls) {
    CallOrder order;
    for (const ControllerCall call : calls) {
        EXPECT_EQ(order.Objection(call), nullptr);
        order.Done(call);
    }
    return order;
}

TEST(CallOrder, OrdinaryRun_IsInOrder) {
    After({Load, Activate, Notify, Deactivate});
}

TEST(CallOrder, FailedActivation_DeactivatesAtOnceAndAgainAtTheStop) {
    After({Load, Deactivate, Notify, Deactivate});
}

TEST(CallOrder, StopThatOvertakesTheStart_RefusesTheActivation) {
    const CallOrder order = After({Load, Notify});
    EXPECT_STREQ(order.Objection(Activate), L"the service is stopping already");
    EXPECT_EQ(order.Objection(Deactivate), nullptr);
}

TEST(CallOrder, NothingBeforeLoading) {
    const CallOrder order;
    for (const ControllerCall call : {Activate, Notify, Deactivate}) {
        EXPECT_STREQ(order.Objection(call), L"LoadAddons was not called yet");
    }
}

TEST(CallOrder, NoCallTwice) {
    EXPECT_STREQ(After({Load}).Objection(Load), L"LoadAddons was called before");
    EXPECT_STREQ(After({Load, Activate}).Objection(Activate), L"Activate was called before");
    EXPECT_STREQ(After({Load, Activate, Notify}).Objection(Notify),
                 L"NotifyOnStop was called before");
    EXPECT_STREQ(After({Load, Activate, Notify, Deactivate}).Objection(Deactivate),
                 L"Deactivate was called before");
    EXPECT_STREQ(After({Load, Activate, Notify, Deactivate}).Objection(Notify),
                 L"NotifyOnStop was called before");
}

TEST(CallOrder, ActiveController_IsNotifiedBeforeItIsDeactivated) {
    EXPECT_STREQ(After({Load, Activate}).Objection(Deactivate), L"NotifyOnStop was not called yet");
}

TEST(CallOrder, Free_IsRemarkedOnlyWithAnUnfinishedStop) {
    EXPECT_EQ(After({}).FreeRemark(), nullptr);
    EXPECT_EQ(After({Load}).FreeRemark(), nullptr);
    EXPECT_EQ(After({Load, Activate, Notify, Deactivate}).FreeRemark(), nullptr);
    EXPECT_STREQ(After({Load, Activate}).FreeRemark(),
                 L"freed while active: the service ended without a stop");
    EXPECT_STREQ(After({Load, Activate, Notify}).FreeRemark(),
                 L"freed before Deactivate was called");
}

}  // namespace
}  // namespace dev_controller
