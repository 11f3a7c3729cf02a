// Tests of the fuzzing itself: inputs that round-trip, errors that are found and minimised.

#include <gtest/gtest.h>

#include "framework/system/fail_fast.h"
#include "tests/fuzz/abnormal_end.h"
#include "tests/fuzz/edge_map.h"
#include "tests/fuzz/target.h"

namespace fuzz {
namespace {

Vocabulary AnyText() {
    return {{L"needle", L"\\", L"\"", L"\\{"}, L"ab\"\\{}x0F\n\x017F\xD800", 300, false};
}

TEST(Harness, EscapedInputs_ComeBackAsTheyWere) {
    Random random(3);
    Input input;
    for (int round = 0; round < 5000; ++round) {
        Mutate(input, input, AnyText(), random);
        ASSERT_EQ(FromEscaped(Escaped(input)), std::optional<Input>(input)) << Escaped(input);
    }
}

TEST(Harness, TextsThatAreNoEscapedInput_AreRefused) {
    for (const char* line : {"x", "\"", "\"\\x12\"", "\"\\x12G4\"", "\"\\{\"", "\"\\{}a\"",
                             "\"\\{4a\"", "\"\\{99999999}a\"", "\"a\" b"}) {
        EXPECT_EQ(FromEscaped(line), std::nullopt) << line;
    }
}

TEST(Harness, BytesAsText_ComeBack) {
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
    }
    EXPECT_EQ(BytesOfText(TextOfBytes(bytes)), bytes);
}

TEST(Harness, WrongInput_ShrinksToWhatMatters) {
    const Target target = {
        "shrink",
        nullptr,
        [](const Input& input) {
            for (const std::wstring& text : input) {
                if (text.find(L'n') < text.find(L'd')) {
                    return std::string(text.find(L'd') == text.npos ? "" : "wrong");
                }
            }
            return std::string();
        },
        AnyText(),
        0,
        0};
    EXPECT_EQ(Shrunk(target, {L"some text", L"a needle in hay", L"d n"}), Input{L"nd"});
}

TEST(Harness, AbnormalEnd_IsToldAndCanHappenAgain) {
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(EndsAbnormally([] { framework::FailFastInvalidParameter(); }));
        EXPECT_FALSE(EndsAbnormally([] {}));
    }
}

TEST(Harness, MutatedInputs_KeepToTheirLimits) {
    Random random(4);
    Vocabulary vocabulary = AnyText();
    vocabulary.fixedCount = true;
    Input input(3);
    for (int round = 0; round < 20000; ++round) {
        Mutate(input, input, vocabulary, random);
        ASSERT_EQ(input.size(), 3U);
        for (const std::wstring& text : input) {
            ASSERT_LE(text.size(), vocabulary.longest);
        }
    }
}

}  // namespace
}  // namespace fuzz
