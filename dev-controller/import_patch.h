#ifndef DEV_CONTROLLER_IMPORT_PATCH_H
#define DEV_CONTROLLER_IMPORT_PATCH_H

namespace dev_controller {

/// The word of the executable's import table that holds the address of `function`, whichever
/// library the executable imports it from. Null if the executable does not import it by name.
[[nodiscard]] void** FindExecutableImport(const char* function);

/// Puts `replacement` into an import table word. Returns the address that stood there, or null if
/// the page could not be made writable, with nothing changed. Only calls that are made from then on
/// see the replacement; a module other than the executable has a table of its own.
[[nodiscard]] void* ReplaceImport(void** word, void* replacement);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_IMPORT_PATCH_H
