#include <string>
#include <vector>

#include "tools/service-watch/options.h"
#include "tools/service-watch/terminal.h"
#include "tools/service-watch/watch_run.h"

int wmain(int argc, wchar_t** argv) {
    const auto options =
        service_watch::ParseOptions(std::vector<std::wstring>(argv + 1, argv + argc));
    service_watch::Terminal terminal(options && options->color);
    if (!options) {
        terminal.Write(service_watch::UsageText());
        return service_watch::ExitUsage;
    }
    return options->removeOnly ? service_watch::RemoveRegistered(*options, terminal)
                               : service_watch::RunWatched(*options, terminal);
}
