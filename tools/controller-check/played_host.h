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

/// What the library can call in the host, with everything that it does there written into the
/// journal. One in a process, as the library's calls name no object, and never destroyed, as a
/// library may call when it must not any more.
class PlayedHost {
  public:
    /// `hasServiceManager`: false as in a console run.
    PlayedHost(Journal& journal, bool hasServiceManager);
    ~PlayedHost() = delete;
    PlayedHost(const PlayedHost&) = delete;
    PlayedHost& operator=(const PlayedHost&) = delete;

    /// Fills the records as they are before the create call.
    void OfferController();
    /// Fills the parameters as they are for `OrrinBootstrap`.
    void OfferLogSink();

    [[nodiscard]] LoaderImage& Loader() noexcept { return records_.Loader(); }
    [[nodiscard]] HostRecords& Records() noexcept { return records_; }
    /// Set once the library has said that it can't go on.
    [[nodiscard]] HANDLE Interrupted() const noexcept { return interrupted_.Get(); }

    /// The free call, or `OrrinBootstrap`, has returned: the library must not call any more.
    void End();
    /// What the host's crash filter does, short of the dump.
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
