#include "tools/quillon-log/folder.h"

#include <algorithm>

#include "framework/system/platform.h"
#include "framework/system/unique_handle.h"
#include "tools/quillon-log/log_name.h"

namespace quillon_log {
namespace {

struct FindHandleTraits {
    using Type = HANDLE;
    static Type Invalid() noexcept { return INVALID_HANDLE_VALUE; }
    static void Close(Type handle) noexcept { ::FindClose(handle); }
};
using FindHandle = framework::UniqueHandle<FindHandleTraits>;

std::uint64_t SizeOf(const WIN32_FIND_DATAW& found) {
    return (std::uint64_t{found.nFileSizeHigh} << 32) | found.nFileSizeLow;
}

TimePoint WrittenAt(const WIN32_FIND_DATAW& found) {
    return FromFileTime(found.ftLastWriteTime.dwLowDateTime, found.ftLastWriteTime.dwHighDateTime);
}

bool IsBefore(const LogFile& left, const LogFile& right) {
    return left.run != right.run ? left.run < right.run : left.number < right.number;
}

}  // namespace

Folder::Folder(std::wstring path) : path_(std::move(path)) {
    if (!path_.empty() && path_.back() != L'\\' && path_.back() != L'/') {
        path_ += L'\\';
    }
}

Folder::Folder(std::wstring path, const std::vector<std::wstring>& names)
    : path_(std::move(path)), isFixed_(true) {
    for (const std::wstring& name : names) {
        WIN32_FIND_DATAW found = {};
        const FindHandle search(::FindFirstFileW((path_ + name).c_str(), &found));
        if (!ParseLogName(name)) {
            otherName_ = name;
            LogFile file;
            file.plain = true;
            file.run.start = TimePoint::min();
            file.size = SizeOf(found);
            file.written = WrittenAt(found);
            files_.push_back(file);
        } else {
            Add(name, SizeOf(found), WrittenAt(found));
        }
    }
    Sort();
}

bool Folder::Refresh() {
    if (isFixed_) {
        return true;
    }
    files_.clear();
    WIN32_FIND_DATAW found = {};
    const FindHandle search(::FindFirstFileExW((path_ + L'*').c_str(), FindExInfoBasic, &found,
                                               FindExSearchNameMatch, nullptr,
                                               FIND_FIRST_EX_LARGE_FETCH));
    if (!search) {
        return false;
    }
    do {
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            Add(found.cFileName, SizeOf(found), WrittenAt(found));
        }
    } while (::FindNextFileW(search.Get(), &found) != FALSE);
    Sort();
    return true;
}

void Folder::Add(const std::wstring& fileName, std::uint64_t size, TimePoint written) {
    const std::optional<LogName> name = ParseLogName(fileName);
    if (!name) {
        return;
    }
    LogFile file;
    file.run = KeyOf(name->prefix, name->start);
    file.number = name->number;
    file.plain = !name->compressed;
    file.compressed = name->compressed;
    file.size = size;
    file.written = written;
    files_.push_back(file);
}

/// Puts the two forms of a log into one entry.
void Folder::Sort() {
    std::sort(files_.begin(), files_.end(), IsBefore);
    std::size_t count = 0;
    for (const LogFile& file : files_) {
        if (count > 0 && !IsBefore(files_[count - 1], file)) {
            LogFile& same = files_[count - 1];
            if (file.plain) {
                same.size = file.size;
                same.written = file.written;
            }
            same.plain = same.plain || file.plain;
            same.compressed = same.compressed || file.compressed;
        } else {
            files_[count++] = file;
        }
    }
    files_.resize(count);
}

RunKey Folder::KeyOf(const std::wstring& prefix, TimePoint start) {
    const auto known = std::find(prefixes_.begin(), prefixes_.end(), prefix);
    RunKey key;
    key.start = start;
    key.prefix = static_cast<std::uint32_t>(known - prefixes_.begin());
    if (known == prefixes_.end()) {
        prefixes_.push_back(prefix);
    }
    return key;
}

std::optional<std::pair<std::size_t, std::size_t>> Folder::FilesOf(RunKey run) const {
    LogFile key;
    key.run = run;
    const auto first = std::lower_bound(files_.begin(), files_.end(), key, IsBefore);
    key.number = 0xFFFFFFFF;
    const auto end = std::upper_bound(first, files_.end(), key, IsBefore);
    if (first == end) {
        return std::nullopt;
    }
    return std::pair(static_cast<std::size_t>(first - files_.begin()),
                     static_cast<std::size_t>(end - files_.begin()) - 1);
}

const LogFile* Folder::Find(RunKey run, std::uint32_t number) const {
    LogFile key;
    key.run = run;
    key.number = number;
    const auto found = std::lower_bound(files_.begin(), files_.end(), key, IsBefore);
    return found != files_.end() && found->run == run && found->number == number ? &*found
                                                                                 : nullptr;
}

const LogFile* Folder::NextAfter(RunKey run, std::uint32_t number) const {
    LogFile key;
    key.run = run;
    key.number = number;
    const auto found = std::upper_bound(files_.begin(), files_.end(), key, IsBefore);
    return found != files_.end() && found->run == run ? &*found : nullptr;
}

std::wstring Folder::NameOf(RunKey run, std::uint32_t number) const {
    if (!shownName_.empty()) {
        return shownName_;
    }
    if (otherName_.empty()) {
        return PlainName(prefixes_[run.prefix], run.start, number);
    }
    return otherName_.ends_with(L".gz") ? otherName_.substr(0, otherName_.size() - 3) : otherName_;
}

std::wstring Folder::RunName(RunKey run) const {
    std::wstring name = NameOf(run, 0);
    if (otherName_.empty()) {
        name.resize(name.size() - std::wstring_view(L".0.log").size());
    }
    return name;
}

std::wstring Folder::PlainPath(RunKey run, std::uint32_t number) const {
    return path_ + (otherName_.empty() ? NameOf(run, number) : otherName_);
}

std::wstring Folder::CompressedPath(RunKey run, std::uint32_t number) const {
    return PlainPath(run, number) + L".gz";
}

bool IsBeingWritten(const std::wstring& path) {
    const framework::FileHandle file(::CreateFileW(path.c_str(), GENERIC_READ,
                                                   FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return !file && ::GetLastError() == ERROR_SHARING_VIOLATION;
}

}  // namespace quillon_log
