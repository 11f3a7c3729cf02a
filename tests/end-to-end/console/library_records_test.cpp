// The records that cross the library boundary, byte by byte as the library sees them.

#include <gmock/gmock.h>

#include "tests/end-to-end/support/expected_log.h"
#include "tests/end-to-end/support/host_folder.h"

namespace {

using test::TranscriptEntry;

/// The records of one console run whose start fails, so that it ends by itself.
class LibraryRecords : public testing::Test {
  protected:
    static test::Transcript Run() {
        const test::HostFolder host;
        host.Script("on load register\non activate return 5\n");
        EXPECT_EQ(host.Start(L"-run")->Wait(), 0U);
        return host.ReadTranscript();
    }

    const test::Transcript transcript_ = Run();
    const TranscriptEntry params_ = transcript_.With("record", "params").front();
};

TEST_F(LibraryRecords, Controller_IsNullAtTheCreateCall) {
    const TranscriptEntry out = transcript_.Only("create-out", "controller");
    EXPECT_EQ(out.Number("null-at-call"), 1U);
    EXPECT_EQ(out.Number("offset-from-context"), 8U);
}

TEST_F(LibraryRecords, Params_AreAsLaidOut) {
    EXPECT_EQ(params_.Number("size"), 80U);
    EXPECT_EQ(params_.Number("offset-from-context"), 16U);
    EXPECT_EQ(params_.Number("version"), 2U);
    for (const char* zero : {"zero4", "zero24", "zero40", "zero64", "zero72"}) {
        EXPECT_EQ(params_.Get(zero), "0x0") << zero;
    }
    for (const char* callback : {"OrrinLoggingCallback", "LogFlush", "OrrinInterruptCallback",
                                 "RegisterHostComponentEntry", "context"}) {
        EXPECT_NE(params_.Number(callback), 0U) << callback;
    }
}

TEST_F(LibraryRecords, Params_AreUnchangedAtTheFreeCall) {
    const auto all = transcript_.With("record", "params");
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].Get("bytes"), all[1].Get("bytes"));
    EXPECT_EQ(all[0].Get("address"), all[1].Get("address"));
}

TEST_F(LibraryRecords, HostComponent_IsAsLaidOut) {
    const auto components = transcript_.With("record", "component");
    ASSERT_EQ(components.size(), 2U);
    for (const TranscriptEntry& component : components) {
        EXPECT_EQ(component.Number("size"), 88U);
        EXPECT_EQ(component.Number("offset-from-context"), 96U);
        EXPECT_EQ(component.Get("name"), "Quillon");
        EXPECT_EQ(component.Get("zero8"), "0x0");
        EXPECT_EQ(component.Get("zero16"), "0x0");
        EXPECT_NE(component.Number("callback"), 0U);
        EXPECT_EQ(component.Get("zero32"), std::string(112, '0'));
    }
}

TEST_F(LibraryRecords, Interfaces_AreAsLaidOutAndInOrder) {
    const TranscriptEntry interaction = transcript_.Only("record", "interaction");
    const TranscriptEntry exception = transcript_.Only("record", "exception");
    EXPECT_LT(interaction.Number("seq"), exception.Number("seq"));
    EXPECT_EQ(interaction.Number("size"), 56U);
    EXPECT_EQ(interaction.Number("offset-from-context"), 184U);
    EXPECT_EQ(exception.Number("size"), 64U);
    EXPECT_EQ(exception.Number("offset-from-context"), 240U);
    EXPECT_NE(interaction.Number("OrrinEnableServiceStop"), 0U);
    EXPECT_NE(exception.Number("OrrinSetPreExceptionCallback"), 0U);
    EXPECT_NE(exception.Number("OrrinRemovePreExceptionCallback"), 0U);
    for (const TranscriptEntry& record : {interaction, exception}) {
        EXPECT_EQ(record.Get("version"), "0x1");
        EXPECT_EQ(record.Get("context"), params_.Get("context"));
        for (const char* zero : {"zero24", "zero32", "zero40"}) {
            EXPECT_EQ(record.Get(zero), "0x0") << zero;
        }
    }
}

}  // namespace
