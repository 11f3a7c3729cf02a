#ifndef TARNWICK_SERVICE_SERVICE_DESCRIPTOR_H
#define TARNWICK_SERVICE_SERVICE_DESCRIPTOR_H

#include "framework/system/platform.h"

namespace tarnwick {

/// Describes the service. The texts live as long as the process.
struct ServiceDescriptor {
    const wchar_t* serviceName;
    BYTE canStop;  ///< 0 or 1, which is SERVICE_ACCEPT_STOP
    BYTE canShutdown;
    BYTE canPause;
    const wchar_t* serviceKeyPath;  ///< below `HKEY_LOCAL_MACHINE`
};

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_SERVICE_DESCRIPTOR_H
