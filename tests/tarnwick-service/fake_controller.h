/// A controller library inside of the test program: takes down what the host calls and hands over,
/// and answers as a test wants. Reads the host's records by offset, not by the shared header, so
/// that a mistake in the header shows.
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

/// Where the parts of the host's loader stand, from the loader's own address.
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

/// The callbacks in the form in which a library calls them.
using LogSink = void (*)(void*, std::uint32_t, const wchar_t*, const wchar_t*);
using PlainCallback = void (*)();
using RegisterEntry = std::uint32_t (*)(void*, void*, void*, void*);
using EnableStop = std::uint32_t (*)();
using PreException = void (*)(void*);
using SetPreException = std::uint32_t (*)(void*, PreException, void*);
using RemovePreException = std::uint32_t (*)();

/// One at a time; the host's calls find the one that lives.
class FakeController {
  public:
    FakeController();
    ~FakeController();
    FakeController(const FakeController&) = delete;
    FakeController& operator=(const FakeController&) = delete;

    /// Results by the name of the call: "create", "LoadAddons", "Activate", "NotifyOnStop",
    /// "Deactivate", "free". 0 unless set.
    std::map<std::string, std::int32_t> results;
    /// What a call does beside coming back. Set before the first thread.
    std::map<std::string, std::function<void()>> actions;

    /// Takes down an event of a test's own among the calls.
    void Note(const std::string& event);
    [[nodiscard]] std::vector<std::string> Events() const;
    void ClearEvents();
    /// The thread of the last call of that name.
    [[nodiscard]] DWORD ThreadOf(const std::string& call) const;

    /// The loader that made the last create call, and all its bytes at that call and at the free.
    [[nodiscard]] std::uintptr_t Loader() const { return loader_; }
    [[nodiscard]] const RecordBytes& AtCreate() const { return atCreate_; }
    [[nodiscard]] const RecordBytes& AtFree() const { return atFree_; }
    [[nodiscard]] std::uintptr_t ParamsArgument() const { return paramsArgument_; }
    [[nodiscard]] std::uintptr_t OutArgument() const { return outArgument_; }
    /// The 80 bytes that the unpack call got.
    [[nodiscard]] const RecordBytes& AtBootstrap() const { return atBootstrap_; }
    [[nodiscard]] std::uintptr_t BootstrapArgument() const { return bootstrapArgument_; }
    /// What the create call has stored.
    [[nodiscard]] std::uintptr_t Row() const {
        return reinterpret_cast<std::uintptr_t>(static_cast<const void*>(row_));
    }

    // What the exports come down to.
    std::int32_t Create(void* params, void** controllerOut);
    std::int32_t Free(void* controller);
    void Bootstrap(void* params);
    /// One of the controller's functions.
    std::int32_t Call(const std::string& name, void* self);

  private:
    using Slot = std::int32_t (*)(void*);

    void Enter(const std::string& name);
    [[nodiscard]] std::int32_t ResultOf(const std::string& name) const;

    // The host knows the first four; whatever else it calls fails the test.
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

/// The library's object that takes the host's interfaces.
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
    std::vector<std::uint32_t> results;  ///< one for each call

    [[nodiscard]] void* Row() { return static_cast<void*>(row_); }

  private:
    using Slot = std::uint32_t (*)(void*, void*, void*);
    static std::uint32_t Register(void* self, void* component, void* interfaceRecord);

    Slot row_[1];
};

}  // namespace test

#endif  // TESTS_TARNWICK_SERVICE_FAKE_CONTROLLER_H
