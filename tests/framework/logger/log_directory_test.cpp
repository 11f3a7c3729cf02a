#include "framework/logger/log_directory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/debugger_channel.h"
#include "tests/support/link_volume.h"
#include "tests/support/scratch_folder.h"

namespace {

using framework::CreateDirectoryChain;
using framework::PathPrefixes;
using framework::RemoveLinkAt;
using framework::RemoveLinksOnPath;
using framework::SplitPath;
using test::LinkVolume;
using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::wstring>;

std::wstring MountPointText(const std::wstring& path, const std::wstring& code) {
    return L"Deleted mount point for \"" + path + L"\", Win32 error = " + code;
}

std::wstring SymlinkText(const std::wstring& path, const std::wstring& code) {
    return L"Deleted symlink for \"" + path + L"\", Win32 error = " + code;
}

struct PathRow {
    const wchar_t* path;
    Texts parts;
};

void PrintTo(const PathRow& row, std::ostream* out) {
    *out << testing::PrintToString(row.path);
}

class SplitPathTest : public testing::TestWithParam<PathRow> {};

TEST_P(SplitPathTest, GivesWhatStandsBetweenSeparators) {
    EXPECT_EQ(SplitPath(GetParam().path, L"\\/"), GetParam().parts);
}

INSTANTIATE_TEST_SUITE_P(LogDirectory, SplitPathTest,
                         testing::Values(PathRow{L"", {}}, PathRow{L"\\", {}},
                                         PathRow{L"/\\//", {}}, PathRow{L"a", {L"a"}},
                                         PathRow{L"C:", {L"C:"}},
                                         PathRow{L"C:\\a\\b", {L"C:", L"a", L"b"}},
                                         PathRow{L"C:\\a\\b\\", {L"C:", L"a", L"b"}},
                                         PathRow{L"C:/a//b", {L"C:", L"a", L"b"}},
                                         PathRow{L"\\\\server\\share", {L"server", L"share"}},
                                         PathRow{L"C:\\a b\\.\\..", {L"C:", L"a b", L".", L".."}}));

TEST(LogDirectory, SplitPath_SeparatesAtTheGivenCharactersAlone) {
    EXPECT_THAT(SplitPath(L"a;b\\c,d", L";,"), ElementsAre(L"a", L"b\\c", L"d"));
}

class PathPrefixesTest : public testing::TestWithParam<PathRow> {};

TEST_P(PathPrefixesTest, BeginWithTheDriveAndFirstDirectory) {
    EXPECT_EQ(PathPrefixes(GetParam().path), GetParam().parts);
}

INSTANTIATE_TEST_SUITE_P(LogDirectory, PathPrefixesTest,
                         testing::Values(PathRow{L"C:\\a\\b\\", {L"C:\\a", L"C:\\a\\b"}},
                                         PathRow{L"C:/a//b", {L"C:\\a", L"C:\\a\\b"}},
                                         PathRow{L"\\C:\\a", {L"C:\\a"}}, PathRow{L"C:a\\b", {}},
                                         PathRow{L"C:", {}}, PathRow{L"C:\\", {}},
                                         PathRow{L"?:\\a", {L"?:\\a"}}, PathRow{L"CC:\\a", {}},
                                         PathRow{L":\\a", {}}, PathRow{L"C;\\a", {}},
                                         PathRow{L"a\\b", {}}, PathRow{L"\\\\server\\share\\a", {}},
                                         PathRow{L"\\\\?\\C:\\a", {}}, PathRow{L"", {}}));

/// Records the directories of the calls; the test sets the result.
class DirectoryCalls {
  public:
    explicit DirectoryCalls(std::vector<DWORD> errors)
        : errors_(std::move(errors)),
          hook_([this](const wchar_t* path, SECURITY_ATTRIBUTES* attributes) {
              EXPECT_EQ(attributes, nullptr);
              paths.emplace_back(path);
              const std::size_t call = paths.size() - 1;
              const DWORD error = call < errors_.size() ? errors_[call] : ERROR_SUCCESS;
              ::SetLastError(error);
              return error == ERROR_SUCCESS ? TRUE : FALSE;
          }) {}

    Texts paths;

