// The same work in other loggers: a record in a file, with a flush after each.

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <cstdio>
#include <string>

#include "bench/log/rows.h"
#include "bench/log/scratch_logger.h"
#include "bench/support/measure.h"
#include "framework/logger/log_line.h"

namespace bench {
namespace {

constexpr framework::LogSite Site = {L"peers", L"LogOne"};

void LogOne(int index) {
    framework::LogTrace(Site, L"component %s has finished its job with the number %08i \n",
                        L"heartbeat", index);
}

double TimeFiltered(int count) {
    int index = 0;
    return TimeEach(count, [&index] {
        framework::LogLine(framework::LevelVerbose, Site, L"%i %s %lu %s", ++index, L"text", 7UL,
                           L"other");
    });
}

}  // namespace

void MeasurePeers(const Effort& effort) {
    const ScratchLogger logger;
    const ScratchFolder folder;
    const int count = effort.Count(3000);
    const auto product = [count] {
        int index = 0;
        return TimeEach(count, [&index] { LogOne(++index); });
    };

    const auto peer = spdlog::basic_logger_mt("peer", (folder.Path() / "spdlog").string());
    peer->flush_on(spdlog::level::trace);
    Print(Measure("record to file, against spdlog", effort.Rounds(10), 0, product, [&] {
        int index = 0;
        return TimeEach(count, [&] {
            peer->info("component {} has finished its job with the number {:08}", "heartbeat",
                       ++index);
        });
    }));
    const int filtered = effort.Count(5000000);
    Print(Measure(
        "filtered call, against spdlog", effort.Rounds(10), 0.25,
        [filtered] { return TimeFiltered(filtered); },
        [&] {
            int index = 0;
            return TimeEach(filtered,
                            [&] { peer->debug("{} {} {} {}", ++index, "text", 7UL, "other"); });
        }));
    spdlog::drop_all();

    std::FILE* const file = ::_wfopen((folder.Path() / "stdio").c_str(), L"wb");
    Print(Measure("record to file, against fwprintf", effort.Rounds(10), 0, product, [&] {
        int index = 0;
        return TimeEach(count, [&] {
            std::fwprintf(file, L"component %ls has finished its job with the number %08i \n",
                          L"heartbeat", ++index);
            std::fflush(file);
        });
    }));
    std::fclose(file);
}

}  // namespace bench
