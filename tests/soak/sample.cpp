#include "tests/soak/sample.h"

#include <iomanip>
#include <system_error>

#include "bench/process/unix_view.h"
#include "tests/end-to-end/support/process_use.h"

namespace soak {
namespace {

namespace fs = std::filesystem;

/// Files appear and vanish during the listing; a vanished one counts as nothing.
void AddFile(const fs::path& file, Sample& sample) {
    std::error_code gone;
    const std::uintmax_t size = fs::file_size(file, gone);
    if (gone) {
        return;
    }
    if (file.extension() == L".gz") {
        sample.compressedBytes += size;
        ++sample.compressedFiles;
    } else if (file.extension() == L".log") {
        sample.plainBytes += size;
        ++sample.plainFiles;
    }
}

}  // namespace

Sample TakeSample(HANDLE process, const std::string& executable, const fs::path& logs) {
    Sample sample;
    const test::ProcessUse use = test::UseOf(process);
    sample.handles = use.handles;
    sample.threads = use.threads;
    sample.privateBytes = bench::LookAtUnixProcess(executable).privateBytes;
    std::error_code noFolder;
    for (const auto& entry : fs::directory_iterator(logs, noFolder)) {
        AddFile(entry.path(), sample);
    }
    return sample;
}

void PrintHead(std::ostream& out) {
    out << "seconds,generation,handles,threads,private_bytes,plain_bytes,compressed_bytes,"
           "plain_files,compressed_files\n";
}

void Print(const Sample& sample, std::ostream& out) {
    out << std::fixed << std::setprecision(1) << sample.seconds << ',' << sample.generation << ','
        << sample.handles << ',' << sample.threads << ',' << std::setprecision(0)
        << sample.privateBytes << ',' << sample.plainBytes << ',' << sample.compressedBytes << ','
        << sample.plainFiles << ',' << sample.compressedFiles << '\n'
        << std::flush;
}

}  // namespace soak
