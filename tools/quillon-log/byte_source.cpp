#include "tools/quillon-log/byte_source.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>
#include <vector>

#include "framework/system/platform.h"
#include "framework/system/unique_handle.h"

namespace quillon_log {
namespace {

constexpr std::string_view GzipMark = "\x1F\x8B";
constexpr std::string_view Utf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view Utf16Mark = "\xFF\xFE";

class FileBytes final : public ByteSource {
  public:
    explicit FileBytes(HANDLE file) : file_(file) {}

    std::size_t Read(char* to, std::size_t size) override {
        DWORD read = 0;
        if (::ReadFile(file_, to, static_cast<DWORD>(size), &read, nullptr) == FALSE) {
            const DWORD error = ::GetLastError();
            // The other end of a pipe was closed: that is how its text ends.
            if (error != ERROR_BROKEN_PIPE && error != ERROR_HANDLE_EOF) {
                problem_ = L"can't be read any further (error " + std::to_wstring(error) + L")";
            }
            return 0;
        }
        return read;
    }

    std::uint64_t Skip(std::uint64_t count) override {
        LARGE_INTEGER size = {};
        LARGE_INTEGER here = {};
        if (::GetFileSizeEx(file_, &size) == FALSE ||
            ::SetFilePointerEx(file_, LARGE_INTEGER{}, &here, FILE_CURRENT) == FALSE) {
            return ByteSource::Skip(count);
        }
        const auto left =
            static_cast<std::uint64_t>(std::max<LONGLONG>(size.QuadPart - here.QuadPart, 0));
        LARGE_INTEGER way = {};
        way.QuadPart = static_cast<LONGLONG>(std::min(count, left));
        return ::SetFilePointerEx(file_, way, nullptr, FILE_CURRENT) == FALSE
                   ? 0
                   : static_cast<std::uint64_t>(way.QuadPart);
    }

    [[nodiscard]] std::wstring Problem() const override { return problem_; }

  private:
    HANDLE file_;
    std::wstring problem_;
};

class OwnedFileBytes final : public ByteSource {
  public:
    explicit OwnedFileBytes(framework::FileHandle file)
        : file_(std::move(file)), bytes_(file_.Get()) {}

    std::size_t Read(char* to, std::size_t size) override { return bytes_.Read(to, size); }
    std::uint64_t Skip(std::uint64_t count) override { return bytes_.Skip(count); }
    [[nodiscard]] std::wstring Problem() const override { return bytes_.Problem(); }

  private:
    framework::FileHandle file_;
    FileBytes bytes_;
};

/// Shows the first bytes before they are read.
class PeekedBytes final : public ByteSource {
  public:
    explicit PeekedBytes(std::unique_ptr<ByteSource> inner) : inner_(std::move(inner)) {
        constexpr std::size_t HeadSize = 1024;
        head_.resize(HeadSize);
        std::size_t size = 0;
        while (size < HeadSize) {
            const std::size_t read = inner_->Read(head_.data() + size, HeadSize - size);
            if (read == 0) {
                break;
            }
            size += read;
        }
        head_.resize(size);
    }

    /// What is left of the first bytes.
    [[nodiscard]] std::string_view Head() const { return std::string_view(head_).substr(at_); }

    std::size_t Read(char* to, std::size_t size) override {
        if (at_ == head_.size()) {
            return inner_->Read(to, size);
        }
        const std::size_t part = std::min(size, head_.size() - at_);
        std::memcpy(to, head_.data() + at_, part);
        at_ += part;
        return part;
    }

    std::uint64_t Skip(std::uint64_t count) override {
        const auto part =
            static_cast<std::size_t>(std::min<std::uint64_t>(count, head_.size() - at_));
        at_ += part;
        return part + (part < count ? inner_->Skip(count - part) : 0);
    }

    [[nodiscard]] std::wstring Problem() const override { return inner_->Problem(); }

  private:
    std::unique_ptr<ByteSource> inner_;
    std::string head_;
    std::size_t at_ = 0;
};

/// Unpacks gzip members, one after the other. zlib's own file functions would do, but at a damaged
/// place they return nothing of what the call unpacked before it.
class UnpackedBytes final : public ByteSource {
  public:
    explicit UnpackedBytes(std::unique_ptr<ByteSource> inner) : inner_(std::move(inner)) {
        constexpr int GzipWindow = 15 + 16;
        status_ = ::inflateInit2(&stream_, GzipWindow);
    }
    ~UnpackedBytes() override { ::inflateEnd(&stream_); }

