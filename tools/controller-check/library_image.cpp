#include "tools/controller-check/library_image.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "framework/system/platform.h"

namespace controller_check {
namespace {

/// Far more than any image has. Keeps a damaged count from taking minutes.
constexpr std::uint32_t MostEntries = 65536;

class ImageReader {
  public:
    explicit ImageReader(std::string_view bytes) : bytes_(bytes) {}

    ImageFacts Read() {
        const auto dosHeader = At<IMAGE_DOS_HEADER>(0);
        if (!dosHeader || dosHeader->e_magic != IMAGE_DOS_SIGNATURE || dosHeader->e_lfanew < 0) {
            return facts_;
        }
        const auto start = static_cast<std::size_t>(dosHeader->e_lfanew);
        const auto signature = At<DWORD>(start);
        const auto header = At<IMAGE_FILE_HEADER>(start + sizeof(DWORD));
        if (!signature || *signature != IMAGE_NT_SIGNATURE || !header) {
            return facts_;
        }
        facts_.isImage = true;
        facts_.isLibrary = (header->Characteristics & IMAGE_FILE_DLL) != 0;
        facts_.machine = header->Machine;
        const auto whole = At<IMAGE_NT_HEADERS64>(start);
        if (whole && whole->OptionalHeader.Magic == IMAGE_NT_OPTIONAL_HDR64_MAGIC) {
            ReadSections(
                start + offsetof(IMAGE_NT_HEADERS64, OptionalHeader) + header->SizeOfOptionalHeader,
                header->NumberOfSections);
            const auto& directories = whole->OptionalHeader.DataDirectory;
            ReadExports(directories[IMAGE_DIRECTORY_ENTRY_EXPORT].VirtualAddress);
            ReadImports(directories[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
        }
        return facts_;
    }

  private:
    /// Returns a copy, because data in a file may be unaligned.
    template <class Record>
    [[nodiscard]] std::optional<Record> At(std::size_t offset) const {
        if (offset > bytes_.size() || bytes_.size() - offset < sizeof(Record)) {
            return std::nullopt;
        }
        Record record = {};
        std::memcpy(&record, bytes_.data() + offset, sizeof(Record));
        return record;
    }

    void ReadSections(std::size_t offset, std::uint16_t count) {
        for (std::uint16_t index = 0; index < count; ++index) {
            if (const auto section =
                    At<IMAGE_SECTION_HEADER>(offset + index * sizeof(IMAGE_SECTION_HEADER))) {
                sections_.push_back(*section);
            }
        }
    }

    /// Converts an address in the loaded image to a file offset.
    [[nodiscard]] std::optional<std::size_t> Place(DWORD address) const {
        for (const IMAGE_SECTION_HEADER& section : sections_) {
            if (address >= section.VirtualAddress &&
                address - section.VirtualAddress < section.SizeOfRawData) {
                return std::size_t{address - section.VirtualAddress} + section.PointerToRawData;
            }
        }
        return std::nullopt;
    }

    template <class Record>
    [[nodiscard]] std::optional<Record> Loaded(DWORD address, std::size_t index = 0) const {
        const auto place = Place(address);
        return place ? At<Record>(*place + index * sizeof(Record)) : std::nullopt;
    }

    [[nodiscard]] std::string Text(DWORD address) const {
        const auto place = Place(address);
        if (!place || *place >= bytes_.size()) {
            return {};
        }
        const std::string_view rest = bytes_.substr(*place);
        return std::string(rest.substr(0, rest.find('\0')));
    }

    void ReadExports(DWORD address) {
        const auto directory = Loaded<IMAGE_EXPORT_DIRECTORY>(address);
        if (!directory) {
            return;
        }
        const DWORD count = std::min<DWORD>(directory->NumberOfNames, MostEntries);
        for (DWORD index = 0; index < count; ++index) {
            if (const auto name = Loaded<DWORD>(directory->AddressOfNames, index)) {
                facts_.exports.push_back(Text(*name));
            }
        }
    }

    void ReadImports(DWORD address) {
        for (std::size_t index = 0; index < MostEntries; ++index) {
            const auto entry = Loaded<IMAGE_IMPORT_DESCRIPTOR>(address, index);
            if (!entry || entry->Name == 0) {
                return;
            }
            facts_.imports.push_back(Text(entry->Name));
        }
    }

    std::string_view bytes_;
    std::vector<IMAGE_SECTION_HEADER> sections_;
    ImageFacts facts_;
};

}  // namespace

ImageFacts ReadImage(std::string_view bytes) {
    return ImageReader(bytes).Read();
}

}  // namespace controller_check
