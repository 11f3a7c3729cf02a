// Stands in for a system tool that has no effect on Wine: under the tool's name it writes its
// command line to calls.txt in the current folder and prints what lies in NAME.txt there. Its exit
// code is 0, or what NAME.codes.txt there gives for the first argument. As `sc` it hands on to the
// real one what Wine can do and what has no such code.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>

#include "framework/system/platform.h"
#include "tests/support/child_process.h"

namespace {

// Each line has an argument and a code.
std::optional<int> CodeFor(const std::wstring& tool, const std::wstring& argument) {
    std::ifstream codes(std::filesystem::path(tool + L".codes.txt"));
    std::string word;
    int code = 0;
    while (codes >> word >> code) {
        if (std::filesystem::path(word).wstring() == argument) {
            return code;
        }
    }
    return std::nullopt;
}

bool HandedOn(const std::wstring& tool, int argc, wchar_t** argv) {
    const std::wstring verb = argc > 1 ? argv[1] : L"";
    return tool == L"sc" && verb != L"failure" && verb != L"failureflag" && verb != L"config";
}

int RealTool(const std::wstring& tool) {
    const std::wstring arguments = ::GetCommandLineW();
    // The scripts name the tool without quotes, in a folder without blanks.
    const std::size_t end = arguments.find(L' ');
    test::Child child(L"C:\\windows\\system32\\" + tool + L".exe" + arguments.substr(end));
    const int code = static_cast<int>(child.Wait());
    std::cout << child.Output();
    return code;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const std::wstring tool = test::OwnPath().stem().wstring();
    const std::optional<int> code = CodeFor(tool, argc > 1 ? argv[1] : L"");
    if (!code && HandedOn(tool, argc, argv)) {
        return RealTool(tool);
    }
    std::ofstream calls("calls.txt", std::ios::app | std::ios::binary);
    calls << std::filesystem::path(tool).string();
    for (int i = 1; i < argc; ++i) {
        calls << " [" << std::filesystem::path(argv[i]).string() << ']';
    }
    calls << '\n';
    std::ifstream answer(std::filesystem::path(tool + L".txt"), std::ios::binary);
    if (answer) {
        std::cout << answer.rdbuf();
    }
    return code.value_or(0);
}
