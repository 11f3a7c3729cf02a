// Files that can't be loaded as a controller library, each for a different reason.

#include <gmock/gmock.h>

#include <cstring>

#include "tests/support/child_process.h"
#include "tests/tools/controller-check/check_run.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

/// The place of the processor type in the image's header.
std::size_t PlaceOfMachine(const std::string& image) {
    std::uint32_t header = 0;
    std::memcpy(&header, image.data() + 0x3C, sizeof(header));
    return header + 4;
}

void ExpectBroken(const test::CheckRun& check, const std::string& id, const std::string& seen) {
    const test::CheckOutcome outcome = check.Run();
    EXPECT_EQ(outcome.exitCode, 1U);
    EXPECT_THAT(outcome.failed, ElementsAre(id)) << outcome.output;
    EXPECT_THAT(outcome.LineOf(id), HasSubstr(seen));
}

TEST(BrokenFile, MissingFile_IsToldWithItsError) {
    const test::CheckRun check(L"minimal-controller.dll");
    std::filesystem::remove(check.Library());
    ExpectBroken(check, "file", "error 2");
}

TEST(BrokenFile, Text_IsNoImage) {
    const test::CheckRun check(L"minimal-controller.dll");
    test::WriteFileBytes(check.Library(), "no library at all");
    ExpectBroken(check, "library", "isn't a Windows image");
}

TEST(BrokenFile, Program_IsNoLibrary) {
    const test::CheckRun check(L"minimal-controller.dll");
    std::filesystem::copy_file(test::OwnPath().parent_path() / L"controller-check.exe",
                               check.Library(), std::filesystem::copy_options::overwrite_existing);
    ExpectBroken(check, "library", "a Windows program");
}

TEST(BrokenFile, Library32Bit_IsTold) {
    const test::CheckRun check(L"minimal-controller.dll");
    std::string image = test::ReadBytes(check.Library());
    image.replace(PlaceOfMachine(image), 2, "\x4C\x01");
    test::WriteFileBytes(check.Library(), image);
    ExpectBroken(check, "64-bit", "32-bit");
}

TEST(BrokenFile, MissingExport_IsNamed) {
    const test::CheckRun check(L"minimal-controller.dll");
    std::string image = test::ReadBytes(check.Library());
    const std::string name = std::string("OrrinBootstrap") + '\0';
    for (std::size_t at = image.find(name); at != image.npos; at = image.find(name)) {
        image[at] = 'o';
    }
    test::WriteFileBytes(check.Library(), image);
    ExpectBroken(check, "exports", "missing: OrrinBootstrap");
}

TEST(BrokenFile, MissingDependency_IsNamed) {
    const test::CheckRun check(L"absent-part-controller.dll");
    ExpectBroken(check, "dependencies", "absent-part.dll isn't found");
}

TEST(BrokenFile, DependencyWithoutTheFunction_IsTold) {
    const test::CheckRun check(L"absent-part-controller.dll");
    std::filesystem::copy_file(test::OwnPath().parent_path() / L"minimal-controller.dll",
                               check.Folder() / L"absent-part.dll");
    // Wine loads it anyway, and a call of the missing function ends the process.
    const test::CheckOutcome outcome = check.Run(L"--round service");
    EXPECT_EQ(outcome.exitCode, 1U);
    EXPECT_THAT(outcome.failed,
                testing::AnyOf(ElementsAre("dependencies"), ElementsAre("no-crash")))
        << outcome.output;
}

}  // namespace
