#include "tools/controller-check/library_image.h"

#include <gmock/gmock.h>

#include <utility>

#include "tests/support/child_process.h"
#include "tests/support/scratch_folder.h"
#include "tests/tools/controller-check/guarded_bytes.h"

namespace controller_check {
namespace {

using testing::Contains;
using testing::IsEmpty;
using testing::StrCaseEq;

std::string BytesOf(const wchar_t* name) {
    return test::ReadBytes(test::OwnPath().parent_path() / name);
}

TEST(ReadImage, Library_GivesItsNames) {
    const ImageFacts facts = ReadImage(BytesOf(L"minimal-controller.dll"));
    EXPECT_TRUE(facts.isImage);
    EXPECT_TRUE(facts.isLibrary);
    EXPECT_EQ(facts.machine, 0x8664);
    EXPECT_THAT(facts.exports, testing::UnorderedElementsAre("OrrinBootstrap",
                                                             "OrrinCreateComponentModelController",
                                                             "OrrinFreeComponentModelController"));
    EXPECT_THAT(facts.imports, Contains(StrCaseEq("kernel32.dll")));
}

TEST(ReadImage, Program_IsNoLibrary) {
    const ImageFacts facts = ReadImage(test::ReadBytes(test::OwnPath()));
    EXPECT_TRUE(facts.isImage);
    EXPECT_FALSE(facts.isLibrary);
}

TEST(ReadImage, NoImage_SaysSo) {
    EXPECT_FALSE(ReadImage("").isImage);
    EXPECT_FALSE(ReadImage("MZ").isImage);
    EXPECT_FALSE(ReadImage(std::string(4096, 'M')).isImage);
}

// Reading past the end would crash the test.
TEST(ReadImage, CutFile_GivesWhatIsThere) {
    const std::string whole = BytesOf(L"minimal-controller.dll");
    for (std::size_t size = 0; size < whole.size(); size += size < 2048 ? 1 : 997) {
        const test::GuardedBytes part(std::string_view(whole).substr(0, size));
        const ImageFacts facts = ReadImage(part.View());
        EXPECT_LE(facts.exports.size(), 3U);
    }
    EXPECT_THAT(ReadImage(whole.substr(0, 1024)).exports, IsEmpty());
}

TEST(ReadImage, DamagedHeaderBytes_AreSurvived) {
    const test::GuardedBytes whole(BytesOf(L"minimal-controller.dll"));
    for (std::size_t place = 0; place < 1024; ++place) {
        const char sound = std::exchange(whole.Begin()[place], '\xFF');
        static_cast<void>(ReadImage(whole.View()));
        whole.Begin()[place] = sound;
    }
}

}  // namespace
}  // namespace controller_check
