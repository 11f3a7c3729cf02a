#include "tools/quillon-log/follower.h"

#include <deque>
#include <string>

#include "framework/system/path_helpers.h"
#include "framework/system/platform.h"
#include "framework/system/unique_handle.h"
#include "tools/quillon-log/output.h"
#include "tools/quillon-log/reader.h"
#include "tools/shared/terminal_output.h"

namespace quillon_log {
namespace {

constexpr DWORD PollIntervalMs = 200;

// The console handler gets no context.
framework::KernelHandle stopEvent;

BOOL WINAPI StopOnConsoleEvent(DWORD /*controlType*/) {
    ::SetEvent(stopEvent.Get());
    return TRUE;
}

/// Shows records that pass, or holds the last ones back until all have been seen.
class Display {
  public:
    explicit Display(const Options& options)
        : options_(options), color_(!options.json && tools::WantsColor(options.color)) {}

    void Take(const Record& record) {
        if (!options_.filter.Passes(record)) {
            return;
        }
        if (!holding_) {
            Show(record);
            return;
        }
        last_.push_back(record);
        if (last_.size() > *options_.lastRecords) {
            last_.pop_front();
        }
    }

    /// Shows what was held back; from now on every record is shown at once.
    void Release() {
        holding_ = false;
        for (const Record& record : last_) {
            Show(record);
        }
        last_.clear();
        output_.Flush();
    }

    [[nodiscard]] bool Open() const noexcept { return output_.Open(); }

  private:
    void Show(const Record& record) {
        output_.Write(options_.json ? ToJson(record) : ToText(record, color_));
    }

    const Options& options_;
    bool color_;
    bool holding_ = options_.lastRecords.has_value();
    std::deque<Record> last_;
    Output output_;
};

void Follow(Reader& reader, const Reader::RecordSink& sink, Display& display) {
    while (display.Open() &&
           ::WaitForSingleObject(stopEvent.Get(), PollIntervalMs) == WAIT_TIMEOUT) {
        reader.ReadNew(sink, true);
        display.Release();
    }
}

}  // namespace

ExitCode ShowLogs(const Options& options) {
    stopEvent.Reset(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    ::SetConsoleCtrlHandler(StopOnConsoleEvent, options.follow ? TRUE : FALSE);
    std::wstring folder;
    if (!framework::ExpandEnvironmentString(options.folder, folder)) {
        folder = options.folder;
    }
    Reader reader(folder);
    Display display(options);
    const Reader::RecordSink sink = [&display](const Record& record) { display.Take(record); };
    const bool exists = reader.ReadNew(sink, options.follow);
    display.Release();
    if (options.follow) {
        // A folder that isn't there yet is waited for.
        Follow(reader, sink, display);
    } else if (!exists || reader.Found() == 0) {
        WriteError(folder + (exists ? L": no log here" : L": there is no such folder"));
        return NothingThere;
    }
    return reader.MetDamage() ? SomethingDamaged : AllRead;
}

}  // namespace quillon_log
