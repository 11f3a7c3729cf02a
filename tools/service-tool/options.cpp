#include "tools/service-tool/options.h"

#include <array>

namespace service_tool {

const wchar_t* const HelpText =
    L"Usage: service-tool COMMAND [options]\n"
    L"\n"
    L"Manages the service VelmoraTarnwickService, with the executable in this program's folder.\n"
    L"\n"
    L"  install    registers the service; keeps what exists and what an administrator has changed\n"
    L"  check      compares the installation with what install makes, then shows the status\n"
    L"  status     version, state, process, last start and end, newest dump, free space\n"
    L"  stop       stops the service; the recovery doesn't restart it, even if the stop fails\n"
    L"  uninstall  stops and removes the service, its settings and its event source\n"
    L"\n"
    L"      --dry-run        install, uninstall: print every change, make none\n"
    L"      --wait SECONDS   stop, uninstall: how long the process may take to end (120)\n"
    L"      --remove-logs    uninstall: remove the data folder too, with all logs and the dump\n"
    L"  -h, --help           this text\n"
    L"      --version        name and version\n"
    L"\n"
    L"install, stop and uninstall need a prompt that was started with \"Run as administrator\".\n"
    L"Exit codes: 0 success, 1 something failed or is wrong, 2 the command line is wrong.\n";

namespace {

struct CommandInfo {
    const wchar_t* name;
    Command command;
    bool takesDryRun;
    bool takesWait;
    bool takesRemoveLogs;
};

constexpr std::array<CommandInfo, 5> Commands = {{
    {L"install", Command::Install, true, false, false},
    {L"check", Command::Check, false, false, false},
    {L"status", Command::Status, false, false, false},
    {L"stop", Command::Stop, false, true, false},
    {L"uninstall", Command::Uninstall, true, true, true},
}};

class Walk final : public tools::OptionWalk {
  public:
    using OptionWalk::OptionWalk;

    [[nodiscard]] const Options& Result() const noexcept { return options_; }

  private:
    void TakeOperand(const std::wstring& argument) override {
        if (info_ != nullptr) {
            return Fail(L"unknown argument: " + argument);
        }
        for (const CommandInfo& info : Commands) {
            if (argument == info.name) {
                info_ = &info;
                options_.command = info.command;
                return;
            }
        }
        Fail(L"there is no command " + argument);
    }

    bool TakeSwitch() override {
        if (Is(L"-h", L"--help")) {
            options_.help = true;
        } else if (Is(L"--version")) {
            options_.version = true;
        } else if (Is(L"--dry-run")) {
            options_.dryRun = true;
        } else if (Is(L"--remove-logs")) {
            options_.removeLogs = true;
        } else {
            return false;
        }
        return true;
    }

    bool TakeValued() override {
        constexpr std::uint32_t MostSeconds = 24 * 60 * 60;
        if (!Is(L"--wait")) {
            return false;
        }
        options_.waitSeconds = Number(0, MostSeconds);
        waitGiven_ = true;
        return true;
    }

    void Finish() override {
        if (options_.help || options_.version) {
            return;
        }
        if (info_ == nullptr) {
            return Fail(L"a command is missing");
        }
        const std::wstring name = info_->name;
        if (options_.dryRun && !info_->takesDryRun) {
            Fail(name + L" takes no --dry-run");
        } else if (waitGiven_ && !info_->takesWait) {
            Fail(name + L" takes no --wait");
        } else if (options_.removeLogs && !info_->takesRemoveLogs) {
            Fail(name + L" takes no --remove-logs");
        }
    }

    const CommandInfo* info_ = nullptr;
    bool waitGiven_ = false;
    Options options_;
};

}  // namespace

std::variant<Options, OptionError> ParseOptions(const std::vector<std::wstring>& arguments) {
    return tools::ParseWith<Walk>(arguments);
}

}  // namespace service_tool
