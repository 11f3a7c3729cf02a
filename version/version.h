#ifndef VERSION_VERSION_H
#define VERSION_VERSION_H

#include <cstdint>

/// The version of the whole, as `project()` in the top CMakeLists.txt has it.
namespace version {

/// "1.0.0.804", say.
extern const wchar_t* const Text;

/// Its fourth field.
extern const std::uint32_t BuildNumber;

}  // namespace version

#endif  // VERSION_VERSION_H
