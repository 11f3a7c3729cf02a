// The smallest library that the host can live with: it registers the host's interfaces, runs one
// thread and allows the service to be stopped.
#define ORRIN_CTRL_EXPORTS
#include "controller-abi/orrin_ctrl_abi.h"

#include <string.h>
#include <windows.h>

static const OrrinControllerParams* host;
static const QuillonInteractionInterface* interaction;
static HANDLE stopEvent;
static HANDLE thread;

static void Log(uint32_t level, const wchar_t* text) {
    host->OrrinLoggingCallback(NULL, level, L"minimal", text);
}

static DWORD WINAPI Work(void* parameter) {
    (void)parameter;
    while (WaitForSingleObject(stopEvent, 1000) == WAIT_TIMEOUT) {
        Log(ORRIN_LOG_TRACE, L"still here");
    }
    return 0;
}

/// The host calls this once for each interface while RegisterHostComponentEntry runs.
static uint32_t RegisterInterface(OrrinInterfaceRegistrar* self, OrrinHostComponent* component,
                                  QuillonInterfaceHead* head) {
    (void)self;
    (void)component;
    if (strcmp(head->identifier, "quillon_interaction") == 0) {
        const void* whole = head;
        interaction = (const QuillonInteractionInterface*)whole;
    }
    return 0;
}

static OrrinInterfaceRegistrar registrar = {RegisterInterface};

static int32_t LoadAddons(OrrinController* self) {
    (void)self;
    const uint32_t code = host->RegisterHostComponentEntry(&registrar, NULL, NULL, host->context);
    // The code is that of the second interface alone, so look for the one that is needed.
    return interaction == NULL ? 1 : (int32_t)code;
}

static int32_t Activate(OrrinController* self) {
    (void)self;
    stopEvent = CreateEventW(NULL, TRUE, FALSE, NULL);
    thread = stopEvent == NULL ? NULL : CreateThread(NULL, 0, Work, NULL, 0, NULL);
    if (thread == NULL) {
        return (int32_t)GetLastError();
    }
    // Fails with error 6 in a console run, which has no service manager to tell.
    if (interaction->OrrinEnableServiceStop() != 0) {
        Log(ORRIN_LOG_WARNING, L"the service manager was not told");
    }
    return 0;
}

static int32_t NotifyOnStop(OrrinController* self) {
    (void)self;
    if (stopEvent != NULL) {
        SetEvent(stopEvent);
    }
    return 0;
}

/// Also called when Activate failed, and a second time when such a service stops.
static int32_t Deactivate(OrrinController* self) {
    (void)self;
    if (thread != NULL) {
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
        thread = NULL;
    }
    if (stopEvent != NULL) {
        CloseHandle(stopEvent);
        stopEvent = NULL;
    }
    return 0;
}

static OrrinController controller = {LoadAddons, Activate, NotifyOnStop, Deactivate};

int32_t OrrinCreateComponentModelController(OrrinControllerParams* params,
                                            OrrinController** controllerOut) {
    if (params->version != ORRIN_PARAMS_VERSION_CONTROLLER) {
        return 1;
    }
    host = params;
    *controllerOut = &controller;
    return 0;
}

/// May come without NotifyOnStop and Deactivate: a service can end while the controller is active.
int32_t OrrinFreeComponentModelController(OrrinController* self) {
    NotifyOnStop(self);
    Deactivate(self);
    host = NULL;
    return 0;
}

int32_t OrrinBootstrap(OrrinControllerParams* params) {
    params->OrrinLoggingCallback(NULL, ORRIN_LOG_TRACE, L"minimal", L"nothing to unpack");
    return 0;
}
