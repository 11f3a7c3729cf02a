#include <zlib.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iterator>
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

/// Writes records whose text compresses as slowly as that of real components.
class VariedRecords {
  public:
    void LogOne() {
        switch (Next() % 4) {
            case 0:
                framework::LogTrace(Site, L"%s: connection %08x accepted, %u bytes waiting\n",
                                    Name(), Next(), Next() % 65536);
                break;
            case 1:
                framework::LogTrace(Site, L"job %u of %s finished in %u ms with result 0x%08X\n",
                                    Next() % 100000, Name(), Next() % 3000, Next());
                break;
            case 2:
                framework::LogTrace(Site, L"%s reads C:\\ProgramData\\cache\\%08x\\%04x.bin\n",
                                    Name(), Next(), Next() % 65536);
                break;
            default:
                framework::LogTrace(Site, L"%s: queue holds %u entries, the oldest is %u s old\n",
                                    Name(), Next() % 500, Next() % 90);
                break;
        }
    }

  private:
    /// The same numbers in every run.
    std::uint32_t Next() {
        state_ = state_ * 1664525U + 1013904223U;
        return state_ >> 8;
    }
    const wchar_t* Name() {
        constexpr const wchar_t* Names[] = {L"heartbeat", L"worker", L"collector", L"uplink"};
        return Names[Next() % std::size(Names)];
    }

    std::uint32_t state_ = 1;
};

/// Writes the same message repeatedly, which zlib compresses many times as fast.
class EqualRecords {
  public:
    void LogOne() {
        framework::LogTrace(Site, L"component %s has finished its job with the number %08i \n",
                            L"heartbeat", ++index_);
    }

  private:
    int index_ = 0;
};

/// Fills a file up to its limit and times the one call that exceeds it. `copy` receives the
/// contents of the file before that call.
template <class Records>
double TimeRotation(const std::filesystem::path& copy) {
    constexpr std::uintmax_t NearlyFull = FileSize - 4096;
    framework::LoggerConfig config = ScratchLogger::UsualConfig();
    config.MaxFileSize = FileSize;
    config.CompressRotatedLogs = true;
    const ScratchLogger logger(config);
    const std::filesystem::path file = std::filesystem::directory_iterator(logger.Path())->path();
    Records records;
    while (std::filesystem::file_size(file) < NearlyFull - 512 * 256) {
        for (int record = 0; record < 512; ++record) {
            records.LogOne();
        }
    }
    while (std::filesystem::file_size(file) < NearlyFull) {
        records.LogOne();
    }
    // Not copy_file, which can't overwrite with every run-time library.
    ::CopyFileW(file.c_str(), copy.c_str(), FALSE);
    // One record that certainly exceeds the limit.
    const std::wstring text(4000, L'-');
    const double begin = Now();
    framework::LogTrace(Site, L"%s\n", text.c_str());
    return Now() - begin;
}

/// The plain work: read in pieces of 16 KiB and compress.
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
    const auto limit = [&] { return TimeBarePacking(copy, folder.Path() / "copy.gz"); };
    Print(Measure(
        "rotation of 5 MiB", effort.Rounds(8), 1.05,
        [&copy] { return TimeRotation<VariedRecords>(copy); }, limit));
    Row equal = Measure(
        "rotation of 5 MiB", effort.Rounds(8), 0,
        [&copy] { return TimeRotation<EqualRecords>(copy); }, limit);
    equal.remark = "of one message over and over, which packs fast";
    Print(equal);
}

}  // namespace bench
