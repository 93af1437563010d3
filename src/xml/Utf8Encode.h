// UTF-8 encoding of wide text without exceptions, for callers that decide
// themselves what an unencodable character means. Internal.
#pragma once

#include <cstddef>

namespace VxXmlLib16::detail {

// Writes the UTF-8 bytes of up to count characters at out (which needs room
// for 4 * count bytes) and advances out past them. Returns the number of
// characters converted: count, or the index of the first character that has
// no UTF-8 form (a surrogate, or a value above U+10FFFF); the characters
// before it are converted.
size_t EncodeUtf8(const wchar_t* text, size_t count, unsigned char*& out);

} // namespace VxXmlLib16::detail
