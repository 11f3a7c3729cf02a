#include "tools/controller-check/host_records.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <new>

#include "framework/system/platform.h"

namespace controller_check {
namespace {

constexpr std::size_t PageSize = 4096;
constexpr std::size_t LoaderOffset = 1024;  // into the page in the middle
constexpr std::uint8_t Mark = 0xA5;

}  // namespace

std::wstring PlaceInLoader(std::size_t offset) {
    struct Part {
        const wchar_t* name;
        std::size_t begin;
    };
    constexpr Part Parts[] = {
        {L"the loader's flags", 0},
        {L"the controller's address", offsetof(LoaderImage, controller)},
        {L"the parameters", offsetof(LoaderImage, params)},
        {L"the component", offsetof(LoaderImage, component)},
        {L"the interface quillon_interaction", offsetof(LoaderImage, interaction)},
        {L"the interface quillon_exception", offsetof(LoaderImage, exception)},
    };
    const Part& part = *std::find_if(std::rbegin(Parts), std::rend(Parts),
                                     [&](const Part& each) { return each.begin <= offset; });
    return std::wstring(part.name) + L", offset " + std::to_wstring(offset - part.begin);
}

HostRecords::HostRecords()
    : pages_(static_cast<std::uint8_t*>(
          ::VirtualAlloc(nullptr, 3 * PageSize, MEM_RESERVE, PAGE_NOACCESS))),
      loader_(nullptr),
      copy_(new std::uint8_t[PageSize]) {
    if (pages_ == nullptr ||
        ::VirtualAlloc(pages_ + PageSize, PageSize, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        throw std::bad_alloc();
    }
    std::memset(pages_ + PageSize, Mark, PageSize);
    loader_ = new (pages_ + PageSize + LoaderOffset) LoaderImage{};
    Seal();
}

// The pages stay reserved, so that a late read by a thread of the library crashes and doesn't read
// another allocation.
HostRecords::~HostRecords() {
    delete[] copy_;
}

void HostRecords::Seal() {
    std::memcpy(copy_, pages_ + PageSize, PageSize);
}

std::wstring HostRecords::FindChange() {
    const std::uint8_t* const page = pages_ + PageSize;
    const std::uint8_t* const changed = std::mismatch(page, page + PageSize, copy_).first;
    const auto place = static_cast<std::size_t>(changed - page);
    Seal();
    if (place == PageSize) {
        return {};
    }
    if (place < LoaderOffset || place >= LoaderOffset + sizeof(LoaderImage)) {
        return L"memory beside the host's records";
    }
    return PlaceInLoader(place - LoaderOffset);
}

void HostRecords::Release() {
    DWORD before = 0;
    ::VirtualProtect(pages_ + PageSize, PageSize, PAGE_NOACCESS, &before);
}

bool HostRecords::Holds(const void* address) const noexcept {
    const auto* const byte = static_cast<const std::uint8_t*>(address);
    return byte >= pages_ && byte < pages_ + 3 * PageSize;
}

}  // namespace controller_check
