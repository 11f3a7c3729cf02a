#include "tools/service-tool/report.h"

#include "tools/service-tool/place.h"
#include "tools/shared/terminal_output.h"

namespace service_tool {
namespace {

constexpr std::size_t WordWidth = 10;
constexpr std::size_t FactWidth = 13;

std::wstring Padded(std::wstring_view text, std::size_t width) {
    std::wstring padded(text);
    padded.append(text.size() < width ? width - text.size() : 1, L' ');
    return padded;
}

}  // namespace

void Print(std::wstring_view line) {
    static_cast<void>(tools::WriteOutput(std::wstring(line) + L"\n"));
}

void PrintStep(std::wstring_view word, std::wstring_view text) {
    Print(L"  " + Padded(word, WordWidth) + std::wstring(text));
}

void PrintUnderStep(std::wstring_view text) {
    PrintStep(L"", text);
}

void PrintFact(std::wstring_view name, std::wstring_view value) {
    Print(L"  " + Padded(name, FactWidth) + std::wstring(value));
}

bool RequireElevation() {
    if (!IsElevated()) {
        Print(L"This needs administrator rights: start the prompt with \"Run as administrator\".");
        return false;
    }
    return true;
}

}  // namespace service_tool
