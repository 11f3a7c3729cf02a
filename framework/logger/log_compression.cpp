#include "framework/logger/log_compression.h"

#include <zlib.h>

#include <cstddef>
#include <memory>

#include "framework/logger/internal_trace.h"
#include "framework/system/platform.h"
#include "framework/system/unique_handle.h"

namespace framework {
namespace {

struct GzipStreamTraits {
    using Type = gzFile;
    static Type Invalid() noexcept { return nullptr; }
    // The result is deliberately ignored: the caller deletes the source in any case.
    static void Close(Type stream) noexcept { static_cast<void>(::gzclose(stream)); }
};
using GzipStream = UniqueHandle<GzipStreamTraits>;

constexpr std::uint32_t ReadSize = 16384;

/// The path for zlib. Deliberately not converted to a code page: the name must not depend on it. A
/// log whose path changes by this is lost.
std::string LowBytes(const std::wstring& path) {
    std::string bytes;
    bytes.reserve(path.size());
    for (const wchar_t character : path) {
        bytes += static_cast<char>(character & 0xFF);
    }
    return bytes;
}

/// Copies the open source into the open stream. Returns the result of `CompressFile`.
std::uint32_t CopyToStream(HANDLE source, gzFile stream, const std::wstring& sourcePath) {
    const auto buffer = std::make_unique<std::byte[]>(ReadSize);
    for (;;) {
        DWORD read = 0;
        if (::ReadFile(source, buffer.get(), ReadSize, &read, nullptr) == FALSE) {
            const DWORD error = ::GetLastError();
            InternalTrace(LevelError.Bit, L"CompressFile: ReadFile failed with error %lu for %s",
                          error, sourcePath.c_str());
            return error;
        }
        if (read == 0) {
            return ERROR_SUCCESS;
        }
        if (::gzwrite(stream, buffer.get(), read) == 0) {
            InternalTrace(LevelError.Bit, L"CompressFile: gzwrite failed for %s",
                          sourcePath.c_str());
            return ERROR_INTERNAL_ERROR;
        }
    }
}

}  // namespace

std::uint32_t CompressFile(const std::wstring& source, const std::wstring& target) {
    const std::string targetBytes = LowBytes(target);
    std::uint32_t result = ERROR_SUCCESS;
    // In this order, so that an exception also closes the source before the stream.
    GzipStream stream;
    FileHandle file(::CreateFileW(source.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                  OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        result = ::GetLastError();
        InternalTrace(LevelError.Bit, L"CompressFile: CreateFileW failed for %s", source.c_str());
    } else {
        stream.Reset(::gzopen(targetBytes.c_str(), "wb"));
        if (!stream) {
            // The result stays 0 and the caller deletes the source. This is meant: otherwise plain
            // files would accumulate where no target can be created.
            InternalTrace(LevelError.Bit, L"CompressFile: Failed to open ");
        } else {
            result = CopyToStream(file.Get(), stream.Get(), source);
        }
    }
    // Closed explicitly to report a failure. An invalid handle is deliberately closed too.
    if (::CloseHandle(file.Release()) == FALSE) {
        InternalTrace(LevelError.Bit, L"CompressFile: CloseHandle failed with error %lu for %s",
                      ::GetLastError(), source.c_str());
    }
    return result;
}

}  // namespace framework
