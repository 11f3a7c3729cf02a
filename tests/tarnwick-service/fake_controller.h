/// A controller library inside the test program: records the host's calls and their arguments, and
/// returns what a test sets. Reads the host's records by offset instead of the shared header, so
/// that an error in the header shows.
#ifndef TESTS_TARNWICK_SERVICE_FAKE_CONTROLLER_H
#define TESTS_TARNWICK_SERVICE_FAKE_CONTROLLER_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "framework/system/locks.h"
#include "framework/system/platform.h"

namespace test {

/// A record as bytes.
class RecordBytes {
  public:
    RecordBytes() = default;
    RecordBytes(const void* address, std::size_t size);

    [[nodiscard]] std::size_t Size() const { return bytes_.size(); }

    /// The value at an offset.
    template <class T>
    [[nodiscard]] T At(std::size_t offset) const {
        T value = {};
        std::memcpy(&value, bytes_.data() + offset, sizeof(value));
        return value;
    }
    [[nodiscard]] std::uint64_t Word(std::size_t offset) const { return At<std::uint64_t>(offset); }
    [[nodiscard]] RecordBytes Part(std::size_t offset, std::size_t size) const {
        return {bytes_.data() + offset, size};
    }
    friend bool operator==(const RecordBytes& left, const RecordBytes& right) {
        return left.bytes_ == right.bytes_;
    }

  private:
    std::vector<unsigned char> bytes_;
};

/// The parts of the host's loader, from its own address.
struct LoaderLayout {
    static constexpr std::size_t Initialized = 0;
    static constexpr std::size_t ComInitialized = 1;
    static constexpr std::size_t Controller = 8;
    static constexpr std::size_t Params = 16;
    static constexpr std::size_t HostComponent = 96;
    static constexpr std::size_t Interaction = 184;
    static constexpr std::size_t Exception = 240;
    static constexpr std::size_t Size = 304;
};

/// The callbacks, as a library calls them.
using LogSink = void (*)(void*, std::uint32_t, const wchar_t*, const wchar_t*);
using PlainCallback = void (*)();
using RegisterEntry = std::uint32_t (*)(void*, void*, void*, void*);
using EnableStop = std::uint32_t (*)();
using PreException = void (*)(void*);
using SetPreException = std::uint32_t (*)(void*, PreException, void*);
using RemovePreException = std::uint32_t (*)();

/// One at a time; the host's calls use the current one.
class FakeController {
  public:
    FakeController();
    ~FakeController();
    FakeController(const FakeController&) = delete;
    FakeController& operator=(const FakeController&) = delete;

    /// Results by the name of the call: "create", "LoadAddons", "Activate", "NotifyOnStop",
    /// "Deactivate", "free". 0 unless set.
    std::map<std::string, std::int32_t> results;
    /// An action during a call, before it returns. Set before the first thread.
    std::map<std::string, std::function<void()>> actions;

    /// Records an event of the test among the calls.
    void Note(const std::string& event);
    [[nodiscard]] std::vector<std::string> Events() const;
    void ClearEvents();
    /// The thread of the last call of that name.
    [[nodiscard]] DWORD ThreadOf(const std::string& call) const;

    /// The loader that made the last create call, and all its bytes at that call and at the free
    /// call.
    [[nodiscard]] std::uintptr_t Loader() const { return loader_; }
    [[nodiscard]] const RecordBytes& AtCreate() const { return atCreate_; }
    [[nodiscard]] const RecordBytes& AtFree() const { return atFree_; }
    [[nodiscard]] std::uintptr_t ParamsArgument() const { return paramsArgument_; }
    [[nodiscard]] std::uintptr_t OutArgument() const { return outArgument_; }
    /// The 80 bytes that the unpack call received.
    [[nodiscard]] const RecordBytes& AtBootstrap() const { return atBootstrap_; }
    [[nodiscard]] std::uintptr_t BootstrapArgument() const { return bootstrapArgument_; }
    /// The value that the create call has stored.
    [[nodiscard]] std::uintptr_t Row() const {
        return reinterpret_cast<std::uintptr_t>(static_cast<const void*>(row_));
    }

    // The implementations of the exports.
    std::int32_t Create(void* params, void** controllerOut);
    std::int32_t Free(void* controller);
    void Bootstrap(void* params);
    /// One of the controller's functions.
    std::int32_t Call(const std::string& name, void* self);

  private:
    using Slot = std::int32_t (*)(void*);

    void Enter(const std::string& name);
    [[nodiscard]] std::int32_t ResultOf(const std::string& name) const;

    // The host knows the first four; any other call fails the test.
    Slot row_[8];

    mutable framework::SrwLock lock_;
    // Guarded by lock_.
    std::vector<std::string> events_;
    std::map<std::string, DWORD> threads_;

    std::uintptr_t loader_ = 0;
    std::uintptr_t paramsArgument_ = 0;
    std::uintptr_t outArgument_ = 0;
    std::uintptr_t bootstrapArgument_ = 0;
    RecordBytes atCreate_;
    RecordBytes atFree_;
    RecordBytes atBootstrap_;
};

/// The library's object that receives the host's interfaces.
class FakeRegistrar {
  public:
    FakeRegistrar();
    ~FakeRegistrar();
    FakeRegistrar(const FakeRegistrar&) = delete;
    FakeRegistrar& operator=(const FakeRegistrar&) = delete;

    struct Registration {
        void* self;
        std::uintptr_t component;
        std::uintptr_t interfaceRecord;
    };
    std::vector<Registration> registrations;
    std::vector<std::uint32_t> results;  ///< one per call

    [[nodiscard]] void* Row() { return static_cast<void*>(row_); }

  private:
    using Slot = std::uint32_t (*)(void*, void*, void*);
    static std::uint32_t Register(void* self, void* component, void* interfaceRecord);

    Slot row_[1];
};

}  // namespace test

#endif  // TESTS_TARNWICK_SERVICE_FAKE_CONTROLLER_H
