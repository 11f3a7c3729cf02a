#include "tests/faults/faulted_run.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <memory>
#include <stdexcept>

#include "framework/system/unique_handle.h"
#include "tests/faults/played_controller.h"
#include "tests/support/child_process.h"
#include "tests/support/gzip_reader.h"
#include "tests/support/scratch_folder.h"
#include "tests/support/unique_name.h"

namespace faults {
namespace {

namespace fs = std::filesystem;

constexpr DWORD RunLimitMs = 20000;

/// The memory that the subject writes its record to.
class SharedRecord {
  public:
    SharedRecord()
        : name_(test::UniqueName(L"tarnwick-fault-run")),
          mapping_(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                        sizeof(RunRecord), name_.c_str())),
          record_(static_cast<RunRecord*>(
              ::MapViewOfFile(mapping_.Get(), FILE_MAP_ALL_ACCESS, 0, 0, sizeof(RunRecord)))) {
        if (record_ == nullptr) {
            throw std::runtime_error("no shared memory");
        }
    }
    ~SharedRecord() { ::UnmapViewOfFile(record_); }
    SharedRecord(const SharedRecord&) = delete;
    SharedRecord& operator=(const SharedRecord&) = delete;

    [[nodiscard]] const std::wstring& Name() const noexcept { return name_; }
    [[nodiscard]] const RunRecord& Get() const noexcept { return *record_; }

  private:
    std::wstring name_;
    framework::KernelHandle mapping_;
    RunRecord* record_;
};

void TakeRecord(const RunRecord& record, RunFacts& facts) {
    facts.dispatched = record.dispatched != 0;
    facts.unsettled = record.unsettled != 0;
    facts.secondPress = record.secondPress != 0;
    facts.controllersLeft = record.created;
    facts.acceptedRecords = record.acceptedRecords;
    facts.thrownRecords = record.thrownRecords;
    facts.openHandles = record.openHandles;
    facts.reports.assign(record.reports, record.reports + record.reportCount);
    facts.calls.assign(record.calls,
                       record.calls + std::min<std::uint32_t>(record.callCount, MaxCalls));
}

std::uint32_t CountOf(const std::wstring& text, const std::wstring& part) {
    std::uint32_t count = 0;
    for (std::size_t at = text.find(part); at != std::wstring::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

void TakeLogText(const std::wstring& text, RunFacts& facts) {
    facts.crashLines += CountOf(text, L"] ExceptionFilter (Thread ");
    facts.crashLines += CountOf(text, L"] Minidump written to ");
    const std::size_t markSize = std::wcslen(NumberedText);
    for (std::size_t at = text.find(NumberedText); at != std::wstring::npos;
         at = text.find(NumberedText, at + markSize)) {
        facts.foundRecords.push_back(
            static_cast<std::uint32_t>(std::wcstoul(text.c_str() + at + markSize, nullptr, 10)));
    }
    facts.endRecord = facts.endRecord || text.find(L"[T][quillon] End\n") != std::wstring::npos;
}

std::wstring TextOfLog(const std::string& bytes) {
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    return text;
}

/// Whether a log of the product has records and the first isn't its header's.
bool IsHeadless(const fs::path& path, const std::wstring& text) {
    const std::size_t lineEnd = text.find(L'\n');
    return path.filename().wstring().starts_with(L"quillon-") && lineEnd != std::wstring::npos &&
           text.find(L"build: 804, process: ") > lineEnd;
}

void TakeLogBytes(const fs::path& path, const std::string& bytes, RunFacts& facts) {
    const std::wstring text = TextOfLog(bytes);
    facts.headless = facts.headless || IsHeadless(path, text);
    TakeLogText(text, facts);
}

/// A compressed file next to its source is an unfinished copy of it.
void TakeLogFile(const fs::path& path, RunFacts& facts) {
    if (path.extension() == L".log") {
        TakeLogBytes(path, test::ReadBytes(path), facts);
    } else if (path.extension() == L".gz" && !fs::exists(fs::path(path).replace_extension())) {
        try {
            TakeLogBytes(path, test::Gunzip(test::ReadBytes(path)), facts);
        } catch (const std::exception&) {
            facts.damagedLog = true;
        }
    }
}

void TakeFiles(const fs::path& folder, RunFacts& facts) {
    std::vector<fs::path> paths;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            paths.push_back(entry.path());
        }
    }
    std::sort(paths.begin(), paths.end());
    for (const fs::path& path : paths) {
        facts.files.push_back(path.filename().string());
        if (path.extension() == L".dmp" && fs::file_size(path) != 0) {
            facts.dump = true;
            facts.dumpBesideProgram = path.parent_path() == folder;
        }
        TakeLogFile(path, facts);
    }
}

std::wstring SubjectCommandLine(const std::string& scenario, const FaultPlan& plan,
                                const fs::path& folder, const std::wstring& record) {
    const fs::path subject = test::OwnPath().parent_path() / L"fault_subject.exe";
    const std::string call = TextOf(plan.failingCall);
    return L'"' + subject.wstring() + L"\" --scenario " +
           std::wstring(scenario.begin(), scenario.end()) + L" --fail " +
           std::wstring(call.begin(), call.end()) + (plan.lasting ? L" --lasting" : L"") +
           (plan.kind == FaultKind::Allocation ? L" --memory" : L"") + L" --record " + record +
           L" --folder \"" + folder.wstring() + L'"';
}

/// Under load Wine sometimes refuses to start a program; a later attempt succeeds.
std::unique_ptr<test::Child> StartSubject(const std::wstring& commandLine) {
    constexpr int Tries = 5;
    constexpr DWORD PauseMs = 200;
    for (int tries = 1;; ++tries) {
        try {
            return std::make_unique<test::Child>(commandLine);
        } catch (const std::exception&) {
            if (tries == Tries) {
                throw;
            }
        }
        ::Sleep(PauseMs);
    }
}

}  // namespace

std::string TextOf(const CallId& call) {
    char text[32];
    std::snprintf(text, sizeof(text), "%x.%u", static_cast<unsigned>(call.site),
                  static_cast<unsigned>(call.occurrence));
    return text;
}

RunFacts RunFaulted(const std::string& scenario, const FaultPlan& plan) {
    RunFacts facts;
    const test::ScratchFolder folder;
    const SharedRecord record;
    {
        const auto subject =
            StartSubject(SubjectCommandLine(scenario, plan, folder.Path(), record.Name()));
        try {
            facts.exitCode = subject->Wait(RunLimitMs);
        } catch (const std::exception&) {
            facts.hung = true;
        }
    }
    TakeRecord(record.Get(), facts);
    TakeFiles(folder.Path(), facts);
    return facts;
}

}  // namespace faults
