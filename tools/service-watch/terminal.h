#ifndef TOOLS_SERVICE_WATCH_TERMINAL_H
#define TOOLS_SERVICE_WATCH_TERMINAL_H

#include <mutex>
#include <string>
#include <string_view>

namespace service_watch {

enum class Style { Plain, Bold, Red };

/// Standard output as UTF-8 with bare line feeds, for pipes. Thread-safe; output of concurrent
/// calls doesn't mix.
class Terminal {
  public:
    explicit Terminal(bool color) noexcept : color_(color) {}
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    void Write(std::string_view text);

    /// A bold line between two empty ones.
    void Heading(std::string_view text);

    /// A name and a value, aligned with other fields.
    void Field(std::string_view name, std::string_view value);

    /// `text` in a style, or unchanged without colour.
    [[nodiscard]] std::string Styled(Style style, std::string_view text) const;

  private:
    const bool color_;
    std::mutex mutex_;
};

}  // namespace service_watch

#endif  // TOOLS_SERVICE_WATCH_TERMINAL_H
