#ifndef TOOLS_CONTROLLER_CHECK_HOST_RECORDS_H
#define TOOLS_CONTROLLER_CHECK_HOST_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "controller-abi/orrin_ctrl_abi.h"

namespace controller_check {

/// The host's loader as the library sees it: the context's address and the records behind it, at
/// the offsets at which the host has them.
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

/// What `offset` into the loader's image belongs to: "the parameters, offset 8".
[[nodiscard]] std::wstring PlaceInLoader(std::size_t offset);

/// A loader's image on pages of its own, with marked bytes around it and unreadable pages around
/// those, so that a library that writes where it must not, or reads when it must not any more, is
/// seen.
class HostRecords {
  public:
    /// Throws `std::bad_alloc`.
    HostRecords();
    ~HostRecords();
    HostRecords(const HostRecords&) = delete;
    HostRecords& operator=(const HostRecords&) = delete;

    [[nodiscard]] LoaderImage& Loader() noexcept { return *loader_; }

    /// From now on nothing may change.
    void Seal();
    /// Where something has changed since the last `Seal`, in words; empty if nothing has. Seals
    /// again.
    [[nodiscard]] std::wstring FindChange();

    /// Makes every further access a crash, as the host releases its records.
    void Release();
    [[nodiscard]] bool Holds(const void* address) const noexcept;

  private:
    std::uint8_t* pages_;
    LoaderImage* loader_;
    std::uint8_t* copy_;
};

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_HOST_RECORDS_H