    std::size_t Read(char* to, std::size_t size) override {
        stream_.next_out = reinterpret_cast<Bytef*>(to);
        stream_.avail_out = static_cast<uInt>(size);
        while (stream_.avail_out == static_cast<uInt>(size) && CanGoOn()) {
            // Having had nothing to do is no failure.
            status_ = ::inflate(&stream_, Z_NO_FLUSH);
            status_ = status_ == Z_BUF_ERROR ? Z_OK : status_;
        }
        return size - stream_.avail_out;
    }

    [[nodiscard]] std::wstring Problem() const override {
        const std::wstring inner = inner_->Problem();
        return inner.empty() ? problem_ : inner;
    }

  private:
    /// Makes sure that there is a member to unpack, and packed bytes of it.
    bool CanGoOn() {
        if (!problem_.empty() || isAtEnd_) {
            return false;
        }
        if (status_ == Z_STREAM_END) {
            return BeginMember();
        }
        if (status_ != Z_OK) {
            problem_ = IsAtChecksum() ? L"damaged: its checksum doesn't match"
                                      : L"damaged: it doesn't unpack any further";
            return false;
        }
        if (stream_.avail_in == 0 && !Fill(0)) {
            problem_ = L"damaged: the compressed data breaks off";
            return false;
        }
        return true;
    }

    /// Whether all was unpacked and only the checksum or the length after it was wrong.
    [[nodiscard]] bool IsAtChecksum() const {
        const std::string_view message = stream_.msg == nullptr ? "" : stream_.msg;
        return message == "incorrect data check" || message == "incorrect length check";
    }

    /// A member is followed by another one, the end of the file, zeros as padding, or foreign data.
    bool BeginMember() {
        while (stream_.avail_in < GzipMark.size() && Fill(stream_.avail_in)) {
        }
        const std::string_view rest(reinterpret_cast<const char*>(stream_.next_in),
                                    stream_.avail_in);
        if (rest.starts_with(GzipMark)) {
            status_ = ::inflateReset(&stream_);
            return true;
        }
        isAtEnd_ = true;
        std::size_t other = rest.find_first_not_of('\0');
        while (other == rest.npos && Fill(0)) {
            other = std::string_view(packed_.data(), stream_.avail_in).find_first_not_of('\0');
        }
        if (other != std::string_view::npos) {
            problem_ = L"damaged: the data after the end of the gzip data was skipped";
        }
        return false;
    }

    /// Reads more packed bytes after the `kept` ones that are left.
    bool Fill(std::size_t kept) {
        std::memmove(packed_.data(), stream_.next_in, kept);
        const std::size_t read = inner_->Read(packed_.data() + kept, packed_.size() - kept);
        stream_.next_in = reinterpret_cast<Bytef*>(packed_.data());
        stream_.avail_in = static_cast<uInt>(kept + read);
        return read > 0;
    }

    std::unique_ptr<ByteSource> inner_;
    std::array<char, 16 * 1024> packed_;
    z_stream stream_ = {};
    int status_ = Z_OK;
    bool isAtEnd_ = false;
    std::wstring problem_;
};

/// UTF-8 as UTF-16LE, without its byte order mark.
class WidenedBytes final : public ByteSource {
  public:
    explicit WidenedBytes(std::unique_ptr<ByteSource> inner) : inner_(std::move(inner)) {
        narrow_.resize(NarrowSize);
    }

    std::size_t Read(char* to, std::size_t size) override {
        if (at_ == wide_.size() && !Widen()) {
            return 0;
        }
        const std::string_view bytes(reinterpret_cast<const char*>(wide_.data()),
                                     wide_.size() * sizeof(wchar_t));
        const std::size_t from = at_ * sizeof(wchar_t) + odd_;
        const std::size_t part = std::min(size, bytes.size() - from);
        std::memcpy(to, bytes.data() + from, part);
        at_ = (from + part) / sizeof(wchar_t);
        odd_ = (from + part) % sizeof(wchar_t);
        return part;
    }

    [[nodiscard]] std::wstring Problem() const override { return inner_->Problem(); }

  private:
    static constexpr std::size_t NarrowSize = 8 * 1024;

    bool Widen() {
        const std::size_t read = inner_->Read(narrow_.data() + kept_, NarrowSize - kept_);
        std::size_t size = kept_ + read;
        if (size == 0) {
            return false;
        }
        std::string_view text(narrow_.data(), size);
        const std::size_t mark = isBegun_ || !text.starts_with(Utf8Mark) ? 0 : Utf8Mark.size();
        isBegun_ = true;
        text.remove_prefix(mark);
        // A character that the piece cuts is kept for the next one.
        kept_ = read == 0 ? 0 : CutSize(text);
        text.remove_suffix(kept_);
        wide_.resize(text.size());
        wide_.resize(static_cast<std::size_t>(
            ::MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()),
                                  wide_.data(), static_cast<int>(wide_.size()))));
        std::memmove(narrow_.data(), text.data() + text.size(), kept_);
        at_ = 0;
        return !wide_.empty() || Widen();
    }

