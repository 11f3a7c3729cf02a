#include <zlib.h>

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/log/rows.h"
#include "bench/log/scratch_logger.h"
#include "bench/support/measure.h"
#include "framework/logger/log_line.h"
#include "framework/system/unique_handle.h"

namespace bench {
namespace {

constexpr framework::LogSite Site = {L"rotation", L"TimeRotation"};
constexpr std::uint32_t FileSize = 0x500000;

/// Fills a file up to its limit and times the one call that passes it. `copy` receives what the
/// file held before that call.
double TimeRotation(const std::filesystem::path& copy) {
    framework::LoggerConfig config = ScratchLogger::UsualConfig();
    config.MaxFileSize = FileSize;
    config.CompressRotatedLogs = true;
    const ScratchLogger logger(config);
    const std::filesystem::path file = std::filesystem::directory_iterator(logger.Path())->path();
    int index = 0;
    const auto log = [&index] {
        framework::LogTrace(Site, L"component %s has finished its job with the number %08i \n",
                            L"heartbeat", ++index);
    };
    log();
    const auto recordSize = std::filesystem::file_size(file) - 2;
    while (std::filesystem::file_size(file) - 2 + recordSize * 512 <= FileSize) {
        for (int record = 0; record < 512; ++record) {
            log();
        }
    }
    while (std::filesystem::file_size(file) - 2 + recordSize <= FileSize) {
        log();
    }
    // Not by copy_file, which can't overwrite with every run-time library.
    ::CopyFileW(file.c_str(), copy.c_str(), FALSE);
    const double begin = Now();
    log();
    return Now() - begin;
}

/// The bare work: read in pieces of 16 KiB and pack.
double TimeBarePacking(const std::filesystem::path& source, const std::filesystem::path& target) {
    constexpr DWORD PieceSize = 16384;
    const double begin = Now();
    const framework::FileHandle file(::CreateFileW(source.c_str(), GENERIC_READ, FILE_SHARE_READ,
                                                   nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                                                   nullptr));
    const gzFile stream = ::gzopen(target.string().c_str(), "wb");
    std::vector<std::byte> piece(PieceSize);
    DWORD read = 0;
    while (::ReadFile(file.Get(), piece.data(), PieceSize, &read, nullptr) != FALSE && read != 0) {
        ::gzwrite(stream, piece.data(), read);
    }
    ::gzclose(stream);
    return Now() - begin;
}

}  // namespace

void MeasureRotation(const Effort& effort) {
    const ScratchFolder folder;
    const std::filesystem::path copy = folder.Path() / "copy";
    Print(Measure(
        "rotation of 5 MiB", effort.Rounds(8), 1.05, [&copy] { return TimeRotation(copy); },
        [&] { return TimeBarePacking(copy, folder.Path() / "copy.gz"); }));
}

}  // namespace bench
