#ifndef TOOLS_SERVICE_WATCH_TERMINAL_H
#define TOOLS_SERVICE_WATCH_TERMINAL_H

#include <mutex>
#include <string>
#include <string_view>

namespace service_watch {

enum class Style { Plain, Bold, Red };

/// Standard output as UTF-8 with bare line feeds, so that a pipe into other tools gets clean lines.
/// Any thread; one call is never torn apart by another.
class Terminal {
  public:
    explicit Terminal(bool color) noexcept : color_(color) {}
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    void Write(std::string_view text);

    /// A bold line with an empty one before and after it.
    void Heading(std::string_view text);

    /// A name and a value, aligned with the fields before.
    void Field(std::string_view name, std::string_view value);

    /// `text` in a style, or as it is where there is no colour.
    [[nodiscard]] std::string Styled(Style style, std::string_view text) const;

  private:
    const bool color_;
    std::mutex mutex_;
};

/// The system's text for an error code, with the code.
[[nodiscard]] std::string ErrorText(unsigned long error);

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_TERMINAL_H
