// What the logger does about links on the way to its files.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "framework/logger/log_directory.h"
#include "tests/framework/logger/log_run.h"
#include "tests/support/debugger_channel.h"
#include "tests/support/gzip_reader.h"
#include "tests/support/link_volume.h"

namespace {

using test::CreationText;
using test::LinkVolume;
using test::LogBytes;
using test::LogMessage;
using test::LogRun;
using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::wstring>;

std::wstring MountPointText(const std::wstring& path) {
    return L"Deleted mount point for \"" + path + L"\", Win32 error = 0";
}

std::wstring SymlinkText(const std::wstring& path) {
    return L"Deleted symlink for \"" + path + L"\", Win32 error = 0";
}

/// The log directory is a\b below the run's folder; links point to "elsewhere".
class LoggerLinks : public testing::Test {
  protected:
    LoggerLinks() { std::filesystem::create_directories(At(L"elsewhere\\b")); }

    void Start() {
        framework::LoggerConfig config = test::RotatingConfig();
        config.LogToFile = true;
        LogRun::ConfigureIn(At(L"a\\b\\"), config);
    }

    [[nodiscard]] std::wstring At(const std::wstring& name) const {
        return run_.Folder().WithBackslash() + name;
    }
    [[nodiscard]] std::wstring File(unsigned number) const {
        return At(L"a\\b\\") + LogRun::Name(number);
    }
    [[nodiscard]] std::wstring Elsewhere() const { return At(L"elsewhere"); }
    /// Nothing was written through a link.
    [[nodiscard]] bool NothingElsewhere() const {
        return std::filesystem::is_empty(At(L"elsewhere\\b")) &&
               std::distance(std::filesystem::directory_iterator(Elsewhere()), {}) == 1;
    }

