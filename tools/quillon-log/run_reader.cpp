#include "tools/quillon-log/run_reader.h"

#include <algorithm>
#include <utility>

#include "framework/system/platform.h"

namespace quillon_log {
namespace {

bool Exists(const std::wstring& path) {
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

/// The process id in the first record of a file: "build: 804, process: 1234, 'C:\...'".
std::optional<std::uint32_t> ProcessIdIn(std::wstring_view message) {
    constexpr std::wstring_view Begin = L"build: ";
    constexpr std::wstring_view Label = L", process: ";
    const std::size_t at = message.starts_with(Begin) ? message.find(Label) : message.npos;
    if (at == message.npos) {
        return std::nullopt;
    }
    std::uint64_t id = 0;
    std::size_t digit = at + Label.size();
    const std::size_t first = digit;
    while (digit < message.size() && message[digit] >= L'0' && message[digit] <= L'9' &&
           digit - first < 10) {
        id = id * 10 + static_cast<std::uint64_t>(message[digit++] - L'0');
    }
    if (digit == first || id > 0xFFFFFFFF) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(id);
}

/// Opens one form of a log; null if it can't be opened.
std::unique_ptr<ByteSource> OpenLog(const std::wstring& path, bool mustBeCompressed) {
    std::unique_ptr<ByteSource> file =
        path == StandardInputName ? StandardInputBytes() : OpenFileBytes(path);
    return file == nullptr ? nullptr : LogTextOf(std::move(file), mustBeCompressed);
}

/// Opens a log of the listing. A log that was plain then can be compressed by now.
std::unique_ptr<ByteSource> OpenListed(const Folder& folder, const LogFile& file) {
    if (file.plain) {
        auto plain = OpenLog(folder.PlainPath(file.run, file.number), false);
        if (plain != nullptr || !(file.compressed || folder.MayHoldMore())) {
            return plain;
        }
    }
    return OpenLog(folder.CompressedPath(file.run, file.number), true);
}

/// Reads the first record of a log that is open at its beginning.
bool ReadFirst(ByteSource& source, RecordScanner& scanner, Record& record) {
    constexpr std::size_t HeadSize = 4096;
    scanner.Begin(0);
    std::size_t size = 0;
    while (size < HeadSize) {
        const std::size_t read = source.Read(scanner.Room(HeadSize - size), HeadSize - size);
        if (read == 0) {
            break;
        }
        scanner.Added(read);
        size += read;
    }
    return scanner.Last(record);
}

}  // namespace

std::optional<TimePoint> FirstTimeOf(const Folder& folder, const LogFile& file) {
    const std::unique_ptr<ByteSource> source = OpenListed(folder, file);
    RecordScanner scanner;
    Record record;
    return source != nullptr && ReadFirst(*source, scanner, record) ? record.time : std::nullopt;
}

RunReader::RunReader(const Folder& folder, RunKey run, LogPosition start, const AtEnd& atEnd,
                     const ProblemSink& problems)
    : folder_(folder), run_(run), atEnd_(atEnd), problems_(problems), position_(start) {
    position_.time = std::max(position_.time, run.start);
    origin_.folder = &folder;
    origin_.run = run;
}

void RunReader::SetBuffer(std::size_t size, bool readsAhead) {
    bufferSize_ = size;
    readsAhead_ = readsAhead;
}

void RunReader::CloseFile() {
    source_.reset();
}

bool RunReader::Advance() {
    while (!isFinished_) {
        switch (NextStep()) {
            case Step::Record:
                return Take();
            case Step::Nothing:
                return false;
            case Step::Again:
                break;
        }
    }
    return false;
}

RunReader::Step RunReader::NextStep() {
    if (!std::exchange(isBegun_, true)) {
        return position_.isAtEnd ? BeginNextFile() : BeginFile(position_.number, position_.offset);
    }
    if (scanner_.Next(record_)) {
        return Step::Record;
    }
    if (source_ == nullptr) {
        return IsUnchanged() ? HoldBack() : OpenFile();
    }
    return Refill() ? Step::Again : EndOfData();
}

RunReader::Step RunReader::BeginFile(std::uint32_t number, std::uint64_t offset) {
    if (number != position_.number) {
        position_.number = number;
        position_.offset = 0;
        position_.records = 0;
        position_.isQuiet = false;
    }
    position_.isAtEnd = false;
    origin_.number = number;
    origin_.file = folder_.NameOf(run_, number);
    origin_.pid.reset();
    if (const LogFile* file = folder_.Find(run_, number); file != nullptr && offset > 0) {
        RecordScanner scanner;
        Record header;
        const auto source = OpenListed(folder_, *file);
        if (source != nullptr && ReadFirst(*source, scanner, header)) {
            origin_.pid = ProcessIdIn(header.message);
        }
    }
    isClosed_ = false;
    isDamaged_ = false;
    heldBack_ = 0;
    scanner_.Begin(offset);
    ++filesRead_;
    return OpenFile();
}

/// Opens the file of the position where the scanner ends, for the first time or again.
RunReader::Step RunReader::OpenFile() {
    switch (OpenSource(scanner_.End())) {
        case Opening::Done:
            return Step::Again;
        case Opening::Missing:
            if (!position_.isQuiet) {
                ReportGap(position_.offset == 0 ? 1 : 0, LatestMissing());
            }
            break;
        case Opening::Refused:
            ReportProblem(L"can't be opened (error " + std::to_wstring(::GetLastError()) + L")");
            break;
        case Opening::Shorter:
            ReportProblem(L"is shorter than what was read of it before");
            break;
    }
    return BeginNextFile();
}

/// Of two forms the plain one is opened: the other may be half written.
RunReader::Opening RunReader::OpenSource(std::uint64_t skip) {
    const LogFile* listed = folder_.Find(run_, position_.number);
    DWORD refusal = ERROR_SUCCESS;
    for (const bool compressed : {false, true}) {
        const bool isListed =
            listed != nullptr && (compressed ? listed->compressed : listed->plain);
        if (!isListed && !folder_.MayHoldMore()) {
            continue;
        }
        std::wstring path = compressed ? folder_.CompressedPath(run_, position_.number)
                                       : folder_.PlainPath(run_, position_.number);
        source_ = OpenLog(path, compressed);
        const DWORD error = ::GetLastError();
        const bool isMissing = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
        if (source_ != nullptr || !isMissing) {
            path_ = std::move(path);
            isCompressed_ = compressed;
        }
        if (source_ != nullptr) {
            const bool isThere = source_->Skip(skip) == skip;
            if (readsAhead_ && compressed) {
                source_ = ReadAhead(std::move(source_));
            }
            return isThere ? Opening::Done : Opening::Shorter;
        }
        refusal = isMissing ? refusal : error;
    }
    ::SetLastError(refusal);
    return refusal == ERROR_SUCCESS ? Opening::Missing : Opening::Refused;
}

RunReader::Step RunReader::BeginNextFile() {
    source_.reset();
    position_.isAtEnd = true;
    if (isOneFile_) {
        isFinished_ = true;
        return Step::Nothing;
    }
    const std::uint32_t following = position_.number + 1;
    const LogFile* next = folder_.NextAfter(run_, position_.number);
    if ((next == nullptr || next->number != following) && IsThere(following)) {
        return BeginFile(following, 0);
    }
    if (next == nullptr) {
        isFinished_ = true;
        return Step::Nothing;
    }
    if (next->number != following) {
        ReportGap(next->number - following, FirstTimeOf(folder_, *next).value_or(TimePoint::max()));
    }
    return BeginFile(next->number, 0);
}

bool RunReader::Refill() {
    const std::size_t read = source_->Read(scanner_.Room(bufferSize_), bufferSize_);
    scanner_.Added(read);
    position_.isQuiet = position_.isQuiet && read == 0;
    return read > 0;
}

RunReader::Step RunReader::EndOfData() {
    if (!isDamaged_) {
        if (const std::wstring problem = source_->Problem(); !problem.empty()) {
            isDamaged_ = true;
            isClosed_ = true;
            damage_ = problem;
        }
    }
    if (!isClosed_) {
        isClosed_ = isCompressed_ || HasSuccessor();
        if (isClosed_ && !isCompressed_) {
            // What was written before the next file was begun may have come after the last read.
            return Step::Again;
        }
    }
    if (!isClosed_) {
        return EndOfOpenLog();
    }
    if (scanner_.Last(record_)) {
        return Step::Record;
    }
    if (!damage_.empty()) {
        ReportProblem(std::exchange(damage_, {}));
    }
    return BeginNextFile();
}

RunReader::Step RunReader::EndOfOpenLog() {
    position_.isQuiet = !IsBeingWritten(path_);
    if (atEnd_ == AtEnd::Wait) {
        source_.reset();
        scanner_.Shrink();
        return HoldBack();
    }
    const bool isWhole = atEnd_ == AtEnd::Finish || position_.isQuiet || scanner_.EndsInLineFeed();
    if (isWhole && scanner_.Last(record_)) {
        return Step::Record;
    }
    isFinished_ = true;
    return Step::Nothing;
}

/// A record of several lines may be seen in part: what ends in a line feed is a whole record when
/// nothing has been added to it by the next time.
RunReader::Step RunReader::HoldBack() {
    if (!scanner_.EndsInLineFeed()) {
        return Step::Nothing;
    }
    if (heldBack_ == scanner_.End() && scanner_.Last(record_)) {
        heldBack_ = 0;
        return Step::Record;
    }
    heldBack_ = scanner_.End();
    return Step::Nothing;
}

bool RunReader::Take() {
    before_ = position_;
    ++position_.records;
    position_.offset = scanner_.Consumed();
    position_.time = record_.time.value_or(position_.time);
    origin_.record = position_.records;
    if (position_.records == 1) {
        origin_.pid = ProcessIdIn(record_.message);
        if (record_.time && *record_.time >= until_) {
            isFinished_ = true;
            return false;
        }
    }
    if (record_.cut && !isDamaged_ && !IsBeingWritten(path_)) {
        Problem problem;
        problem.place = path_;
        problem.text = L"record " + std::to_wstring(position_.records) + L" is cut off";
        problem.from = position_.time;
        problem.until = position_.time + std::chrono::milliseconds(1);
        problems_(problem);
    }
    return true;
}

bool RunReader::HasSuccessor() const {
    return folder_.NextAfter(run_, position_.number) != nullptr || IsThere(position_.number + 1);
}

/// Whether a file exists that the folder's listing may lack.
bool RunReader::IsThere(std::uint32_t number) const {
    return folder_.MayHoldMore() && (Exists(folder_.PlainPath(run_, number)) ||
                                     Exists(folder_.CompressedPath(run_, number)));
}

/// Whether a file that nobody wrote to is still as it was, as far as the folder's listing shows.
bool RunReader::IsUnchanged() const {
    const LogFile* file = folder_.Find(run_, position_.number);
    return position_.isQuiet && file != nullptr && file->plain && file->size == scanner_.End() &&
           folder_.NextAfter(run_, position_.number) == nullptr;
}

void RunReader::ReportProblem(const std::wstring& text) {
    Problem problem;
    problem.place = path_;
    problem.text = text;
    if (position_.records > 0 || position_.offset > 0) {
        problem.text += L"; read up to record " + std::to_wstring(position_.records);
    }
    problem.from = position_.time;
    problem.until = LatestMissing();
    problems_(problem);
}

void RunReader::ReportGap(std::uint32_t missingFiles, TimePoint until) {
    Problem problem;
    problem.place = folder_.Path() + origin_.file;
    problem.text = L"deleted before it was read";
    problem.isGap = true;
    problem.missingFiles = missingFiles;
    problem.lastRecord = missingFiles == 0 ? position_.records : 0;
    problem.from = position_.time;
    problem.until = until;
    problems_(problem);
}

/// The latest time that a missing record of this file can have: the start of the run's next file,
/// or else the next start of the same program.
TimePoint RunReader::LatestMissing() const {
    if (const LogFile* next = folder_.NextAfter(run_, position_.number)) {
        return FirstTimeOf(folder_, *next).value_or(TimePoint::max());
    }
    const auto own = folder_.FilesOf(run_);
    for (std::size_t index = own ? own->second + 1 : folder_.Files().size();
         index < folder_.Files().size(); ++index) {
        if (folder_.Files()[index].run.prefix == run_.prefix) {
            return folder_.Files()[index].run.start;
        }
    }
    return TimePoint::max();
}

}  // namespace quillon_log
