/// Who may use the data folder. Anybody may make a folder in the machine-wide data folder, so it
/// can be somebody else's. Errors are Win32 codes, 0 for success.
#ifndef TOOLS_SERVICE_TOOL_ACCESS_RIGHTS_H
#define TOOLS_SERVICE_TOOL_ACCESS_RIGHTS_H

#include <string>
#include <string_view>

#include "framework/system/platform.h"

namespace service_tool {

/// Owner and access list as the system's text form: "O:BAD:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)".
[[nodiscard]] DWORD ReadRights(const std::wstring& folder, std::wstring& rights);

/// Whether this text form means: owned by the administrators; full rights for SYSTEM and the
/// administrators, inherited by everything in the folder; no rights for anybody else; nothing
/// inherited from above.
[[nodiscard]] bool IsRestricted(std::wstring_view rights);

/// Gives the folder those rights, whoever owns it: the owner is changed by privilege, first, as an
/// owner may change the rights at any time. What is in the folder gets the same owner and inherits
/// the rights. A link is changed itself, never its target; ERROR_CANT_ACCESS_FILE if `folder` is
/// one.
[[nodiscard]] DWORD RestrictFolder(const std::wstring& folder);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_ACCESS_RIGHTS_H
