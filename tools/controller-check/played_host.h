#ifndef TOOLS_CONTROLLER_CHECK_PLAYED_HOST_H
#define TOOLS_CONTROLLER_CHECK_PLAYED_HOST_H

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

#include "framework/system/unique_handle.h"
#include "tools/controller-check/host_records.h"
#include "tools/controller-check/journal.h"

namespace controller_check {

/// The host's functions for the library. Records every call in the journal. One object per process,
/// because the library's calls pass no object; never destroyed, because a faulty library may call
/// too late.
class PlayedHost {
  public:
    /// `hasServiceManager` is false for a console run.
    PlayedHost(Journal& journal, bool hasServiceManager);
    ~PlayedHost() = delete;
    PlayedHost(const PlayedHost&) = delete;
    PlayedHost& operator=(const PlayedHost&) = delete;

    /// Fills the records as before the create call.
    void OfferController();
    /// Fills the parameters as for `OrrinBootstrap`.
    void OfferLogSink();

    [[nodiscard]] LoaderImage& Loader() noexcept { return records_.Loader(); }
    [[nodiscard]] HostRecords& Records() noexcept { return records_; }
    /// Set when the library has called the interrupt callback.
    [[nodiscard]] HANDLE Interrupted() const noexcept { return interrupted_.Get(); }

    /// Call after the free call or `OrrinBootstrap`: from then on every call is an error.
    void End();
    /// Like the host's crash filter, but without a dump.
    [[noreturn]] void Crash(EXCEPTION_POINTERS* exception);

  private:
    static PlayedHost& Current();

    static void OnLog(void* unused, std::uint32_t level, const wchar_t* component,
                      const wchar_t* message);
    static void OnFlush();
    static void OnInterrupt();
    static void OnComponent();
    static std::uint32_t OnRegister(OrrinInterfaceRegistrar* registrar, void* second, void* third,
                                    void* context);
    static std::uint32_t OnEnableStop();
    static std::uint32_t OnSetCallback(void* unused, OrrinPreExceptionCallback callback,
                                       void* context);
    static std::uint32_t OnRemoveCallback();

    void Note(HostFunction function);
    void NoteText(const wchar_t* what, const wchar_t* text);
    std::uint32_t RegisterOne(OrrinInterfaceRegistrar* registrar, QuillonInterfaceHead* head,
                              const wchar_t* name);

    Journal& journal_;
    const bool hasServiceManager_;
    HostRecords records_;
    framework::KernelHandle interrupted_;
    std::atomic<bool> ended_ = false;
    std::atomic<OrrinPreExceptionCallback> callback_ = nullptr;
    std::array<std::atomic<std::uint32_t>, HostFunctionNames.size()> calls_ = {};
};

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_PLAYED_HOST_H
