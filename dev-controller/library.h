#ifndef DEV_CONTROLLER_LIBRARY_H
#define DEV_CONTROLLER_LIBRARY_H

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "controller-abi/orrin_ctrl_abi.h"
#include "dev-controller/healthy_controller.h"
#include "dev-controller/host_link.h"
#include "dev-controller/platform.h"
#include "dev-controller/script.h"
#include "dev-controller/script_player.h"
#include "dev-controller/transcript.h"

namespace dev_controller {

/// Implements the three exports and the module's entry point. Writes each call to the transcript
/// and handles it with the script, the healthy controller, or both.
class Library {
  public:
    /// Created by the first call and never destroyed: the host may call until the process ends.
    static Library& Instance();

    /// False makes the process start fail.
    [[nodiscard]] bool Attach(HMODULE module);
    void Detach(bool processEnds);

    [[nodiscard]] std::int32_t Create(OrrinControllerParams* params,
                                      OrrinController** controllerOut);
    [[nodiscard]] std::int32_t Free(OrrinController* controller);
    [[nodiscard]] std::int32_t Bootstrap(OrrinControllerParams* params);

  private:
    using HealthyStep = std::int32_t (HealthyController::*)();

    Library();

    static std::int32_t LoadAddons(OrrinController* self);
    static std::int32_t Activate(OrrinController* self);
    static std::int32_t NotifyOnStop(OrrinController* self);
    static std::int32_t Deactivate(OrrinController* self);

    /// One of the controller's four functions.
    std::int32_t Serve(const char* name, Point point, HealthyStep step, OrrinController* self);
    /// Returns the script's result, else the healthy controller's, else 0.
    std::int32_t Answer(Point point, HealthyStep step, Outcome& outcome);
    std::int32_t CreateChecked(OrrinControllerParams* params, OrrinController** controllerOut);
    std::optional<std::wstring> Prepare();
    /// Reports an invalid script on every available channel.
    void TellBrokenScript();
    void WriteEnter(const char* call, const void* argument);
    std::int32_t WriteLeave(const char* call, std::int32_t code);

    Transcript transcript_;
    HostLink host_;
    Script script_;
    std::wstring brokenScript_;  ///< the error; empty if the script is valid
    std::optional<ScriptPlayer> player_;
    std::optional<HealthyController> healthy_;  ///< if the script enables it
    OrrinController row_;
    std::atomic<bool> created_ = false;
};

}  // namespace dev_controller

#endif  // DEV_CONTROLLER_LIBRARY_H
