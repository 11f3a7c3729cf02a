#ifndef TOOLS_CONTROLLER_CHECK_LIBRARY_FILE_H
#define TOOLS_CONTROLLER_CHECK_LIBRARY_FILE_H

#include <optional>
#include <string>

#include "controller-abi/orrin_ctrl_abi.h"
#include "framework/system/platform.h"

namespace controller_check {

/// All bytes of the file. Null with the thread's last error if it can't be read.
[[nodiscard]] std::optional<std::string> ReadFileBytes(const std::wstring& path);

/// Each is null if the library has no export of that name.
struct LibraryExports {
    decltype(&OrrinCreateComponentModelController) create;
    decltype(&OrrinFreeComponentModelController) free;
    decltype(&OrrinBootstrap) bootstrap;
};

struct LoadedLibrary {
    HMODULE module = nullptr;
    DWORD error = ERROR_SUCCESS;
    std::wstring missing;  ///< a library that it is bound to and that isn't found, if it is known
    LibraryExports exports = {};
};

/// Loads the library with its own folder searched first, as it is when the library lies beside the
/// host. It is never unloaded: the host doesn't either.
[[nodiscard]] LoadedLibrary LoadLibraryFile(const std::wstring& fullPath);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_LIBRARY_FILE_H
