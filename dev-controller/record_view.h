#ifndef DEV_CONTROLLER_RECORD_VIEW_H
#define DEV_CONTROLLER_RECORD_VIEW_H

#include "controller-abi/orrin_ctrl_abi.h"
#include "dev-controller/transcript.h"

namespace dev_controller {

/// Write the host's records to the transcript: the address, the distance from the host's context
/// (omitted if null), the raw bytes, and each field by name.
void WriteParams(Transcript& transcript, const OrrinControllerParams& params);
void WriteComponent(Transcript& transcript, const OrrinHostComponent& component,
                    const void* context);
/// The identifier decides the length; for an unknown one only the head is written.
void WriteInterface(Transcript& transcript, const QuillonInterfaceHead& head, const void* context);

/// `sta`, `main-sta`, `mta`, `implicit-mta`, `na`, `none`, or `unloaded` if the process has no COM.
[[nodiscard]] const char* ComStateOfThread();

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_RECORD_VIEW_H
