#include "framework/system/reparse_point.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// Needs windows.h before it.
#include <winioctl.h>

#include <cstring>
#include <optional>
#include <string>
#include <vector>

#include "tests/framework/system/volume_model.h"
#include "tests/support/scratch_folder.h"

namespace framework {
namespace {

using test::Entry;
using test::VolumeModel;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint32_t MountPointTag = 0xA0000003;
constexpr std::uint32_t SymbolicLinkTag = 0xA000000C;
/// Another kind of link, for deduplicated files.
constexpr std::uint32_t OtherTag = 0x80000013;

static_assert(MountPointTag == IO_REPARSE_TAG_MOUNT_POINT);
static_assert(SymbolicLinkTag == IO_REPARSE_TAG_SYMLINK);
static_assert(FSCTL_GET_REPARSE_POINT == 589992);
static_assert(FSCTL_DELETE_REPARSE_POINT == 589996);

const std::wstring Link = L"V:\\link";

/// The 24 bytes of a deletion: the tag, all else zero.
std::vector<std::uint8_t> HeaderBytes(std::uint32_t tag) {
    std::vector<std::uint8_t> bytes(24);
    std::memcpy(bytes.data(), &tag, sizeof(tag));
    return bytes;
}

class ReparsePoint : public ::testing::Test {
  protected:
    // A stale error of an earlier call must not become a result.
    void SetUp() override { ::SetLastError(1234); }

