#ifndef TOOLS_SHARED_OPTION_WALK_H
#define TOOLS_SHARED_OPTION_WALK_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "tools/shared/terminal_output.h"

namespace tools {

/// What is wrong with a command line.
struct OptionError {
    std::wstring text;
};

/// Parses a command line. A program derives from it and takes its own options. A value follows its
/// option as the next argument or directly: "--lines=5", "-n5". Short switches can be combined:
/// "-fn5".
class OptionWalk {
  public:
    /// `arguments`, without the program's name, must outlive the walk.
    explicit OptionWalk(const std::vector<std::wstring>& arguments) : arguments_(arguments) {}
    OptionWalk(const OptionWalk&) = delete;
    OptionWalk& operator=(const OptionWalk&) = delete;

    /// Stops at the first error and returns it. Call once.
    std::optional<OptionError> TakeAll();

  protected:
    ~OptionWalk() = default;

    /// Takes an argument that isn't an option.
    virtual void TakeOperand(const std::wstring& argument) = 0;
    /// Takes the current option if it has no value.
    virtual bool TakeSwitch() = 0;
    /// Takes the current option if it has a value.
    virtual bool TakeValued() = 0;
    /// Checks the result after the last argument.
    virtual void Finish() {}

    /// Whether the current option has one of these names.
    [[nodiscard]] bool Is(std::wstring_view name, std::wstring_view otherName = {}) const {
        return name_ == name || (!otherName.empty() && name_ == otherName);
    }

    // The value of the current option. A missing or invalid value is an error.
    std::wstring Value();
    std::uint32_t Number(std::uint32_t least, std::uint32_t most);
    ColorChoice Color();

    [[nodiscard]] const std::wstring& Name() const noexcept { return name_; }

    /// Records an error; later ones are ignored.
    void Fail(std::wstring text);

  private:
    void Take(const std::wstring& argument);
    void TakeShortOptions(const std::wstring& argument);
    void TakeOption();

    const std::vector<std::wstring>& arguments_;
    std::size_t index_ = 0;
    std::wstring name_;
    std::optional<std::wstring> attached_;  ///< the value that directly follows the option
    std::optional<OptionError> error_;
};

/// Runs a walk, which has `Result()`, over the arguments.
template <class Walk>
[[nodiscard]] auto ParseWith(const std::vector<std::wstring>& arguments) {
    using Options = std::remove_cvref_t<decltype(std::declval<Walk&>().Result())>;
    Walk walk(arguments);
    std::optional<OptionError> error = walk.TakeAll();
    return error ? std::variant<Options, OptionError>(*std::move(error))
                 : std::variant<Options, OptionError>(walk.Result());
}

}  // namespace tools

#endif  // TOOLS_SHARED_OPTION_WALK_H
