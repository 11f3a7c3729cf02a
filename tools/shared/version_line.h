#ifndef TOOLS_SHARED_VERSION_LINE_H
#define TOOLS_SHARED_VERSION_LINE_H

#include <string>

#include "version/version.h"

namespace tools {

/// The output of `--version`, for example "quillon-log 1.0.0.804\n".
[[nodiscard]] inline std::wstring VersionLine(const std::wstring& program) {
    return program + L" " + version::Text + L"\n";
}

}  // namespace tools

#endif  // TOOLS_SHARED_VERSION_LINE_H
