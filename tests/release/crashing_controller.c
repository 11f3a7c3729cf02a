// A controller library that crashes during its activation, at the place named by the variable
// CRASH_PLACE: host, component, thread, or system.
#define ORRIN_CTRL_EXPORTS
#include "controller-abi/orrin_ctrl_abi.h"

#include <wchar.h>
#include <windows.h>

// No process has a page there.
static void* const nowhere = (void*)16;

static const OrrinControllerParams* host;

static int32_t Succeed(OrrinController* self) {
    (void)self;
    return 0;
}

static __attribute__((noinline)) void CrashInComponent(void) {
    *(volatile int*)nowhere = 1;
}

static DWORD WINAPI CrashInThread(void* parameter) {
    *(volatile int*)parameter = 1;
    return 0;
}

static __attribute__((noinline)) void CrashInSystem(void) {
    GetSystemTime(nowhere);
}

/// The host reads its text argument.
static __attribute__((noinline)) void CrashInHost(void) {
    host->OrrinLoggingCallback(NULL, ORRIN_LOG_TRACE, L"crashing", nowhere);
}

static int32_t Activate(OrrinController* self) {
    (void)self;
    wchar_t place[16] = L"";
    GetEnvironmentVariableW(L"CRASH_PLACE", place, 16);
    if (wcscmp(place, L"host") == 0) {
        CrashInHost();
    } else if (wcscmp(place, L"component") == 0) {
        CrashInComponent();
    } else if (wcscmp(place, L"thread") == 0) {
        WaitForSingleObject(CreateThread(NULL, 0, CrashInThread, nowhere, 0, NULL), INFINITE);
    } else if (wcscmp(place, L"system") == 0) {
        CrashInSystem();
    }
    return 1;
}

static OrrinController controller = {Succeed, Activate, Succeed, Succeed};

int32_t OrrinCreateComponentModelController(OrrinControllerParams* params,
                                            OrrinController** controllerOut) {
    host = params;
    *controllerOut = &controller;
    return 0;
}

int32_t OrrinFreeComponentModelController(OrrinController* self) {
    (void)self;
    return 0;
}

int32_t OrrinBootstrap(OrrinControllerParams* params) {
    (void)params;
    return 0;
}
