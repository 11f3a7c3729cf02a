/// Access rights of the data folder. Any user may create a folder in the machine-wide data folder,
/// so its owner may be another user. Errors are Win32 codes, 0 for success.
#ifndef TOOLS_SERVICE_TOOL_ACCESS_RIGHTS_H
#define TOOLS_SERVICE_TOOL_ACCESS_RIGHTS_H

#include <string>
#include <string_view>

#include "framework/system/platform.h"

namespace service_tool {

/// Owner and access list in the system's string format:
/// "O:BAD:PAI(A;OICI;FA;;;SY)(A;OICI;FA;;;BA)".
[[nodiscard]] DWORD ReadRights(const std::wstring& folder, std::wstring& rights);

/// Whether the string means: owned by the administrators; full rights for SYSTEM and the
/// administrators, inherited by all contents; no rights for others; nothing inherited from the
/// parent.
[[nodiscard]] bool IsRestricted(std::wstring_view rights);

/// Sets these rights, whoever owns the folder. Changes the owner first, by privilege, because an
/// owner may change the rights at any time. The contents get the same owner and inherit the rights.
/// Links are changed themselves, never their targets. Returns ERROR_CANT_ACCESS_FILE if `folder` is
/// a link.
[[nodiscard]] DWORD RestrictFolder(const std::wstring& folder);

}  // namespace service_tool

#endif  // TOOLS_SERVICE_TOOL_ACCESS_RIGHTS_H
