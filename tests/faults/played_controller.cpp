#include "tests/faults/played_controller.h"

#include <atomic>
#include <cwchar>
#include <iterator>

#include "controller-abi/orrin_ctrl_abi.h"
#include "tests/faults/fault_plan.h"

namespace faults {
namespace {

OrrinControllerParams host;
std::atomic<bool> crashes{false};
std::atomic<bool> activated{false};
std::atomic<bool> notified{false};

void WriteRecords() {
    RunRecord& record = Record();
    for (std::uint32_t index = 0; index < RecordsPerCall; ++index) {
        wchar_t text[64];
        ::_snwprintf(text, std::size(text), L"%ls%u", NumberedText,
                     static_cast<unsigned>(record.acceptedRecords + 1));
        host.OrrinLoggingCallback(nullptr, ORRIN_LOG_TRACE, L"played", text);
        ++record.acceptedRecords;
    }
    host.LogFlush();
}

std::int32_t LoadAddons(OrrinController* /*self*/) {
    return 0;
}

std::int32_t Activate(OrrinController* /*self*/) {
    WriteRecords();
    if (crashes) {
        OpenWindow();
        // Not null, which a build that traps undefined behaviour would end in its own way.
        static volatile std::uintptr_t nowhere = 0x10;
        *reinterpret_cast<volatile int*>(nowhere) = 1;
    }
    activated = true;
    return 0;
}

std::int32_t NotifyOnStop(OrrinController* /*self*/) {
    notified = true;
    return 0;
}

std::int32_t Deactivate(OrrinController* /*self*/) {
    WriteRecords();
    return 0;
}

OrrinController controller = {LoadAddons, Activate, NotifyOnStop, Deactivate};

std::int32_t Create(OrrinControllerParams* params, OrrinController** controllerOut) {
    host = *params;
    *controllerOut = &controller;
    ++Record().created;
    return 0;
}

std::int32_t Free(OrrinController* /*controller*/) {
    --Record().created;
    return 0;
}

std::int32_t Bootstrap(OrrinControllerParams* /*params*/) {
    return 0;
}

}  // namespace

void CrashWhenActivated() {
    crashes = true;
}

bool ControllerActivated() {
    return activated;
}

bool ControllerNotified() {
    return notified;
}

}  // namespace faults

extern "C" {
decltype(&::OrrinCreateComponentModelController) __imp_OrrinCreateComponentModelController =
    &faults::Create;
decltype(&::OrrinFreeComponentModelController) __imp_OrrinFreeComponentModelController =
    &faults::Free;
decltype(&::OrrinBootstrap) __imp_OrrinBootstrap = &faults::Bootstrap;
}
