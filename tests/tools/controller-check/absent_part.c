// A controller library that imports from a missing library.
#define ORRIN_CTRL_EXPORTS
#include "controller-abi/orrin_ctrl_abi.h"

__declspec(dllimport) int32_t AbsentPart(void);

int32_t OrrinCreateComponentModelController(OrrinControllerParams* params,
                                            OrrinController** controllerOut) {
    (void)params;
    (void)controllerOut;
    return AbsentPart();
}

int32_t OrrinFreeComponentModelController(OrrinController* controller) {
    (void)controller;
    return 0;
}

int32_t OrrinBootstrap(OrrinControllerParams* params) {
    (void)params;
    return 0;
}
