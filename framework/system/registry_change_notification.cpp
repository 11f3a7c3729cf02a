#include "framework/system/registry_change_notification.h"

#include <iterator>
#include <utility>

#include "framework/system/registry_values.h"
#include "framework/system/trace.h"

namespace framework {
namespace {

/// Whether the watch continues after a step.
enum class Step { Continue, End };

/// One run of the thread. The handles are raw because the run closes them in a fixed order, reports
/// a failed close, and deliberately leaves the keys of earlier iterations open.
class Watch {
  public:
    explicit Watch(const RegChangeNotifyParams& params) : params_(params) {}

    std::uint32_t Run() {
        event_ = ::CreateEventA(nullptr, TRUE, FALSE, nullptr);
        if (event_ == nullptr) {
            const std::uint32_t error = ::GetLastError();
            SystemTrace(ErrorLevel, L"RegChangeNotify: CreateEventA failed with error %lu", error);
            return error;
        }
        while (BeginIteration() == Step::Continue && Iterate() == Step::Continue) {
        }
        CloseHandles();
        if (status_ == ERROR_SUCCESS) {
            SystemTrace(TraceLevel, L"RegChangeNotify finished syccesfully");
        } else {
            SystemTrace(ErrorLevel, L"RegChangeNotify finished with error %lu", status_);
        }
        return status_;
    }

  private:
    Step BeginIteration() {
        SystemTrace(TraceLevel, L"RegChangeNotify: new iteration started");
        continueWatching_ = false;
        if (::WaitForSingleObject(params_.StopEvent, 0) == WAIT_OBJECT_0) {
            SystemTrace(TraceLevel, L"RegChangeNotify: break because Stop event occured");
            return Step::End;
        }
        return Step::Continue;
    }

    Step Iterate() {
        if (ArmNotification() == Step::End) {
            return Step::End;
        }
        // Arm the notification before reading the value. In the other order a change between the
        // two would be missed.
        std::uint32_t value = ReadValue();
        if (value == params_.BaselineValue) {
            if (AwaitChange() == Step::End) {
                return Step::End;
            }
            // The callback is called even if this reads the baseline again. That is meant: the key
            // was written, if only with the same data or to another of its values.
            value = ReadValue();
        }
        return Deliver(value);
    }

    Step ArmNotification() {
        // The previous iteration's key is deliberately left open: its notification stays armed on
        // the same event. Each further iteration leaks one key.
        status_ = static_cast<std::uint32_t>(
            ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, params_.KeyPath.c_str(), 0, KEY_NOTIFY, &key_));
        if (status_ != ERROR_SUCCESS) {
            SystemTrace(ErrorLevel, L"RegChangeNotify: RegOpenKeyExW failed with error %lu",
                        status_);
            return Step::End;
        }
        ::ResetEvent(event_);
        status_ = static_cast<std::uint32_t>(
            ::RegNotifyChangeKeyValue(key_, FALSE, REG_NOTIFY_CHANGE_LAST_SET, event_, TRUE));
        if (status_ != ERROR_SUCCESS) {
            SystemTrace(ErrorLevel,
                        L"RegChangeNotify: RegNotifyChangeKeyValue failed with error %lu", status_);
            return Step::End;
        }
        return Step::Continue;
    }

    [[nodiscard]] std::uint32_t ReadValue() const {
        return GetDwordValueFromRegistry(params_.KeyPath, params_.ValueName, params_.BaselineValue);
    }

    Step AwaitChange() {
        const HANDLE events[] = {params_.StopEvent, event_};
        const DWORD result = ::WaitForMultipleObjects(static_cast<DWORD>(std::size(events)), events,
                                                      FALSE, INFINITE);
        switch (result) {
            case WAIT_OBJECT_0:
                SystemTrace(TraceLevel, L"RegChangeNotify: StopEvent occur");
                return Step::End;
            case WAIT_OBJECT_0 + 1:
                return Step::Continue;
            case WAIT_FAILED:
                status_ = ::GetLastError();
                SystemTrace(ErrorLevel,
                            L"RegChangeNotify: WaitForMultipleObjects failed with error %lu",
                            status_);
                return Step::End;
            default:
                SystemTrace(ErrorLevel,
                            L"RegChangeNotify: WaitForMultipleObjects finished with result %lu",
                            result);
                return Step::End;
        }
    }

    Step Deliver(std::uint32_t value) {
        RegChangeNotification notification = {params_.CallbackContext, value, 0,
                                              &continueWatching_};
        status_ = params_.Callback(&notification);
        if (status_ != ERROR_SUCCESS) {
            SystemTrace(ErrorLevel,
                        L"RegChangeNotify: RegChangeNotificationCallback failed with error %lu",
                        status_);
            return Step::End;
        }
        return continueWatching_ ? Step::Continue : Step::End;
    }

    void CloseHandles() {
        if (key_ != nullptr) {
            const auto closed = static_cast<std::uint32_t>(::RegCloseKey(key_));
            if (closed != ERROR_SUCCESS) {
                SystemTrace(TraceLevel, L"RegChangeNotify: RegCloseKey failed with error %lu",
                            closed);
            }
        }
        if (::CloseHandle(event_) == FALSE) {
            SystemTrace(TraceLevel, L"RegChangeNotify: CloseHandle failed with error %lu",
                        ::GetLastError());
        }
    }

    const RegChangeNotifyParams& params_;
    HANDLE event_ = nullptr;
    HKEY key_ = nullptr;
    std::uint32_t status_ = ERROR_SUCCESS;
    bool continueWatching_ = false;
};

}  // namespace

std::uint32_t CreateRegChangeNotifyThread(RegChangeNotifyParams params, HANDLE& threadHandle) {
    // The copy is never freed, even if the thread can't be created. This is meant: a callback may
    // keep pointers into it for the lifetime of the process.
    auto* copy = new RegChangeNotifyParams(std::move(params));
    const HANDLE thread = ::CreateThread(nullptr, 0, RegChangeNotify, copy, 0, nullptr);
    if (thread == nullptr) {
        const std::uint32_t error = ::GetLastError();
        SystemTrace(ErrorLevel, L"CreateRegChangeNotifyThread failed with error %lu", error);
        return error;
    }
    threadHandle = thread;
    return ERROR_SUCCESS;
}

DWORD WINAPI RegChangeNotify(void* params) {
    return Watch(*static_cast<const RegChangeNotifyParams*>(params)).Run();
}

}  // namespace framework
