/// Looks at memory that the library named, without trusting it.
#ifndef TOOLS_CONTROLLER_CHECK_MEMORY_VIEW_H
#define TOOLS_CONTROLLER_CHECK_MEMORY_VIEW_H

#include <cstddef>
#include <string>

namespace controller_check {

[[nodiscard]] bool IsReadable(const void* address, std::size_t size);

/// Whether code can run at `address`.
[[nodiscard]] bool IsCallable(const void* address);

/// The functions of a row of `count` pointers that can't be called, in words; empty if all can.
[[nodiscard]] std::wstring RowFault(const void* row, std::size_t count);

/// Why the text at `text` can't be read up to its end, in words; empty if it can.
[[nodiscard]] std::wstring TextFault(const wchar_t* text);

/// "orrin-ctrl.dll+0x1234", or the address alone outside of all modules. No allocation. `size`
/// counts characters.
void DescribePlace(const void* address, wchar_t* buffer, std::size_t size);

}  // namespace controller_check

#endif  // TOOLS_CONTROLLER_CHECK_MEMORY_VIEW_H
