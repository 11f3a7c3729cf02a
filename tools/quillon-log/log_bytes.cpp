#include "tools/quillon-log/log_bytes.h"

#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <vector>

#include "framework/system/unique_handle.h"

namespace quillon_log {
namespace {

constexpr std::size_t ChunkSize = 256 * 1024;

framework::FileHandle Open(const std::wstring& path) {
    return framework::FileHandle(::CreateFileW(
        path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

/// Reads on; 0 at the end of the file. Nothing if the platform fails.
std::optional<std::size_t> ReadChunk(const framework::FileHandle& file, std::vector<char>& chunk) {
    DWORD read = 0;
    if (::ReadFile(file.Get(), chunk.data(), static_cast<DWORD>(chunk.size()), &read, nullptr) ==
        FALSE) {
        return std::nullopt;
    }
    return read;
}

LogBytes ReadPlain(const std::wstring& path, std::uint64_t offset) {
    LogBytes result;
    const framework::FileHandle file = Open(path);
    LARGE_INTEGER position = {};
    position.QuadPart = static_cast<LONGLONG>(offset);
    if (!file || ::SetFilePointerEx(file.Get(), position, nullptr, FILE_BEGIN) == FALSE) {
        result.state = ReadState::Unreadable;
        return result;
    }
    std::vector<char> chunk(ChunkSize);
    for (;;) {
        const std::optional<std::size_t> read = ReadChunk(file, chunk);
        if (!read) {
            result.state = ReadState::Damaged;
        }
        if (!read || *read == 0) {
            return result;
        }
        result.bytes.append(chunk.data(), *read);
    }
}

/// Unpacks one gzip member. zlib's own file functions would do, but where a file is damaged they
/// give nothing of what the call has unpacked before.
class Unpacker {
  public:
    /// The first `skip` unpacked bytes are left out.
    Unpacker(std::string& out, std::uint64_t skip) : out_(out), skip_(skip) {
        constexpr int GzipWindow = 15 + 16;
        status_ = ::inflateInit2(&stream_, GzipWindow);
    }
    ~Unpacker() { ::inflateEnd(&stream_); }
    Unpacker(const Unpacker&) = delete;
    Unpacker& operator=(const Unpacker&) = delete;

    /// Takes the next packed bytes. What stands behind the member's end is ignored.
    void Take(char* bytes, std::size_t size) {
        stream_.next_in = reinterpret_cast<Bytef*>(bytes);
        stream_.avail_in = static_cast<uInt>(size);
        do {
            stream_.next_out = reinterpret_cast<Bytef*>(room_.data());
            stream_.avail_out = static_cast<uInt>(room_.size());
            status_ = ::inflate(&stream_, Z_NO_FLUSH);
            Give(room_.size() - stream_.avail_out);
        } while (WantsMore() && stream_.avail_out == 0);
    }

    /// False at the member's end and after a mistake. Having had nothing to do is none.
    [[nodiscard]] bool WantsMore() const { return status_ == Z_OK || status_ == Z_BUF_ERROR; }
    [[nodiscard]] bool IsWhole() const { return status_ == Z_STREAM_END; }

  private:
    void Give(std::size_t size) {
        const auto skipped = static_cast<std::size_t>(std::min<std::uint64_t>(skip_, size));
        skip_ -= skipped;
        out_.append(room_.data() + skipped, size - skipped);
    }

    std::string& out_;
    std::uint64_t skip_;
    std::vector<char> room_ = std::vector<char>(ChunkSize);
    z_stream stream_ = {};
    int status_ = Z_OK;
};

LogBytes ReadCompressed(const std::wstring& path, std::uint64_t offset) {
    LogBytes result;
    const framework::FileHandle file = Open(path);
    if (!file) {
        result.state = ReadState::Unreadable;
        return result;
    }
    Unpacker unpacker(result.bytes, offset);
    std::vector<char> chunk(ChunkSize);
    while (unpacker.WantsMore()) {
        const std::optional<std::size_t> read = ReadChunk(file, chunk);
        if (!read || *read == 0) {
            break;
        }
        unpacker.Take(chunk.data(), *read);
    }
    result.state = unpacker.IsWhole() ? ReadState::Whole : ReadState::Damaged;
    return result;
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
