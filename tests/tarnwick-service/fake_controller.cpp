#include "tests/tarnwick-service/fake_controller.h"

#include <gtest/gtest.h>

#include <mutex>

#include "controller-abi/orrin_ctrl_abi.h"

namespace test {
namespace {

FakeController* current;
FakeRegistrar* currentRegistrar;

constexpr std::size_t ContextInParams = 56;

template <std::size_t Number>
std::int32_t SlotFunction(void* self) {
    static const char* const names[] = {"LoadAddons", "Activate", "NotifyOnStop", "Deactivate"};
    if constexpr (Number < 4) {
        return current->Call(names[Number], self);
    } else {
        ADD_FAILURE() << "slot " << Number << " is none of the host's";
        return -1;
    }
}

std::int32_t Create(OrrinControllerParams* params, OrrinController** controllerOut) {
    return current->Create(params, reinterpret_cast<void**>(controllerOut));
}

std::int32_t Free(OrrinController* controller) {
    return current->Free(controller);
}

std::int32_t Bootstrap(OrrinControllerParams* params) {
    current->Bootstrap(params);
    return -1;  // the host must not read it
}

}  // namespace

RecordBytes::RecordBytes(const void* address, std::size_t size)
    : bytes_(static_cast<const unsigned char*>(address),
             static_cast<const unsigned char*>(address) + size) {}

FakeController::FakeController()
    : row_{SlotFunction<0>, SlotFunction<1>, SlotFunction<2>, SlotFunction<3>,
           SlotFunction<4>, SlotFunction<5>, SlotFunction<6>, SlotFunction<7>} {
    EXPECT_EQ(current, nullptr);
    current = this;
}

FakeController::~FakeController() {
    current = nullptr;
}

void FakeController::Note(const std::string& event) {
    const std::lock_guard guard(lock_);
    events_.push_back(event);
}

std::vector<std::string> FakeController::Events() const {
    const std::lock_guard guard(lock_);
    return events_;
}

void FakeController::ClearEvents() {
    const std::lock_guard guard(lock_);
    events_.clear();
}

DWORD FakeController::ThreadOf(const std::string& call) const {
    const std::lock_guard guard(lock_);
    return threads_.at(call);
}

void FakeController::Enter(const std::string& name) {
    {
        const std::lock_guard guard(lock_);
        events_.push_back(name);
        threads_[name] = ::GetCurrentThreadId();
    }
    const auto action = actions.find(name);
    if (action != actions.end()) {
        action->second();
    }
}

std::int32_t FakeController::ResultOf(const std::string& name) const {
    const auto result = results.find(name);
    return result == results.end() ? 0 : result->second;
}

std::int32_t FakeController::Create(void* params, void** controllerOut) {
    EXPECT_EQ(*controllerOut, nullptr) << "the out value isn't null at the call";
    paramsArgument_ = reinterpret_cast<std::uintptr_t>(params);
    outArgument_ = reinterpret_cast<std::uintptr_t>(controllerOut);
    const RecordBytes record(params, 80);
    loader_ = record.At<std::uintptr_t>(ContextInParams);
    EXPECT_EQ(loader_ + LoaderLayout::Params, paramsArgument_);
    atCreate_ = RecordBytes(reinterpret_cast<const void*>(loader_), LoaderLayout::Size);
    Enter("create");
    const std::int32_t result = ResultOf("create");
    if (result == 0) {
        *controllerOut = static_cast<void*>(row_);
    }
    return result;
}

std::int32_t FakeController::Free(void* controller) {
    EXPECT_EQ(controller, static_cast<void*>(row_));
    atFree_ = RecordBytes(reinterpret_cast<const void*>(loader_), LoaderLayout::Size);
    Enter("free");
    return ResultOf("free");
}

void FakeController::Bootstrap(void* params) {
    bootstrapArgument_ = reinterpret_cast<std::uintptr_t>(params);
    atBootstrap_ = RecordBytes(params, 80);
    Enter("bootstrap");
}

std::int32_t FakeController::Call(const std::string& name, void* self) {
    EXPECT_EQ(self, static_cast<void*>(row_)) << name;
    Enter(name);
    return ResultOf(name);
}

FakeRegistrar::FakeRegistrar() : row_{Register} {
    EXPECT_EQ(currentRegistrar, nullptr);
    currentRegistrar = this;
}

FakeRegistrar::~FakeRegistrar() {
    currentRegistrar = nullptr;
}

std::uint32_t FakeRegistrar::Register(void* self, void* component, void* interfaceRecord) {
    FakeRegistrar& registrar = *currentRegistrar;
    registrar.registrations.push_back({self, reinterpret_cast<std::uintptr_t>(component),
                                       reinterpret_cast<std::uintptr_t>(interfaceRecord)});
    return registrar.results.at(registrar.registrations.size() - 1);
}

}  // namespace test

// The host finds the exports through these, like through its import table.
extern "C" {
decltype(&::OrrinCreateComponentModelController) __imp_OrrinCreateComponentModelController =
    &test::Create;
decltype(&::OrrinFreeComponentModelController) __imp_OrrinFreeComponentModelController =
    &test::Free;
decltype(&::OrrinBootstrap) __imp_OrrinBootstrap = &test::Bootstrap;
}