    LinkVolume volume_;
    test::DebuggerChannel channel_;
    LogRun run_;
};

TEST_F(LoggerLinks, FirstFile_LooksAtTheDirectoryThenMakesItThenLooksAtTheName) {
    Start();
    Texts looks;
    for (const std::wstring& prefix : framework::PathPrefixes(At(L"a\\b"))) {
        looks.insert(looks.end(), 2, prefix);
    }
    looks.insert(looks.end(), 2, File(0));
    EXPECT_EQ(volume_.TakeLooks(), looks);
    EXPECT_THAT(channel_.Take(), IsEmpty());
}

TEST_F(LoggerLinks, Rotation_LooksAtEveryPrefixOfTheNewNameAndAtTheGzipNameAlone) {
    Start();
    static_cast<void>(volume_.TakeLooks());
    LogBytes(1002);
    Texts looks;
    for (const std::wstring& prefix : framework::PathPrefixes(File(1))) {
        looks.insert(looks.end(), 2, prefix);
    }
    looks.insert(looks.end(), 2, File(0) + L".gz");
    EXPECT_EQ(volume_.TakeLooks(), looks);
}

TEST_F(LoggerLinks, FinalClose_LooksAtNothing) {
    Start();
    static_cast<void>(volume_.TakeLooks());
    LogRun::End();
    EXPECT_THAT(volume_.TakeLooks(), IsEmpty());
}

TEST_F(LoggerLinks, MountPointOnTheWay_IsMadeADirectoryInWhichTheRestIsCreated) {
    volume_.PlantMountPoint(At(L"a"), Elsewhere());
    Start();
    LogMessage(L"one");
    EXPECT_THAT(channel_.Take(), ElementsAre(MountPointText(At(L"a"))));
    EXPECT_TRUE(std::filesystem::exists(volume_.OnDisk(File(0))));
    EXPECT_TRUE(NothingElsewhere());
}

TEST_F(LoggerLinks, SymbolicLinkInPlaceOfTheLogDirectory_IsMadeTheDirectory) {
    std::filesystem::create_directory(At(L"a"));
    volume_.PlantSymbolicLink(At(L"a\\b"), LinkVolume::Kind::Directory, At(L"elsewhere\\b"));
    Start();
    EXPECT_THAT(channel_.Take(), ElementsAre(SymlinkText(At(L"a\\b"))));
    EXPECT_TRUE(std::filesystem::exists(volume_.OnDisk(File(0))));
    EXPECT_TRUE(NothingElsewhere());
}

TEST_F(LoggerLinks, LinkThatCannotBeRemoved_IsToldAndFollowed) {
    volume_.PlantMountPoint(At(L"a"), Elsewhere());
    volume_.DenyDeletion(At(L"a"), ERROR_ACCESS_DENIED);
    Start();
    EXPECT_THAT(channel_.Take(),
                ElementsAre(L"Deleted mount point for \"" + At(L"a") + L"\", Win32 error = 5"));
    EXPECT_TRUE(std::filesystem::exists(At(L"elsewhere\\b\\") + LogRun::Name(0)));
}

TEST_F(LoggerLinks, LinkAtTheFirstName_BecomesAPlainFileThatStandsInTheWay) {
    volume_.PlantSymbolicLink(File(0), LinkVolume::Kind::File, At(L"elsewhere\\b\\target"));
    Start();
    EXPECT_THAT(channel_.Take(), ElementsAre(SymlinkText(File(0)), CreationText(File(0), L"80")));
    LogMessage(L"one");
    EXPECT_THAT(channel_.Take(), ElementsAre(test::LostRecordText));
    EXPECT_TRUE(NothingElsewhere());
}

TEST_F(LoggerLinks, LinkAtTheNextName_BecomesAPlainFileAndTheRotationIsRepeated) {
    Start();
    volume_.PlantSymbolicLink(File(1), LinkVolume::Kind::File, At(L"elsewhere\\b\\target"));
    LogBytes(1002);
    EXPECT_THAT(channel_.Take(), ElementsAre(SymlinkText(File(1)), CreationText(File(1), L"80")));
    LogBytes(70);
    EXPECT_THAT(channel_.Take(), ElementsAre(CreationText(File(1), L"80")));
    std::filesystem::remove(volume_.OnDisk(File(1)));
    LogBytes(70);
    EXPECT_THAT(channel_.Take(), IsEmpty());
    EXPECT_TRUE(std::filesystem::exists(volume_.OnDisk(File(1))));
    EXPECT_TRUE(NothingElsewhere());
}

TEST_F(LoggerLinks, LinkPlantedBetweenTwoRotations_IsRemovedAndTheOldFileGoesOn) {
    Start();
    LogBytes(1002);
    const std::filesystem::path current = volume_.OnDisk(File(1));
    volume_.PlantMountPoint(At(L"a"), Elsewhere());
    LogBytes(1002, L'a');
    EXPECT_THAT(channel_.Take(),
                ElementsAre(MountPointText(At(L"a")), CreationText(File(2), L"3")));
    LogBytes(70, L'b');
    EXPECT_THAT(channel_.Take(), ElementsAre(CreationText(File(2), L"3")));
    EXPECT_EQ(test::SplitRecords(test::ReadLogText(current)),
              test::HeaderAnd({test::RecordOfBytes(1002, L'a'), test::RecordOfBytes(70, L'b')}));
    EXPECT_TRUE(NothingElsewhere());

    // The directory is created again: the next record rotates.
    std::filesystem::create_directory(volume_.OnDisk(At(L"a\\b")));
    LogBytes(70, L'c');
    EXPECT_TRUE(std::filesystem::exists(volume_.OnDisk(File(2))));
    EXPECT_TRUE(NothingElsewhere());
}

TEST_F(LoggerLinks, LinkAtTheGzipName_IsRemovedAtARotation) {
    Start();
    const std::wstring target = At(L"elsewhere\\b\\target");
    volume_.PlantSymbolicLink(File(0) + L".gz", LinkVolume::Kind::File, target);
    LogBytes(1002);
    EXPECT_THAT(channel_.Take(), ElementsAre(SymlinkText(File(0) + L".gz")));
    EXPECT_TRUE(NothingElsewhere());
    EXPECT_FALSE(std::filesystem::exists(File(0)));
    EXPECT_NE(test::Gunzip(test::ReadBytes(volume_.OnDisk(File(0) + L".gz"))), "");
}

TEST_F(LoggerLinks, LinkAtTheGzipName_StaysAtTheFinalCloseAndIsFollowed) {
    Start();
    const std::wstring target = At(L"elsewhere\\b\\target");
    volume_.PlantSymbolicLink(File(0) + L".gz", LinkVolume::Kind::File, target);
    LogRun::End();
    EXPECT_THAT(channel_.Take(), IsEmpty());
    EXPECT_TRUE(volume_.IsLink(File(0) + L".gz"));
    EXPECT_NE(test::Gunzip(test::ReadBytes(target)), "");
}

}  // namespace
