#include "tests/support/gzip_reader.h"

#include <zlib.h>

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace test {
namespace {

constexpr int GzipOnly = 16 + MAX_WBITS;
constexpr std::size_t StepSize = 65536;

/// zlib's decompressor, freed on every path.
class Inflater {
  public:
    explicit Inflater(std::string& input) {
        stream_.next_in = reinterpret_cast<Bytef*>(input.data());
        stream_.avail_in = static_cast<uInt>(input.size());
        if (::inflateInit2(&stream_, GzipOnly) != Z_OK) {
            throw std::runtime_error("inflateInit2 failed");
        }
    }
    ~Inflater() { ::inflateEnd(&stream_); }
    Inflater(const Inflater&) = delete;
    Inflater& operator=(const Inflater&) = delete;

    /// Appends the next bytes to `output`. False at the end of the gzip member.
    bool Step(std::string& output) {
        std::vector<Bytef> bytes(StepSize);
        stream_.next_out = bytes.data();
        stream_.avail_out = static_cast<uInt>(bytes.size());
        const int status = ::inflate(&stream_, Z_NO_FLUSH);
        if (status != Z_OK && status != Z_STREAM_END) {
            throw std::runtime_error("not a whole gzip file: " + std::to_string(status));
        }
        output.append(reinterpret_cast<const char*>(bytes.data()),
                      bytes.size() - stream_.avail_out);
        return status == Z_OK;
    }

    [[nodiscard]] bool AllRead() const noexcept { return stream_.avail_in == 0; }

  private:
    z_stream stream_ = {};
};

}  // namespace

std::string Gunzip(const std::string& file) {
    std::string input = file;
    std::string output;
    Inflater inflater(input);
    while (inflater.Step(output)) {
    }
    if (!inflater.AllRead()) {
        throw std::runtime_error("something stands behind the gzip member");
    }
    return output;
}

}  // namespace test
