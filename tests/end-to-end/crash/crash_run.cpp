#include "tests/end-to-end/crash/crash_run.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

#include "tests/end-to-end/support/log_files.h"

namespace test {

std::wstring FilterText(std::uint64_t thread, const std::wstring& text) {
    return L"ExceptionFilter (Thread " + std::to_wstring(thread) + L"): " + text;
}

Records PassBegins(std::uint64_t thread) {
    return {E(FilterText(thread, L"exception occur ")),
            T(FilterText(thread, L"critical section begin"))};
}

Records DumpWritten(std::uint64_t thread, const std::filesystem::path& dump) {
    return {T(FilterText(thread, L"start dump creation")),
            T(L"Minidump written to " + dump.wstring()),
            T(FilterText(thread, L"successfully finish dump creation"))};
}

Records DumpFailed(std::uint64_t thread, const std::wstring& why) {
    return {T(FilterText(thread, L"start dump creation")), E(why),
            E(FilterText(thread, L"CreateDumpInThisProcess failed")),
            E(FilterText(thread, L"dump creation failed"))};
}

bool OnWine() {
    return ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

std::uint32_t DivisionOverflow() {
    return OnWine() ? DivisionByZero : IntegerOverflow;
}

std::uint32_t StackOverflowExit() {
    using Version = const char*(CDECL*)();
    const auto version = reinterpret_cast<Version>(reinterpret_cast<void*>(
        ::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version")));
    if (version == nullptr) {
        return EXCEPTION_STACK_OVERFLOW;
    }
    return std::strtoul(version(), nullptr, 10) < 10 ? 0 : 1;
}

CrashRun::CrashRun(const std::wstring& subfolder) : host_(subfolder) {
    // Children inherit it.
    ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
}

std::uint32_t CrashRun::Run(const std::wstring& arguments, const ChildOptions& options) {
    const std::unique_ptr<Child> child = host_.Start(arguments, options);
    const std::uint32_t exitCode = child->Wait();
    output_ = child->Output();
    return exitCode;
}

std::filesystem::path CrashRun::DumpFile() const {
    return host_.DataFolder() / L"Velmora" / L"Quillon" / L"tarnwick-service.exe.dmp";
}

void CrashRun::MakeDumpFolder() const {
    std::filesystem::create_directories(DumpFile().parent_path());
}

std::size_t CrashRun::DumpCount() const {
    const std::filesystem::recursive_directory_iterator files(host_.DataFolder().parent_path());
    return static_cast<std::size_t>(std::count_if(begin(files), end(files), [](const auto& file) {
        return file.path().extension() == L".dmp";
    }));
}

std::uint64_t CrashRun::CrashingThread() const {
    return host_.ReadTranscript().With("action", "crash").back().Number("tid");
}

Records CrashRun::CrashRecords() const {
    const auto files = LogFilesIn(host_.Logs());
    EXPECT_EQ(files.size(), 1U);
    EXPECT_EQ(files.at(0).extension(), L".log");
    return FromCrashOn(ReadLogRecords(files.at(0)));
}

Records FromCrashOn(const Records& records) {
    const auto first = std::find_if(records.begin(), records.end(), [](const std::wstring& record) {
        return record.find(L"exception occur ") != std::wstring::npos ||
               record.find(L"VectoredExceptionProcessing") != std::wstring::npos;
    });
    return {first, records.end()};
}

Records OfTheCrash(const Records& records) {
    Records crash = FromCrashOn(records);
    std::erase_if(crash, [](const std::wstring& record) {
        return record.find(L"] WindowsServiceBase->") != std::wstring::npos ||
               record.find(L"] VelmoraTarnwickService in On") != std::wstring::npos;
    });
    return crash;
}

}  // namespace test