  private:
    std::vector<DWORD> errors_;
    test::ScopedHook<test::CreateDirectoryWHook> hook_;
};

TEST(CreateDirectoryChain, EveryPrefix_IsMadeFromTheShortest) {
    DirectoryCalls calls({});
    EXPECT_TRUE(CreateDirectoryChain(L"C:/a//b\\c\\"));
    EXPECT_THAT(calls.paths, ElementsAre(L"C:\\a", L"C:\\a\\b", L"C:\\a\\b\\c"));
}

TEST(CreateDirectoryChain, DirectoryThatExists_IsNoFailure) {
    DirectoryCalls calls({ERROR_ALREADY_EXISTS, ERROR_ALREADY_EXISTS, ERROR_SUCCESS});
    EXPECT_TRUE(CreateDirectoryChain(L"C:\\a\\b\\c"));
    EXPECT_EQ(calls.paths.size(), 3U);
}

TEST(CreateDirectoryChain, OtherFailure_EndsTheChainThere) {
    for (const auto error : {ERROR_ACCESS_DENIED, ERROR_PATH_NOT_FOUND, ERROR_FILE_EXISTS}) {
        DirectoryCalls calls({ERROR_ALREADY_EXISTS, static_cast<DWORD>(error)});
        test::DebuggerChannel channel;
        EXPECT_FALSE(CreateDirectoryChain(L"C:\\a\\b\\c"));
        EXPECT_THAT(calls.paths, ElementsAre(L"C:\\a", L"C:\\a\\b"));
        EXPECT_THAT(channel.Take(), IsEmpty());
    }
}

TEST(CreateDirectoryChain, DriveAlone_IsTrueAndMakesNothing) {
    DirectoryCalls calls({});
    EXPECT_TRUE(CreateDirectoryChain(L"C:"));
    EXPECT_TRUE(CreateDirectoryChain(L"C:\\"));
    EXPECT_THAT(calls.paths, IsEmpty());
}

TEST(CreateDirectoryChain, PathWithoutDrive_IsRefused) {
    DirectoryCalls calls({});
    for (const wchar_t* path : {L"", L"\\", L"a\\b", L"\\\\server\\share\\a", L"C:a\\b"}) {
        EXPECT_FALSE(CreateDirectoryChain(path)) << path;
    }
    EXPECT_THAT(calls.paths, IsEmpty());
}

TEST(CreateDirectoryChain, MissingDirectories_StandOnDisk) {
    const test::ScratchFolder folder;
    EXPECT_TRUE(CreateDirectoryChain(folder.WithBackslash() + L"a/b\\\\c\\"));
    EXPECT_TRUE(std::filesystem::is_directory(folder.Path() / "a" / "b" / "c"));
}

TEST(CreateDirectoryChain, PlainFileInPlaceOfLastDirectory_CountsAsSuccess) {
    const test::ScratchFolder folder;
    test::WriteFileBytes(folder.Path() / "a", "");
    EXPECT_TRUE(CreateDirectoryChain(folder.WithBackslash() + L"a"));
    EXPECT_TRUE(std::filesystem::is_regular_file(folder.Path() / "a"));
}

/// A folder with the directories a\b\c and elsewhere\b\c, on a volume that supports links.
class LinkRemoval : public testing::Test {
  protected:
    LinkRemoval() {
        std::filesystem::create_directories(folder_.Path() / "a" / "b" / "c");
        std::filesystem::create_directories(folder_.Path() / "elsewhere" / "b" / "c");
    }

    [[nodiscard]] std::wstring At(const std::wstring& name) const {
        return folder_.WithBackslash() + name;
    }
    [[nodiscard]] std::wstring Elsewhere() const { return At(L"elsewhere"); }

