#include <string>
#include <variant>
#include <vector>

#include "tools/service-watch/options.h"
#include "tools/service-watch/terminal.h"
#include "tools/service-watch/watch_run.h"
#include "tools/shared/terminal_output.h"

int wmain(int argc, wchar_t** argv) {
    const auto parsed =
        service_watch::ParseOptions(std::vector<std::wstring>(argv + 1, argv + argc));
    if (const auto* error = std::get_if<tools::OptionError>(&parsed)) {
        tools::WriteError(L"service-watch", error->text);
        service_watch::Terminal(false).Write(service_watch::UsageText());
        return service_watch::ExitUsage;
    }
    const auto* options = std::get_if<service_watch::Options>(&parsed);
    service_watch::Terminal terminal(options->color);
    return options->removeOnly ? service_watch::RemoveRegistered(*options, terminal)
                               : service_watch::RunWatched(*options, terminal);
}
