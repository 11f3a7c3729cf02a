#include "tarnwick-service/archive_unpack.h"

#include <gtest/gtest.h>

#include <thread>

#include "tarnwick-service/orrin_ctrl_loader.h"
#include "tarnwick-service/windows_service_base.h"
#include "tests/support/log_capture.h"
#include "tests/support/platform_hooks.h"
#include "tests/tarnwick-service/expected_lines.h"
#include "tests/tarnwick-service/fake_controller.h"

namespace tarnwick {
namespace {

class ArchiveUnpack : public testing::Test {
  protected:
    test::LogCapture log;
    test::FakeController controller;
};

TEST_F(ArchiveUnpack, Record_HoldsTheLogSinkAndZeroes) {
    UnpackArchive();
    const test::RecordBytes& params = controller.AtBootstrap();
    EXPECT_EQ(params.Word(0), 0U);
    EXPECT_EQ(params.At<test::LogSink>(8), &OrrinLoader::OrrinLoggingCallback);
    for (std::size_t zero = 16; zero < 80; zero += 8) {
        EXPECT_EQ(params.Word(zero), 0U) << "at " << zero;
    }
}

TEST_F(ArchiveUnpack, Call_IsTheOnlyOneAndOnTheCallersThread) {
    const test::ScopedHook<test::CoInitializeExHook> com([this](auto...) {
        controller.Note("CoInitializeEx");
        return S_OK;
    });
    UnpackArchive();
    EXPECT_EQ(controller.Events(), std::vector<std::string>{"bootstrap"});
    EXPECT_EQ(controller.ThreadOf("bootstrap"), ::GetCurrentThreadId());
    EXPECT_EQ(WindowsServiceBase::GetInstance(), nullptr);
    EXPECT_EQ(log.Lines(), test::Lines{});
}

TEST_F(ArchiveUnpack, LogSink_WorksFromAnotherThreadDuringTheCall) {
    controller.actions["bootstrap"] = [this] {
        std::thread other([this] {
            controller.AtBootstrap().At<test::LogSink>(8)(nullptr, 2, L"unpack", L"no archive");
        });
        other.join();
    };
    UnpackArchive();
    EXPECT_EQ(log.Lines(), test::Lines{L"[E][unpack] no archive"});
}

}  // namespace
}  // namespace tarnwick
