#include "tests/end-to-end/support/log_files.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <cwctype>
#include <memory>
#include <stdexcept>
#include <system_error>

#include "framework/system/platform.h"
#include "tests/support/log_capture.h"
#include "tests/support/scratch_folder.h"

namespace test {
namespace {

bool EndsWith(const std::wstring& text, const std::wstring& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// With zlib's own reader. Its file names are 8-bit, so the file is first copied to an ASCII name.
std::string ReadCompressed(const std::filesystem::path& file) {
    const ScratchFolder folder;
    const std::filesystem::path copy = folder.Path() / L"log.gz";
    std::filesystem::copy_file(file, copy);
    const std::unique_ptr<gzFile_s, decltype(&gzclose)> reader(gzopen(copy.string().c_str(), "rb"),
                                                               gzclose);
    if (reader == nullptr) {
        throw std::runtime_error("gzopen failed for " + copy.string());
    }
    std::string bytes;
    char buffer[65536];
    int count = 0;
    while ((count = gzread(reader.get(), buffer, sizeof(buffer))) > 0) {
        bytes.append(buffer, static_cast<std::size_t>(count));
    }
    if (count < 0) {
        throw std::runtime_error("no whole gzip file: " + file.string());
    }
    return bytes;
}

/// "[T][quillon] 2020.11.16 16:30:12 UTC" has a different text in each run.
bool IsDateRecord(const std::wstring& record) {
    return EndsWith(record, L" UTC") || EndsWith(record, L" LOCAL");
}

void BlankDigits(std::wstring& text) {
    std::replace_if(
        text.begin(), text.end(), [](wchar_t character) { return std::iswdigit(character) != 0; },
        L'0');
}

std::wstring EnvironmentVariable(const wchar_t* name) {
    std::wstring value(32768, L'\0');
    value.resize(::GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
    return value;
}

/// For a file that may be open and may end in the middle of a record.
std::ptrdiff_t CountLines(const std::filesystem::path& file, const std::wstring& record) {
    const std::wstring line = record + L'\n';
    std::ptrdiff_t count = 0;
    try {
        const std::wstring text = ReadLogFileText(file);
        for (std::size_t at = text.find(line); at != std::wstring::npos;
             at = text.find(line, at + line.size())) {
            ++count;
        }
    } catch (const std::exception&) {
        // Missing, or compressed while it was read: the caller retries.
        return 0;
    }
    return count;
}

FILETIME Now() {
    FILETIME now = {};
    ::GetSystemTimeAsFileTime(&now);
    return now;
}

const FILETIME ProgramBegan = Now();

/// False for the many logs that other commands may have left in the prefix, so that they aren't
/// read. False too if the file is gone.
bool WrittenByThisTest(const std::filesystem::path& file) {
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    return ::GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data) != FALSE &&
           ::CompareFileTime(&data.ftLastWriteTime, &ProgramBegan) >= 0;
}

bool NamesExecutable(const std::filesystem::path& file, const std::wstring& executable) {
    try {
        return ReadLogFileText(file).find(L"'" + executable + L"'") != std::wstring::npos;
    } catch (const std::exception&) {
        // Another test's file, compressed or deleted while it was read.
        return false;
    }
}

}  // namespace

std::vector<std::filesystem::path> LogFilesIn(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    std::error_code noFolder;
    for (const auto& entry : std::filesystem::directory_iterator(folder, noFolder)) {
        const std::wstring name = entry.path().filename().wstring();
        if (EndsWith(name, L".log") || EndsWith(name, L".log.gz")) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string ReadLogBytes(const std::filesystem::path& file) {
    return file.extension() == L".gz" ? ReadCompressed(file) : ReadBytes(file);
}

std::wstring ReadLogFileText(const std::filesystem::path& file) {
    const std::string bytes = ReadLogBytes(file);
    if (bytes.size() < 2 || bytes.size() % sizeof(wchar_t) != 0 ||
        bytes.compare(0, 2, "\xFF\xFE") != 0) {
        throw std::runtime_error("no UTF-16 text with a byte order mark: " + file.string());
    }
    std::wstring text((bytes.size() - 2) / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data() + 2, text.size() * sizeof(wchar_t));
    return text;
}

std::vector<std::wstring> ReadLogRecords(const std::filesystem::path& file) {
    std::vector<std::wstring> records = SplitRecords(ReadLogFileText(file));
    for (std::size_t i = 0; i < std::min<std::size_t>(records.size(), 3); ++i) {
        if (IsDateRecord(records[i])) {
            BlankDigits(records[i]);
        }
    }
    return records;
}

bool WaitForRecord(const std::function<std::vector<std::filesystem::path>()>& list,
                   const std::wstring& record, std::ptrdiff_t count) {
    // Polled, because the host signals no event for a written record.
    constexpr ULONGLONG LimitMs = 30000;
    constexpr DWORD PollMs = 20;
    const ULONGLONG end = ::GetTickCount64() + LimitMs;
    do {
        const std::vector<std::filesystem::path> files = list();
        if (!files.empty() && CountLines(files.back(), record) >= count) {
            return true;
        }
        ::Sleep(PollMs);
    } while (::GetTickCount64() < end);
    return false;
}

bool WaitForRecord(const std::filesystem::path& folder, const std::wstring& record,
                   std::ptrdiff_t count) {
    return WaitForRecord([&folder] { return LogFilesIn(folder); }, record, count);
}

std::vector<std::filesystem::path> ServiceLogsOf(const std::filesystem::path& executable) {
    std::vector<std::filesystem::path> found;
    for (const wchar_t* variable : {L"PUBLIC", L"ALLUSERSPROFILE"}) {
        const std::filesystem::path folder = std::filesystem::path(EnvironmentVariable(variable)) /
                                             L"Velmora" / L"Quillon" / L"Logs";
        for (const std::filesystem::path& file : LogFilesIn(folder)) {
            if (WrittenByThisTest(file) && NamesExecutable(file, executable.wstring())) {
                found.push_back(file);
            }
        }
    }
    return found;
}

}  // namespace test
