#include "bench/process/same_imports.h"

#include "controller-abi/orrin_ctrl_abi.h"
#include "framework/system/platform.h"

// Need windows.h before them.
#include <dbghelp.h>
#include <objbase.h>
#include <shlwapi.h>

namespace bench {

bool UseSameImports() {
    void* const volatile imports[] = {
        reinterpret_cast<void*>(&::CoInitializeEx), reinterpret_cast<void*>(&::PathAppendW),
        reinterpret_cast<void*>(&::MiniDumpWriteDump), reinterpret_cast<void*>(&::RegOpenKeyW),
        reinterpret_cast<void*>(&::OrrinBootstrap)};
    return imports[0] == nullptr;
}

}  // namespace bench
