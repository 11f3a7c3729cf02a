#ifndef TARNWICK_SERVICE_ORRIN_CTRL_LOADER_H
#define TARNWICK_SERVICE_ORRIN_CTRL_LOADER_H

#include <cstddef>
#include <cstdint>

#include "controller-abi/orrin_ctrl_abi.h"
#include "framework/system/platform.h"

namespace tarnwick {

/// The one place where the host meets the controller library. Holds the records that the library
/// reads; they are filled before the library sees them and never changed, and must stay where they
/// are until the free call has returned.
///
/// There is no lock: `Start` and `Stop` run on threads of the service's actions and can overlap.
class OrrinLoader {
  public:
    /// Initialises COM on this thread and creates the controller. Never fails towards the caller:
    /// a loader without a controller refuses to start and stop, with an error in the log.
    OrrinLoader();
    /// Frees the controller if there is one, without stopping it, then lets go of COM.
    ~OrrinLoader();
    OrrinLoader(const OrrinLoader&) = delete;
    OrrinLoader& operator=(const OrrinLoader&) = delete;

    /// Zero-filled, padding included: the library gets the loader's address and can read it all.
    /// Defined out of line, because a compiler that sees both drops what is written to an object
    /// before its constructor.
    static void* operator new(std::size_t size);
    static void operator delete(void* block, std::size_t size) noexcept;

    /// Loads and activates the components. 0 or 1359 (`ERROR_INTERNAL_ERROR`); the library's own
    /// codes go to the log. Code 3 of `Activate` is a success that leaves the controller
    /// deactivated.
    [[nodiscard]] DWORD Start();

    /// Notifies and deactivates, whatever the start has done. 0 or 1359.
    [[nodiscard]] DWORD Stop();

    /// The library's log sink. Any thread; see the type for the arguments.
    static void OrrinLoggingCallback(void* unused, std::uint32_t level, const wchar_t* component,
                                     const wchar_t* message);

  private:
    static void OrrinInterruptCallback();
    static void HostComponentCallback();
    static std::uint32_t RegisterHostComponentEntry(OrrinInterfaceRegistrar* registrar,
                                                    void* second, void* third, void* context);
    static std::uint32_t OrrinEnableServiceStop();
    static std::uint32_t OrrinSetPreExceptionCallback(void* unused,
                                                      OrrinPreExceptionCallback callback,
                                                      void* context);
    static std::uint32_t OrrinRemovePreExceptionCallback();

    void InitializeCom();
    void FillHostComponent();
    void FillInterfaces();
    void FillControllerParams();
    void CreateController();
    void FreeController() const;
    [[nodiscard]] bool IsUsable(const wchar_t* function) const;
    std::uint32_t RegisterHostComponent(OrrinInterfaceRegistrar* registrar);

    std::uint8_t initialized = 0;     ///< 1: the controller was created
    std::uint8_t comInitialized = 0;  ///< 1: COM is to be let go again
    OrrinController* controller = nullptr;
    OrrinControllerParams controllerParams = {};
    OrrinHostComponent hostComponent = {};
    QuillonInteractionInterface interactionInterface = {};
    QuillonExceptionInterface exceptionInterface = {};
};

}  // namespace tarnwick

#endif  // TARNWICK_SERVICE_ORRIN_CTRL_LOADER_H
