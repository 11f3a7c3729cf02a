// Installs, checks, stops and removes the service.

#include <string>
#include <variant>
#include <vector>

#include "tools/service-tool/check.h"
#include "tools/service-tool/install.h"
#include "tools/service-tool/options.h"
#include "tools/service-tool/status.h"
#include "tools/service-tool/stop.h"
#include "tools/service-tool/uninstall.h"
#include "tools/shared/terminal_output.h"
#include "tools/shared/version_line.h"

namespace service_tool {
namespace {

int Run(const Options& options) {
    const Place place = FindPlace();
    switch (options.command) {
        case Command::Install:
            return Install(place, options.dryRun);
        case Command::Check:
            return Check(place);
        case Command::Status:
            PrintStatus(place);
            return ExitSuccess;
        case Command::Stop:
            return Stop(place, options.waitSeconds);
        case Command::Uninstall:
            return Uninstall(place, options);
        case Command::None:
            break;
    }
    return ExitUsage;
}

int RunArguments(const std::vector<std::wstring>& arguments) {
    const auto parsed = ParseOptions(arguments);
    if (const auto* error = std::get_if<OptionError>(&parsed)) {
        tools::WriteError(L"service-tool", error->text + L" (see --help)");
        return ExitUsage;
    }
    const auto& options = std::get<Options>(parsed);
    if (options.help) {
        static_cast<void>(tools::WriteOutput(HelpText));
        return ExitSuccess;
    }
    if (options.version) {
        static_cast<void>(tools::WriteOutput(tools::VersionLine(L"service-tool")));
        return ExitSuccess;
    }
    return Run(options);
}

}  // namespace
}  // namespace service_tool

int wmain(int argc, wchar_t* argv[]) {
    return service_tool::RunArguments(
        std::vector<std::wstring>(argv + (argc > 0 ? 1 : 0), argv + argc));
}