    VolumeModel volume_;
};

// ---- Opening and reading -----------------------------------------------------------------------

TEST_F(ReparsePoint, Open_ExistingName_GivesHandleAndZero) {
    volume_.entries[Link] = {MountPointTag};
    FileHandle link;
    EXPECT_EQ(OpenReparsePoint(Link, link), 0U);
    EXPECT_NE(link.Get(), nullptr);
    EXPECT_NE(link.Get(), INVALID_HANDLE_VALUE);
    EXPECT_THAT(volume_.calls, ElementsAre(L"open V:\\link"));
}

TEST_F(ReparsePoint, Open_MissingName_HoldsNothingAndGivesTheError) {
    volume_.entries[Link] = {MountPointTag};
    FileHandle link;
    ASSERT_EQ(OpenReparsePoint(Link, link), 0U);
    volume_.entries.clear();
    EXPECT_EQ(OpenReparsePoint(Link, link), 2U);
    EXPECT_EQ(link.Get(), INVALID_HANDLE_VALUE);
}

TEST_F(ReparsePoint, GetData_Success_CutsBufferToTheBytesReturned) {
    volume_.entries[Link] = {SymbolicLinkTag, true, 90};
    std::vector<std::byte> buffer;
    EXPECT_EQ(GetReparsePointData(volume_.Open(Link), buffer), 0U);
    ASSERT_EQ(buffer.size(), 90U);
    EXPECT_EQ(buffer[0], std::byte{0x0C});
    EXPECT_EQ(buffer[89], std::byte{0x5A});
    EXPECT_THAT(volume_.calls, ElementsAre(L"get 0x900A8"));
}

TEST_F(ReparsePoint, GetData_LongestRecord_IsKeptWhole) {
    volume_.entries[Link] = {SymbolicLinkTag, true, 16384};
    std::vector<std::byte> buffer;
    EXPECT_EQ(GetReparsePointData(volume_.Open(Link), buffer), 0U);
    EXPECT_EQ(buffer.size(), 16384U);
}

TEST_F(ReparsePoint, GetData_LargerBuffer_IsSizedDownForTheCall) {
    volume_.entries[Link] = {SymbolicLinkTag};
    std::vector<std::byte> buffer(20000);
    EXPECT_EQ(GetReparsePointData(volume_.Open(Link), buffer), 0U);
    EXPECT_EQ(buffer.size(), 64U);
}

TEST_F(ReparsePoint, GetData_Failure_GivesTheErrorAndKeeps16384Bytes) {
    volume_.entries[Link] = {};
    std::vector<std::byte> buffer;
    EXPECT_EQ(GetReparsePointData(volume_.Open(Link), buffer), VolumeModel::NotAReparsePoint);
    EXPECT_EQ(buffer.size(), 16384U);
}

TEST_F(ReparsePoint, GetDataByPath_FailedOpen_ReadsAndClosesNothing) {
    volume_.entries[Link] = {MountPointTag, false};
    std::vector<std::byte> buffer(3);
    EXPECT_EQ(GetReparsePointDataByPath(Link, buffer), 5U);
    EXPECT_EQ(buffer.size(), 3U);
    EXPECT_THAT(volume_.calls, ElementsAre(L"open V:\\link"));
}

TEST_F(ReparsePoint, GetDataByPath_Link_IsOpenedReadAndClosed) {
    volume_.entries[Link] = {MountPointTag};
    std::vector<std::byte> buffer;
    EXPECT_EQ(GetReparsePointDataByPath(Link, buffer), 0U);
    EXPECT_EQ(buffer.size(), 64U);
    EXPECT_THAT(volume_.calls, ElementsAre(L"open V:\\link", L"get 0x900A8", L"close"));
}

TEST_F(ReparsePoint, GetDataByPath_FailedRead_GivesItsErrorAndCloses) {
    volume_.entries[Link] = {MountPointTag};
    volume_.deviceError = ERROR_NOT_SUPPORTED;
    std::vector<std::byte> buffer;
    EXPECT_EQ(GetReparsePointDataByPath(Link, buffer), 50U);
    EXPECT_THAT(volume_.calls, ElementsAre(L"open V:\\link", L"get 0x900A8", L"close"));
}

// ---- Telling -----------------------------------------------------------------------------------

struct TellCase {
    const char* name;
    std::optional<Entry> entry;
    bool isMountPoint;
    bool isSymbolicLink;
};

void PrintTo(const TellCase& row, std::ostream* stream) {
    *stream << row.name;
}

class TellingLinks : public ReparsePoint, public ::testing::WithParamInterface<TellCase> {};

TEST_P(TellingLinks, BothAnswersAreAsExpected_AndNothingIsChanged) {
    if (GetParam().entry) {
        volume_.entries[Link] = *GetParam().entry;
    }
    EXPECT_EQ(IsMountPoint(Link), GetParam().isMountPoint);
    EXPECT_EQ(IsSymbolicLink(Link), GetParam().isSymbolicLink);
    EXPECT_THAT(volume_.deleteInput, IsEmpty());
    if (GetParam().entry) {
        EXPECT_EQ(volume_.entries[Link].tag, GetParam().entry->tag);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Entries, TellingLinks,
    ::testing::Values(
        TellCase{"MountPoint", Entry{MountPointTag}, true, false},
        TellCase{"SymbolicLink", Entry{SymbolicLinkTag}, false, true},
        TellCase{"OtherLink", Entry{OtherTag}, false, false},
        TellCase{"MountPointTagWithAnotherBit", Entry{MountPointTag ^ 0x80000000U}, false, false},
        TellCase{"PlainEntry", Entry{}, false, false},
        TellCase{"MissingEntry", std::nullopt, false, false},
        TellCase{"MountPointWithoutWriteAccess", Entry{MountPointTag, false}, false, false},
        TellCase{"SymbolicLinkWithoutWriteAccess", Entry{SymbolicLinkTag, false}, false, false},
        TellCase{"RecordOfTheTagAlone", Entry{SymbolicLinkTag, true, 4}, false, true},
        TellCase{"RecordShorterThanATag", Entry{SymbolicLinkTag, true, 3}, false, false},
        TellCase{"EmptyRecord", Entry{MountPointTag, true, 0}, false, false}),
    [](const auto& row) { return row.param.name; });

TEST_F(ReparsePoint, HasReparseTag_ComparesAll32Bits) {
    volume_.entries[Link] = {OtherTag};
    EXPECT_TRUE(HasReparseTag(Link, OtherTag));
    EXPECT_FALSE(HasReparseTag(Link, OtherTag & 0xFFFFU));
}

TEST_F(ReparsePoint, HasReparseTag_FailedReadOfAZeroTag_IsFalse) {
    // After a failed read the buffer is all zero, because the status decides before the buffer
    // does.
    volume_.entries[Link] = {};
    EXPECT_FALSE(HasReparseTag(Link, 0));
}

TEST_F(ReparsePoint, EachLook_OpensAndClosesByItself) {
    volume_.entries[Link] = {SymbolicLinkTag};
    EXPECT_FALSE(IsMountPoint(Link));
    EXPECT_TRUE(IsSymbolicLink(Link));
    EXPECT_THAT(volume_.calls, ElementsAre(L"open V:\\link", L"get 0x900A8", L"close",
                                           L"open V:\\link", L"get 0x900A8", L"close"));
}

// ---- Deleting ----------------------------------------------------------------------------------

TEST_F(ReparsePoint, Delete_NullHeader_Gives87WithoutADeviceCall) {
    volume_.entries[Link] = {MountPointTag};
    EXPECT_EQ(DeleteReparsePoint(volume_.Open(Link), nullptr), 87U);
    EXPECT_THAT(volume_.calls, IsEmpty());
}

TEST_F(ReparsePoint, Delete_Header_IsPassedAsItStands) {
    volume_.entries[Link] = {OtherTag};
    ReparsePointHeader header = {};
    header.ReparseTag = OtherTag;
    header.ReparseGuid.Data4[7] = 0xEE;
    EXPECT_EQ(DeleteReparsePoint(volume_.Open(Link), &header), 0U);
    std::vector<std::uint8_t> expected = HeaderBytes(OtherTag);
    expected.back() = 0xEE;
    EXPECT_EQ(volume_.deleteInput, expected);
}

TEST_F(ReparsePoint, Delete_Failure_GivesTheError) {
    volume_.deviceError = ERROR_ACCESS_DENIED;
    const ReparsePointHeader header = {};
    EXPECT_EQ(DeleteReparsePoint(volume_.Open(Link), &header), 5U);
}

/// The two deletions, which differ only in the tag.
struct DeleteCase {
    const char* name;
    std::uint32_t (*function)(const std::wstring& path);
    std::uint32_t tag;
    std::uint32_t foreignTag;
};

void PrintTo(const DeleteCase& row, std::ostream* stream) {
    *stream << row.name;
}

class DeletingLinks : public ReparsePoint, public ::testing::WithParamInterface<DeleteCase> {};

TEST_P(DeletingLinks, OwnKind_BecomesAPlainEntry) {
    volume_.entries[Link] = {GetParam().tag};
    EXPECT_EQ(GetParam().function(Link), 0U);
    EXPECT_EQ(volume_.deleteInput, HeaderBytes(GetParam().tag));
    EXPECT_THAT(volume_.calls, ElementsAre(L"open V:\\link", L"delete 0x900AC", L"close"));
    ASSERT_TRUE(volume_.entries.contains(Link));
    EXPECT_FALSE(IsMountPoint(Link));
    EXPECT_FALSE(IsSymbolicLink(Link));
}

TEST_P(DeletingLinks, OtherKind_StaysAndGivesTheMismatch) {
    volume_.entries[Link] = {GetParam().foreignTag};
    EXPECT_EQ(GetParam().function(Link), VolumeModel::TagMismatch);
    EXPECT_EQ(volume_.deleteInput, HeaderBytes(GetParam().tag));
    EXPECT_EQ(volume_.entries[Link].tag, GetParam().foreignTag);
    EXPECT_THAT(volume_.calls, ElementsAre(L"open V:\\link", L"delete 0x900AC", L"close"));
}

TEST_P(DeletingLinks, PlainEntry_GivesTheErrorOfTheDevice) {
    volume_.entries[Link] = {};
    EXPECT_EQ(GetParam().function(Link), VolumeModel::NotAReparsePoint);
}

TEST_P(DeletingLinks, FailedOpen_GivesItsErrorAndDoesNothingElse) {
    volume_.entries[Link] = {GetParam().tag, false};
    EXPECT_EQ(GetParam().function(Link), 5U);
    EXPECT_THAT(volume_.calls, ElementsAre(L"open V:\\link"));
    EXPECT_EQ(volume_.entries[Link].tag, GetParam().tag);
}

TEST_P(DeletingLinks, FailedClose_IsNotLookedAt) {
    volume_.entries[Link] = {GetParam().tag};
    volume_.closeFails = true;
    EXPECT_EQ(GetParam().function(Link), 0U);
}

INSTANTIATE_TEST_SUITE_P(Kinds, DeletingLinks,
                         ::testing::Values(DeleteCase{"MountPoint", DeleteMountPoint, MountPointTag,
                                                      SymbolicLinkTag},
                                           DeleteCase{"SymbolicLink", DeleteSymbolicLink,
                                                      SymbolicLinkTag, MountPointTag}),
                         [](const auto& row) { return row.param.name; });

// ---- The real platform -------------------------------------------------------------------------

TEST(ReparsePointOnPlatform, PlainFileAndDirectory_AreToldApartFromLinks) {
    const test::ScratchFolder folder;
    const std::wstring file = folder.WithBackslash() + L"plain.log";
    test::WriteFileBytes(file, "text");
    for (const std::wstring& path : {file, folder.Path().wstring()}) {
        std::vector<std::byte> buffer;
        EXPECT_EQ(GetReparsePointDataByPath(path, buffer), 4390U);
        EXPECT_EQ(buffer.size(), 16384U);
        EXPECT_FALSE(IsMountPoint(path));
        EXPECT_FALSE(IsSymbolicLink(path));
    }
    EXPECT_EQ(test::ReadBytes(file), "text");
}

TEST(ReparsePointOnPlatform, MissingPath_IsNoLinkAndIsNotCreated) {
    const test::ScratchFolder folder;
    const std::wstring path = folder.WithBackslash() + L"missing";
    EXPECT_FALSE(IsMountPoint(path));
    EXPECT_FALSE(IsSymbolicLink(path));
    EXPECT_EQ(DeleteSymbolicLink(path), 2U);
    EXPECT_TRUE(folder.Names().empty());
}

TEST(ReparsePointOnPlatform, PlainFile_CanBeLookedAtWhileAWriterHasItOpen) {
    // The writer shares reading and writing, like this check.
    const test::ScratchFolder folder;
    const std::wstring path = folder.WithBackslash() + L"open.log";
    const HANDLE writer =
        ::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                      FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_NEW, 0, nullptr);
    ASSERT_NE(writer, INVALID_HANDLE_VALUE);
    FileHandle link;
    EXPECT_EQ(OpenReparsePoint(path, link), 0U);
    link.Reset();
    ::CloseHandle(writer);
}

}  // namespace
}  // namespace framework
