#ifndef TOOLS_CONTROLLER_CHECK_LIBRARY_FILE_H
#define TOOLS_CONTROLLER_CHECK_LIBRARY_FILE_H

#include <optional>
#include <string>

#include "controller-abi/orrin_ctrl_abi.h"
#include "framework/system/platform.h"

namespace controller_check {

/// Reads the whole file. On failure returns nothing and sets the last error.
[[nodiscard]] std::optional<std::string> ReadFileBytes(const std::wstring& path);

/// Each is null if the library has no such export.
struct LibraryExports {
    decltype(&OrrinCreateComponentModelController) create;
    decltype(&OrrinFreeComponentModelController) free;
    decltype(&OrrinBootstrap) bootstrap;
};

struct LoadedLibrary {
    HMODULE module = nullptr;
    DWORD error = ERROR_SUCCESS;
    std::wstring missing;  ///< the missing dependency, if known
    LibraryExports exports = {};
};

/// Loads the library; searches its own folder first, as for a library in the host's folder. Never
/// unloads it, like the host.
[[nodiscard]] LoadedLibrary LoadLibraryFile(const std::wstring& fullPath);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_LIBRARY_FILE_H
