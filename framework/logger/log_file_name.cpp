#include "framework/logger/log_file_name.h"

#include <cstddef>
#include <cwchar>
#include <string_view>

#include "framework/system/wide_format.h"

namespace framework {
namespace {

constexpr std::wstring_view NumberWord = L"LOGID";
constexpr std::size_t MaxTemplateLength = 260;

}  // namespace

const wchar_t PlainLogPattern[] = L"*.log";
const wchar_t CompressedLogPattern[] = L"*.log.gz";

std::wstring MakeNameTemplate(const std::wstring& directory, const std::wstring& prefix,
                              const SYSTEMTIME& startTime) {
    wchar_t name[MaxTemplateLength + 1] = {};
    // A text of exactly the limit isn't zero-terminated by the call; the buffer's last character is
    // zero.
    const int length = ::_snwprintf(
        name, MaxTemplateLength, L"%s%s-%04hu%02hu%02hu-%02hu%02hu%02hu-%03hu.LOGID.log",
        directory.c_str(), prefix.c_str(), startTime.wYear, startTime.wMonth, startTime.wDay,
        startTime.wHour, startTime.wMinute, startTime.wSecond, startTime.wMilliseconds);
    return length < 0 ? std::wstring() : std::wstring(name);
}

std::wstring MakeFileName(const std::wstring& nameTemplate, std::uint32_t number) {
    const std::wstring digits = DecimalText(number);
    std::wstring name = nameTemplate;
    for (std::size_t position = name.find(NumberWord); position != std::wstring::npos;
         position = name.find(NumberWord, position + digits.size())) {
        name.replace(position, NumberWord.size(), digits);
    }
    return name;
}

}  // namespace framework
