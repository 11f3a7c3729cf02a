#ifndef DEV_CONTROLLER_RECORD_VIEW_H
#define DEV_CONTROLLER_RECORD_VIEW_H

#include "controller-abi/orrin_ctrl_abi.h"
#include "dev-controller/transcript.h"

namespace dev_controller {

/// Write the host's records into the transcript: address, distance from the host's context (null:
/// left out), the bytes as they lie there, and each field by its name.
void WriteParams(Transcript& transcript, const OrrinControllerParams& params);
void WriteComponent(Transcript& transcript, const OrrinHostComponent& component,
                    const void* context);
/// As long as its identifier says; an unknown one is written as far as the head.
void WriteInterface(Transcript& transcript, const QuillonInterfaceHead& head, const void* context);

/// `sta`, `main-sta`, `mta`, `implicit-mta`, `na`, `none`, or `unloaded` if the process has no COM.
[[nodiscard]] const char* ComStateOfThread();

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_RECORD_VIEW_H
