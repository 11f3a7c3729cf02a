#ifndef DEV_CONTROLLER_IMPORT_PATCH_H
#define DEV_CONTROLLER_IMPORT_PATCH_H

namespace dev_controller {

/// The entry of the executable's import table for `function`, from any library. Null if the
/// executable doesn't import it by name.
[[nodiscard]] void** FindExecutableImport(const char* function);

/// Writes `replacement` to an import table entry. Returns the previous address; null, with nothing
/// changed, if the page can't be made writable. Only later calls use the replacement. Other modules
/// have their own tables.
[[nodiscard]] void* ReplaceImport(void** word, void* replacement);

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_IMPORT_PATCH_H
