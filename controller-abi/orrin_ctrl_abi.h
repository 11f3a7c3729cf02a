/// The interface between the service host and the controller library `orrin-ctrl.dll`.
///
/// A library needs only this file of the host. It compiles as C11 and as C++11 or later. All
/// records have the layout of 64-bit Windows: little-endian, 8-byte pointers, natural alignment.
/// Including this file checks every offset at compile time.
///
/// Text is UTF-16 except for names and identifiers, which are 8-bit. The records are valid and
/// unchanged from the create call until the free call has returned, as are all their pointers.
/// docs/writing-a-controller.md describes the order of calls and their threads.
#ifndef ORRIN_CTRL_ABI_H
#define ORRIN_CTRL_ABI_H

#include <stddef.h>
#include <stdint.h>
#include <wchar.h>

#ifdef __cplusplus
#define ORRIN_STATIC_ASSERT static_assert
extern "C" {
#else
#define ORRIN_STATIC_ASSERT _Static_assert
#endif

/// The controller, an object of the library. The pointer that the create call stores points
/// directly at these functions, not at a pointer to a table. Each function receives that pointer
/// and returns a signed code, 0 for success.
typedef struct OrrinController OrrinController;
struct OrrinController {
    int32_t (*LoadAddons)(OrrinController* self);
    /// Code 3 is the soft failure: the host calls `Deactivate` and the service keeps running.
    int32_t (*Activate)(OrrinController* self);
    int32_t (*NotifyOnStop)(OrrinController* self);
    int32_t (*Deactivate)(OrrinController* self);
};

/// The host's own entry in the library's list of components. 88 bytes.
typedef struct OrrinHostComponent {
    const char* name;  ///< "Quillon"
    uint64_t zero8;
    uint64_t zero16;
    void (*callback)(void);  ///< does nothing
    uint64_t zero32[7];
} OrrinHostComponent;

/// The first 48 bytes of every interface that the host offers.
typedef struct QuillonInterfaceHead {
    const char* identifier;
    uint64_t version;  ///< 1
    void* context;     ///< opaque to the library
    uint64_t zero24;
    uint64_t zero32;
    uint64_t zero40;
} QuillonInterfaceHead;

/// Identifier "quillon_interaction". 56 bytes.
typedef struct QuillonInteractionInterface {
    QuillonInterfaceHead head;
    /// Allows the Service Control Manager to stop the service. Any thread. Must not be called
    /// before the create call has returned or after the service has stopped, which can crash.
    /// Returns 0, or the Win32 error of the failed status report.
    uint32_t (*OrrinEnableServiceStop)(void);
} QuillonInteractionInterface;

/// Called on the thread that crashed, before the dump is written.
typedef void (*OrrinPreExceptionCallback)(void* context);

/// Identifier "quillon_exception". 64 bytes.
typedef struct QuillonExceptionInterface {
    QuillonInterfaceHead head;
    /// Replaces the callback that runs before a crash dump is written; null means none. The first
    /// argument is ignored. Any thread. Returns 0. Remove the callback before its code is unloaded.
    uint32_t (*OrrinSetPreExceptionCallback)(void* unused, OrrinPreExceptionCallback callback,
                                             void* context);
    /// Removes the callback. Any thread. Returns 0.
    uint32_t (*OrrinRemovePreExceptionCallback)(void);
} QuillonExceptionInterface;

/// An object of the library that receives the host's interfaces. Has the same form as the
/// controller.
typedef struct OrrinInterfaceRegistrar OrrinInterfaceRegistrar;
struct OrrinInterfaceRegistrar {
    /// Receives one interface of the host; `interfaceHead` is the address of the whole interface
    /// record. Returns 0 for success.
    uint32_t (*RegisterInterface)(OrrinInterfaceRegistrar* self, OrrinHostComponent* component,
                                  QuillonInterfaceHead* interfaceHead);
};

/// The levels of `OrrinLoggingCallback`. Every other value is logged as verbose.
enum { ORRIN_LOG_TRACE = 0, ORRIN_LOG_WARNING = 1, ORRIN_LOG_ERROR = 2 };

/// Writes one line to the host's log. Any thread. The first argument is ignored. A null `component`
/// means the host itself; a null `message` writes nothing. `message` is never used as a format.
typedef void (*OrrinLoggingCallbackFunction)(void* unused, uint32_t level, const wchar_t* component,
                                             const wchar_t* message);

/// What the host passes to the library. 80 bytes.
typedef struct OrrinControllerParams {
    uint32_t version;  ///< 2 for a controller, 0 for `OrrinBootstrap`
    uint32_t zero4;
    OrrinLoggingCallbackFunction OrrinLoggingCallback;
    /// Flushes the log file to disk. Any thread.
    void (*LogFlush)(void);
    uint64_t zero24;
    /// Reports that the service can't continue: its state becomes stopped, with error 713. Any
    /// thread. Must not be called before the create call has returned or after the service has
    /// stopped, which can crash. Calls nothing in the library.
    void (*OrrinInterruptCallback)(void);
    uint64_t zero40;
    /// Asks the host to register its two interfaces with `registrar`; `context` is the field below.
    /// The second and third argument are ignored. Returns the code of the second registration.
    uint32_t (*RegisterHostComponentEntry)(OrrinInterfaceRegistrar* registrar, void* second,
                                           void* third, void* context);
    void* context;
    uint64_t zero64;
    uint64_t zero72;
} OrrinControllerParams;

/// `OrrinControllerParams::version` for a controller and for `OrrinBootstrap`.
enum { ORRIN_PARAMS_VERSION_CONTROLLER = 2, ORRIN_PARAMS_VERSION_BOOTSTRAP = 0 };

/// The code of `Activate` that leaves the service running with a deactivated controller.
enum { ORRIN_ACTIVATE_SOFT_FAILURE = 3 };

ORRIN_STATIC_ASSERT(sizeof(void*) == 8, "the boundary is 64-bit");
ORRIN_STATIC_ASSERT(sizeof(wchar_t) == 2, "texts are UTF-16");

ORRIN_STATIC_ASSERT(offsetof(OrrinController, LoadAddons) == 0, "slot 0");
ORRIN_STATIC_ASSERT(offsetof(OrrinController, Activate) == 8, "slot 1");
ORRIN_STATIC_ASSERT(offsetof(OrrinController, NotifyOnStop) == 16, "slot 2");
ORRIN_STATIC_ASSERT(offsetof(OrrinController, Deactivate) == 24, "slot 3");

ORRIN_STATIC_ASSERT(sizeof(OrrinHostComponent) == 88, "size");
ORRIN_STATIC_ASSERT(offsetof(OrrinHostComponent, name) == 0, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinHostComponent, zero8) == 8, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinHostComponent, zero16) == 16, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinHostComponent, callback) == 24, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinHostComponent, zero32) == 32, "offset");

