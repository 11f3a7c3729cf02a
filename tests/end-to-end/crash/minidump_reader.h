/// A reader of minidump files, independent of the library that writes them.
#ifndef TESTS_END_TO_END_CRASH_MINIDUMP_READER_H
#define TESTS_END_TO_END_CRASH_MINIDUMP_READER_H

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace test {

struct Minidump {
    std::uint64_t flags = 0;  ///< the `MINIDUMP_TYPE` it was written with
    std::vector<std::uint32_t> streams;
    std::vector<std::uint32_t> threads;
    std::vector<std::wstring> modules;  ///< paths

    bool hasException = false;
    std::uint32_t exceptionThread = 0;
    std::uint32_t exceptionCode = 0;
    std::uint64_t exceptionAddress = 0;
    std::vector<std::uint64_t> exceptionParameters;
    std::uint32_t contextSize = 0;  ///< bytes of the faulting thread's registers

    [[nodiscard]] bool HasThread(std::uint32_t id) const;
    [[nodiscard]] bool HasModule(const std::filesystem::path& path) const;
    [[nodiscard]] bool HasStream(std::uint32_t type) const;
};

/// Throws if the file is missing, truncated or not a minidump.
[[nodiscard]] Minidump ReadMinidump(const std::filesystem::path& path);

}  // namespace test

#endif  // TESTS_END_TO_END_CRASH_MINIDUMP_READER_H
