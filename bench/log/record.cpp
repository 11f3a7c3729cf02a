#include <cstdarg>
#include <cwchar>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "bench/log/rows.h"
#include "bench/log/scratch_logger.h"
#include "bench/log/write_file_switch.h"
#include "bench/support/measure.h"
#include "framework/logger/log_line.h"
#include "framework/system/locks.h"
#include "framework/system/unique_handle.h"

namespace bench {
namespace {

constexpr framework::LogSite Site = {L"record", L"LogOne"};

/// A message of 67 characters with two arguments.
void LogOne(int index) {
    framework::LogTrace(Site, L"component %s has finished its job with the number %08i \n",
                        L"heartbeat", index);
}

volatile wchar_t sink;

int Print(wchar_t* buffer, std::size_t size, const wchar_t* format, ...) {
    std::va_list args;
    va_start(args, format);
    const int length = ::_vsnwprintf_s(buffer, size, _TRUNCATE, format, args);
    va_end(args);
    return length;
}

/// The cost of a record without a logger: the clock, a lock, the head and the message. Returns the
/// length of the text.
int FormatOne(wchar_t (&buffer)[1024], framework::CriticalSection& section, int index) {
    const std::lock_guard guard(section);
    SYSTEMTIME now = {};
    ::GetSystemTime(&now);
    int length = Print(buffer, 1024, L"[%04hu%02hu%02hu-%02hu%02hu%02hu-%03hu][%ws][%ws] ",
                       now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond,
                       now.wMilliseconds, L"T", L"quillon");
    length +=
        Print(buffer + length, static_cast<std::size_t>(1024 - length),
              L"component %s has finished its job with the number %08i \n", L"heartbeat", index);
    return length;
}

/// A plain file that appends a record's bytes, like the logger does.
class BareFile {
  public:
    explicit BareFile(bool atEnd) : atEnd_(atEnd) {
        const std::wstring path = (folder_.Path() / "bare").wstring();
        file_.Reset(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                  nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    }

    void Write(const void* data, DWORD size) {
        OVERLAPPED end = {};
        end.Offset = 0xFFFFFFFF;
        end.OffsetHigh = 0xFFFFFFFF;
        DWORD written = 0;
        ::WriteFile(file_.Get(), data, size, &written, atEnd_ ? &end : nullptr);
    }

  private:
    ScratchFolder folder_;
    framework::FileHandle file_;
    bool atEnd_;
};

std::wstring RecordText() {
    framework::CriticalSection section;
    wchar_t buffer[1024] = {};
    FormatOne(buffer, section, 0);
    return buffer;
}

DWORD BytesOf(const std::wstring& text) {
    return static_cast<DWORD>(text.size() * sizeof(wchar_t));
}

/// Runs `operation` `count` times on each of several threads; the time of one in nanoseconds.
template <class Operation>
double TimeOnThreads(int threads, int count, const Operation& operation) {
    std::vector<std::thread> pool;
    pool.reserve(static_cast<std::size_t>(threads));
    const double begin = Now();
    for (int thread = 0; thread < threads; ++thread) {
        pool.emplace_back([count, &operation] {
            for (int index = 0; index < count; ++index) {
                operation(index);
            }
        });
    }
    for (std::thread& thread : pool) {
        thread.join();
    }
    return (Now() - begin) / (threads * count);
}

}  // namespace

void MeasureRecordWork(const Effort& effort) {
    const ScratchLogger logger;
    const NoWriteFile off;
    const int count = effort.Count(50000);
    framework::CriticalSection section;
    const auto product = [count] {
        int index = 0;
        return TimeEach(count, [&index] { LogOne(++index); });
    };
    const auto limit = [count, &section] {
        int index = 0;
        wchar_t buffer[1024];
        return TimeEach(count, [&] {
            FormatOne(buffer, section, ++index);
            sink = buffer[0];
        });
    };
    Print(Measure("work of a record", effort.Rounds(15), 1.0, product, limit));
}

void MeasureRecordToFile(const Effort& effort) {
    const ScratchLogger logger;
    BareFile bare(true);
    const std::wstring text = RecordText();
    const int count = effort.Count(3000);
    const auto product = [count] {
        int index = 0;
        return TimeEach(count, [&index] { LogOne(++index); });
    };
    const auto limit = [count, &bare, &text] {
        return TimeEach(count, [&] { bare.Write(text.data(), BytesOf(text)); });
    };
    Print(Measure("record to file, 1 thread", effort.Rounds(15), 1.1, product, limit));

    framework::CriticalSection section;
    const auto workAndWrite = [count, &bare, &section] {
        int index = 0;
        wchar_t buffer[1024];
        return TimeEach(count, [&] {
            const int length = FormatOne(buffer, section, ++index);
            bare.Write(buffer, static_cast<DWORD>(length) * sizeof(wchar_t));
        });
    };
    Row againstBoth = Measure("record to file", effort.Rounds(15), 0, product, workAndWrite);
    againstBoth.remark = "against the bare work and the bare write one after the other";
    Print(againstBoth);
    Row floor = Measure("bare work and bare write", effort.Rounds(15), 0, workAndWrite, limit);
    floor.remark = "no product: what the limit's own work adds to the bare write";
    Print(floor);

    BareFile behind(false);
    Row position =
        Measure("position 0xFFFFFFFF", effort.Rounds(15), 0, limit, [count, &behind, &text] {
            return TimeEach(count, [&] { behind.Write(text.data(), BytesOf(text)); });
        });
    position.remark = "a bare write at the end by position, against one without a position";
    Print(position);
}

void MeasureRecordFromThreads(const Effort& effort, int threads, int processors) {
    const ScratchLogger logger;
    BareFile bare(true);
    const std::wstring text = RecordText();
    const int count = effort.Count(3000);
    framework::CriticalSection section;
    const auto product = [threads, count] { return TimeOnThreads(threads, count, LogOne); };
    const auto limit = [&] {
        return TimeOnThreads(threads, count, [&](int) {
            const std::lock_guard guard(section);
            bare.Write(text.data(), BytesOf(text));
        });
    };
    // On two processors the transfer of the lock makes the figures too unsteady to judge.
    const double reach = processors == 1 ? 1.1 : 0;
    Row row = Measure("record to file, " + std::to_string(threads) + " threads", effort.Rounds(10),
                      reach, product, limit);
    row.remark = processors == 1 ? "on one processor" : "on two processors";
    Print(row);
}

}  // namespace bench
