#include "tools/service-tool/place.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/child_process.h"
#include "tests/support/scratch_folder.h"
#include "tools/service-tool/folder_tree.h"

namespace service_tool {
namespace {

TEST(ProgramOf, CommandLinesAsServicesHaveThem) {
    EXPECT_EQ(ProgramOf(L"\"C:\\a b\\x.exe\""), L"C:\\a b\\x.exe");
    EXPECT_EQ(ProgramOf(L"\"C:\\a b\\x.exe\" -y=\"1 2\""), L"C:\\a b\\x.exe");
    EXPECT_EQ(ProgramOf(L"C:\\a b\\x.EXE -y"), L"C:\\a b\\x.EXE");
    EXPECT_EQ(ProgramOf(L"C:\\it's\\x.exe"), L"C:\\it's\\x.exe");
    EXPECT_EQ(ProgramOf(L"C:\\x"), L"C:\\x");
    EXPECT_EQ(ProgramOf(L"\"C:\\x"), L"C:\\x");
    EXPECT_EQ(ProgramOf(L""), L"");
}

TEST(ProgramOf, Variables_AreExpanded) {
    ::SetEnvironmentVariableW(L"TARNWICK_TEST_FOLDER", L"C:\\of the variable");
    EXPECT_EQ(ProgramOf(L"%TARNWICK_TEST_FOLDER%\\x.exe -y"), L"C:\\of the variable\\x.exe");
}

TEST(ProcessesOf, FindsThisProcessByItsFile) {
    std::wstring path = test::OwnPath().wstring();
    const auto has = [](const std::vector<DWORD>& ids) {
        return std::find(ids.begin(), ids.end(), ::GetCurrentProcessId()) != ids.end();
    };
    EXPECT_TRUE(has(ProcessesOf(path)));
    EXPECT_FALSE(has(ProcessesOf(path + L"x")));
    ::CharUpperW(path.data());
    EXPECT_TRUE(has(ProcessesOf(path)));
}

TEST(FileVersion, FileWithoutOne_IsEmpty) {
    EXPECT_EQ(FileVersion(test::OwnPath().wstring()), L"");
    EXPECT_EQ(FileVersion(L"C:\\no such file.exe"), L"");
}

TEST(RemoveFolder, TakesWriteProtectedFilesAndFolders) {
    const test::ScratchFolder scratch;
    const std::filesystem::path folder = scratch.Path() / L"folder";
    std::filesystem::create_directories(folder / L"a" / L"b");
    test::WriteFileBytes(folder / L"a" / L"b" / L"file", "x");
    ::SetFileAttributesW((folder / L"a" / L"b" / L"file").c_str(), FILE_ATTRIBUTE_READONLY);
    EXPECT_EQ(RemoveFolder(folder.wstring()), DWORD{ERROR_SUCCESS});
    EXPECT_FALSE(std::filesystem::exists(folder));
}

TEST(RemoveFolder, FileInUse_IsTheErrorAndTheRestGoes) {
    const test::ScratchFolder scratch;
    const std::filesystem::path folder = scratch.Path() / L"folder";
    std::filesystem::create_directories(folder);
    test::WriteFileBytes(folder / L"a", "x");
    test::WriteFileBytes(folder / L"z", "x");
    const framework::FileHandle held(::CreateFileW((folder / L"a").c_str(), GENERIC_READ, 0,
                                                   nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_EQ(RemoveFolder(folder.wstring()), DWORD{ERROR_SHARING_VIOLATION});
    EXPECT_TRUE(std::filesystem::exists(folder / L"a"));
    EXPECT_FALSE(std::filesystem::exists(folder / L"z"));
}

}  // namespace
}  // namespace service_tool
