/// Checks memory that the library passed, without trusting it.
#ifndef TOOLS_CONTROLLER_CHECK_MEMORY_VIEW_H
#define TOOLS_CONTROLLER_CHECK_MEMORY_VIEW_H

#include <cstddef>
#include <span>
#include <string>

namespace controller_check {

[[nodiscard]] bool IsReadable(const void* address, std::size_t size);

/// Whether code can run at `address`.
[[nodiscard]] bool IsCallable(const void* address);

/// Describes the first function of a row that can't be called, with its member's name; empty if all
/// can. The row has one pointer for each of `members`.
[[nodiscard]] std::wstring RowFault(const void* row, std::span<const wchar_t* const> members);

/// The reason why `text` can't be read to its end; empty if it can.
[[nodiscard]] std::wstring TextFault(const wchar_t* text);

/// "orrin-ctrl.dll+0x1234", or only the address outside all modules. Doesn't allocate. `size` is in
/// characters.
void DescribePlace(const void* address, wchar_t* buffer, std::size_t size);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_MEMORY_VIEW_H
