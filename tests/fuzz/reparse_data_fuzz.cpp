// Possible answers of a volume to a query for a link's data, and their interpretation.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "framework/system/reparse_point.h"
#include "tests/fuzz/target.h"
#include "tests/support/platform_hooks.h"

namespace fuzz {
namespace {

constexpr std::size_t BufferSize = 16384;

const std::wstring Characters = L"\x0001\x0003\x000C\x001A\x007F\x0080\x00A0\x00C0\x00FF";

/// The bytes of tags, complete and truncated.
const std::vector<std::wstring> Words = {std::wstring(L"\x0003\0\0\x00A0", 4),
                                         std::wstring(L"\x000C\0\0\x00A0", 4),
                                         std::wstring(L"\x00A0\0\0\x0003", 4),
                                         std::wstring(L"\x0003\0\0", 3),
                                         std::wstring(L"\x000C\0\0\x0080", 4),
                                         std::wstring(L"\x001A\0\0\x0090", 4),
                                         std::wstring(8, L'\0'),
                                         std::wstring(BufferSize, L'\x00A0')};

/// The bytes of the answer, then "refused" if the query fails, and "closed" if the link can't be
/// opened.
Input Generate(Random& random) {
    std::wstring bytes;
    for (std::size_t count = random.Below(4); count != 0; --count) {
        bytes += random.OneIn(3) ? random.Text(Characters, 8) : random.Pick(Words);
    }
    return {bytes, random.OneIn(8) ? L"refused" : random.OneIn(8) ? L"closed" : L""};
}

std::string Check(const Input& given) {
    Input input = given;
    input.resize(2);
    const std::string bytes = BytesOfText(input[0]).substr(0, BufferSize);
    const bool opens = input[1] != L"closed";
    const bool answers = input[1] != L"refused";
    std::string wrong;
    int open = 0;
    const test::ScopedHook<test::CreateFileWHook> create([&](auto...) {
        ::SetLastError(ERROR_ACCESS_DENIED);
        open += opens ? 1 : 0;
        return opens ? reinterpret_cast<HANDLE>(std::uintptr_t{0x111110}) : INVALID_HANDLE_VALUE;
    });
    const test::ScopedHook<test::CloseHandleHook> close([&](HANDLE) {
        --open;
        return TRUE;
    });
    const test::ScopedHook<test::DeviceIoControlHook> control(
        [&](HANDLE, DWORD, void*, DWORD, void* output, DWORD size, DWORD* returned, OVERLAPPED*) {
            if (size != BufferSize) {
                wrong = "asked with a buffer of " + std::to_string(size) + " bytes";
            }
            ::SetLastError(ERROR_NOT_A_REPARSE_POINT);
            // A failed query may have changed the buffer.
            std::memcpy(output, bytes.data(), bytes.size());
            *returned = answers ? static_cast<DWORD>(bytes.size()) : 0;
            return answers ? TRUE : FALSE;
        });
    std::uint32_t tag = 0;
    if (bytes.size() >= sizeof(tag)) {
        std::memcpy(&tag, bytes.data(), sizeof(tag));
    }
    const bool known = opens && answers && bytes.size() >= sizeof(tag);
    if (framework::IsMountPoint(L"C:\\link") != (known && tag == 0xA0000003) ||
        framework::IsSymbolicLink(L"C:\\link") != (known && tag == 0xA000000C) ||
        framework::HasReparseTag(L"C:\\link", tag) != known) {
        return "the tag isn't what the volume says";
    }
    std::vector<std::byte> buffer;
    const std::uint32_t status = framework::GetReparsePointDataByPath(L"C:\\link", buffer);
    if (status != (!opens ? 5U : answers ? 0U : 4390U)) {
        return "status " + std::to_string(status);
    }
    const std::size_t size = !opens ? 0 : answers ? bytes.size() : BufferSize;
    // An empty buffer has no address, which memcmp doesn't allow.
    const auto* const got = reinterpret_cast<const char*>(buffer.data());
    if (buffer.size() != size ||
        !std::equal(got, got + std::min(size, bytes.size()), bytes.data())) {
        return "a buffer of " + std::to_string(buffer.size()) + " bytes";
    }
    return open == 0 ? wrong : "a handle stays open";
}

TEST(Fuzz, ReparseData) {
    TryTarget({"reparse-data",
               Generate,
               Check,
               {Words, Characters, BufferSize + 16, true},
               10000,
               60000});
}

}  // namespace
}  // namespace fuzz
