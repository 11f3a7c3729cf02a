/// The installation as a list of parts, used by both commands: `install` makes the missing parts,
/// `check` reports on all of them.
#ifndef TOOLS_SERVICE_TOOL_PARTS_H
#define TOOLS_SERVICE_TOOL_PARTS_H

#include <functional>
#include <string>
#include <vector>

#include "framework/system/platform.h"
#include "tools/service-tool/place.h"

namespace service_tool {

enum class Condition {
    Right,         ///< as installed, or an allowed difference
    Missing,       ///< install makes it
    Different,     ///< install corrects it
    Changed,       ///< changed by an administrator; install keeps it
    Blocked,       ///< install can't make it; `detail` is the reason
    NotSupported,  ///< this system doesn't have it; `detail` is the reason
};

struct Finding {
    Condition condition;
    std::wstring detail = {};  ///< printed after the name of the part
    std::wstring remedy = {};  ///< replaces the remedy of the part
};

struct Part {
    std::wstring name;
    std::function<Finding()> inspect;
    /// What to do if the part is wrong.
    std::wstring remedy;
    /// What `make` changes, for --dry-run. Empty if install never makes the part.
    std::wstring change = {};
    /// Returns 0 or a Win32 error.
    std::function<DWORD()> make = {};
};

/// The registration of the service. Everything in `PartsOfService` depends on it.
[[nodiscard]] Part ServicePart(const Place& place);
[[nodiscard]] std::vector<Part> PartsOfService();
/// Data folder and event source.
[[nodiscard]] std::vector<Part> PartsOfSystem(const Place& place);
/// The files that the package and the components put next to this program.
[[nodiscard]] std::vector<Part> PartsOfFolder(const Place& place);

/// The data folder or its parent, whichever is a link; else empty.
[[nodiscard]] std::wstring LinkOf(const Place& place);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_PARTS_H
