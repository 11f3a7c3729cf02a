// A controller library without components: it allows a stop and stops at once.

#define ORRIN_CTRL_EXPORTS
#include <cstdint>

#include "bench/process/fault_clock.h"
#include "controller-abi/orrin_ctrl_abi.h"
#include "dev-controller/wine_stop_remedy.h"

namespace {

OrrinControllerParams* hostParams;
QuillonInteractionInterface* interaction;

std::uint32_t TakeInterface(OrrinInterfaceRegistrar* /*self*/, OrrinHostComponent* /*component*/,
                            QuillonInterfaceHead* head) {
    if (interaction == nullptr) {
        interaction = reinterpret_cast<QuillonInteractionInterface*>(head);
    }
    return 0;
}

std::int32_t LoadAddons(OrrinController* /*self*/) {
    static OrrinInterfaceRegistrar registrar = {TakeInterface};
    hostParams->RegisterHostComponentEntry(&registrar, nullptr, nullptr, hostParams->context);
    return 0;
}

std::int32_t Activate(OrrinController* /*self*/) {
    bench::CrashIfAsked();
    interaction->OrrinEnableServiceStop();
    return 0;
}

std::int32_t Nothing(OrrinController* /*self*/) {
    return 0;
}

}  // namespace

extern "C" {

std::int32_t OrrinCreateComponentModelController(OrrinControllerParams* params,
                                                 OrrinController** controllerOut) {
    static OrrinController controller = {LoadAddons, Activate, Nothing, Nothing};
    hostParams = params;
    *controllerOut = &controller;
    return 0;
}

std::int32_t OrrinFreeComponentModelController(OrrinController* /*controller*/) {
    constexpr DWORD LimitMs = 5000;
    dev_controller::WaitForHandedOverReports(LimitMs);
    return 0;
}

std::int32_t OrrinBootstrap(OrrinControllerParams* /*params*/) {
    return 0;
}

BOOL WINAPI DllMain(HINSTANCE /*module*/, DWORD reason, void* /*reserved*/) {
    if (reason == DLL_PROCESS_ATTACH) {
        dev_controller::InstallWineStopRemedy(nullptr);
    }
    return TRUE;
}
}
