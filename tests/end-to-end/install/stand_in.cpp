// Stands in for a system tool that has no effect on Wine: under the tool's name it writes its
// command line to calls.txt in the current folder and prints what lies in NAME.txt there. As `sc`
// it hands on to the real one what Wine can do.

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <string>

#include "framework/system/platform.h"
#include "tests/support/child_process.h"

namespace {

bool HandedOn(const std::wstring& tool, int argc, wchar_t** argv) {
    const std::wstring verb = argc > 1 ? argv[1] : L"";
    return tool == L"sc" && verb != L"failure" && verb != L"failureflag" && verb != L"config";
}

int RealTool(const std::wstring& tool) {
    const std::wstring arguments = ::GetCommandLineW();
    // The script names the tool without quotes.
    const std::size_t end = arguments.find(L' ');
    test::Child child(L"C:\\windows\\system32\\" + tool + L".exe" + arguments.substr(end));
    const int code = static_cast<int>(child.Wait());
    std::cout << child.Output();
    return code;
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const std::wstring tool = test::OwnPath().stem().wstring();
    if (HandedOn(tool, argc, argv)) {
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
    return 0;
}
