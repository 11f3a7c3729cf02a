#include "bench/log/scratch_logger.h"

#include <atomic>
#include <memory>
#include <string>
#include <system_error>
#include <utility>

#include "framework/logger/logger.h"

namespace bench {
namespace {

void RenewLogger() {
    framework::Logger& logger = framework::Logger::Instance();
    std::destroy_at(&logger);
    std::construct_at(&logger);
}

}  // namespace

ScratchFolder::ScratchFolder() {
    static std::atomic<unsigned> counter{0};
    path_ = std::filesystem::temp_directory_path() /
            ("tarnwick-bench-" + std::to_string(::GetCurrentProcessId()) + "-" +
             std::to_string(counter++));
    std::filesystem::create_directories(path_);
}

ScratchFolder::~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

framework::LoggerConfig ScratchLogger::UsualConfig() {
    framework::LoggerConfig config;
    config.ComponentName = L"quillon";
    config.FilePrefix = L"quillon";
    config.BuildNumber = 804;
    config.TraceLevelsMask = 7;
    config.LogToFile = true;
    config.DisableLogRetention = true;
    return config;
}

ScratchLogger::ScratchLogger(framework::LoggerConfig config) {
    RenewLogger();
    config.LogDirectory = folder_.Path().wstring() + L"\\";
    framework::Logger::Instance().Configure(std::move(config));
}

ScratchLogger::~ScratchLogger() {
    RenewLogger();
}

}  // namespace bench
