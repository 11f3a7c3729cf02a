// The module's entry point and the three exports, which only forward to `Library`.
#define ORRIN_CTRL_EXPORTS
#include "controller-abi/orrin_ctrl_abi.h"
#include "dev-controller/library.h"
#include "dev-controller/platform.h"

using dev_controller::Library;

extern "C" BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID reserved) {
    switch (reason) {
        case DLL_PROCESS_ATTACH:
            return Library::Instance().Attach(module) ? TRUE : FALSE;
        case DLL_PROCESS_DETACH:
            Library::Instance().Detach(reserved != nullptr);
            return TRUE;
        default:
            return TRUE;
    }
}

std::int32_t OrrinCreateComponentModelController(OrrinControllerParams* params,
                                                 OrrinController** controllerOut) {
    return Library::Instance().Create(params, controllerOut);
}

std::int32_t OrrinFreeComponentModelController(OrrinController* controller) {
    return Library::Instance().Free(controller);
}

std::int32_t OrrinBootstrap(OrrinControllerParams* params) {
    return Library::Instance().Bootstrap(params);
}
