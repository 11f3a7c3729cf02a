#ifndef TOOLS_CONTROLLER_CHECK_LIBRARY_IMAGE_H
#define TOOLS_CONTROLLER_CHECK_LIBRARY_IMAGE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace controller_check {

/// Facts from the headers of a file, read without loading it.
struct ImageFacts {
    bool isImage = false;  ///< the other members are valid only if true
    bool isLibrary = false;
    std::uint16_t machine = 0;         ///< as the platform numbers them
    std::vector<std::string> exports;  ///< names; only of 64-bit images, like the imports
    std::vector<std::string> imports;  ///< names of libraries
};

/// Accepts any bytes; a reference outside them counts as missing.
[[nodiscard]] ImageFacts ReadImage(std::string_view bytes);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_LIBRARY_IMAGE_H
