#ifndef TESTS_FUZZ_LAST_INPUT_H
#define TESTS_FUZZ_LAST_INPUT_H

#include <cstddef>
#include <string>

#include "framework/system/unique_handle.h"

namespace fuzz {

/// A file in the working folder with the current input, written without a platform call. It
/// survives every end of the process, even those that no handler sees (stack overflow, kill), and
/// is removed at a normal exit.
class LastInput {
  public:
    explicit LastInput(const std::string& name);
    ~LastInput();
    LastInput(const LastInput&) = delete;
    LastInput& operator=(const LastInput&) = delete;

    void Store(const std::string& line);
    [[nodiscard]] std::string Name() const { return name_; }

  private:
    static constexpr std::size_t Size = 1 << 20;

    std::string name_;
    framework::FileHandle file_;
    framework::KernelHandle mapping_;
    char* view_ = nullptr;
    std::size_t used_ = 0;
};

}  // namespace fuzz

#endif  // TESTS_FUZZ_LAST_INPUT_H
