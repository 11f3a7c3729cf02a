// Files that quillon-log opens: any bytes as a plain log, compressed ones that are torn, damaged or
// no such thing at all.

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include "tests/fuzz/target.h"
#include "tests/support/scratch_folder.h"
#include "tools/quillon-log/log_bytes.h"

namespace fuzz {
namespace {

using quillon_log::LogBytes;
using quillon_log::ReadState;

const std::wstring Characters = L"abc\n\x0001\x001F\x007F\x0080\x008B\x00FE\x00FF";
const std::vector<std::wstring> Words = {L"\x001F\x008B\x0008", L"\x001F\x008B",
                                         std::wstring(4, L'\0'), std::wstring(600, L'a')};

/// What a log holds; where to read from, as a number in decimal; what is done to the compressed
/// file: "cut N" keeps N bytes, "flip N" changes a bit (a number behind the file's end begins anew
/// at its begin), "tail TEXT" puts bytes behind the end, "raw" takes the text for the file itself.
Input Generate(Random& random) {
    std::wstring text;
    for (std::size_t count = random.Below(8); count != 0; --count) {
        text += random.OneIn(2) ? random.Text(Characters, 40) : random.Pick(Words);
    }
    static const std::vector<std::wstring> Ways = {L"", L"cut ", L"flip ", L"tail ", L"raw"};
    std::wstring way = random.Pick(Ways);
    if (way == L"tail ") {
        way += random.Text(Characters, 12);
    } else if (way.ends_with(L' ')) {
        way += std::to_wstring(random.Below(1200));
    }
    return {text, random.OneIn(2) ? L"0" : std::to_wstring(random.Below(text.size() + 20)), way};
}

std::size_t NumberIn(const std::wstring& text) {
    std::size_t number = 0;
    for (const wchar_t digit : text) {
        if (digit >= L'0' && digit <= L'9' && number < 100000) {
            number = number * 10 + static_cast<std::size_t>(digit - L'0');
        }
    }
    return number;
}

std::string Gzip(const std::string& bytes) {
    z_stream stream = {};
    constexpr int GzipWindow = 15 + 16;
    if (::deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, GzipWindow, 8,
                       Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("deflateInit2");
    }
    std::string file(bytes.size() * 2 + 100, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
    stream.avail_in = static_cast<uInt>(bytes.size());
    stream.next_out = reinterpret_cast<Bytef*>(file.data());
    stream.avail_out = static_cast<uInt>(file.size());
    ::deflate(&stream, Z_FINISH);
    file.resize(stream.total_out);
    ::deflateEnd(&stream);
    return file;
}

/// All that can be had of a compressed file, whatever its state.
std::string Unpacked(const std::string& file) {
    constexpr std::size_t Room = 65536;
    constexpr int GzipWindow = 15 + 16;
    z_stream stream = {};
    if (::inflateInit2(&stream, GzipWindow) != Z_OK) {
        throw std::runtime_error("inflateInit2");
    }
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(file.data()));
    stream.avail_in = static_cast<uInt>(file.size());
    std::string bytes;
    int status = Z_OK;
    while (status == Z_OK && stream.avail_out == 0) {
        bytes.resize(stream.total_out + Room);
        stream.next_out = reinterpret_cast<Bytef*>(bytes.data() + stream.total_out);
        stream.avail_out = Room;
        status = ::inflate(&stream, Z_NO_FLUSH);
    }
    bytes.resize(stream.total_out);
    ::inflateEnd(&stream);
    return bytes;
}

std::string From(const std::string& bytes, std::size_t offset) {
    return bytes.substr(std::min(offset, bytes.size()));
}

LogBytes Read(const test::ScratchFolder& folder, const std::string& file, bool compressed,
              std::size_t offset) {
    const std::wstring path = (folder.Path() / (compressed ? L"a.log.gz" : L"a.log")).wstring();
    test::WriteFileBytes(path, file);
    quillon_log::LogLocation location;
    (compressed ? location.compressed : location.plain) = path;
    return quillon_log::ReadLogFrom(location, offset);
}

std::string CheckPlain(const test::ScratchFolder& folder, const std::string& bytes,
                       std::size_t offset) {
    const LogBytes read = Read(folder, bytes, false, offset);
    return read.bytes == From(bytes, offset) && read.state == ReadState::Whole ? "" : "a plain log";
}

/// The outcome of reading `bytes` after something was done to the compressed file.
std::string CheckCompressed(const test::ScratchFolder& folder, const std::string& bytes,
                            std::size_t offset, const std::wstring& way) {
    std::string file = Gzip(bytes);
    const std::size_t number = NumberIn(way);
    const bool isCut = way.starts_with(L"cut");
    const bool isFlipped = way.starts_with(L"flip");
    if (isCut) {
        file.resize(number % file.size());
    } else if (isFlipped) {
        char& byte = file[number / 8 % file.size()];
        byte = static_cast<char>(byte ^ (1 << number % 8));
    } else if (way.starts_with(L"tail")) {
        file += BytesOfText(way.substr(4));
    } else if (way == L"raw") {
        file = bytes;
    }
    const LogBytes read = Read(folder, file, true, offset);
    const std::string expected = From(bytes, offset);
    if (read.state == ReadState::Unreadable) {
        return "a file that is there can't be opened";
    }
    if (read.bytes != From(Unpacked(file), offset)) {
        return "not all of a file of " + std::to_string(file.size()) + " bytes";
    }
    if (isCut) {
        return read.state == ReadState::Damaged && expected.starts_with(read.bytes)
                   ? ""
                   : "a torn file of " + std::to_string(file.size()) + " bytes";
    }
    if (isFlipped) {
        // A bit in the head can be one that doesn't matter; anywhere else the check sum knows.
        constexpr std::size_t EndSize = 8;
        const bool inEnd = number / 8 % file.size() >= file.size() - EndSize;
        const bool right = inEnd ? read.state == ReadState::Damaged && read.bytes == expected
                                 : read.state == ReadState::Damaged || read.bytes == expected;
        return right ? "" : "a changed file of " + std::to_string(file.size()) + " bytes";
    }
    if (way == L"raw") {
        // Chance doesn't make a compressed file of it.
        return read.state == ReadState::Damaged ? "" : "no compressed file, taken for a whole one";
    }
    return read.bytes == expected && read.state == ReadState::Whole ? "" : "a whole file";
}

std::string Check(const test::ScratchFolder& folder, const Input& given) {
    Input input = given;
    input.resize(3);
    const std::string bytes = BytesOfText(input[0]);
    const std::size_t offset = NumberIn(input[1]);
    const std::string wrong = CheckPlain(folder, bytes, offset);
    return wrong.empty() ? CheckCompressed(folder, bytes, offset, input[2]) : wrong;
}

TEST(Fuzz, LogBytes) {
    const test::ScratchFolder folder;
    TryTarget({"log-bytes",
               Generate,
               [&folder](const Input& input) { return Check(folder, input); },
               {Words, Characters, 5000, true},
               400,
               10000});
}

}  // namespace
}  // namespace fuzz
