#include "tools/quillon-log/cursor.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "framework/system/platform.h"
#include "framework/system/unique_handle.h"
#include "tools/quillon-log/log_name.h"
#include "tools/quillon-log/output.h"

namespace quillon_log {
namespace {

// Not allowed in file names.
constexpr wchar_t EntryMark = L'/';
constexpr wchar_t PartMark = L':';
constexpr std::wstring_view Begin = L"quillon-log-cursor-1";
constexpr std::wstring_view AtEndState = L"end";
constexpr std::wstring_view QuietState = L"quiet";
constexpr std::wstring_view OpenState = L"open";

std::wstring_view TakePart(std::wstring_view& text, wchar_t mark) {
    const std::size_t end = text.find(mark);
    const std::wstring_view part = text.substr(0, end);
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
    return part;
}

std::optional<std::uint64_t> TakeNumber(std::wstring_view& text) {
    const std::wstring_view part = TakePart(text, PartMark);
    std::uint64_t number = 0;
    for (const wchar_t digit : part) {
        constexpr std::uint64_t Limit = std::numeric_limits<std::uint64_t>::max() / 10 - 1;
        if (digit < L'0' || digit > L'9' || number > Limit) {
            return std::nullopt;
        }
        number = number * 10 + static_cast<std::uint64_t>(digit - L'0');
    }
    return part.empty() ? std::nullopt : std::optional(number);
}

/// "quillon-20261120-183005-123.7.log:4312:881234:20261120-190000-000:open"
bool AddEntry(std::wstring_view entry, Folder& folder, Positions& positions) {
    const std::optional<LogName> name = ParseLogName(TakePart(entry, PartMark));
    const std::optional<std::uint64_t> records = TakeNumber(entry);
    const std::optional<std::uint64_t> offset = TakeNumber(entry);
    const std::wstring_view stamp = TakePart(entry, PartMark);
    const std::optional<TimePoint> time = ParseStamp(stamp);
    if (!name || name->compressed || !records || !offset || !time ||
        (entry != AtEndState && entry != QuietState && entry != OpenState)) {
        return false;
    }
    LogPosition position;
    position.number = name->number;
    position.records = *records;
    position.offset = *offset;
    position.time = *time;
    position.isAtEnd = entry == AtEndState;
    position.isQuiet = entry == QuietState;
    return positions.emplace(RunId{0, folder.KeyOf(name->prefix, name->start)}, position).second;
}

}  // namespace

std::wstring CursorOf(const Positions& positions, const Folder& folder) {
    std::wstring cursor(Begin);
    for (const auto& [id, position] : positions) {
        cursor += EntryMark;
        cursor += folder.NameOf(id.run, position.number);
        cursor += PartMark + std::to_wstring(position.records);
        cursor += PartMark + std::to_wstring(position.offset) + PartMark;
        AppendStamp(cursor, std::max(position.time, id.run.start));
        cursor += PartMark;
        cursor += position.isAtEnd ? AtEndState : position.isQuiet ? QuietState : OpenState;
    }
    return cursor;
}

std::optional<Positions> ParseCursor(std::wstring_view cursor, Folder& folder) {
    while (!cursor.empty() && (cursor.back() == L'\n' || cursor.back() == L'\r')) {
        cursor.remove_suffix(1);
    }
    if (TakePart(cursor, EntryMark) != Begin) {
        return std::nullopt;
    }
    Positions positions;
    while (!cursor.empty()) {
        if (!AddEntry(TakePart(cursor, EntryMark), folder, positions)) {
            return std::nullopt;
        }
    }
    return positions;
}

std::optional<std::wstring> ReadCursorFile(const std::wstring& path) {
    const framework::FileHandle file(::CreateFileW(path.c_str(), GENERIC_READ,
                                                   FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                                   OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        const DWORD error = ::GetLastError();
        return error == ERROR_FILE_NOT_FOUND ? std::optional(std::wstring()) : std::nullopt;
    }
    std::string bytes;
    std::array<char, 4096> piece;
    DWORD read = 0;
    do {
        if (::ReadFile(file.Get(), piece.data(), static_cast<DWORD>(piece.size()), &read,
                       nullptr) == FALSE) {
            return std::nullopt;
        }
        bytes.append(piece.data(), read);
    } while (read > 0);
    std::wstring text(bytes.size(), L'\0');
    text.resize(static_cast<std::size_t>(
        ::MultiByteToWideChar(CP_UTF8, 0, bytes.data(), static_cast<int>(bytes.size()), text.data(),
                              static_cast<int>(text.size()))));
    return text;
}

bool WriteCursorFile(const std::wstring& path, const std::wstring& cursor) {
    const std::wstring fresh = path + L".new";
    std::string bytes;
    AppendUtf8(bytes, cursor);
    bytes += '\n';
    framework::FileHandle file(::CreateFileW(fresh.c_str(), GENERIC_WRITE, 0, nullptr,
                                             CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    if (!file ||
        ::WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                    nullptr) == FALSE ||
        ::FlushFileBuffers(file.Get()) == FALSE) {
        return false;
    }
    file.Reset();
    return ::MoveFileExW(fresh.c_str(), path.c_str(),
                         MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE;
}

}  // namespace quillon_log
