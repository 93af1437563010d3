// The failures that several streams report alike. Internal to the library.
#pragma once

#include <string>

namespace VxXmlLib16::detail {

// Text beyond what a 32-bit count can hold.
[[noreturn]] void ThrowTextTooLong();
// The output file could not be created (or its first bytes not written).
[[noreturn]] void ThrowFileOpenFailed(const std::wstring& path, int error);
// Writing to (or closing) the open output file failed.
[[noreturn]] void ThrowFileWriteFailed(int error);

} // namespace VxXmlLib16::detail
