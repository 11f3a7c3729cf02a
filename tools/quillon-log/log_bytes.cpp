#include "tools/quillon-log/log_bytes.h"

#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <vector>

#include "framework/system/unique_handle.h"

namespace quillon_log {
namespace {

constexpr std::size_t ChunkSize = 256 * 1024;

LogBytes ReadPlain(const std::wstring& path, std::uint64_t offset) {
    LogBytes result;
    const framework::FileHandle file(::CreateFileW(
        path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER position = {};
    position.QuadPart = static_cast<LONGLONG>(offset);
    if (!file || ::SetFilePointerEx(file.Get(), position, nullptr, FILE_BEGIN) == FALSE) {
        result.state = ReadState::Unreadable;
        return result;
    }
    std::vector<char> chunk(ChunkSize);
    for (;;) {
        DWORD read = 0;
        if (::ReadFile(file.Get(), chunk.data(), static_cast<DWORD>(chunk.size()), &read,
                       nullptr) == FALSE) {
            result.state = ReadState::Damaged;
            return result;
        }
        if (read == 0) {
            return result;
        }
        result.bytes.append(chunk.data(), read);
    }
}

struct GzipCloser {
    void operator()(gzFile stream) const { ::gzclose(stream); }
};
using GzipStream = std::unique_ptr<gzFile_s, GzipCloser>;

LogBytes ReadCompressed(const std::wstring& path, std::uint64_t offset) {
    LogBytes result;
    const GzipStream stream(::gzopen_w(path.c_str(), "rb"));
    if (!stream) {
        result.state = ReadState::Unreadable;
        return result;
    }
    std::vector<char> chunk(ChunkSize);
    std::uint64_t skip = offset;
    for (;;) {
        const int read = ::gzread(stream.get(), chunk.data(), static_cast<unsigned>(chunk.size()));
        if (read > 0) {
            const auto size = static_cast<std::uint64_t>(read);
            const std::uint64_t skipped = std::min(skip, size);
            skip -= skipped;
            result.bytes.append(chunk.data() + skipped, static_cast<std::size_t>(size - skipped));
        }
        if (read < static_cast<int>(chunk.size())) {
            int error = Z_OK;
            ::gzerror(stream.get(), &error);
            // A file that isn't packed at all is passed through by zlib; a log never is.
            const bool isWhole =
                read >= 0 && (error == Z_OK || error == Z_STREAM_END) && !::gzdirect(stream.get());
            result.state = isWhole ? ReadState::Whole : ReadState::Damaged;
            return result;
        }
    }
}

}  // namespace

LogBytes ReadLogFrom(const LogLocation& location, std::uint64_t offset) {
    if (!location.plain.empty()) {
        LogBytes result = ReadPlain(location.plain, offset);
        // The plain file can go between the listing and the look at it.
        if (result.state != ReadState::Unreadable || location.compressed.empty()) {
            return result;
        }
    }
    return ReadCompressed(location.compressed, offset);
}

}  // namespace quillon_log
