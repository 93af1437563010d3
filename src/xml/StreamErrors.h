// The failures that several streams report alike. Internal to the library.
#pragma once

#include <string>

namespace VxXmlLib16::detail {

// Text beyond what a 32-bit count can hold.
[[noreturn]] void ThrowTextTooLong();
// The output file could not be created (or its first bytes not written).
// The library's message first, then the file and the system's reason.
[[noreturn]] void ThrowFileOpenFailed(const std::wstring& path, int error);
// Writing to (or finishing) the open output file failed.
[[noreturn]] void ThrowFileWriteFailed(const std::wstring& path, int error);
// The system's text for an errno value, as wide text.
std::wstring SystemErrorText(int error);

} // namespace VxXmlLib16::detail
