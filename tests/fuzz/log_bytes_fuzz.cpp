// Files for quillon-log: any bytes as a plain log, compressed files that are truncated, damaged, or
// not gzip at all.

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <utility>

#include "tests/fuzz/target.h"
#include "tools/quillon-log/byte_source.h"

namespace fuzz {
namespace {

using quillon_log::ByteSource;

const std::wstring Characters = L"abc\n\x0001\x001F\x007F\x0080\x008B\x00FE\x00FF";
const std::vector<std::wstring> Words = {L"\x001F\x008B\x0008", L"\x001F\x008B",
                                         std::wstring(4, L'\0'), std::wstring(600, L'a')};

/// The contents of a log after its byte order mark; the start offset as a decimal number; the
/// change to the compressed file: "cut N" keeps N bytes, "flip N" changes a bit (N is taken modulo
/// the file size), "split N" makes two members of it, "tail TEXT" appends bytes, "raw" uses the
/// text as the file itself.
Input Generate(Random& random) {
    std::wstring text;
    for (std::size_t count = random.Below(8); count != 0; --count) {
        text += random.OneIn(2) ? random.Text(Characters, 40) : random.Pick(Words);
    }
    static const std::vector<std::wstring> ways = {L"",       L"cut ",  L"flip ",
                                                   L"split ", L"tail ", L"raw"};
    std::wstring way = random.Pick(ways);
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

/// A file in memory, read in pieces of an odd size.
class Bytes final : public ByteSource {
  public:
    explicit Bytes(std::string bytes) : bytes_(std::move(bytes)) {}
    std::size_t Read(char* to, std::size_t size) override {
        constexpr std::size_t Piece = 777;
        const std::size_t part = std::min({size, Piece, bytes_.size() - at_});
        std::copy_n(bytes_.data() + at_, part, to);
        at_ += part;
        return part;
    }
    [[nodiscard]] std::wstring Problem() const override { return {}; }

  private:
    std::string bytes_;
    std::size_t at_ = 0;
};

struct Outcome {
    std::string bytes;
    bool isDamaged = false;
};

Outcome ReadFrom(const std::string& file, bool compressed, std::size_t offset) {
    const auto source = quillon_log::LogTextOf(std::make_unique<Bytes>(file), compressed);
    Outcome outcome;
    static_cast<void>(source->Skip(offset));
    std::string piece(500, '\0');
    for (std::size_t read = source->Read(piece.data(), piece.size()); read != 0;
         read = source->Read(piece.data(), piece.size())) {
        outcome.bytes.append(piece, 0, read);
    }
    outcome.isDamaged = !source->Problem().empty();
    return outcome;
}

std::string From(const std::string& bytes, std::size_t offset) {
    return bytes.substr(std::min(offset, bytes.size()));
}

/// The error in reading `bytes` after a change to the compressed file.
std::string CheckCompressed(const std::string& bytes, std::size_t offset, const std::wstring& way) {
    std::string file = Gzip(bytes);
    const std::size_t number = NumberIn(way);
    const bool isCut = way.starts_with(L"cut");
    const bool isFlipped = way.starts_with(L"flip");
    const bool isRaw = way == L"raw";
    std::string tail;
    if (isCut) {
        file.resize(number % file.size());
    } else if (isFlipped) {
        char& byte = file[number / 8 % file.size()];
        byte = static_cast<char>(byte ^ (1 << number % 8));
    } else if (way.starts_with(L"split")) {
        const std::size_t middle = number % (bytes.size() + 1);
        file = Gzip(bytes.substr(0, middle)) + Gzip(bytes.substr(middle));
    } else if (way.starts_with(L"tail")) {
        tail = BytesOfText(way.substr(std::min<std::size_t>(way.size(), 5)));
        file += tail;
    } else if (isRaw) {
        file = bytes;
    }
    const Outcome read = ReadFrom(file, true, offset);
    const std::string expected = From(bytes, offset);
    const std::string size = std::to_string(file.size());
    if (isCut) {
        return read.isDamaged && expected.starts_with(read.bytes)
                   ? ""
                   : "a cut file of " + size + " bytes";
    }
    if (isFlipped) {
        // Not every bit of the header matters; the checksum detects changes anywhere else.
        constexpr std::size_t EndSize = 8;
        const bool inEnd = number / 8 % file.size() >= file.size() - EndSize;
        const bool isRight = inEnd ? read.isDamaged && read.bytes == expected
                                   : read.isDamaged || read.bytes == expected;
        return isRight ? "" : "a changed file of " + size + " bytes";
    }
    if (isRaw) {
        return read.isDamaged && read.bytes.empty() ? "" : "no compressed file, taken for one";
    }
    const bool hasTail = tail.find_first_not_of('\0') != tail.npos;
    return read.bytes == expected && read.isDamaged == hasTail ? "" : "a whole file";
}

std::string Check(const Input& given) {
    Input input = given;
    input.resize(3);
    const std::string bytes = "\xFF\xFE" + BytesOfText(input[0]);
    const std::size_t offset = NumberIn(input[1]);
    const Outcome plain = ReadFrom(bytes, false, offset);
    if (plain.bytes != From(bytes, offset) || plain.isDamaged) {
        return "a plain log";
    }
    // Text without a mark may be read as anything, but reading must end.
    static_cast<void>(ReadFrom(BytesOfText(input[0]), false, offset));
    return CheckCompressed(bytes, offset, input[2]);
}

TEST(Fuzz, LogBytes) {
    TryTarget({"log-bytes", Generate, Check, {Words, Characters, 5000, true}, 1000, 30000});
}

}  // namespace
}  // namespace fuzz
