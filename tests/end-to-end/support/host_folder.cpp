#include "tests/end-to-end/support/host_folder.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/end-to-end/support/log_files.h"

namespace test {

HostFolder::HostFolder(const std::wstring& subfolder)
    : path_(subfolder.empty() ? folder_.Path() : folder_.Path() / subfolder) {
    std::filesystem::create_directories(path_);
    for (const wchar_t* name : {L"tarnwick-service.exe", L"orrin-ctrl.dll", L"probe-plain.exe"}) {
        std::filesystem::copy_file(ProductFolder() / name, path_ / name);
    }
}

std::filesystem::path HostFolder::Executable() const {
    return path_ / L"tarnwick-service.exe";
}

std::filesystem::path HostFolder::Library() const {
    return path_ / L"orrin-ctrl.dll";
}

std::filesystem::path HostFolder::Logs() const {
    return DataFolder() / L"Velmora" / L"Quillon" / L"Logs";
}

void HostFolder::Script(const std::string& lines) const {
    WriteFileBytes(path_ / L"orrin-ctrl.script", "transcript transcript.txt\n" + lines);
}

Transcript HostFolder::ReadTranscript() const {
    return Transcript(ReadBytes(path_ / L"transcript.txt"));
}

std::unique_ptr<Child> HostFolder::Start(const std::wstring& arguments,
                                         ChildOptions options) const {
    std::filesystem::create_directories(DataFolder());
    options.environment.emplace(L"ALLUSERSPROFILE", DataFolder().wstring());
    std::wstring commandLine = L'"' + Executable().wstring() + L'"';
    if (!arguments.empty()) {
        commandLine += L' ' + arguments;
    }
    return std::make_unique<Child>(commandLine, options);
}

std::vector<std::wstring> HostFolder::OnlyLog() const {
    const std::vector<std::filesystem::path> files = LogFilesIn(Logs());
    if (files.size() != 1) {
        ADD_FAILURE() << files.size() << " log files instead of one in " << Logs();
        return {};
    }
    return ReadLogRecords(files.front());
}

std::string HostFolder::EventName(const std::string& suffix) const {
    // Global, because a service runs in another session than the test.
    return "Global\\" + folder_.Path().filename().string() + '-' + suffix;
}

SharedEvent::SharedEvent(const HostFolder& host, const std::string& suffix)
    : name_(host.EventName(suffix)), event_(::CreateEventA(nullptr, TRUE, FALSE, name_.c_str())) {
    if (!event_) {
        throw std::runtime_error("can't create the event " + name_);
    }
}

void SharedEvent::Set() const {
    ::SetEvent(event_.Get());
}

bool SharedEvent::Wait(DWORD limitMs) const {
    return ::WaitForSingleObject(event_.Get(), limitMs) == WAIT_OBJECT_0;
}

std::filesystem::path ProductFolder() {
    return OwnPath().parent_path();
}

}  // namespace test
