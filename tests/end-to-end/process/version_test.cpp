// The version of the shipped programs and libraries, in every place that contains it.

#include "framework/system/platform.h"

#include <winver.h>

#include <gmock/gmock.h>

#include "tests/end-to-end/support/host_folder.h"
#include "version/version.h"

namespace {

struct ShippedFile {
    const wchar_t* name;
    const wchar_t* description;
    DWORD type;
};

void PrintTo(const ShippedFile& file, std::ostream* stream) {
    *stream << testing::PrintToString(file.name);
}

constexpr ShippedFile ShippedFiles[] = {
    {L"tarnwick-service.exe", L"Tarnwick service host", VFT_APP},
    {L"quillon-log.exe", L"Reads the logs of the Tarnwick service host", VFT_APP},
    {L"controller-check.exe", L"Checks a controller library", VFT_APP},
    {L"service-tool.exe", L"Installs and checks the Tarnwick service host", VFT_APP},
    {L"tarnwick-messages.dll", L"Texts of the event log", VFT_DLL},
};

class VersionResource : public testing::TestWithParam<ShippedFile> {
  protected:
    void SetUp() override {
        const std::wstring path = (test::ProductFolder() / GetParam().name).wstring();
        block_.resize(::GetFileVersionInfoSizeW(path.c_str(), nullptr));
        ASSERT_FALSE(block_.empty()) << ::GetLastError();
        ASSERT_TRUE(::GetFileVersionInfoW(path.c_str(), 0, static_cast<DWORD>(block_.size()),
                                          block_.data()));
    }

    [[nodiscard]] const void* Query(const wchar_t* path) const {
        void* value = nullptr;
        UINT size = 0;
        return ::VerQueryValueW(block_.data(), path, &value, &size) ? value : nullptr;
    }

    [[nodiscard]] std::wstring Text(const wchar_t* name) const {
        const std::wstring path = std::wstring(L"\\StringFileInfo\\040904b0\\") + name;
        const void* text = Query(path.c_str());
        return text == nullptr ? L"" : static_cast<const wchar_t*>(text);
    }

  private:
    std::string block_;
};

std::wstring Numbers(DWORD high, DWORD low) {
    return std::to_wstring(HIWORD(high)) + L"." + std::to_wstring(LOWORD(high)) + L"." +
           std::to_wstring(HIWORD(low)) + L"." + std::to_wstring(LOWORD(low));
}

TEST_P(VersionResource, TellsTheVersionOfTheProject) {
    const auto* const fixed = static_cast<const VS_FIXEDFILEINFO*>(Query(L"\\"));
    ASSERT_NE(fixed, nullptr);
    EXPECT_EQ(Numbers(fixed->dwFileVersionMS, fixed->dwFileVersionLS), version::Text);
    EXPECT_EQ(Numbers(fixed->dwProductVersionMS, fixed->dwProductVersionLS), version::Text);
    EXPECT_EQ(fixed->dwFileType, GetParam().type);
    EXPECT_EQ(Text(L"FileVersion"), version::Text);
    EXPECT_EQ(Text(L"ProductVersion"), version::Text);
}

TEST_P(VersionResource, NamesTheFile) {
    EXPECT_EQ(Text(L"OriginalFilename"), GetParam().name);
    EXPECT_EQ(Text(L"FileDescription"), GetParam().description);
    EXPECT_EQ(Text(L"CompanyName"), L"Velmora");
    EXPECT_EQ(Text(L"ProductName"), L"Quillon");
}

INSTANTIATE_TEST_SUITE_P(Shipped, VersionResource, testing::ValuesIn(ShippedFiles),
                         [](const auto& test) {
                             std::string name;
                             for (const wchar_t* c = test.param.name; *c != L'.'; ++c) {
                                 name += *c == L'-' ? '_' : static_cast<char>(*c);
                             }
                             return name;
                         });

TEST(Version, LastFieldIsTheBuildNumber) {
    const std::wstring text = version::Text;
    EXPECT_EQ(text.substr(text.rfind(L'.') + 1), std::to_wstring(version::BuildNumber));
}

TEST(Version, ManifestTellsTheSame) {
    const std::string image = test::ReadBytes(test::ProductFolder() / L"tarnwick-service.exe");
    const std::wstring text = version::Text;
    EXPECT_NE(image.find("name=\"Velmora.Tarnwick.Service\" version=\"" +
                         std::string(text.begin(), text.end()) + '"'),
              std::string::npos);
}

TEST(Version, ToolsPrintIt) {
    for (const wchar_t* tool : {L"quillon-log", L"controller-check", L"service-tool"}) {
        const auto path = test::ProductFolder() / (std::wstring(tool) + L".exe");
        test::Child child(L"\"" + path.wstring() + L"\" --version");
        EXPECT_EQ(child.Wait(), 0U);
        const std::wstring expected = std::wstring(tool) + L" " + version::Text + L"\n";
        EXPECT_EQ(child.Output(), std::string(expected.begin(), expected.end()));
    }
}

}  // namespace
