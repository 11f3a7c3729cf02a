#ifndef TOOLS_CONTROLLER_CHECK_LIBRARY_IMAGE_H
#define TOOLS_CONTROLLER_CHECK_LIBRARY_IMAGE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace controller_check {

/// What the headers of a file say about it, without loading it.
struct ImageFacts {
    bool isImage = false;  ///< what follows means something only if it is
    bool isLibrary = false;
    std::uint16_t machine = 0;         ///< as the platform numbers them
    std::vector<std::string> exports;  ///< names; of 64-bit images alone, as are the imports
    std::vector<std::string> imports;  ///< libraries that it is bound to
};

/// Bytes of any kind are taken; what lies outside of them counts as absent.
[[nodiscard]] ImageFacts ReadImage(std::string_view bytes);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_LIBRARY_IMAGE_H
