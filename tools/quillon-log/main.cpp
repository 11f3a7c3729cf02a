// Reads the logs of the service host.

#include <string>
#include <variant>
#include <vector>

#include "tools/quillon-log/output.h"
#include "tools/quillon-log/show.h"
#include "tools/shared/terminal_output.h"
#include "tools/shared/version_line.h"

int wmain(int argc, wchar_t* argv[]) {
    const auto parsed =
        quillon_log::ParseOptions(std::vector<std::wstring>(argv + (argc > 0 ? 1 : 0), argv + argc),
                                  quillon_log::CurrentTime());
    if (const auto* error = std::get_if<quillon_log::OptionError>(&parsed)) {
        quillon_log::WriteError(error->text + L" (see --help)");
        return quillon_log::WrongCommandLine;
    }
    const auto& options = std::get<quillon_log::Options>(parsed);
    if (options.help) {
        static_cast<void>(tools::WriteOutput(quillon_log::HelpText));
        return quillon_log::AllRead;
    }
    if (options.version) {
        static_cast<void>(tools::WriteOutput(tools::VersionLine(L"quillon-log")));
        return quillon_log::AllRead;
    }
    return quillon_log::ShowLogs(options);
}
