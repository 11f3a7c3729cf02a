#include "tests/end-to-end/crash/minidump_reader.h"

#include <algorithm>
#include <cstring>
#include <cwctype>
#include <stdexcept>

#include "tests/support/scratch_folder.h"

namespace test {
namespace {

constexpr std::uint32_t Signature = 0x504D444D;  // "MDMP"
constexpr std::uint32_t FormatVersion = 0xA793;
constexpr std::uint32_t ThreadListStream = 3;
constexpr std::uint32_t ModuleListStream = 4;
constexpr std::uint32_t ExceptionStream = 6;
constexpr std::size_t DirectoryEntrySize = 12;
constexpr std::size_t ThreadEntrySize = 48;
constexpr std::size_t ModuleEntrySize = 108;
constexpr std::uint32_t MaximumParameters = 15;

/// The file's bytes, read at any offset with a bounds check.
class Bytes {
  public:
    explicit Bytes(std::string bytes) : bytes_(std::move(bytes)) {}

    [[nodiscard]] std::uint32_t U32(std::size_t offset) const { return At<std::uint32_t>(offset); }
    [[nodiscard]] std::uint64_t U64(std::size_t offset) const { return At<std::uint64_t>(offset); }

    /// Length in bytes, then UTF-16.
    [[nodiscard]] std::wstring String(std::size_t offset) const {
        const std::uint32_t length = U32(offset);
        std::wstring text(length / sizeof(wchar_t), L'\0');
        std::memcpy(text.data(), Range(offset + 4, length), text.size() * sizeof(wchar_t));
        return text;
    }

  private:
    template <class Number>
    [[nodiscard]] Number At(std::size_t offset) const {
        const char* const bytes = Range(offset, sizeof(Number));
        Number number = 0;
        for (std::size_t i = 0; i < sizeof(Number); ++i) {
            const auto byte = static_cast<unsigned char>(bytes[i]);
            number |= static_cast<Number>(byte) << (8 * i);
        }
        return number;
    }

    [[nodiscard]] const char* Range(std::size_t offset, std::size_t size) const {
        if (offset > bytes_.size() || size > bytes_.size() - offset) {
            throw std::runtime_error("the minidump is cut");
        }
        return bytes_.data() + offset;
    }

    std::string bytes_;
};

void ReadThreads(const Bytes& bytes, std::size_t offset, Minidump& dump) {
    const std::uint32_t count = bytes.U32(offset);
    for (std::uint32_t i = 0; i < count; ++i) {
        dump.threads.push_back(bytes.U32(offset + 4 + i * ThreadEntrySize));
    }
}

void ReadModules(const Bytes& bytes, std::size_t offset, Minidump& dump) {
    constexpr std::size_t NameOffset = 20;
    const std::uint32_t count = bytes.U32(offset);
    for (std::uint32_t i = 0; i < count; ++i) {
        dump.modules.push_back(
            bytes.String(bytes.U32(offset + 4 + i * ModuleEntrySize + NameOffset)));
    }
}

void ReadException(const Bytes& bytes, std::size_t offset, Minidump& dump) {
    dump.hasException = true;
    dump.exceptionThread = bytes.U32(offset);
    dump.exceptionCode = bytes.U32(offset + 8);
    dump.exceptionAddress = bytes.U64(offset + 24);
    const std::uint32_t count = bytes.U32(offset + 32);
    if (count > MaximumParameters) {
        throw std::runtime_error("the exception has too many parameters");
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        dump.exceptionParameters.push_back(bytes.U64(offset + 40 + i * 8));
    }
    dump.contextSize = bytes.U32(offset + 160);
}

bool SameIgnoringCase(const std::wstring& left, const std::wstring& right) {
    return std::equal(
        left.begin(), left.end(), right.begin(), right.end(),
        [](wchar_t one, wchar_t other) { return std::towlower(one) == std::towlower(other); });
}

}  // namespace

bool Minidump::HasThread(std::uint32_t id) const {
    return std::find(threads.begin(), threads.end(), id) != threads.end();
}

bool Minidump::HasModule(const std::filesystem::path& path) const {
    return std::any_of(modules.begin(), modules.end(), [&](const std::wstring& module) {
        return SameIgnoringCase(module, path.wstring());
    });
}

bool Minidump::HasStream(std::uint32_t type) const {
    return std::find(streams.begin(), streams.end(), type) != streams.end();
}

Minidump ReadMinidump(const std::filesystem::path& path) {
    const Bytes bytes(ReadBytes(path));
    if (bytes.U32(0) != Signature || (bytes.U32(4) & 0xFFFF) != FormatVersion) {
        throw std::runtime_error("no minidump: " + path.string());
    }
    Minidump dump;
    const std::uint32_t count = bytes.U32(8);
    const std::uint32_t directory = bytes.U32(12);
    dump.flags = bytes.U64(24);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t entry = directory + i * DirectoryEntrySize;
        const std::uint32_t type = bytes.U32(entry);
        const std::uint32_t offset = bytes.U32(entry + 8);
        dump.streams.push_back(type);
        if (type == ThreadListStream) {
            ReadThreads(bytes, offset, dump);
        } else if (type == ModuleListStream) {
            ReadModules(bytes, offset, dump);
        } else if (type == ExceptionStream) {
            ReadException(bytes, offset, dump);
        }
    }
    return dump;
}

}  // namespace test