    test::ScratchFolder folder_;
    LinkVolume volume_;
    test::DebuggerChannel channel_;
};

TEST_F(LinkRemoval, PlainDirectoriesAndFiles_SayNothingAndStay) {
    test::WriteFileBytes(folder_.Path() / "a" / "file", "content");
    RemoveLinksOnPath(At(L"a\\b\\c"));
    RemoveLinkAt(At(L"a\\file"));
    RemoveLinkAt(At(L"a\\missing"));
    EXPECT_THAT(channel_.Take(), IsEmpty());
    EXPECT_EQ(test::ReadBytes(folder_.Path() / "a" / "file"), "content");
    EXPECT_FALSE(std::filesystem::exists(folder_.Path() / "a" / "missing"));
}

TEST_F(LinkRemoval, EachPrefix_IsOpenedTwiceFromTheShortest) {
    RemoveLinksOnPath(At(L"a/b\\\\c\\"));
    Texts looks;
    for (const std::wstring& prefix : PathPrefixes(At(L"a\\b\\c"))) {
        looks.insert(looks.end(), 2, prefix);
    }
    EXPECT_EQ(volume_.TakeLooks(), looks);
}

TEST_F(LinkRemoval, PathWithoutDrive_IsLeftAlone) {
    for (const wchar_t* path : {L"", L"a\\b", L"\\\\server\\share\\a", L"C:", L"C:\\"}) {
        RemoveLinksOnPath(path);
    }
    EXPECT_THAT(volume_.TakeLooks(), IsEmpty());
}

TEST_F(LinkRemoval, LinkIsOpenedItselfForReadingAndWriting) {
    std::vector<DWORD> numbers;
    const test::ScopedHook<test::CreateFileWHook> hook(
        [&](const wchar_t*, DWORD access, DWORD share, SECURITY_ATTRIBUTES* attributes,
            DWORD disposition, DWORD flags, HANDLE model) {
            EXPECT_EQ(attributes, nullptr);
            EXPECT_EQ(model, nullptr);
            numbers.insert(numbers.end(), {access, share, disposition, flags});
            ::SetLastError(ERROR_FILE_NOT_FOUND);
            return INVALID_HANDLE_VALUE;
        });
    RemoveLinkAt(L"C:\\x");
    EXPECT_THAT(numbers,
                ElementsAre(0xC0000000U, 3U, 3U, 0x2200000U, 0xC0000000U, 3U, 3U, 0x2200000U));
}

class LinkOnEachLevel : public LinkRemoval, public testing::WithParamInterface<const wchar_t*> {};

TEST_P(LinkOnEachLevel, MountPoint_BecomesAnEmptyDirectory) {
    const std::wstring link = At(GetParam());
    volume_.PlantMountPoint(link, Elsewhere());
    RemoveLinksOnPath(At(L"a\\b\\c"));
    EXPECT_THAT(channel_.Take(), ElementsAre(MountPointText(link, L"0")));
    EXPECT_FALSE(volume_.IsLink(link));
    EXPECT_TRUE(std::filesystem::is_empty(volume_.OnDisk(link)));
    EXPECT_TRUE(std::filesystem::exists(folder_.Path() / "elsewhere" / "b" / "c"));
}

TEST_P(LinkOnEachLevel, SymbolicLink_BecomesAnEmptyDirectory) {
    const std::wstring link = At(GetParam());
    volume_.PlantSymbolicLink(link, LinkVolume::Kind::Directory, Elsewhere());
    RemoveLinksOnPath(At(L"a\\b\\c"));
    EXPECT_THAT(channel_.Take(), ElementsAre(SymlinkText(link, L"0")));
    EXPECT_FALSE(volume_.IsLink(link));
    EXPECT_TRUE(std::filesystem::is_empty(volume_.OnDisk(link)));
    EXPECT_TRUE(std::filesystem::exists(folder_.Path() / "elsewhere" / "b" / "c"));
}

INSTANTIATE_TEST_SUITE_P(LogDirectory, LinkOnEachLevel, testing::Values(L"a", L"a\\b", L"a\\b\\c"));

TEST_F(LinkRemoval, LinksOnTwoLevels_GoFromTheShortest) {
    volume_.PlantMountPoint(At(L"a"), Elsewhere());
    volume_.PlantSymbolicLink(At(L"a\\b"), LinkVolume::Kind::Directory, Elsewhere());
    RemoveLinksOnPath(At(L"a\\b\\c"));
    EXPECT_THAT(channel_.Take(),
                ElementsAre(MountPointText(At(L"a"), L"0"), SymlinkText(At(L"a\\b"), L"0")));
}

TEST_F(LinkRemoval, LinkBehindALink_IsNotReachedThroughIt) {
    volume_.PlantMountPoint(At(L"a"), Elsewhere());
    volume_.PlantMountPoint(At(L"elsewhere\\b"), At(L"third"));
    RemoveLinksOnPath(At(L"a\\b\\c"));
    EXPECT_THAT(channel_.Take(), ElementsAre(MountPointText(At(L"a"), L"0")));
    EXPECT_TRUE(volume_.IsLink(At(L"elsewhere\\b")));
}

TEST_F(LinkRemoval, RemoveLinkAt_LeavesLinksOnTheWay) {
    volume_.PlantMountPoint(At(L"a"), Elsewhere());
    RemoveLinkAt(At(L"a\\b"));
    EXPECT_THAT(channel_.Take(), IsEmpty());
    EXPECT_TRUE(volume_.IsLink(At(L"a")));
}

TEST_F(LinkRemoval, LinkToNowhere_IsRemoved) {
    volume_.PlantMountPoint(At(L"a"), At(L"nowhere"));
    RemoveLinkAt(At(L"a"));
    EXPECT_THAT(channel_.Take(), ElementsAre(MountPointText(At(L"a"), L"0")));
    EXPECT_FALSE(volume_.IsLink(At(L"a")));
}

TEST_F(LinkRemoval, LinkOfAFile_BecomesAnEmptyFile) {
    test::WriteFileBytes(folder_.Path() / "target", "content");
    volume_.PlantSymbolicLink(At(L"a\\file"), LinkVolume::Kind::File, At(L"target"));
    RemoveLinkAt(At(L"a\\file"));
    EXPECT_THAT(channel_.Take(), ElementsAre(SymlinkText(At(L"a\\file"), L"0")));
    EXPECT_EQ(test::ReadBytes(volume_.OnDisk(At(L"a\\file"))), "");
    EXPECT_EQ(test::ReadBytes(folder_.Path() / "target"), "content");
}

TEST_F(LinkRemoval, ReparsePointOfAnotherKind_IsLeftAlone) {
    constexpr std::uint32_t DeduplicatedTag = 0x80000013;
    volume_.Plant(At(L"a"), DeduplicatedTag, LinkVolume::Kind::Directory, Elsewhere());
    RemoveLinkAt(At(L"a"));
    EXPECT_THAT(channel_.Take(), IsEmpty());
    EXPECT_TRUE(volume_.IsLink(At(L"a")));
}

TEST_F(LinkRemoval, LinkThatMayNotBeOpened_IsNotSeenAsOne) {
    volume_.PlantMountPoint(At(L"a"), Elsewhere());
    volume_.DenyOpening(At(L"a"));
    RemoveLinkAt(At(L"a"));
    EXPECT_THAT(channel_.Take(), IsEmpty());
    EXPECT_TRUE(volume_.IsLink(At(L"a")));
}

TEST_F(LinkRemoval, DeletionRefused_SaysItsCodeAndGoesOn) {
    volume_.PlantMountPoint(At(L"a"), Elsewhere());
    volume_.PlantSymbolicLink(At(L"elsewhere\\b"), LinkVolume::Kind::Directory, At(L"third"));
    volume_.DenyDeletion(At(L"a"), ERROR_ACCESS_DENIED);
    RemoveLinksOnPath(At(L"a\\c"));
    EXPECT_THAT(channel_.Take(), ElementsAre(MountPointText(At(L"a"), L"5")));
    EXPECT_TRUE(volume_.IsLink(At(L"a")));
}

TEST_F(LinkRemoval, SymbolicLinkDeletionRefused_SaysItsCode) {
    volume_.PlantSymbolicLink(At(L"a"), LinkVolume::Kind::Directory, Elsewhere());
    volume_.DenyDeletion(At(L"a"), ERROR_WRITE_PROTECT);
    RemoveLinkAt(At(L"a"));
    EXPECT_THAT(channel_.Take(), ElementsAre(SymlinkText(At(L"a"), L"19")));
}

TEST_F(LinkRemoval, MountPointTurnedIntoSymlinkMeanwhile_IsRemovedByTheSecondLook) {
    volume_.PlantMountPoint(At(L"a"), Elsewhere());
    volume_.beforeDeletion = [this](const std::wstring& path) {
        volume_.PlantSymbolicLink(path, LinkVolume::Kind::Directory, Elsewhere());
    };
    RemoveLinkAt(At(L"a"));
    EXPECT_THAT(channel_.Take(),
                ElementsAre(MountPointText(At(L"a"), L"4394"), SymlinkText(At(L"a"), L"0")));
    EXPECT_FALSE(volume_.IsLink(At(L"a")));
}

TEST_F(LinkRemoval, LinkGoneMeanwhile_SaysNotAReparsePoint) {
    volume_.PlantMountPoint(At(L"a"), Elsewhere());
    volume_.beforeDeletion = [this](const std::wstring& path) {
        volume_.Plant(path, 0, LinkVolume::Kind::Directory, L"");
    };
    RemoveLinkAt(At(L"a"));
    EXPECT_THAT(channel_.Take(), ElementsAre(MountPointText(At(L"a"), L"4390")));
}

TEST_F(LinkRemoval, HandlesAreClosed) {
    int open = 0;
    const test::ScopedHook<test::CreateFileWHook> opening([&](auto... args) {
        const HANDLE handle = test::CreateFileWHook::Real(args...);
        open += handle != INVALID_HANDLE_VALUE ? 1 : 0;
        return handle;
    });
    const test::ScopedHook<test::CloseHandleHook> closing([&](HANDLE handle) {
        EXPECT_NE(handle, INVALID_HANDLE_VALUE);
        --open;
        return test::CloseHandleHook::Real(handle);
    });
    RemoveLinksOnPath(At(L"a\\b\\missing"));
    EXPECT_EQ(open, 0);
}

}  // namespace
