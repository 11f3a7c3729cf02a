// The only file of this library that includes <windows.h>. The library shares only the boundary
// header with the host, like a library built elsewhere.
#ifndef DEV_CONTROLLER_PLATFORM_H
#define DEV_CONTROLLER_PLATFORM_H

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef _WIN32_WINNT
#define _WIN32_WINNT 0x0A00
#endif
#include <windows.h>

#endif  // DEV_CONTROLLER_PLATFORM_H