ORRIN_STATIC_ASSERT(sizeof(QuillonInterfaceHead) == 48, "size");
ORRIN_STATIC_ASSERT(offsetof(QuillonInterfaceHead, identifier) == 0, "offset");
ORRIN_STATIC_ASSERT(offsetof(QuillonInterfaceHead, version) == 8, "offset");
ORRIN_STATIC_ASSERT(offsetof(QuillonInterfaceHead, context) == 16, "offset");
ORRIN_STATIC_ASSERT(offsetof(QuillonInterfaceHead, zero24) == 24, "offset");
ORRIN_STATIC_ASSERT(offsetof(QuillonInterfaceHead, zero32) == 32, "offset");
ORRIN_STATIC_ASSERT(offsetof(QuillonInterfaceHead, zero40) == 40, "offset");

ORRIN_STATIC_ASSERT(sizeof(QuillonInteractionInterface) == 56, "size");
ORRIN_STATIC_ASSERT(offsetof(QuillonInteractionInterface, head) == 0, "offset");
ORRIN_STATIC_ASSERT(offsetof(QuillonInteractionInterface, OrrinEnableServiceStop) == 48, "offset");

ORRIN_STATIC_ASSERT(sizeof(QuillonExceptionInterface) == 64, "size");
ORRIN_STATIC_ASSERT(offsetof(QuillonExceptionInterface, head) == 0, "offset");
ORRIN_STATIC_ASSERT(offsetof(QuillonExceptionInterface, OrrinSetPreExceptionCallback) == 48,
                    "offset");
ORRIN_STATIC_ASSERT(offsetof(QuillonExceptionInterface, OrrinRemovePreExceptionCallback) == 56,
                    "offset");

ORRIN_STATIC_ASSERT(offsetof(OrrinInterfaceRegistrar, RegisterInterface) == 0, "slot 0");

ORRIN_STATIC_ASSERT(sizeof(OrrinControllerParams) == 80, "size");
ORRIN_STATIC_ASSERT(offsetof(OrrinControllerParams, version) == 0, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinControllerParams, zero4) == 4, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinControllerParams, OrrinLoggingCallback) == 8, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinControllerParams, LogFlush) == 16, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinControllerParams, zero24) == 24, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinControllerParams, OrrinInterruptCallback) == 32, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinControllerParams, zero40) == 40, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinControllerParams, RegisterHostComponentEntry) == 48, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinControllerParams, context) == 56, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinControllerParams, zero64) == 64, "offset");
ORRIN_STATIC_ASSERT(offsetof(OrrinControllerParams, zero72) == 72, "offset");

/// The exports. The library defines ORRIN_CTRL_EXPORTS before it includes this file.
#ifdef ORRIN_CTRL_EXPORTS
#define ORRIN_CTRL_API __declspec(dllexport)
#else
#define ORRIN_CTRL_API __declspec(dllimport)
#endif

/// Creates the controller and stores it in `*controllerOut`. Returns 0 for success.
ORRIN_CTRL_API int32_t OrrinCreateComponentModelController(OrrinControllerParams* params,
                                                           OrrinController** controllerOut);

/// Frees the controller; called exactly once if the create call returned 0, else never.
ORRIN_CTRL_API int32_t OrrinFreeComponentModelController(OrrinController* controller);

/// Unpacks the archives. Of `params` only the log sink is set; the result is ignored.
ORRIN_CTRL_API int32_t OrrinBootstrap(OrrinControllerParams* params);

#ifdef __cplusplus
}
#endif

#endif  // ORRIN_CTRL_ABI_H
