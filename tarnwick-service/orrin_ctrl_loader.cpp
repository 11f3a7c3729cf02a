#include "tarnwick-service/orrin_ctrl_loader.h"

// Needs windows.h before it.
#include <objbase.h>

#include <cstddef>
#include <cstring>
#include <new>

#include "framework/exception/exception_filter.h"
#include "framework/logger/log_line.h"
#include "tarnwick-service/filter_frame.h"
#include "tarnwick-service/windows_service_base.h"

namespace tarnwick {

using framework::LogError;
using framework::LogLevel;
using framework::LogSite;
using framework::LogTrace;

namespace {

constexpr const wchar_t* File = L"orrin_ctrl_loader";

constexpr std::uint64_t InterfaceVersion = 1;

/// ERROR_FATAL_APP_EXIT of the platform's headers, which not every tool chain defines.
constexpr DWORD FatalAppExit = 713;

QuillonInterfaceHead MakeHead(const char* identifier, void* context) {
    QuillonInterfaceHead head = {};
    head.identifier = identifier;
    head.version = InterfaceVersion;
    head.context = context;
    return head;
}

LogLevel FromLibraryLevel(std::uint32_t level) {
    switch (level) {
        case ORRIN_LOG_TRACE:
            return framework::LevelTrace;
        case ORRIN_LOG_WARNING:
            return framework::LevelWarning;
        case ORRIN_LOG_ERROR:
            return framework::LevelError;
        default:
            return framework::LevelVerbose;
    }
}

}  // namespace

OrrinLoader::OrrinLoader() {
    // The library gets this object's address as `context` and sees the records at these offsets
    // behind it, so they stay there.
    static_assert(offsetof(OrrinLoader, controller) == 8);
    static_assert(offsetof(OrrinLoader, controllerParams) == 16);
    static_assert(offsetof(OrrinLoader, hostComponent) == 96);
    static_assert(offsetof(OrrinLoader, interactionInterface) == 184);
    static_assert(offsetof(OrrinLoader, exceptionInterface) == 240);
    static_assert(sizeof(OrrinLoader) == 304);
    InitializeCom();
    FillHostComponent();
    FillInterfaces();
    FillControllerParams();
    CreateController();
}

OrrinLoader::~OrrinLoader() {
    // The library and the log may throw, a destructor may not.
    CallOnFilterFrame([this] {
        if (initialized == 1) {
            FreeController();
        }
        if (comInitialized == 1) {
            ::CoUninitialize();
        }
    });
}

void* OrrinLoader::operator new(std::size_t size) {
    return std::memset(::operator new(size), 0, size);
}

void OrrinLoader::operator delete(void* block, std::size_t size) noexcept {
    ::operator delete(block, size);
}

void OrrinLoader::InitializeCom() {
    constexpr LogSite Site = {File, L"OrrinLoader::OrrinLoader"};
    const HRESULT result = ::CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    // S_FALSE, "initialised already", is told as a failure too, and isn't balanced later: COM on
    // this thread then belongs to somebody else.
    if (result == S_OK) {
        comInitialized = 1;
        LogTrace(Site, L"CoInitializeEx successed");
    } else {
        LogError(Site, L"CoInitializeEx failed with hResult %lu", result);
    }
}

void OrrinLoader::FillHostComponent() {
    hostComponent = {};
    hostComponent.name = "Quillon";
    hostComponent.callback = HostComponentCallback;
}

void OrrinLoader::FillInterfaces() {
    interactionInterface.head = MakeHead("quillon_interaction", this);
    interactionInterface.OrrinEnableServiceStop = OrrinEnableServiceStop;
    exceptionInterface.head = MakeHead("quillon_exception", this);
    exceptionInterface.OrrinSetPreExceptionCallback = OrrinSetPreExceptionCallback;
    exceptionInterface.OrrinRemovePreExceptionCallback = OrrinRemovePreExceptionCallback;
}

void OrrinLoader::FillControllerParams() {
    controllerParams.version = ORRIN_PARAMS_VERSION_CONTROLLER;
    controllerParams.OrrinLoggingCallback = OrrinLoggingCallback;
    controllerParams.LogFlush = framework::LogFlush;
    controllerParams.OrrinInterruptCallback = OrrinInterruptCallback;
    controllerParams.RegisterHostComponentEntry = RegisterHostComponentEntry;
    controllerParams.context = this;
}

void OrrinLoader::CreateController() {
    const std::int32_t code = ::OrrinCreateComponentModelController(&controllerParams, &controller);
    if (code == 0) {
        initialized = 1;
    } else {
        LogError({File, L"OrrinLoader::OrrinLoader"},
                 L"OrrinCreateComponentModelController failed with error %li", code);
    }
}

void OrrinLoader::FreeController() const {
    constexpr LogSite Site = {File, L"OrrinLoader::~OrrinLoader"};
    const std::int32_t code = ::OrrinFreeComponentModelController(controller);
    if (code != 0) {
        LogError(Site, L"OrrinFreeComponentModelController failed with error %li", code);
    } else {
        LogTrace(Site, L"OrrinFreeComponentModelController successed");
    }
}

bool OrrinLoader::IsUsable(const wchar_t* function) const {
    if (initialized == 0) {
        LogError({File, function}, L"orrin does not initialized");
        return false;
    }
    return true;
}

DWORD OrrinLoader::Start() {
    constexpr LogSite Site = {File, L"OrrinLoader::Start"};
    if (!IsUsable(Site.Function)) {
        return ERROR_INTERNAL_ERROR;
    }
    const std::int32_t loadCode = controller->LoadAddons(controller);
    if (loadCode != 0) {
        LogError(Site, L"Orrin->LoadAddons failed with error %li", loadCode);
        return ERROR_INTERNAL_ERROR;
    }
    const std::int32_t activateCode = controller->Activate(controller);
    if (activateCode == 0) {
        return ERROR_SUCCESS;
    }
    const bool isSoftFailure = activateCode == ORRIN_ACTIVATE_SOFT_FAILURE;
    LogLine(isSoftFailure ? framework::LevelWarning : framework::LevelError, Site,
            L"Orrin->Activate failed with error %li", activateCode);
    LogTrace(Site, L"Orrin->Deactivate started due to QUA-847");
    const std::int32_t deactivateCode = controller->Deactivate(controller);
    LogTrace(Site, L"Orrin->Deactivate finished with code %li", deactivateCode);
    return isSoftFailure ? ERROR_SUCCESS : ERROR_INTERNAL_ERROR;
}

// Doesn't look at what Start has done: after a soft failure the controller is notified, and
// deactivated a second time.
DWORD OrrinLoader::Stop() {
    constexpr LogSite Site = {File, L"OrrinLoader::Stop"};
    if (!IsUsable(Site.Function)) {
        return ERROR_INTERNAL_ERROR;
    }
    const std::int32_t notifyCode = controller->NotifyOnStop(controller);
    if (notifyCode != 0) {
        LogError(Site, L"Orrin->NotifyOnStop failed with error %li", notifyCode);
        return ERROR_INTERNAL_ERROR;
    }
    const std::int32_t deactivateCode = controller->Deactivate(controller);
    if (deactivateCode != 0) {
        LogError(Site, L"Orrin->Deactivate failed with error %li", deactivateCode);
        return ERROR_INTERNAL_ERROR;
    }
    return ERROR_SUCCESS;
}

// What follows is called by the library, on any of its threads, also several at once.

void OrrinLoader::OrrinLoggingCallback(void* /*unused*/, std::uint32_t level,
                                       const wchar_t* component, const wchar_t* message) {
    if (message == nullptr) {
        return;
    }
    const LogLevel logLevel = FromLibraryLevel(level);
    framework::Logger::Instance().Log(logLevel.Bit, logLevel.Tag, component, File, __LINE__,
                                      L"OrrinLoader::OrrinLoggingCallback", L"%s", message);
}

// Stops nothing by itself: the report alone ends a service, and a console run goes on.
void OrrinLoader::OrrinInterruptCallback() {
    LogError({File, L"OrrinLoader::OrrinInterruptCallback"}, L"Intterrupt Callback occur\n");
    WindowsServiceBase::GetInstance()->SetServiceStatusSafe(SERVICE_STOPPED, FatalAppExit, 0);
}

void OrrinLoader::HostComponentCallback() {}

std::uint32_t OrrinLoader::RegisterHostComponentEntry(OrrinInterfaceRegistrar* registrar,
                                                      void* /*second*/, void* /*third*/,
                                                      void* context) {
    return static_cast<OrrinLoader*>(context)->RegisterHostComponent(registrar);
}

std::uint32_t OrrinLoader::RegisterHostComponent(OrrinInterfaceRegistrar* registrar) {
    constexpr LogSite Site = {File, L"OrrinLoader::RegisterHostComponent"};
    const std::uint32_t interactionCode =
        registrar->RegisterInterface(registrar, &hostComponent, &interactionInterface.head);
    if (interactionCode != 0) {
        LogError(Site, L"RegisterInterface for QuillonInteractionInterface failed with error %lu",
                 interactionCode);
    }
    const std::uint32_t exceptionCode =
        registrar->RegisterInterface(registrar, &hostComponent, &exceptionInterface.head);
    if (exceptionCode != 0) {
        LogError(Site, L"RegisterInterface for QuillonExceptionInterface failed with error %lu",
                 exceptionCode);
    }
    // The first code isn't part of the result: a library without the interaction interface runs on
    // as a service that can't be stopped by hand.
    return exceptionCode;
}

std::uint32_t OrrinLoader::OrrinEnableServiceStop() {
    LogTrace({File, L"OrrinLoader::OrrinEnableServiceStop"},
             L"Enable service stop ORRIN request occur");
    return WindowsServiceBase::GetInstance()->EnableStopFromSCM();
}

std::uint32_t OrrinLoader::OrrinSetPreExceptionCallback(void* /*unused*/,
                                                        OrrinPreExceptionCallback callback,
                                                        void* context) {
    LogTrace({File, L"OrrinLoader::OrrinSetPreExceptionCallback"},
             L"SetPreExceptionCallback called");
    return framework::ExceptionFilter::SetPreExceptionCallback(callback, context);
}

std::uint32_t OrrinLoader::OrrinRemovePreExceptionCallback() {
    LogTrace({File, L"OrrinLoader::OrrinRemovePreExceptionCallback"},
             L"RemovePreExceptionCallback called");
    framework::ExceptionFilter::RemovePreExceptionCallback();
    return 0;
}

}  // namespace tarnwick
