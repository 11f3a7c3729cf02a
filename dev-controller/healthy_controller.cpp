#include "dev-controller/healthy_controller.h"

#include <string>

namespace dev_controller {

HealthyController::HealthyController(HostLink& host, std::optional<Chatter> chatter,
                                     std::uint32_t firstResult, std::uint32_t secondResult)
    : host_(host),
      firstResult_(firstResult),
      secondResult_(secondResult),
      components_(host, chatter) {}

std::int32_t HealthyController::Enter(ControllerCall call, const wchar_t* name) {
    const wchar_t* objection = nullptr;
    {
        const ExclusiveLock lock(orderLock_);
        objection = order_.Objection(call);
        if (objection == nullptr) {
            order_.Done(call);
        }
    }
    if (objection == nullptr) {
        return 0;
    }
    host_.Log(Level::Error, std::wstring(name) + L" refused: " + objection);
    return RefusedOrder;
}

std::int32_t HealthyController::Create() {
    host_.Log(Level::Trace, L"development controller created");
    return 0;
}

/// Logs one line of each level, as an example of the log and its mask.
void HealthyController::ShowLevels() {
    host_.Log(Level::Warning, L"this is what a warning looks like; all is well");
    host_.Log(Level::Error, L"this is what an error looks like; all is well");
    host_.Log(Level::Verbose, L"this is what a verbose line looks like");
}

std::int32_t HealthyController::Load() {
    if (const std::int32_t refusal = Enter(ControllerCall::Load, L"LoadAddons")) {
        return refusal;
    }
    const auto result = host_.RegisterInterfaces(firstResult_, secondResult_);
    if (!result || *result != 0) {
        host_.Log(Level::Error, L"the host's interfaces could not be registered");
        return static_cast<std::int32_t>(result.value_or(ERROR_NOT_SUPPORTED));
    }
    host_.Log(Level::Trace, L"loaded: heartbeat, worker");
    ShowLevels();
    return 0;
}

std::int32_t HealthyController::Activate() {
    if (const std::int32_t refusal = Enter(ControllerCall::Activate, L"Activate")) {
        return refusal;
    }
    if (const DWORD error = components_.Start()) {
        host_.Log(Level::Error,
                  L"a component could not be started, error " + std::to_wstring(error));
        components_.Stop();
        return static_cast<std::int32_t>(error);
    }
    host_.Log(Level::Trace, L"active");
    AskForStopPermission();
    return 0;
}

void HealthyController::AskForStopPermission() {
    const auto result = host_.EnableStop();
    if (result && *result != 0) {
        // Normal in a console run, which has no service manager.
        host_.Log(Level::Warning,
                  L"the service manager was not told that a stop is allowed, error " +
                      std::to_wstring(*result));
    }
}

std::int32_t HealthyController::StopComponents() {
    if (!components_.Stop()) {
        host_.Log(Level::Error, L"a component did not stop in time");
        return ERROR_TIMEOUT;
    }
    return 0;
}

std::int32_t HealthyController::Notify() {
    if (const std::int32_t refusal = Enter(ControllerCall::Notify, L"NotifyOnStop")) {
        return refusal;
    }
    host_.Log(Level::Trace, L"stopping the components");
    return StopComponents();
}

std::int32_t HealthyController::Deactivate() {
    if (const std::int32_t refusal = Enter(ControllerCall::Deactivate, L"Deactivate")) {
        return refusal;
    }
    host_.Log(Level::Trace, L"deactivated");
    return 0;
}

std::int32_t HealthyController::Free() {
    const wchar_t* remark = nullptr;
    {
        const ExclusiveLock lock(orderLock_);
        remark = order_.FreeRemark();
    }
    if (remark != nullptr) {
        host_.Log(Level::Warning, remark);
    }
    const std::int32_t code = StopComponents();
    host_.FlushLog();
    host_.Log(Level::Trace, L"development controller freed");
    return code;
}

std::int32_t HealthyController::Bootstrap() {
    host_.Log(Level::Trace, L"unpack: this development library brings no archive, nothing to do");
    return 0;
}

}  // namespace dev_controller
