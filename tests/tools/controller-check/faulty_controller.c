// A controller library with the fault that the environment variable CONTROLLER_FAULT names: it
// breaks one of the host's expectations, or does something unusual that the host tolerates. Without
// a fault it meets all expectations.
#define ORRIN_CTRL_EXPORTS
#include "controller-abi/orrin_ctrl_abi.h"

#include <string.h>
#include <windows.h>

#include <objbase.h>

static OrrinControllerParams* host;
static QuillonInteractionInterface* interaction;
static QuillonExceptionInterface* exceptions;
static HANDLE looked;

static int HasFault(const char* name) {
    char fault[64] = "";
    GetEnvironmentVariableA("CONTROLLER_FAULT", fault, sizeof(fault));
    return strcmp(fault, name) == 0;
}

static uint32_t RegisterInterface(OrrinInterfaceRegistrar* self, OrrinHostComponent* component,
                                  QuillonInterfaceHead* head) {
    void* whole = head;
    (void)self;
    (void)component;
    if (strcmp(head->identifier, "quillon_interaction") == 0) {
        interaction = (QuillonInteractionInterface*)whole;
    } else {
        exceptions = (QuillonExceptionInterface*)whole;
    }
    return 0;
}

static void LogWithoutEnd(void) {
    SYSTEM_INFO system;
    GetSystemInfo(&system);
    // The next page stays inaccessible.
    char* pages = VirtualAlloc(NULL, 2 * system.dwPageSize, MEM_RESERVE, PAGE_NOACCESS);
    void* page = VirtualAlloc(pages, system.dwPageSize, MEM_COMMIT, PAGE_READWRITE);
    wchar_t* text = page;
    for (size_t index = 0; index < system.dwPageSize / sizeof(wchar_t); ++index) {
        text[index] = L'x';
    }
    if (HasFault("endless-message")) {
        host->OrrinLoggingCallback(NULL, ORRIN_LOG_TRACE, L"faulty", text);
    } else {
        host->OrrinLoggingCallback(NULL, ORRIN_LOG_TRACE, text, L"the name has no end");
    }
}

static void LogFromOddAddress(void) {
    static char bytes[1 + 4 * sizeof(wchar_t)];
    void* text = bytes + 1;
    memcpy(text, L"odd", 4 * sizeof(wchar_t));
    host->OrrinLoggingCallback(NULL, ORRIN_LOG_TRACE, L"faulty", text);
}

static int32_t LoadAddons(OrrinController* self) {
    static OrrinInterfaceRegistrar registrar = {RegisterInterface};
    static OrrinInterfaceRegistrar emptyRegistrar;
    (void)self;
    host->OrrinLoggingCallback(NULL, ORRIN_LOG_TRACE, L"faulty", L"loading");
    if (HasFault("endless-message") || HasFault("endless-component")) {
        LogWithoutEnd();
    }
    if (HasFault("odd-message")) {
        LogFromOddAddress();
    }
    if (HasFault("empty-registrar")) {
        host->RegisterHostComponentEntry(&emptyRegistrar, NULL, NULL, host->context);
    }
    void* context = HasFault("wrong-context") ? host : host->context;
    return (int32_t)host->RegisterHostComponentEntry(&registrar, NULL, NULL, context);
}

static void DisturbHost(void) {
    static int noFunction;
    if (HasFault("changed-parameters")) {
        host->zero24 = 1;
    }
    if (HasFault("changed-interface")) {
        interaction->head.version = 2;
    }
    if (HasFault("written-past-end")) {
        memset(exceptions + 1, 0, 1);
    }
    if (HasFault("own-crash-filter")) {
        SetUnhandledExceptionFilter(NULL);
    }
    if (HasFault("callback-without-code")) {
        const uintptr_t notCode = (uintptr_t)&noFunction;
        exceptions->OrrinSetPreExceptionCallback(NULL, (OrrinPreExceptionCallback)notCode, NULL);
        exceptions->OrrinRemovePreExceptionCallback();
    }
}

static int32_t Activate(OrrinController* self) {
    if (HasFault("exit-thread")) {
        ExitThread(0);
    }
    DisturbHost();
    interaction->OrrinEnableServiceStop();
    if (HasFault("cleared-row")) {
        self->NotifyOnStop = NULL;
    }
    return 0;
}

static int32_t NotifyOnStop(OrrinController* self) {
    (void)self;
    return 0;
}

static int32_t Deactivate(OrrinController* self) {
    (void)self;
    return 0;
}

static DWORD WINAPI CallLate(void* parameter) {
    OrrinLoggingCallbackFunction log = host->OrrinLoggingCallback;
    (void)parameter;
    SetEvent(looked);
    Sleep(50);
    if (HasFault("late-read") || HasFault("unpack-late-read")) {
        log = host->OrrinLoggingCallback;
    }
    log(NULL, ORRIN_LOG_TRACE, L"faulty", L"still here");
    return 0;
}

int32_t OrrinCreateComponentModelController(OrrinControllerParams* params,
                                            OrrinController** controllerOut) {
    static OrrinController controller = {LoadAddons, Activate, NotifyOnStop, Deactivate};
    // The layout of an object with a table pointer.
    static OrrinController* object = &controller;
    host = params;
    *controllerOut = &controller;
    if (HasFault("object")) {
        void* whole = &object;
        *controllerOut = whole;
    }
    if (HasFault("missing-function")) {
        controller.Deactivate = NULL;
    }
    if (HasFault("changed-in-create")) {
        params->version = 1;
    }
    if (HasFault("com-let-go")) {
        CoUninitialize();
    }
    return 0;
}

static void LeaveThreadBehind(void) {
    looked = CreateEventW(NULL, TRUE, FALSE, NULL);
    CloseHandle(CreateThread(NULL, 0, CallLate, NULL, 0, NULL));
    WaitForSingleObject(looked, INFINITE);
}

int32_t OrrinFreeComponentModelController(OrrinController* self) {
    (void)self;
    if (HasFault("late-call") || HasFault("late-read")) {
        LeaveThreadBehind();
    }
    return 0;
}

int32_t OrrinBootstrap(OrrinControllerParams* params) {
    if (HasFault("unpack-flush")) {
        params->LogFlush();
    }
    params->OrrinLoggingCallback(NULL, ORRIN_LOG_TRACE, L"faulty", L"unpacking");
    if (HasFault("unpack-late-call") || HasFault("unpack-late-read")) {
        host = params;
        LeaveThreadBehind();
    }
    return 7;
}

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
    (void)module;
    (void)reserved;
    if (reason == DLL_PROCESS_DETACH && HasFault("endless-end")) {
        Sleep(INFINITE);
    }
    return TRUE;
}
