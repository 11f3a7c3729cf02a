// The only place of this library that includes <windows.h>. The library stands for one that is
// built elsewhere, so it shares nothing with the host but the boundary header.
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
