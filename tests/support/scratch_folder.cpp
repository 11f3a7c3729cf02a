#include "tests/support/scratch_folder.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

#include "tests/support/unique_name.h"

namespace test {

ScratchFolder::ScratchFolder() {
    path_ = std::filesystem::temp_directory_path() / UniqueName(L"tarnwick-test");
    std::filesystem::create_directories(path_);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::vector<std::wstring> ScratchFolder::Names(const std::wstring& suffix) const {
    std::vector<std::wstring> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
        const std::wstring name = entry.path().filename().wstring();
        if (name.size() >= suffix.size() &&
            name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0) {
            names.push_back(name);
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string ReadBytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("can't open " + path.string());
    }
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteFileBytes(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    if (!file.flush()) {
        throw std::runtime_error("can't write " + path.string());
    }
}

std::wstring ReadLogText(const std::filesystem::path& path) {
    const std::string bytes = ReadBytes(path);
    if (bytes.size() < 2 || bytes.compare(0, 2, "\xFF\xFE") != 0) {
        throw std::runtime_error("no byte order mark in " + path.string());
    }
    std::wstring text((bytes.size() - 2) / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data() + 2, text.size() * sizeof(wchar_t));
    return text;
}

}  // namespace test
