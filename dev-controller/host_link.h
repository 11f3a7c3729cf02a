#ifndef DEV_CONTROLLER_HOST_LINK_H
#define DEV_CONTROLLER_HOST_LINK_H

#include <atomic>
#include <cstdint>
#include <optional>
#include <string>

#include "controller-abi/orrin_ctrl_abi.h"
#include "dev-controller/transcript.h"

namespace dev_controller {

/// The levels of the host's log sink. The fourth stands for all other values.
enum class Level : std::uint32_t {
    Trace = ORRIN_LOG_TRACE,
    Warning = ORRIN_LOG_WARNING,
    Error = ORRIN_LOG_ERROR,
    Verbose = 3
};

/// All calls to the host. Each is written to the transcript with its result. A call without a
/// function, or at a time when the host must not be called, is skipped and returns null.
/// Thread-safe.
class HostLink {
  public:
    explicit HostLink(Transcript& transcript) : transcript_(transcript) {}

    void Connect(OrrinControllerParams* params);
    /// Ends all calls to the host, before its records become invalid.
    void Disconnect();

    /// Null texts are passed unchanged.
    void Log(std::uint32_t level, const wchar_t* component, const wchar_t* text);
    void Log(Level level, const std::wstring& text);
    void Log(Level level, const wchar_t* component, const std::wstring& text);
    void FlushLog();
    void Interrupt();
    std::optional<std::uint32_t> RegisterInterfaces(std::uint32_t firstResult,
                                                    std::uint32_t secondResult);
    std::optional<std::uint32_t> EnableStop();
    std::optional<std::uint32_t> SetCallback(OrrinPreExceptionCallback callback, void* context);
    std::optional<std::uint32_t> RemoveCallback();

    [[nodiscard]] const OrrinControllerParams* Params() const { return params_.load(); }

  private:
    /// The library's side of a registration. The functions must be the first member, because the
    /// host passes their address back.
    struct Registrar {
        OrrinInterfaceRegistrar row;
        HostLink* link;
        std::uint32_t results[2];
        std::uint32_t calls;
    };

    static std::uint32_t RegisterInterface(OrrinInterfaceRegistrar* self,
                                           OrrinHostComponent* component,
                                           QuillonInterfaceHead* head);
    std::uint32_t Take(Registrar& registrar, OrrinHostComponent* component,
                       QuillonInterfaceHead* head);
    void Keep(QuillonInterfaceHead* head);
    void Unavailable(const char* call);

    Transcript& transcript_;
    std::atomic<OrrinControllerParams*> params_ = nullptr;
    std::atomic<QuillonInteractionInterface*> interaction_ = nullptr;
    std::atomic<QuillonExceptionInterface*> exception_ = nullptr;
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_HOST_LINK_H
