#include "tools/service-watch/log_follower.h"

#include <zlib.h>

#include <array>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

namespace service_watch {

namespace {

constexpr std::size_t ChunkSize = 65536;

struct FindHandleTraits {
    using Type = HANDLE;
    static Type Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Type handle) noexcept { ::FindClose(handle); }
};
using FindHandle = framework::UniqueHandle<FindHandleTraits>;

struct GzipCloser {
    void operator()(gzFile file) const noexcept { gzclose_r(file); }
};
using GzipFile = std::unique_ptr<gzFile_s, GzipCloser>;

std::vector<std::wstring> FilesIn(const std::wstring& folder, const wchar_t* pattern) {
    std::vector<std::wstring> paths;
    WIN32_FIND_DATAW data{};
    const FindHandle find(::FindFirstFileW((folder + pattern).c_str(), &data));
    for (bool more = static_cast<bool>(find); more;
         more = ::FindNextFileW(find.Get(), &data) != 0) {
        paths.push_back(folder + data.cFileName);
    }
    return paths;
}

/// The path up to the number of a run's first file.
std::optional<std::wstring> StemOfFirstFile(const std::wstring& path) {
    for (const std::wstring_view ending : {L"0.log", L"0.log.gz"}) {
        if (path.ends_with(std::wstring(L".").append(ending))) {
            return path.substr(0, path.size() - ending.size());
        }
    }
    return std::nullopt;
}

}  // namespace

LogFollower::LogFollower(std::vector<std::wstring> folders) : folders_(std::move(folders)) {
    for (const std::wstring& folder : folders_) {
        for (std::wstring& path : FilesIn(folder, L"*.0.log*")) {
            if (const auto stem = StemOfFirstFile(path)) {
                earlier_.insert(*stem);
            }
        }
    }
}

void LogFollower::Poll(const LineSink& sink) {
    if (stem_.empty()) {
        stem_ = FindStemOfRun();
        if (stem_.empty()) {
            return;
        }
        BeginFile(0, sink);
    }
    ReadRest(sink);
    // The service opens the next file before it compresses the last one, so that nothing more can
    // come into a file once its follower in number is there.
    while (Exists(number_ + 1)) {
        ReadRest(sink);
        decoder_.Finish(sink);
        BeginFile(number_ + 1, sink);
    }
}

void LogFollower::Finish(const LineSink& sink) {
    Poll(sink);
    decoder_.Finish(sink);
    file_.Reset();
}

std::wstring LogFollower::CurrentName() const {
    return stem_.empty() ? std::wstring() : stem_ + std::to_wstring(number_);
}

std::uint32_t LogFollower::FileCount() const noexcept {
    return stem_.empty() ? 0 : number_ + 1;
}

std::wstring LogFollower::FindStemOfRun() const {
    for (const std::wstring& folder : folders_) {
        for (const std::wstring& path : FilesIn(folder, L"*.0.log*")) {
            const auto stem = StemOfFirstFile(path);
            if (stem && !earlier_.contains(*stem)) {
                return *stem;
            }
        }
    }
    return {};
}

void LogFollower::BeginFile(std::uint32_t number, const LineSink& sink) {
    number_ = number;
    const std::wstring name = NameOf(number);
    file_.Reset(::CreateFileW(name.c_str(), GENERIC_READ,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file_) {
        ReadRest(sink);
    } else if (!ReadCompressed(name + L".gz", sink)) {
        sink(L"(" + name + L" was gone before it could be read)");
    }
}

std::wstring LogFollower::NameOf(std::uint32_t number) const {
    return stem_ + std::to_wstring(number) + L".log";
}

bool LogFollower::Exists(std::uint32_t number) const {
    const std::wstring name = NameOf(number);
    return ::GetFileAttributesW(name.c_str()) != INVALID_FILE_ATTRIBUTES ||
           ::GetFileAttributesW((name + L".gz").c_str()) != INVALID_FILE_ATTRIBUTES;
}

void LogFollower::ReadRest(const LineSink& sink) {
    if (!file_) {
        return;
    }
    std::array<char, ChunkSize> buffer;
    DWORD size = 0;
    while (
        ::ReadFile(file_.Get(), buffer.data(), static_cast<DWORD>(buffer.size()), &size, nullptr) &&
        size > 0) {
        decoder_.Add({buffer.data(), size}, sink);
    }
}

/// For a file that was closed and compressed before it could be opened.
bool LogFollower::ReadCompressed(const std::wstring& path, const LineSink& sink) {
    const GzipFile file(gzopen_w(path.c_str(), "rb"));
    if (!file) {
        return false;
    }
    std::array<char, ChunkSize> buffer;
    int size = 0;
    while ((size = gzread(file.get(), buffer.data(), static_cast<unsigned>(buffer.size()))) > 0) {
        decoder_.Add({buffer.data(), static_cast<std::size_t>(size)}, sink);
    }
    return size == 0;
}

}  // namespace service_watch
