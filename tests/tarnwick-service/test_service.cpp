#include "tests/tarnwick-service/test_service.h"

#include <gtest/gtest.h>

namespace test {

TestService::~TestService() {
    if (destroyed) {
        destroyed();
    }
}

std::shared_ptr<TestService> TestService::Create(BYTE canStop, BYTE canShutdown, BYTE canPause) {
    EXPECT_EQ(GetInstance(), nullptr);
    return std::static_pointer_cast<TestService>(GetOrCreate([&] {
        return std::make_shared<TestService>(L"TestService", canStop, canShutdown, canPause);
    }));
}

DWORD TestService::Unexpected() {
    ADD_FAILURE() << "no code reaches this step";
    return ERROR_CALL_NOT_IMPLEMENTED;
}

}  // namespace test
