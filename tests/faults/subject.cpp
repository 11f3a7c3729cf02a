// The product, with one call failing.
//
//   fault_subject --scenario NAME --folder FOLDER [--memory] [--fail SITE.K] [--lasting]
//                 [--record MAPPING]
//
//   --memory           allocations are counted and fail, not platform calls
//   --fail SITE.K      the K-th call that is made from this place of the program fails
//   --lasting          and so do all later calls of the same function for the same use, or all
//                      later allocations
//   --record MAPPING   name of the memory that takes the run's record; without it the calls are
//                      printed

#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <string>

#include "framework/system/platform.h"
#include "tests/faults/fault_plan.h"
#include "tests/faults/scenarios.h"

namespace {

struct Arguments {
    std::wstring scenario;
    std::wstring folder;
    std::wstring mapping;
    faults::FaultPlan plan;
};

/// A place in hexadecimal digits and a number, with a point between them.
faults::CallId ParseCall(const wchar_t* text) {
    wchar_t* end = nullptr;
    const unsigned long site = std::wcstoul(text, &end, 16);
    const unsigned long occurrence = *end == L'.' ? std::wcstoul(end + 1, nullptr, 10) : 0;
    return {static_cast<std::uint32_t>(site), static_cast<std::uint32_t>(occurrence)};
}

Arguments ParseArguments(int argc, wchar_t** argv) {
    Arguments arguments;
    for (int index = 1; index < argc; ++index) {
        const std::wstring name = argv[index];
        if (name == L"--lasting") {
            arguments.plan.lasting = true;
        } else if (name == L"--memory") {
            arguments.plan.kind = faults::FaultKind::Allocation;
        } else if (index + 1 < argc && name == L"--scenario") {
            arguments.scenario = argv[++index];
        } else if (index + 1 < argc && name == L"--folder") {
            arguments.folder = argv[++index];
        } else if (index + 1 < argc && name == L"--record") {
            arguments.mapping = argv[++index];
        } else if (index + 1 < argc && name == L"--fail") {
            arguments.plan.failingCall = ParseCall(argv[++index]);
        }
    }
    return arguments;
}

/// The memory is never given back: the last calls are made after all clean-up.
faults::RunRecord* MapRecord(const std::wstring& name) {
    const HANDLE mapping =
        ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                             sizeof(faults::RunRecord), name.empty() ? nullptr : name.c_str());
    return static_cast<faults::RunRecord*>(
        ::MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(faults::RunRecord)));
}

void PrintCalls() {
    const faults::RunRecord& record = faults::Record();
    for (std::uint32_t index = 0; index < record.callCount && index < faults::MaxCalls; ++index) {
        const faults::CallRecord& call = record.calls[index];
        std::printf("%6lx.%-3lu %s%s\n", static_cast<unsigned long>(call.id.site),
                    static_cast<unsigned long>(call.id.occurrence), call.name,
                    call.failed != 0 ? ", failed" : "");
    }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    const Arguments arguments = ParseArguments(argc, argv);
    faults::RunRecord* const record = MapRecord(arguments.mapping);
    if (record == nullptr || arguments.folder.empty()) {
        std::fputs("see the head of subject.cpp\n", stderr);
        return EXIT_FAILURE;
    }
    faults::SetPlan(arguments.plan, *record);
    if (arguments.mapping.empty()) {
        std::atexit(PrintCalls);
    }
    return faults::RunScenario(arguments.scenario, arguments.folder);
}
