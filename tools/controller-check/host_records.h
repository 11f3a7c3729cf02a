#ifndef TOOLS_CONTROLLER_CHECK_HOST_RECORDS_H
#define TOOLS_CONTROLLER_CHECK_HOST_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "controller-abi/orrin_ctrl_abi.h"

namespace controller_check {

/// The host's loader as the library sees it: the records at the same offsets from the context as in
/// the host.
struct LoaderImage {
    std::uint8_t initialized;
    std::uint8_t comInitialized;
    OrrinController* controller;
    OrrinControllerParams params;
    OrrinHostComponent component;
    QuillonInteractionInterface interaction;
    QuillonExceptionInterface exception;
};
static_assert(offsetof(LoaderImage, controller) == 8);
static_assert(offsetof(LoaderImage, params) == 16);
static_assert(offsetof(LoaderImage, component) == 96);
static_assert(offsetof(LoaderImage, interaction) == 184);
static_assert(offsetof(LoaderImage, exception) == 240);
static_assert(sizeof(LoaderImage) == 304);

/// The name of a place in the loader's image: "the parameters, offset 8".
[[nodiscard]] std::wstring PlaceInLoader(std::size_t offset);

/// A loader's image on its own pages, surrounded by marked bytes and inaccessible pages. Detects
/// invalid writes, and reads after the free call.
class HostRecords {
  public:
    /// Throws `std::bad_alloc`.
    HostRecords();
    ~HostRecords();
    HostRecords(const HostRecords&) = delete;
    HostRecords& operator=(const HostRecords&) = delete;

    [[nodiscard]] LoaderImage& Loader() noexcept { return *loader_; }

    /// Remembers the contents; later changes are errors.
    void Seal();
    /// Returns the place of a change since the last `Seal`, in words; empty if there is none. Seals
    /// again.
    [[nodiscard]] std::wstring FindChange();

    /// Makes every further access crash, like records that the host has released.
    void Release();
    [[nodiscard]] bool Holds(const void* address) const noexcept;

  private:
    std::uint8_t* pages_;
    LoaderImage* loader_;
    std::uint8_t* copy_;
};

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_HOST_RECORDS_H
