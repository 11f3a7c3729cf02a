// The least that showing compressed logs takes: zlib unpacks each file, the platform converts it to
// UTF-8, and the bytes are written. Without an argument: an empty program.
//
//     bare-inflate FOLDER

#include <zlib.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "framework/system/platform.h"

namespace {

bool Show(const std::filesystem::path& file) {
    constexpr int BufferSize = 128 * 1024;
    static std::vector<wchar_t> text(BufferSize / sizeof(wchar_t));
    static std::vector<char> bytes(text.size() * 3);
    const gzFile stream = ::gzopen(file.string().c_str(), "rb");
    if (stream == nullptr) {
        return false;
    }
    ::gzbuffer(stream, BufferSize);
    int read = 0;
    do {
        read = ::gzread(stream, text.data(), BufferSize);
        const int size =
            ::WideCharToMultiByte(CP_UTF8, 0, text.data(), std::max(read, 0) / 2, bytes.data(),
                                  static_cast<int>(bytes.size()), nullptr, nullptr);
        DWORD written = 0;
        ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), static_cast<DWORD>(size),
                    &written, nullptr);
    } while (read > 0);
    return ::gzclose(stream) == Z_OK && read == 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::filesystem::path> files;
    if (argc > 1) {
        for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return std::all_of(files.begin(), files.end(), Show) ? 0 : 1;
}
