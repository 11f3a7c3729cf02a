#include "tarnwick-service/archive_unpack.h"

#include "controller-abi/orrin_ctrl_abi.h"
#include "tarnwick-service/orrin_ctrl_loader.h"

namespace tarnwick {

void UnpackArchive() {
    OrrinControllerParams params = {};
    params.version = ORRIN_PARAMS_VERSION_BOOTSTRAP;
    params.OrrinLoggingCallback = OrrinLoader::OrrinLoggingCallback;
    ::OrrinBootstrap(&params);
}

}  // namespace tarnwick
