#include "tools/service-watch/options.h"

namespace service_watch {
namespace {

/// A week. More is a typing error, and the milliseconds must fit in 32 bits.
constexpr std::uint32_t MostSeconds = 7 * 24 * 60 * 60;

class Walk final : public tools::OptionWalk {
  public:
    using OptionWalk::OptionWalk;

    [[nodiscard]] const Options& Result() const noexcept { return options_; }

  private:
    void TakeOperand(const std::wstring& argument) override {
        if (argument.empty() || !options_.image.empty()) {
            Fail(L"unknown argument: " + argument);
        } else if (options_.serviceName.empty()) {
            options_.serviceName = argument;
        } else {
            options_.image = argument;
        }
    }

    bool TakeSwitch() override {
        if (Is(L"--remove")) {
            options_.removeOnly = true;
        } else if (Is(L"--color")) {
            options_.color = true;
        } else {
            return false;
        }
        return true;
    }

    bool TakeValued() override {
        if (Is(L"--for")) {
            options_.seconds = Number(0, MostSeconds);
        } else if (Is(L"--system-drive")) {
            options_.systemDrive = Value();
        } else {
            return false;
        }
        return true;
    }

    void Finish() override {
        if (options_.serviceName.empty()) {
            Fail(L"a service is missing");
        } else if (options_.removeOnly && !options_.image.empty()) {
            Fail(L"--remove takes no executable");
        } else if (!options_.removeOnly && options_.image.empty()) {
            Fail(L"an executable is missing");
        }
    }

    Options options_;
};

}  // namespace

std::variant<Options, tools::OptionError> ParseOptions(const std::vector<std::wstring>& arguments) {
    return tools::ParseWith<Walk>(arguments);
}

const char* UsageText() noexcept {
    return "service-watch [--for SECONDS] [--color] [--system-drive PATH] SERVICE EXECUTABLE\n"
           "    registers and starts the service, shows its states and its log until Ctrl+C,\n"
           "    stops it and removes it\n"
           "service-watch --remove SERVICE\n"
           "    stops and removes the service with this name\n"
           "\n"
           "Exit code: 0 after a successful start and stop, 1 if anything failed,\n"
           "2 for a usage error.\n";
}

}  // namespace service_watch