    /// How many bytes at the end belong to a character that isn't whole.
    static std::size_t CutSize(std::string_view text) {
        constexpr std::size_t LongestCharacter = 4;
        for (std::size_t back = 1; back < LongestCharacter && back <= text.size(); ++back) {
            const auto byte = static_cast<unsigned char>(text[text.size() - back]);
            if (byte < 0x80) {
                return 0;
            }
            if (byte >= 0xC0) {
                const std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : 2;
                return length > back ? back : 0;
            }
        }
        return 0;
    }

    std::unique_ptr<ByteSource> inner_;
    std::string narrow_;
    std::size_t kept_ = 0;
    bool isBegun_ = false;
    std::wstring wide_;
    std::size_t at_ = 0;
    std::size_t odd_ = 0;  ///< 1 if the first byte of the character at `at_` was read
};

/// Nothing but a problem.
class NoBytes final : public ByteSource {
  public:
    explicit NoBytes(std::wstring problem) : problem_(std::move(problem)) {}
    std::size_t Read(char* /*to*/, std::size_t /*size*/) override { return 0; }
    [[nodiscard]] std::wstring Problem() const override { return problem_; }

  private:
    std::wstring problem_;
};

enum class Encoding { Utf16, Utf8, Other };

bool IsUtf8(std::string_view head, bool isWhole) {
    if (head.find('\0') != head.npos) {
        return false;
    }
    // A character that the head cuts doesn't count.
    for (std::size_t cut = 0; cut <= (isWhole ? 0U : 3U) && cut < head.size(); ++cut) {
        if (::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, head.data(),
                                  static_cast<int>(head.size() - cut), nullptr, 0) > 0) {
            return true;
        }
    }
    return false;
}

/// Without a mark, text that begins as a record does is UTF-16, and so is what is mostly ASCII.
Encoding EncodingOf(std::string_view head) {
    constexpr std::size_t WholeHead = 1024;
    if (head.starts_with(Utf16Mark) || head.size() < 2) {
        return Encoding::Utf16;
    }
    if (head.starts_with(Utf8Mark) || IsUtf8(head, head.size() < WholeHead)) {
        return Encoding::Utf8;
    }
    std::size_t zeros = 0;
    std::size_t pairs = 0;
    for (std::size_t at = 1; at < head.size(); at += 2) {
        ++pairs;
        zeros += head[at] == '\0' && head[at - 1] != '\0' ? 1U : 0U;
    }
    return zeros * 2 > pairs ? Encoding::Utf16 : Encoding::Other;
}

}  // namespace

std::uint64_t ByteSource::Skip(std::uint64_t count) {
    std::array<char, 16 * 1024> ignored;
    std::uint64_t skipped = 0;
    while (skipped < count) {
        const std::size_t read = Read(
            ignored.data(),
            static_cast<std::size_t>(std::min<std::uint64_t>(ignored.size(), count - skipped)));
        if (read == 0) {
            break;
        }
        skipped += read;
    }
    return skipped;
}

std::unique_ptr<ByteSource> OpenFileBytes(const std::wstring& path) {
    framework::FileHandle file(::CreateFileW(
        path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
        OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!file) {
        return nullptr;
    }
    return std::make_unique<OwnedFileBytes>(std::move(file));
}

std::unique_ptr<ByteSource> StandardInputBytes() {
    return std::make_unique<FileBytes>(::GetStdHandle(STD_INPUT_HANDLE));
}

std::unique_ptr<ByteSource> LogTextOf(std::unique_ptr<ByteSource> file, bool mustBeCompressed) {
    auto raw = std::make_unique<PeekedBytes>(std::move(file));
    const std::wstring problem = raw->Problem();
    if (raw->Head().starts_with(GzipMark)) {
        raw = std::make_unique<PeekedBytes>(std::make_unique<UnpackedBytes>(std::move(raw)));
    } else if (mustBeCompressed && problem.empty()) {
        return std::make_unique<NoBytes>(L"damaged: it isn't a gzip file");
    }
    switch (EncodingOf(raw->Head())) {
        case Encoding::Utf8:
            return std::make_unique<WidenedBytes>(std::move(raw));
        case Encoding::Other:
            return std::make_unique<NoBytes>(L"not a log: its text is neither UTF-16LE nor UTF-8");
        default:
            return raw;
    }
}

}  // namespace quillon_log
