#ifndef TOOLS_SHARED_OPTION_WALK_H
#define TOOLS_SHARED_OPTION_WALK_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tools/shared/terminal_output.h"

namespace tools {

/// What is wrong with a command line.
struct OptionError {
    std::wstring text;
};

/// Walks over the arguments of a program once. A program derives from it and takes the options that
/// it knows. A value stands behind its option, or at once: "--lines=5", "-n5". Short switches can
/// stand together: "-fn5".
class OptionWalk {
  public:
    /// `arguments` stand behind the program's name and outlive the walk.
    explicit OptionWalk(const std::vector<std::wstring>& arguments) : arguments_(arguments) {}
    OptionWalk(const OptionWalk&) = delete;
    OptionWalk& operator=(const OptionWalk&) = delete;

    /// Stops at the first error, which is the result.
    std::optional<OptionError> TakeAll();

  protected:
    ~OptionWalk() = default;

    /// An argument that is no option.
    virtual void TakeOperand(const std::wstring& argument) = 0;
    /// Takes the option at hand if it is one without a value.
    virtual bool TakeSwitch() = 0;
    /// Takes the option at hand if it is one with a value.
    virtual bool TakeValued() = 0;
    /// Looks at the whole once all has been taken.
    virtual void Finish() {}

    /// Whether the option at hand has one of these names.
    [[nodiscard]] bool Is(std::wstring_view name, std::wstring_view otherName = {}) const {
        return name_ == name || (!otherName.empty() && name_ == otherName);
    }

    // The value of the option at hand. One that is missing or can't be understood is an error.
    std::wstring Value();
    std::uint32_t Number(std::uint32_t least, std::uint32_t most);
    ColorChoice Color();

    [[nodiscard]] const std::wstring& Name() const noexcept { return name_; }

    /// Notes an error; the first one stands.
    void Fail(std::wstring text);

  private:
    void Take(const std::wstring& argument);
    void TakeShortOptions(const std::wstring& argument);
    void TakeOption();

    const std::vector<std::wstring>& arguments_;
    std::size_t index_ = 0;
    std::wstring name_;
    std::optional<std::wstring> attached_;  ///< the value that stands at the option itself
    std::optional<OptionError> error_;
};

}  // namespace tools

#endif  // TOOLS_SHARED_OPTION_WALK_H
