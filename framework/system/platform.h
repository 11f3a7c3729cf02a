/// The one place that includes the platform's header, with the same options everywhere.
#ifndef FRAMEWORK_SYSTEM_PLATFORM_H
#define FRAMEWORK_SYSTEM_PLATFORM_H

#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#ifndef WINVER
#define WINVER 0x0A00
#endif
#ifndef _WIN32_WINNT
#define _WIN32_WINNT 0x0A00
#endif

#include <windows.h>

#endif  // FRAMEWORK_SYSTEM_PLATFORM_H
