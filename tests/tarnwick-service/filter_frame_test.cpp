// Unhandled exceptions on the main thread, and below a destructor: each reaches the unhandled
// exception filter once and ends the process with its own code.

#include "tarnwick-service/filter_frame.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>

#include "framework/exception/exception_filter.h"
#include "tests/support/child_process.h"
#include "tests/support/platform_hooks.h"
#include "tests/support/scratch_folder.h"

namespace tarnwick {
namespace {

#ifdef _MSC_VER
constexpr std::uint32_t CppException = 0xE06D7363;
#else
constexpr std::uint32_t CppException = 0x20474343;
#endif

#if defined(__GNUC__) && !defined(__clang__)
#define SKIP_WITHOUT_FRAME() GTEST_SKIP() << "GCC has no such frames for this target"
#else
#define SKIP_WITHOUT_FRAME() static_cast<void>(0)
#endif

/// One letter per event, in order: d the filter writes a dump, t the host ends the process, c the
/// exception returned to the caller.
class Trail {
  public:
    explicit Trail(std::wstring path) : path_(std::move(path)) {}
    void Add(char letter) const {
        const framework::FileHandle file(::CreateFileW(path_.c_str(), FILE_APPEND_DATA,
                                                       FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                                       FILE_ATTRIBUTE_NORMAL, nullptr));
        DWORD written = 0;
        ::WriteFile(file.Get(), &letter, 1, &written, nullptr);
    }

  private:
    std::wstring path_;
};

/// What a child does, and whether the dump succeeds.
struct Order {
    explicit Order(const std::vector<std::wstring>& arguments)
        : folder(arguments.at(0)),
          written(arguments.at(1) == L"written"),
          code(static_cast<DWORD>(std::stoull(arguments.at(2), nullptr, 16))),
          flags(arguments.at(3) == L"continuable" ? 0 : EXCEPTION_NONCONTINUABLE) {}

    void Raise() const {
        if (code == CppException) {
            throw std::runtime_error("nobody catches this");
        }
        ::RaiseException(code, flags, 0, nullptr);
    }

    std::wstring folder;
    bool written;
    DWORD code;
    DWORD flags;
};

/// Runs `call` with a filter in place, on the main thread of this process.
template <class Call>
int RunWithFilter(const Order& order, const Call& call) {
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    const Trail trail(order.folder + L"\\trail");
    const test::ScopedHook<test::MiniDumpWriteDumpHook> dump([&](auto...) {
        trail.Add('d');
        ::SetLastError(ERROR_DISK_FULL);
        return order.written ? TRUE : FALSE;
    });
    const test::ScopedHook<test::TerminateProcessHook> end([&](HANDLE process, UINT exitCode) {
        trail.Add('t');
        return test::TerminateProcessHook::Real(process, exitCode);
    });
    const std::wstring path = order.folder + L"\\a.dmp";
    const framework::ExceptionFilter filter({nullptr, nullptr, 0, path.c_str(), 0});
    call();
    trail.Add('c');
    return 0;
}

const test::ChildRoutine onTheMainThread(L"on-the-main-thread",
                                         [](const std::vector<std::wstring>& arguments) {
                                             const Order order(arguments);
                                             return RunWithFilter(order, [&] { order.Raise(); });
                                         });

struct Destroyed {
    const Order& order;
    ~Destroyed() {
        CallOnFilterFrame([this] { order.Raise(); });
    }
};

const test::ChildRoutine belowADestructor(L"below-a-destructor",
                                          [](const std::vector<std::wstring>& arguments) {
                                              const Order order(arguments);
                                              return RunWithFilter(
                                                  order, [&] { const Destroyed destroyed{order}; });
                                          });

/// For each code, continuable or not: the filter runs once, the code is the exit code, and the host
/// ends the process itself only if the dump was written.
void ExpectEachCodeEndsTheProcess(const wchar_t* routine, const wchar_t* luck) {
    const bool isFrame = std::wstring(routine) == L"below-a-destructor";
    const bool isWritten = std::wstring(luck) == L"written";
    const std::string trail = isWritten ? "dt" : "d";
    // Codes that MinGW's start-up code would handle, similar ones, and some that it wouldn't.
    for (const std::uint32_t code :
         {0xC0000008U, 0xC000008CU, 0xC0000092U, 0xC0000095U, 0x80000002U, 0x30474343U, 0xA1474343U,
          CppException, 0xC0000005U, 0xC0000094U, 0xC000001DU, 0xC0000096U, 0x80000003U,
          0xE06D7363U, 0xE0001234U}) {
        if (code == CppException && !isFrame && !isWritten) {
            // The platform would unwind the stack, which not every run-time library survives.
            continue;
        }
        for (const wchar_t* kind : {L"continuable", L"noncontinuable"}) {
            std::ostringstream row;
            row << std::hex << code << (kind[0] == L'c' ? " continuable" : " not continuable");
            SCOPED_TRACE(row.str());
            const test::ScratchFolder folder;
            std::wostringstream hexadecimal;
            hexadecimal << std::hex << code;
            test::Child child(test::SelfCommandLine(
                routine, {folder.Path().wstring(), luck, hexadecimal.str(), kind}));
            EXPECT_EQ(child.Wait(), code);
            EXPECT_EQ(test::ReadBytes(folder.Path() / L"trail"), trail);
        }
    }
}

TEST(UnhandledOnTheMainThread, EachCode_ReachesTheFilterOnceAndEndsTheProcess) {
    ExpectEachCodeEndsTheProcess(L"on-the-main-thread", L"written");
}

TEST(UnhandledOnTheMainThread, EachCodeWithoutADump_IsLeftToThePlatform) {
    ExpectEachCodeEndsTheProcess(L"on-the-main-thread", L"failed");
}

TEST(CallOnFilterFrame, EachCodeBelowADestructor_ReachesTheFilterOnceAndEndsTheProcess) {
    SKIP_WITHOUT_FRAME();
    ExpectEachCodeEndsTheProcess(L"below-a-destructor", L"written");
}

TEST(CallOnFilterFrame, EachCodeBelowADestructorWithoutADump_IsLeftToThePlatform) {
    SKIP_WITHOUT_FRAME();
    ExpectEachCodeEndsTheProcess(L"below-a-destructor", L"failed");
}

/// Throws and catches above the frame, then returns the argument as the exit code.
int CatchAboveTheFrame(const std::vector<std::wstring>&) {
    static int seen = 0;
    constexpr int Given = 77;
    CallOnFilterFrame(
        [](const void* argument) {
            try {
                throw std::runtime_error("caught at once");
            } catch (const std::exception&) {
                seen = *static_cast<const int*>(argument);
            }
        },
        &Given);
    return seen;
}
const test::ChildRoutine catchAboveTheFrame(L"catch-above-the-frame", CatchAboveTheFrame);

TEST(CallOnFilterFrame, CaughtException_StaysWithItsCatcherAndTheCallComesBack) {
    test::Child child(test::SelfCommandLine(L"catch-above-the-frame"));
    EXPECT_EQ(child.Wait(), 77U);
}

}  // namespace
}  // namespace tarnwick
