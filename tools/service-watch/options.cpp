#include "tools/service-watch/options.h"

#include <cstddef>

namespace service_watch {

namespace {

/// A week. Longer is a mistake in typing, and the milliseconds must fit 32 bits.
constexpr std::uint32_t MaxSeconds = 7 * 24 * 60 * 60;

std::optional<std::uint32_t> ParseSeconds(const std::wstring& text) {
    std::uint32_t seconds = 0;
    for (const wchar_t character : text) {
        if (character < L'0' || character > L'9') {
            return std::nullopt;
        }
        seconds = seconds * 10 + static_cast<std::uint32_t>(character - L'0');
        if (seconds > MaxSeconds) {
            return std::nullopt;
        }
    }
    return text.empty() ? std::nullopt : std::optional(seconds);
}

}  // namespace

std::optional<Options> ParseOptions(const std::vector<std::wstring>& arguments) {
    Options options;
    std::vector<std::wstring> names;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::wstring& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if (argument == L"--remove") {
            options.removeOnly = true;
        } else if (argument == L"--color") {
            options.color = true;
        } else if (argument == L"--for" && hasValue) {
            options.seconds = ParseSeconds(arguments[++i]);
            if (!options.seconds) {
                return std::nullopt;
            }
        } else if (argument == L"--system-drive" && hasValue) {
            options.systemDrive = arguments[++i];
        } else if (argument.empty() || argument.front() == L'-') {
            return std::nullopt;
        } else {
            names.push_back(argument);
        }
    }
    if (names.size() != (options.removeOnly ? 1U : 2U)) {
        return std::nullopt;
    }
    options.serviceName = names[0];
    if (!options.removeOnly) {
        options.image = names[1];
    }
    return options;
}

const char* UsageText() noexcept {
    return "service-watch [--for SECONDS] [--color] [--system-drive PATH] SERVICE EXECUTABLE\n"
           "    registers the service, starts it, shows its states and its log until Ctrl+C,\n"
           "    stops it and removes it\n"
           "service-watch --remove SERVICE\n"
           "    stops and removes what is registered under that name\n"
           "\n"
           "Exit code: 0 after a start and a stop in order, 1 if anything failed,\n"
           "2 for arguments that make no sense.\n";
}

}  // namespace service_watch
