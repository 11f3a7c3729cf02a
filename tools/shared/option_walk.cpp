#include "tools/shared/option_walk.h"

#include <utility>

namespace tools {

std::optional<OptionError> OptionWalk::TakeAll() {
    while (index_ < arguments_.size() && !error_) {
        Take(arguments_[index_++]);
    }
    if (!error_) {
        Finish();
    }
    return error_;
}

void OptionWalk::Take(const std::wstring& argument) {
    if (argument.size() < 2 || argument.front() != L'-') {
        TakeOperand(argument);
    } else if (argument.starts_with(L"--")) {
        const std::size_t equals = argument.find(L'=');
        name_ = argument.substr(0, equals);
        attached_.reset();
        if (equals != argument.npos) {
            attached_ = argument.substr(equals + 1);
        }
        TakeOption();
    } else {
        TakeShortOptions(argument);
    }
}

/// A letter is a switch if `TakeSwitch` takes it; then the next letter is another option.
void OptionWalk::TakeShortOptions(const std::wstring& argument) {
    for (std::size_t index = 1; index < argument.size() && !error_; ++index) {
        name_ = {L'-', argument[index]};
        attached_.reset();
        if (TakeSwitch()) {
            continue;
        }
        if (index + 1 < argument.size()) {
            attached_ = argument.substr(index + 1);
        }
        if (!TakeValued()) {
            Fail(L"there is no option " + name_);
        }
        return;
    }
}

void OptionWalk::TakeOption() {
    if (!TakeSwitch() && !TakeValued()) {
        Fail(L"there is no option " + name_);
    } else if (attached_) {
        Fail(name_ + L" takes no value");
    }
}

std::wstring OptionWalk::Value() {
    if (attached_) {
        return *std::exchange(attached_, std::nullopt);
    }
    if (index_ == arguments_.size()) {
        Fail(name_ + L" needs a value");
        return {};
    }
    return arguments_[index_++];
}

std::uint32_t OptionWalk::Number(std::uint32_t least, std::uint32_t most) {
    constexpr std::size_t MostDigits = 9;  // always fits in 32 bits
    const std::wstring value = Value();
    const bool isNumber = !value.empty() && value.size() <= MostDigits &&
                          value.find_first_not_of(L"0123456789") == value.npos;
    const std::uint32_t number = isNumber ? static_cast<std::uint32_t>(std::stoul(value)) : 0;
    if (!isNumber || number < least || number > most) {
        Fail(name_ + L" needs a number from " + std::to_wstring(least) + L" to " +
             std::to_wstring(most));
    }
    return number;
}

ColorChoice OptionWalk::Color() {
    const std::wstring value = Value();
    if (value == L"always") {
        return ColorChoice::Always;
    }
    if (value == L"never") {
        return ColorChoice::Never;
    }
    if (value != L"auto") {
        Fail(name_ + L" takes auto, always or never");
    }
    return ColorChoice::WhenTerminal;
}

void OptionWalk::Fail(std::wstring text) {
    if (!error_) {
        error_ = OptionError{std::move(text)};
    }
}

}  // namespace tools
