#include "tests/end-to-end/log_files/log_folder.h"

#include <cstring>
#include <regex>
#include <stdexcept>

#include "tests/support/gzip_reader.h"
#include "tests/support/scratch_folder.h"

namespace test {
namespace {

constexpr std::size_t TimeLength = 21;

/// "[20201116-163012-345]". No regular expression: a test reads some hundred thousand of them.
bool BeginsWithTime(const std::wstring& line) {
    constexpr const wchar_t* Shape = L"[dddddddd-dddddd-ddd]";
    if (line.size() < TimeLength) {
        return false;
    }
    for (std::size_t index = 0; index < TimeLength; ++index) {
        const bool digit = line[index] >= L'0' && line[index] <= L'9';
        if (Shape[index] == L'd' ? !digit : line[index] != Shape[index]) {
            return false;
        }
    }
    return true;
}

std::wstring WithoutTime(const std::wstring& line) {
    if (!BeginsWithTime(line)) {
        throw std::runtime_error("a record without its time");
    }
    return line.substr(TimeLength);
}

LogFileContent Decode(const std::string& bytes) {
    LogFileContent content;
    content.hasMark = bytes.compare(0, 2, "\xFF\xFE") == 0;
    if (!content.hasMark) {
        content.endsWhole = bytes.empty();
        return content;
    }
    std::wstring text((bytes.size() - 2) / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data() + 2, text.size() * sizeof(wchar_t));
    std::size_t begin = 0;
    for (std::size_t end = text.find(L'\n'); end != std::wstring::npos;
         end = text.find(L'\n', begin)) {
        content.records.push_back(WithoutTime(text.substr(begin, end - begin)));
        begin = end + 1;
    }
    content.endsWhole = begin == text.size() && bytes.size() % sizeof(wchar_t) == 0;
    return content;
}

}  // namespace

bool LogFileContent::HasHeader() const {
    static const std::wregex build(LR"(\[T\]\[quillon\] build: 804, process: \d+, '.+')");
    static const std::wregex utc(LR"(\[T\]\[quillon\] \d{4}\.\d\d\.\d\d \d\d:\d\d:\d\d UTC)");
    static const std::wregex local(LR"(\[T\]\[quillon\] \d{4}\.\d\d\.\d\d \d\d:\d\d:\d\d LOCAL)");
    return hasMark && records.size() >= 3 && std::regex_match(records[0], build) &&
           std::regex_match(records[1], utc) && std::regex_match(records[2], local);
}

std::map<unsigned, LogFileContent> ReadLogFolder(const std::filesystem::path& folder) {
    static const std::wregex shape(LR"(quillon-\d{8}-\d{6}-\d{3}\.(0|[1-9]\d*)\.log(\.gz)?)");
    std::map<unsigned, LogFileContent> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::wstring name = entry.path().filename().wstring();
        std::wsmatch match;
        if (!std::regex_match(name, match, shape)) {
            throw std::runtime_error("a name that is no log file's");
        }
        const auto number = static_cast<unsigned>(std::stoul(match[1].str()));
        if (!match[2].matched) {
            files[number] = Decode(ReadBytes(entry.path()));
        } else if (!std::filesystem::exists(folder / name.substr(0, name.size() - 3))) {
            files[number] = Decode(Gunzip(ReadBytes(entry.path())));
            files[number].compressed = true;
        }
    }
    return files;
}

}  // namespace test
