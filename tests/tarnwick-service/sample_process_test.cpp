#include "tarnwick-service/sample_process.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ostream>
#include <set>

#include "tests/support/child_process.h"
#include "tests/support/platform_hooks.h"
#include "tests/support/scratch_folder.h"
#include "tests/tarnwick-service/console_capture.h"

namespace tarnwick {
namespace {

std::wstring OwnDirectory() {
    return test::OwnPath().parent_path().wstring();
}

class SampleProcess : public testing::Test {
  protected:
    test::ConsoleCapture console;
};

// ---- The random name

TEST_F(SampleProcess, RandomName_IsLowerCaseLettersDirectlyBeforeTheSuffix) {
    std::set<std::wstring> names;
    std::set<wchar_t> letters;
    for (int round = 0; round < 100; ++round) {
        std::wstring name = L"before";
        EXPECT_EQ(GenerateRandomFileName(name, L"probe-plain.exe", 12), 0U);
        ASSERT_EQ(name.size(), 12U + 15U);
        EXPECT_EQ(name.substr(12), L"probe-plain.exe");
        for (const wchar_t letter : name.substr(0, 12)) {
            EXPECT_TRUE(letter >= L'a' && letter <= L'z');
            letters.insert(letter);
        }
        names.insert(name);
    }
    EXPECT_EQ(names.size(), 100U) << "the generator gives the same names again";
    EXPECT_EQ(letters.size(), 26U);
}

TEST_F(SampleProcess, RandomNameWithoutLetters_IsTheSuffix) {
    std::wstring name;
    EXPECT_EQ(GenerateRandomFileName(name, L"suffix", 0), 0U);
    EXPECT_EQ(name, L"suffix");
}

const test::ChildRoutine randomName(L"random-name", [](const auto& arguments) {
    std::wstring name;
    return static_cast<int>(
        GenerateRandomFileName(name, L"", static_cast<std::uint32_t>(std::stoul(arguments.at(0)))));
});

TEST_F(SampleProcess, RandomName_NeedsRoomForItsTerminator) {
    test::Child fitting(test::SelfCommandLine(L"random-name", {L"32767"}));
    EXPECT_EQ(fitting.Wait(), 0U);
    test::Child tooLong(test::SelfCommandLine(L"random-name", {L"32768"}));
    EXPECT_EQ(tooLong.Wait(), 0xC0000409U);
}

// ---- Paths

TEST_F(SampleProcess, ModuleDirectory_IsThatOfTheExecutable) {
    std::wstring directory;
    EXPECT_EQ(GetModuleDirectory(directory), 0U);
    EXPECT_EQ(directory, OwnDirectory());
    EXPECT_EQ(console.Text(), "");
}

TEST_F(SampleProcess, PathNextToExecutable_JoinsDirectoryAndName) {
    std::wstring path;
    EXPECT_EQ(PathNextToExecutable(path, L"probe-plain.exe"), 0U);
    EXPECT_EQ(path, OwnDirectory() + L"\\probe-plain.exe");
    EXPECT_EQ(console.Text(), "");
}

struct ModuleNameResult {
    DWORD length;
    DWORD error;
    const char* printed;
};

void PrintTo(const ModuleNameResult& value, std::ostream* out) {
    *out << "length " << value.length;
}

class ModuleName : public SampleProcess, public testing::WithParamInterface<ModuleNameResult> {};

INSTANTIATE_TEST_SUITE_P(Failures, ModuleName,
                         testing::Values(ModuleNameResult{0, 8, "FindResource error: 8\n"},
                                         ModuleNameResult{32768, 122,
                                                          "FindResource error: 122\n"}));

TEST_P(ModuleName, FailureOrFullBuffer_IsPrinted) {
    const test::ScopedHook<test::GetModuleFileNameWHook> hook(
        [](HMODULE module, wchar_t*, DWORD size) -> DWORD {
            EXPECT_EQ(module, nullptr);
            EXPECT_EQ(size, 32768U);
            ::SetLastError(GetParam().error);
            return GetParam().length;
        });
    std::wstring path = L"before";
    EXPECT_EQ(PathNextToExecutable(path, L"name"), 1U);
    EXPECT_EQ(path, L"before");
    EXPECT_EQ(console.Text(), GetParam().printed);
}

TEST_F(SampleProcess, ModuleNameThatAlmostFillsTheBuffer_IsTaken) {
    const test::ScopedHook<test::GetModuleFileNameWHook> hook(
        [](HMODULE, wchar_t* path, DWORD) -> DWORD {
            std::wstring(L"C:\\folder\\file.exe").copy(path, 18);
            return 32767;
        });
    std::wstring directory;
    EXPECT_EQ(GetModuleDirectory(directory), 0U);
    EXPECT_EQ(directory, L"C:\\folder");
}

TEST_F(SampleProcess, NameThatHasNoDirectory_IsPrinted) {
    const test::ScopedHook<test::PathRemoveFileSpecWHook> hook([](wchar_t*) { return FALSE; });
    std::wstring directory = L"before";
    EXPECT_EQ(GetModuleDirectory(directory), 1U);
    EXPECT_EQ(directory, L"before");
    EXPECT_EQ(console.Text(), "PathRemoveFileSpecW error: fileName was not removed from Path\n");
}

TEST_F(SampleProcess, PathThatCannotBeJoined_IsPrinted) {
    const test::ScopedHook<test::PathAppendWHook> hook([](auto...) { return FALSE; });
    std::wstring path = L"before";
    EXPECT_EQ(PathNextToExecutable(path, L"name"), 1U);
    EXPECT_EQ(path, L"before");
    EXPECT_EQ(console.Text(), "PathAppendW error\n");
}

// ---- The copy

TEST_F(SampleProcess, CopyToRandomName_CopiesBesideTheExecutable) {
    test::WriteFileBytes(test::OwnPath().parent_path() / L"sample-process-test.bin", "content");
    std::wstring name;
    EXPECT_EQ(CopyToRandomName(L"sample-process-test.bin", name), 0U);
    ASSERT_EQ(name.size(), 12U + 23U);
    EXPECT_EQ(name.substr(12), L"sample-process-test.bin");
    EXPECT_EQ(test::ReadBytes(test::OwnPath().parent_path() / name), "content");
    EXPECT_EQ(console.Text(), "");
    std::filesystem::remove(test::OwnPath().parent_path() / name);
    std::filesystem::remove(test::OwnPath().parent_path() / L"sample-process-test.bin");
}

TEST_F(SampleProcess, Copy_MayOverwrite) {
    std::wstring target;
    const test::ScopedHook<test::CopyFileWHook> hook(
        [&](const wchar_t* from, const wchar_t* to, BOOL failIfExists) -> BOOL {
            EXPECT_EQ(from, OwnDirectory() + L"\\sample.exe");
            EXPECT_EQ(failIfExists, FALSE);
            target = to;
            return TRUE;
        });
    std::wstring name;
    EXPECT_EQ(CopyToRandomName(L"sample.exe", name), 0U);
    EXPECT_EQ(target, OwnDirectory() + L"\\" + name);
}

TEST_F(SampleProcess, FailedCopy_GivesItsErrorInSilenceAndTheNameAllTheSame) {
    std::wstring name;
    EXPECT_EQ(CopyToRandomName(L"no-such-file.bin", name),
              static_cast<std::uint32_t>(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(name.size(), 12U + 16U);
    EXPECT_EQ(console.Text(), "");
}

TEST_F(SampleProcess, CopyWithoutAPath_StopsAtTheFirstWithItsError) {
    const test::ScopedHook<test::GetModuleFileNameWHook> noName([](auto...) -> DWORD {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    });
    const test::ScopedHook<test::CopyFileWHook> noCopy([](auto...) {
        ADD_FAILURE() << "nothing is to be copied";
        return FALSE;
    });
    std::wstring name;
    EXPECT_EQ(CopyToRandomName(L"sample.exe", name),
              static_cast<std::uint32_t>(ERROR_NOT_ENOUGH_MEMORY));
    EXPECT_EQ(console.Text(), "FindResource error: 8\n");
}

// ---- The child process

TEST_F(SampleProcess, EmptyCommandLineOrNoRecord_IsPrintedAndStartsNothing) {
    const test::ScopedHook<test::CreateProcessWHook> hook([](auto...) {
        ADD_FAILURE() << "nothing is to be started";
        return FALSE;
    });
    EXPECT_EQ(CreateChildProcess(L"sample.exe", nullptr), 1U);
    EXPECT_EQ(CreateChildProcess(L"", nullptr), 1U);
    EXPECT_EQ(console.Text(),
              "CreateChildProcess input asguments not correct: FilePath (sample.exe), pi "
              "(0000000000000000). \n"
              "CreateChildProcess input asguments not correct: FilePath (), pi "
              "(0000000000000000). \n");
    PROCESS_INFORMATION information = {};
    EXPECT_EQ(CreateChildProcess(L"", &information), 1U);
}

TEST_F(SampleProcess, Process_IsStartedByItsCommandLineAlone) {
    const test::ScopedHook<test::CreateProcessWHook> hook(
        [](const wchar_t* application, wchar_t* commandLine, LPSECURITY_ATTRIBUTES process,
           LPSECURITY_ATTRIBUTES thread, BOOL inherit, DWORD flags, void* environment,
           const wchar_t* directory, STARTUPINFOW* startup,
           PROCESS_INFORMATION* information) -> BOOL {
            EXPECT_EQ(application, nullptr);
            EXPECT_STREQ(commandLine, L"sample.exe");
            EXPECT_EQ(process, nullptr);
            EXPECT_EQ(thread, nullptr);
            EXPECT_EQ(inherit, FALSE);
            EXPECT_EQ(flags, 0U);
            EXPECT_EQ(environment, nullptr);
            EXPECT_EQ(directory, nullptr);
            STARTUPINFOW zeroed = {};
            zeroed.cb = sizeof(zeroed);
            EXPECT_EQ(std::memcmp(startup, &zeroed, sizeof(zeroed)), 0);
            EXPECT_EQ(information->hProcess, nullptr);
            EXPECT_EQ(information->dwProcessId, 0U);
            information->dwProcessId = 42;
            return TRUE;
        });
    PROCESS_INFORMATION information = {};
    information.hProcess = ::GetCurrentProcess();
    information.dwProcessId = 1;
    EXPECT_EQ(CreateChildProcess(L"sample.exe", &information), 0U);
    EXPECT_EQ(information.dwProcessId, 42U);
    EXPECT_EQ(console.Text(), "");
}

TEST_F(SampleProcess, MissingProgram_IsPrintedWithItsError) {
    PROCESS_INFORMATION information = {};
    information.hProcess = ::GetCurrentProcess();
    EXPECT_EQ(CreateChildProcess(L"no-such-program.exe", &information), 2U);
    EXPECT_EQ(information.hProcess, nullptr);
    EXPECT_EQ(console.Text(), "CreateProcess (no-such-program.exe) failed with error (2).\n");
}

const test::ChildRoutine waitForEver(L"wait-for-ever", [](const auto&) {
    ::WaitForSingleObject(::GetCurrentProcess(), 60000);
    return 7;
});

TEST_F(SampleProcess, RealChild_IsEndedWithExitCode0) {
    PROCESS_INFORMATION information = {};
    ASSERT_EQ(CreateChildProcess(test::SelfCommandLine(L"wait-for-ever"), &information), 0U);
    framework::KernelHandle process(
        ::OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, information.dwProcessId));
    EXPECT_EQ(TerminateChild(information), 0U);
    DWORD exitCode = 1;
    EXPECT_NE(::GetExitCodeProcess(process.Get(), &exitCode), FALSE);
    EXPECT_EQ(exitCode, 0U);
}

class ChildEnd : public SampleProcess {
  protected:
    std::vector<std::string> events;
    DWORD waitResult = WAIT_OBJECT_0;
    const HANDLE process = reinterpret_cast<HANDLE>(std::uintptr_t{0x1111000});
    const HANDLE thread = reinterpret_cast<HANDLE>(std::uintptr_t{0x2222000});
    test::ScopedHook<test::TerminateProcessHook> terminateHook{
        [this](HANDLE handle, UINT exitCode) -> BOOL {
            EXPECT_EQ(handle, process);
            events.push_back("terminate with " + std::to_string(exitCode));
            return TRUE;
        }};
    test::ScopedHook<test::WaitForSingleObjectHook> waitHook{
        [this](HANDLE handle, DWORD limitMs) -> DWORD {
            if (handle != process) {
                return test::WaitForSingleObjectHook::Real(handle, limitMs);
            }
            EXPECT_EQ(limitMs, INFINITE);
            events.emplace_back("wait");
            ::SetLastError(ERROR_ACCESS_DENIED);
            return waitResult;
        }};
    test::ScopedHook<test::CloseHandleHook> closeHook{[this](HANDLE handle) -> BOOL {
        if (handle != process && handle != thread) {
            return test::CloseHandleHook::Real(handle);
        }
        events.emplace_back(handle == process ? "close process" : "close thread");
        return TRUE;
    }};
};

TEST_F(ChildEnd, IsWaitedForAndBothHandlesClosed) {
    EXPECT_EQ(TerminateChild({process, thread, 1, 2}), 0U);
    EXPECT_EQ(events, (std::vector<std::string>{"terminate with 0", "wait", "close process",
                                                "close thread"}));
}

TEST_F(ChildEnd, FailedWait_LeavesTheHandlesOpen) {
    waitResult = WAIT_FAILED;
    EXPECT_EQ(TerminateChild({process, thread, 1, 2}),
              static_cast<std::uint32_t>(ERROR_ACCESS_DENIED));
    EXPECT_EQ(events, (std::vector<std::string>{"terminate with 0", "wait"}));
}

TEST_F(SampleProcess, EndWithoutAChild_CallsThePlatformAllTheSame) {
    int calls = 0;
    const test::ScopedHook<test::TerminateProcessHook> hook([&](HANDLE handle, UINT exitCode) {
        EXPECT_EQ(handle, nullptr);
        ++calls;
        return test::TerminateProcessHook::Real(handle, exitCode);
    });
    EXPECT_EQ(TerminateChild({}), static_cast<std::uint32_t>(ERROR_INVALID_HANDLE));
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(console.Text(), "");
}

// ---- The delete

TEST_F(SampleProcess, Delete_RemovesTheFileInSilence) {
    const test::ScratchFolder folder;
    test::WriteFileBytes(folder.Path() / L"file", "content");
    EXPECT_EQ(DeleteFileChecked((folder.Path() / L"file").wstring()), 0U);
    EXPECT_TRUE(folder.Names().empty());
    EXPECT_EQ(console.Text(), "");
}

TEST_F(SampleProcess, FailedDelete_IsPrintedAndGivenBack) {
    const test::ScratchFolder folder;
    EXPECT_EQ(DeleteFileChecked((folder.Path() / L"file").wstring()), 2U);
    EXPECT_EQ(console.Text(), "DeleteFile error: 2\n");
}

}  // namespace
}  // namespace tarnwick
