// The entry point of every test program.

#include <gmock/gmock.h>

#include "framework/system/platform.h"
#include "tests/support/child_process.h"

// Needs windows.h before it.
#include <shellapi.h>

int main(int argc, char** argv) {
    int wideCount = 0;
    wchar_t** const wideArguments = ::CommandLineToArgvW(::GetCommandLineW(), &wideCount);
    int exitCode = 0;
    if (test::RunChildRoutine(wideCount, wideArguments, exitCode)) {
        return exitCode;
    }
    ::testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
