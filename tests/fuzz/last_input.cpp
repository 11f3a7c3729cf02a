#include "tests/fuzz/last_input.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace fuzz {

LastInput::LastInput(const std::string& name)
    : name_(name),
      file_(::CreateFileA(name.c_str(), GENERIC_READ | GENERIC_WRITE,
                          FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr, CREATE_ALWAYS,
                          FILE_ATTRIBUTE_NORMAL, nullptr)),
      mapping_(::CreateFileMappingA(file_.Get(), nullptr, PAGE_READWRITE, 0, Size, nullptr)) {
    if (mapping_) {
        view_ = static_cast<char*>(::MapViewOfFile(mapping_.Get(), FILE_MAP_WRITE, 0, 0, Size));
    }
    if (view_ == nullptr) {
        throw std::runtime_error("can't make the file " + name);
    }
}

LastInput::~LastInput() {
    ::UnmapViewOfFile(view_);
    mapping_.Reset();
    file_.Reset();
    ::DeleteFileA(name_.c_str());
}

void LastInput::Store(const std::string& line) {
    const std::size_t length = std::min(line.size(), Size - 1);
    std::memcpy(view_, line.data(), length);
    // Overwrites the rest of the previous input with blanks.
    if (used_ > length) {
        std::memset(view_ + length, ' ', used_ - length);
    }
    used_ = length;
}

}  // namespace fuzz
