// Requirements of the shipped images: where they can be loaded, what can be executed, which
// libraries they need.

#include <gmock/gmock.h>

#include <cstring>
#include <set>

#include "framework/system/platform.h"
#include "tests/end-to-end/support/host_folder.h"

namespace {

using Names = std::set<std::string>;

struct ShippedImage {
    const wchar_t* name;
    Names imports;  ///< in lower case, without the C run-time library
};

void PrintTo(const ShippedImage& image, std::ostream* stream) {
    *stream << testing::PrintToString(image.name);
}

const ShippedImage ShippedImages[] = {
    {L"tarnwick-service.exe",
     {"advapi32.dll", "dbghelp.dll", "kernel32.dll", "ntdll.dll", "ole32.dll", "orrin-ctrl.dll",
      "shlwapi.dll"}},
    {L"quillon-log.exe", {"advapi32.dll", "kernel32.dll", "shlwapi.dll"}},
    {L"controller-check.exe", {"advapi32.dll", "kernel32.dll", "ntdll.dll", "ole32.dll"}},
    {L"service-tool.exe",
     {"advapi32.dll", "kernel32.dll", "shlwapi.dll", "userenv.dll", "version.dll"}},
    {L"tarnwick-messages.dll", {}},
};

class Image : public testing::TestWithParam<ShippedImage> {
  protected:
    void SetUp() override {
        bytes_ = test::ReadBytes(test::ProductFolder() / GetParam().name);
        const auto dos = At<IMAGE_DOS_HEADER>(0);
        headerOffset_ = static_cast<std::size_t>(dos.e_lfanew);
        headers_ = At<IMAGE_NT_HEADERS64>(headerOffset_);
        ASSERT_EQ(headers_.Signature, DWORD{IMAGE_NT_SIGNATURE});
    }

    template <typename Record>
    [[nodiscard]] Record At(std::size_t offset) const {
        Record record = {};
        if (offset + sizeof(record) <= bytes_.size()) {
            std::memcpy(&record, bytes_.data() + offset, sizeof(record));
        }
        return record;
    }

    [[nodiscard]] std::vector<IMAGE_SECTION_HEADER> Sections() const {
        std::vector<IMAGE_SECTION_HEADER> sections;
        const std::size_t first = headerOffset_ + sizeof(headers_);
        for (std::size_t i = 0; i < headers_.FileHeader.NumberOfSections; ++i) {
            sections.push_back(At<IMAGE_SECTION_HEADER>(first + i * sizeof(IMAGE_SECTION_HEADER)));
        }
        return sections;
    }

    /// The offset in the file of the loaded image's address; the file's end if there is none.
    [[nodiscard]] std::size_t Offset(DWORD address) const {
        for (const IMAGE_SECTION_HEADER& section : Sections()) {
            if (address >= section.VirtualAddress &&
                address - section.VirtualAddress < section.SizeOfRawData) {
                return std::size_t{address} - section.VirtualAddress + section.PointerToRawData;
            }
        }
        return bytes_.size();
    }

    [[nodiscard]] Names Imports() const {
        const DWORD table =
            headers_.OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        Names names;
        for (std::size_t offset = Offset(table); table != 0;
             offset += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
            const auto entry = At<IMAGE_IMPORT_DESCRIPTOR>(offset);
            if (entry.Name == 0) {
                break;
            }
            std::string name = bytes_.c_str() + Offset(entry.Name);
            for (char& c : name) {
                c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
            }
            names.insert(name);
        }
        return names;
    }

    [[nodiscard]] const IMAGE_NT_HEADERS64& Headers() const noexcept { return headers_; }

  private:
    std::string bytes_;
    std::size_t headerOffset_ = 0;
    IMAGE_NT_HEADERS64 headers_ = {};
};

TEST_P(Image, IsFor64BitWindowsAndTheConsole) {
    EXPECT_EQ(Headers().FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    if ((Headers().FileHeader.Characteristics & IMAGE_FILE_DLL) == 0) {
        EXPECT_EQ(Headers().OptionalHeader.Subsystem, IMAGE_SUBSYSTEM_WINDOWS_CUI);
    }
}

TEST_P(Image, CanLieAnywhereInALargeAddressSpace) {
    const WORD flags = Headers().OptionalHeader.DllCharacteristics;
    EXPECT_NE(flags & IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE, 0);
    EXPECT_NE(flags & IMAGE_DLLCHARACTERISTICS_HIGH_ENTROPY_VA, 0);
    EXPECT_NE(Headers().FileHeader.Characteristics & IMAGE_FILE_LARGE_ADDRESS_AWARE, 0);
    EXPECT_EQ(Headers().FileHeader.Characteristics & IMAGE_FILE_RELOCS_STRIPPED, 0);
}

TEST_P(Image, NoDataIsExecutable) {
    EXPECT_NE(Headers().OptionalHeader.DllCharacteristics & IMAGE_DLLCHARACTERISTICS_NX_COMPAT, 0);
    const auto sections = Sections();
    EXPECT_FALSE(sections.empty());
    for (const IMAGE_SECTION_HEADER& section : sections) {
        EXPECT_FALSE((section.Characteristics & IMAGE_SCN_MEM_WRITE) != 0 &&
                     (section.Characteristics & IMAGE_SCN_MEM_EXECUTE) != 0)
            << std::string(reinterpret_cast<const char*>(section.Name), sizeof(section.Name));
    }
}

TEST_P(Image, NeedsTheseLibrariesAndNoOther) {
    Names expected = GetParam().imports;
#ifndef _MSC_VER
    if (!expected.empty()) {
        expected.insert("msvcrt.dll");
    }
#endif
    EXPECT_EQ(Imports(), expected);
}

INSTANTIATE_TEST_SUITE_P(Shipped, Image, testing::ValuesIn(ShippedImages), [](const auto& test) {
    std::string name;
    for (const wchar_t* c = test.param.name; *c != L'.'; ++c) {
        name += *c == L'-' ? '_' : static_cast<char>(*c);
    }
    return name;
});

}  // namespace
