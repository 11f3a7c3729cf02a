#include "tools/controller-check/host_records.h"

#include <gtest/gtest.h>

namespace controller_check {
namespace {

TEST(PlaceInLoader, Boundaries_BelongToTheNextPart) {
    EXPECT_EQ(PlaceInLoader(7), L"the loader's flags, offset 7");
    EXPECT_EQ(PlaceInLoader(8), L"the controller's address, offset 0");
    EXPECT_EQ(PlaceInLoader(15), L"the controller's address, offset 7");
    EXPECT_EQ(PlaceInLoader(16), L"the parameters, offset 0");
    EXPECT_EQ(PlaceInLoader(95), L"the parameters, offset 79");
    EXPECT_EQ(PlaceInLoader(96), L"the component, offset 0");
    EXPECT_EQ(PlaceInLoader(184), L"the interface quillon_interaction, offset 0");
    EXPECT_EQ(PlaceInLoader(240), L"the interface quillon_exception, offset 0");
    EXPECT_EQ(PlaceInLoader(303), L"the interface quillon_exception, offset 63");
}

TEST(HostRecords, Untouched_HaveNoChange) {
    HostRecords records;
    EXPECT_EQ(records.FindChange(), L"");
}

TEST(HostRecords, Change_IsToldOnceUnlessSealed) {
    HostRecords records;
    records.Loader().params.zero72 = 1;
    EXPECT_EQ(records.FindChange(), L"the parameters, offset 72");
    EXPECT_EQ(records.FindChange(), L"");
    records.Loader().initialized = 1;
    records.Seal();
    EXPECT_EQ(records.FindChange(), L"");
}

TEST(HostRecords, WriteRightBesideThem_IsSeen) {
    HostRecords records;
    auto* const bytes = reinterpret_cast<std::uint8_t*>(&records.Loader());
    bytes[-1] = 0;
    EXPECT_EQ(records.FindChange(), L"memory beside the host's records");
    bytes[sizeof(LoaderImage)] = 0;
    EXPECT_EQ(records.FindChange(), L"memory beside the host's records");
}

TEST(HostRecords, Addresses_AreKnownAsTheirs) {
    HostRecords records;
    EXPECT_TRUE(records.Holds(&records.Loader().exception));
    int other = 0;
    EXPECT_FALSE(records.Holds(&other));
    records.Release();
    EXPECT_TRUE(records.Holds(&records.Loader()));
}

}  // namespace
}  // namespace controller_check
