#include "tarnwick-service/keldane_service.h"

namespace tarnwick {

using framework::LogSite;
using framework::LogTrace;

KeldaneService::KeldaneService(const ServiceDescriptor& serviceDescriptor)
    : WindowsServiceBase(serviceDescriptor.serviceName, serviceDescriptor.canStop,
                         serviceDescriptor.canShutdown, serviceDescriptor.canPause),
      descriptor(serviceDescriptor) {
    // Last: this runs the library's create call, which may call back into a fully built object.
    loader = std::make_unique<OrrinLoader>();
}

KeldaneService::~KeldaneService() = default;

std::shared_ptr<WindowsServiceBase> KeldaneService::GetOrCreateInstance(
    ServiceDescriptor descriptor) {
    // Not make_shared, which takes no zero-filled storage.
    return GetOrCreate(
        [&descriptor] { return std::shared_ptr<KeldaneService>(new KeldaneService(descriptor)); });
}

BOOL KeldaneService::Run() {
    return WindowsServiceBase::Run();
}

DWORD KeldaneService::OnStart() {
    constexpr LogSite Site = {L"keldane_service", L"KeldaneService::OnStart"};
    LogTrace(Site, L"%s in OnStart started\n", ServiceName().c_str());
    const DWORD result = loader->Start();
    LogTrace(Site, L"%s in OnStart finished\n", ServiceName().c_str());
    return result;
}

// Can run at the same time as OnStart; nothing here prevents it. The library must cope with it.
DWORD KeldaneService::OnStop() {
    constexpr LogSite Site = {L"keldane_service", L"KeldaneService::OnStop"};
    LogTrace(Site, L"%s in OnStop started\n", ServiceName().c_str());
    stopRequested = 1;
    const DWORD result = loader->Stop();
    LogTrace(Site, L"%s in OnStop finished \n", ServiceName().c_str());
    return result;
}

}  // namespace tarnwick
