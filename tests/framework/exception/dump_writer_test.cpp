#include "framework/exception/dump_writer.h"

#include <gmock/gmock.h>

#include <array>
#include <string>
#include <vector>

#include "tests/framework/exception/crash_path_calls.h"
#include "tests/support/child_process.h"
#include "tests/support/log_capture.h"

namespace framework {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint32_t InvalidParameterExit = 0xC0000409;
constexpr std::size_t LongestPath = 404;

std::wstring PathOfLength(std::size_t length) {
    return L"X:\\" + std::wstring(length - 7, L'd') + L".dmp";
}

/// The writer on a replaced platform, and its log.
class DumpWriter : public ::testing::Test {
  protected:
    std::uint32_t Write(const wchar_t* defaultPath = L"X:\\default.exe") {
        const DWORD processId = 4711;
        const DWORD threadId = 12;
        const HANDLE process = test::FakeProcess;
        return WriteDumpFile(&processId, &process, &threadId, &information_, defaultPath);
    }

    test::LogCapture log_;
    test::CrashPathCalls platform_;
    MINIDUMP_EXCEPTION_INFORMATION information_ = {};
};

TEST_F(DumpWriter, File_IsReplacedAndNotShared) {
    SetDumpTarget(L"X:\\a.dmp", 0);
    EXPECT_EQ(Write(), 0U);
    EXPECT_EQ(platform_.path, L"X:\\a.dmp");
    EXPECT_THAT(platform_.createArguments, ElementsAre(0xC0000000, 0U, 2U, 0x80U));
    EXPECT_TRUE(platform_.createPointersNull);
}

TEST_F(DumpWriter, Dump_GetsProcessFileAndExceptionAsTheyAre) {
    SetDumpTarget(L"X:\\a.dmp", 0);
    information_.ThreadId = 99;
    information_.ClientPointers = TRUE;
    EXPECT_EQ(Write(), 0U);
    EXPECT_EQ(platform_.dumpedProcess, test::FakeProcess);
    EXPECT_EQ(platform_.dumpedProcessId, 4711U);
    EXPECT_EQ(platform_.dumpedInto, test::FakeDumpFile);
    // The record's thread, not the one of the unused parameter.
    EXPECT_EQ(platform_.information.ThreadId, 99U);
    EXPECT_EQ(platform_.information.ClientPointers, TRUE);
    EXPECT_TRUE(platform_.dumpPointersNull);
}

TEST_F(DumpWriter, Success_IsToldBeforeTheFileIsClosed) {
    SetDumpTarget(L"X:\\a.dmp", 0);
    std::vector<std::wstring> linesAtClose;
    const test::ScopedHook<test::CloseHandleHook> hook([&](HANDLE handle) {
        if (handle != test::FakeDumpFile) {
            return test::CloseHandleHook::Real(handle);
        }
        linesAtClose = log_.Lines();
        platform_.calls.emplace_back("close dump file");
        return TRUE;
    });
    EXPECT_EQ(Write(), 0U);
    EXPECT_THAT(linesAtClose, ElementsAre(L"[T][quillon] Minidump written to X:\\a.dmp"));
    EXPECT_THAT(platform_.calls, ElementsAre("create dump file", "write dump", "close dump file"));
}

class DumpWriterFlags : public DumpWriter, public ::testing::WithParamInterface<std::uint32_t> {};

TEST_P(DumpWriterFlags, ArePassedWithoutAMask) {
    SetDumpTarget(L"X:\\a.dmp", GetParam());
    EXPECT_EQ(Write(), 0U);
    EXPECT_EQ(platform_.flags, GetParam());
}

INSTANTIATE_TEST_SUITE_P(DumpType, DumpWriterFlags,
                         ::testing::Values(0U, 2U, 0x00020002U, 0x80000000U, 0xFFFFFFFFU));

class DumpWriterCreateError : public DumpWriter, public ::testing::WithParamInterface<DWORD> {};

TEST_P(DumpWriterCreateError, IsToldAndReturned_AndTheInvalidHandleIsClosed) {
    SetDumpTarget(L"X:\\missing\\a.dmp", 0);
    platform_.dumpFile = INVALID_HANDLE_VALUE;
    platform_.createError = GetParam();
    EXPECT_EQ(Write(), GetParam());
    EXPECT_THAT(log_.Lines(),
                ElementsAre(L"[E][quillon] CreateFileW for file X:\\missing\\a.dmp failed with "
                            L"error " +
                            std::to_wstring(GetParam())));
    EXPECT_THAT(platform_.calls, ElementsAre("create dump file", "close invalid"));
}

// Missing folder, no access, used by another process, disk full. A failure without an error code
// counts as success.
INSTANTIATE_TEST_SUITE_P(Codes, DumpWriterCreateError, ::testing::Values(3U, 5U, 32U, 112U, 0U));

class DumpWriterDumpError : public DumpWriter, public ::testing::WithParamInterface<DWORD> {};

TEST_P(DumpWriterDumpError, IsToldUnsignedAndReturned_AndTheFileIsClosedAndStays) {
    SetDumpTarget(L"X:\\a.dmp", 0);
    platform_.dumpResult = FALSE;
    platform_.dumpError = GetParam();
    bool deleted = false;
    const test::ScopedHook<test::DeleteFileWHook> hook([&](const wchar_t*) {
        deleted = true;
        return TRUE;
    });
    EXPECT_EQ(Write(), GetParam());
    EXPECT_THAT(log_.Lines(), ElementsAre(L"[E][quillon] MiniDumpWriteDump failed with error " +
                                          std::to_wstring(GetParam())));
    EXPECT_THAT(platform_.calls, ElementsAre("create dump file", "write dump", "close dump file"));
    EXPECT_FALSE(deleted);
}

// Disk full; the platform's error for refused flags; no error at all.
INSTANTIATE_TEST_SUITE_P(Codes, DumpWriterDumpError, ::testing::Values(112U, 0x80070057U, 0U));

TEST_F(DumpWriter, Result_OfAnEarlierFailureIsForgotten) {
    SetDumpTarget(L"X:\\a.dmp", 0);
    platform_.dumpResult = FALSE;
    platform_.dumpError = 112;
    EXPECT_EQ(Write(), 112U);
    platform_.dumpResult = TRUE;
    EXPECT_EQ(Write(), 0U);
}

TEST_F(DumpWriter, FileHandleZero_IsNotClosed) {
    SetDumpTarget(L"X:\\a.dmp", 0);
    platform_.dumpFile = nullptr;
    bool nullClosed = false;
    const test::ScopedHook<test::CloseHandleHook> hook([&](HANDLE handle) {
        nullClosed = nullClosed || handle == nullptr;
        return test::CloseHandleHook::Real(handle);
    });
    EXPECT_EQ(Write(), 0U);
    EXPECT_THAT(platform_.calls, ElementsAre("create dump file", "write dump"));
    EXPECT_FALSE(nullClosed);
}

TEST_F(DumpWriter, EmptyTarget_TakesDefaultWithSuffixAndKeepsIt) {
    SetDumpTarget(L"", 0);
    EXPECT_EQ(Write(L"X:\\first.exe"), 0U);
    EXPECT_EQ(platform_.path, L"X:\\first.exe.dmp");
    EXPECT_EQ(Write(L"X:\\second.exe"), 0U);
    EXPECT_EQ(platform_.path, L"X:\\first.exe.dmp");
}

TEST_F(DumpWriter, Target_ShorterThanTheEarlierOneLeavesNothingOfIt) {
    SetDumpTarget(L"X:\\long-name.dmp", 0);
    SetDumpTarget(L"Y:\\b.dmp", 0);
    EXPECT_EQ(Write(), 0U);
    EXPECT_EQ(platform_.path, L"Y:\\b.dmp");
}

TEST_F(DumpWriter, TargetOf404Characters_IsUsedWhole) {
    SetDumpTarget(PathOfLength(LongestPath).c_str(), 0);
    EXPECT_EQ(Write(), 0U);
    EXPECT_EQ(platform_.path, PathOfLength(LongestPath));
}

TEST_F(DumpWriter, DefaultPathOf400Characters_LeavesRoomForTheSuffix) {
    SetDumpTarget(L"", 0);
    const std::wstring defaultPath(LongestPath - 4, L'd');
    EXPECT_EQ(Write(defaultPath.c_str()), 0U);
    EXPECT_EQ(platform_.path, defaultPath + L".dmp");
}

int SetTargetOfLength(const std::vector<std::wstring>& arguments) {
    SetDumpTarget(PathOfLength(std::stoul(arguments.at(0))).c_str(), 0);
    return 0;
}
const test::ChildRoutine setTargetOfLength(L"set-target-of-length", SetTargetOfLength);

TEST(DumpTarget, Of405Characters_EndsTheProcess) {
    test::Child fits(test::SelfCommandLine(L"set-target-of-length", {L"404"}));
    test::Child exceeds(test::SelfCommandLine(L"set-target-of-length", {L"405"}));
    EXPECT_EQ(fits.Wait(), 0U);
    EXPECT_EQ(exceeds.Wait(), InvalidParameterExit);
}

int WriteToDefaultOfLength(const std::vector<std::wstring>& arguments) {
    test::CrashPathCalls platform;
    SetDumpTarget(L"", 0);
    const DWORD id = 1;
    const HANDLE process = test::FakeProcess;
    MINIDUMP_EXCEPTION_INFORMATION information = {};
    const std::wstring defaultPath(std::stoul(arguments.at(0)), L'd');
    return static_cast<int>(WriteDumpFile(&id, &process, &id, &information, defaultPath.c_str()));
}
const test::ChildRoutine writeToDefaultOfLength(L"write-to-default-of-length",
                                                WriteToDefaultOfLength);

TEST(DumpTarget, DefaultPathOf401Characters_EndsTheProcess) {
    test::Child fits(test::SelfCommandLine(L"write-to-default-of-length", {L"400"}));
    test::Child exceeds(test::SelfCommandLine(L"write-to-default-of-length", {L"401"}));
    EXPECT_EQ(fits.Wait(), 0U);
    EXPECT_EQ(exceeds.Wait(), InvalidParameterExit);
}

TEST_F(DumpWriter, RealFileInMissingFolder_IsToldWithThePlatformsError) {
    const test::ScratchFolder folder;
    // Not the suffix that the replacement expects.
    const std::wstring path = (folder.Path() / L"missing" / L"a.dump").wstring();
    SetDumpTarget(path.c_str(), 0);
    EXPECT_EQ(Write(), static_cast<std::uint32_t>(ERROR_PATH_NOT_FOUND));
    EXPECT_THAT(log_.Lines(), ElementsAre(L"[E][quillon] CreateFileW for file " + path +
                                          L" failed with error 3"));
}

TEST_F(DumpWriter, RealFileThatIsOpenElsewhere_IsASharingFailure) {
    const test::ScratchFolder folder;
    const std::filesystem::path path = folder.Path() / L"a.dump";
    const FileHandle open(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
    SetDumpTarget(path.c_str(), 0);
    EXPECT_EQ(Write(), static_cast<std::uint32_t>(ERROR_SHARING_VIOLATION));
}

TEST_F(DumpWriter, RealFileWithOldContent_IsEmptiedFirst) {
    const test::ScratchFolder folder;
    const std::filesystem::path path = folder.Path() / L"a.dump";
    test::WriteFileBytes(path, std::string(5000, 'x'));
    SetDumpTarget(path.c_str(), 0);
    platform_.dumpResult = FALSE;
    platform_.dumpError = 112;
    EXPECT_EQ(Write(), 112U);
    EXPECT_EQ(std::filesystem::file_size(path), 0U);
}

TEST_F(DumpWriter, ThisProcess_IsDumpedWithPointersOfItsOwn) {
    SetDumpTarget(L"X:\\a.dmp", 0);
    test::MadeUpException exception(1);
    const DWORD processId = 31;
    const DWORD threadId = 32;
    EXCEPTION_POINTERS* const pointers = exception.Pointers();
    EXPECT_EQ(CreateDumpInThisProcess(&processId, &threadId, &pointers, L"X:\\default"), 0U);
    EXPECT_EQ(platform_.dumpedProcess, ::GetCurrentProcess());
    EXPECT_EQ(platform_.dumpedProcessId, 31U);
    EXPECT_EQ(platform_.information.ThreadId, 32U);
    EXPECT_EQ(platform_.information.ExceptionPointers, pointers);
    EXPECT_EQ(platform_.information.ClientPointers, FALSE);
}

/// The dump of another process, with every handle replaced.
class OtherProcess : public DumpWriter {
  protected:
    OtherProcess()
        : openProcess_([this](DWORD access, BOOL inherit, DWORD id) {
              platform_.calls.emplace_back("open process");
              processArguments_ = {access, static_cast<DWORD>(inherit), id};
              ::SetLastError(processError_);
              return processError_ == 0 ? test::FakeProcess : nullptr;
          }),
          openThread_([this](DWORD access, BOOL inherit, DWORD id) {
              platform_.calls.emplace_back("open thread");
              threadArguments_ = {access, static_cast<DWORD>(inherit), id};
              ::SetLastError(threadError_);
              return threadError_ == 0 ? test::FakeThread : nullptr;
          }),
          resumeThread_([this](HANDLE thread) -> DWORD {
              platform_.calls.emplace_back(thread == test::FakeThread ? "resume" : "resume other");
              return 1;
          }),
          moduleName_([this](HMODULE module, wchar_t* buffer, DWORD size) -> DWORD {
              platform_.calls.emplace_back("module name");
              moduleNull_ = module == nullptr;
              moduleBufferSize_ = size;
              buffer[0] = L'm';
              buffer[1] = 0;
              ::SetLastError(moduleError_);
              return moduleLength_;
          }) {
        SetDumpTarget(L"X:\\a.dmp", 0);
    }

    test::ScopedHook<test::OpenProcessHook> openProcess_;
    test::ScopedHook<test::OpenThreadHook> openThread_;
    test::ScopedHook<test::ResumeThreadHook> resumeThread_;
    test::ScopedHook<test::GetModuleFileNameWHook> moduleName_;
    std::vector<DWORD> processArguments_;
    std::vector<DWORD> threadArguments_;
    DWORD processError_ = 0;
    DWORD threadError_ = 0;
    bool moduleNull_ = false;
    DWORD moduleBufferSize_ = 0;
    DWORD moduleLength_ = 1;
    DWORD moduleError_ = 0;
};

TEST_F(OtherProcess, IsOpenedDumpedResumedAndClosedInThisOrder) {
    EXPECT_EQ(CreateDumpInOtherProcess(L"123", L"456", L"00007FF6ABCDEF12"), 0U);
    EXPECT_THAT(platform_.calls, ElementsAre("open process", "open thread", "module name",
                                             "create dump file", "write dump", "close dump file",
                                             "resume", "close thread", "close process"));
    EXPECT_THAT(processArguments_, ElementsAre(0x1FFFFFU, 0U, 123U));
    EXPECT_THAT(threadArguments_, ElementsAre(0x1FFFFFU, 0U, 456U));
    EXPECT_TRUE(moduleNull_);
    EXPECT_EQ(moduleBufferSize_, 261U);
}

TEST_F(OtherProcess, Dump_HoldsPointersOfTheOtherProcess) {
    EXPECT_EQ(CreateDumpInOtherProcess(L"123", L"456", L"00007FF6ABCDEF12"), 0U);
    EXPECT_EQ(platform_.dumpedProcess, test::FakeProcess);
    EXPECT_EQ(platform_.dumpedProcessId, 123U);
    EXPECT_EQ(platform_.information.ThreadId, 456U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(platform_.information.ExceptionPointers),
              0x00007FF6ABCDEF12U);
    EXPECT_EQ(platform_.information.ClientPointers, TRUE);
}

TEST_F(OtherProcess, EmptyTarget_TakesTheDumpersOwnPath) {
    SetDumpTarget(L"", 0);
    EXPECT_EQ(CreateDumpInOtherProcess(L"1", L"2", L"3"), 0U);
    EXPECT_EQ(platform_.path, L"m.dmp");
}

struct NumberText {
    const wchar_t* text;
    DWORD value;
};

void PrintTo(const NumberText& number, std::ostream* out) {
    *out << ::testing::PrintToString(number.text);
}

class OtherProcessIds : public OtherProcess, public ::testing::WithParamInterface<NumberText> {};

TEST_P(OtherProcessIds, AreReadAsDecimal) {
    EXPECT_EQ(CreateDumpInOtherProcess(GetParam().text, GetParam().text, L"1"), 0U);
    EXPECT_EQ(processArguments_.at(2), GetParam().value);
    EXPECT_EQ(threadArguments_.at(2), GetParam().value);
    EXPECT_EQ(platform_.information.ThreadId, GetParam().value);
}

// Text that doesn't parse counts as 0 and the run continues.
INSTANTIATE_TEST_SUITE_P(Texts, OtherProcessIds,
                         ::testing::Values(NumberText{L"4294967295", 4294967295U},
                                           NumberText{L" 12", 12}, NumberText{L"12abc", 12},
                                           NumberText{L"010", 10}, NumberText{L"0x10", 0},
                                           NumberText{L"ff", 0}, NumberText{L"", 0},
                                           NumberText{L"-", 0}));

struct PointerText {
    const wchar_t* text;
    std::uintptr_t value;
};

void PrintTo(const PointerText& pointer, std::ostream* out) {
    *out << ::testing::PrintToString(pointer.text);
}

class OtherProcessPointer : public OtherProcess,
                            public ::testing::WithParamInterface<PointerText> {};

TEST_P(OtherProcessPointer, IsReadAsHexadecimal) {
    EXPECT_EQ(CreateDumpInOtherProcess(L"1", L"2", GetParam().text), 0U);
    EXPECT_EQ(platform_.Count("write dump"), 1U);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(platform_.information.ExceptionPointers),
              GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Texts, OtherProcessPointer,
                         ::testing::Values(PointerText{L"000000000061F0A0", 0x61F0A0},
                                           PointerText{L"61f0a0", 0x61F0A0},
                                           PointerText{L"10", 0x10},
                                           PointerText{L"FFFFFFFFFFFFFFFF", UINTPTR_MAX},
                                           PointerText{L"zz", 0}, PointerText{L"", 0}));

TEST_F(OtherProcess, ProcessThatCannotBeOpened_EndsItThere) {
    processError_ = ERROR_INVALID_PARAMETER;
    EXPECT_EQ(CreateDumpInOtherProcess(L"123", L"456", L"1"), 87U);
    EXPECT_THAT(platform_.calls, ElementsAre("open process"));
    EXPECT_THAT(log_.Lines(),
                ElementsAre(L"[E][quillon] OpenProcess for processId 123 failed with error 87"));
}

TEST_F(OtherProcess, ThreadThatCannotBeOpened_IsNotResumed_ProcessIsClosed) {
    threadError_ = ERROR_ACCESS_DENIED;
    EXPECT_EQ(CreateDumpInOtherProcess(L"123", L"456", L"1"), 5U);
    EXPECT_THAT(platform_.calls, ElementsAre("open process", "open thread", "close process"));
    EXPECT_THAT(log_.Lines(),
                ElementsAre(L"[E][quillon] OpenThread for threadId 456 failed with error 5"));
}

class OtherProcessModuleName : public OtherProcess, public ::testing::WithParamInterface<DWORD> {};

TEST_P(OtherProcessModuleName, UnavailableOrCut_WritesNoDumpButResumes) {
    moduleLength_ = GetParam();
    moduleError_ = ERROR_INSUFFICIENT_BUFFER;
    EXPECT_EQ(CreateDumpInOtherProcess(L"123", L"456", L"1"), 122U);
    EXPECT_THAT(platform_.calls, ElementsAre("open process", "open thread", "module name", "resume",
                                             "close thread", "close process"));
    EXPECT_THAT(log_.Lines(),
                ElementsAre(L"[E][quillon] GetModuleFileNameW failed with error 122"));
}

INSTANTIATE_TEST_SUITE_P(Lengths, OtherProcessModuleName, ::testing::Values(0U, 261U));

TEST_F(OtherProcess, ModuleNameOf260Characters_IsNoFailure) {
    moduleLength_ = 260;
    EXPECT_EQ(CreateDumpInOtherProcess(L"123", L"456", L"1"), 0U);
    EXPECT_EQ(platform_.Count("write dump"), 1U);
}

TEST_F(OtherProcess, DumpThatFails_ResumesAllTheSame) {
    platform_.dumpResult = FALSE;
    platform_.dumpError = 112;
    EXPECT_EQ(CreateDumpInOtherProcess(L"123", L"456", L"1"), 112U);
    EXPECT_EQ(platform_.calls.back(), "close process");
    EXPECT_EQ(platform_.Count("resume"), 1U);
}

TEST_F(OtherProcess, ThisProcessLater_HasPointersOfItsOwnAgain) {
    EXPECT_EQ(CreateDumpInOtherProcess(L"1", L"2", L"3"), 0U);
    const DWORD id = 5;
    EXCEPTION_POINTERS* const pointers = nullptr;
    EXPECT_EQ(CreateDumpInThisProcess(&id, &id, &pointers, L"X:\\default"), 0U);
    EXPECT_EQ(platform_.information.ClientPointers, FALSE);
}

/// Opening anything ends the process with a code that the test recognises.
int DumpWithNullText(const std::vector<std::wstring>& arguments) {
    const test::ScopedHook<test::OpenProcessHook> hook([](auto...) -> HANDLE {
        ::ExitProcess(77);
        return nullptr;
    });
    std::array<const wchar_t*, 3> texts = {L"1", L"2", L"3"};
    texts.at(std::stoul(arguments.at(0))) = nullptr;
    // Must not return.
    static_cast<void>(CreateDumpInOtherProcess(texts[0], texts[1], texts[2]));
    return 0;
}
const test::ChildRoutine dumpWithNullText(L"dump-with-null-text", DumpWithNullText);

class NullText : public ::testing::TestWithParam<int> {};

TEST_P(NullText, EndsTheProcessBeforeAnythingIsOpened) {
    test::Child child(test::SelfCommandLine(L"dump-with-null-text", {std::to_wstring(GetParam())}));
    EXPECT_EQ(child.Wait(), InvalidParameterExit);
    EXPECT_THAT(child.Output(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Places, NullText, ::testing::Values(0, 1, 2));

}  // namespace
}  // namespace framework
