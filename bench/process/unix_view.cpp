#include "bench/process/unix_view.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>

namespace bench {
namespace {

namespace fs = std::filesystem;

/// Empty if the process is gone or ends during the read.
std::string ReadAll(const fs::path& path) {
    try {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    } catch (const std::ios_base::failure&) {
        return {};
    }
}

/// The number after "name:" in the text of a status file.
double Field(const std::string& text, const std::string& name) {
    const std::size_t begin = text.find("\n" + name + ":");
    if (begin == std::string::npos) {
        return 0;
    }
    std::istringstream number(text.substr(begin + name.size() + 2, 32));
    double value = 0;
    number >> value;
    return value;
}

double CountSwitches(const fs::path& process) {
    double switches = 0;
    std::error_code error;
    for (const auto& thread : fs::directory_iterator(process / "task", error)) {
        const std::string status = ReadAll(thread.path() / "status");
        switches +=
            Field(status, "voluntary_ctxt_switches") + Field(status, "nonvoluntary_ctxt_switches");
    }
    return switches;
}

}  // namespace

UnixFigures LookAtUnixProcess(const std::string& executable) {
    constexpr double BytesPerKilobyte = 1024;
    UnixFigures figures;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(L"Z:\\proc", error)) {
        if (ReadAll(entry.path() / "cmdline").find(executable) == std::string::npos) {
            continue;
        }
        const std::string status = ReadAll(entry.path() / "status");
        figures.found = true;
        figures.privateBytes =
            (Field(status, "RssAnon") + Field(status, "VmSwap")) * BytesPerKilobyte;
        figures.contextSwitches = CountSwitches(entry.path());
    }
    return figures;
}

}  // namespace bench
