// printf-style formatting into wide strings.
#pragma once

#include <cstdarg>
#include <string>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

// Formats like swprintf, except that %s always takes a wide string
// (const wchar_t*) and %c a wide character (wchar_t), the way every message
// of this library is written. %d, %u, %x, %f, %g and the other numeric
// conversions keep their C meaning; %% is a literal percent sign.
VXXML_API std::wstring FormatString(const wchar_t* format, ...);
VXXML_API std::wstring FormatStringV(const wchar_t* format, va_list args);

} // namespace VxXmlLib16
