#include "tests/tarnwick-service/console_capture.h"

#include <gtest/gtest.h>

namespace test {

ConsoleCapture::ConsoleCapture()
    : file_(::CreateFileW((folder_.Path() / L"console.txt").c_str(), GENERIC_WRITE,
                          FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, CREATE_ALWAYS,
                          FILE_ATTRIBUTE_NORMAL, nullptr)),
      before_(::GetStdHandle(STD_OUTPUT_HANDLE)) {
    ::SetStdHandle(STD_OUTPUT_HANDLE, file_.Get());
}

ConsoleCapture::~ConsoleCapture() {
    ::SetStdHandle(STD_OUTPUT_HANDLE, before_);
    file_.Reset();
}

std::string ConsoleCapture::Text() const {
    std::string text;
    for (const char character : ReadBytes(folder_.Path() / L"console.txt")) {
        if (character == '\n') {
            EXPECT_TRUE(!text.empty() && text.back() == '\r') << "a bare line feed";
            text.pop_back();
        }
        text += character;
    }
    return text;
}

}  // namespace test
