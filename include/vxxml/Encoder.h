// Conversions between the library's wide text and the bytes of documents.
//
// wchar_t holds one Unicode code point (UTF-32). UTF-8 and UTF-16LE exist
// only as bytes; surrogate pairs appear only in UTF-16 bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vxxml/BinaryData.h>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

// UTF-8 bytes of the text up to its terminating zero (null or empty: an
// empty value). A character that is no Unicode scalar value (a surrogate in
// D800-DFFF, or above U+10FFFF) has no UTF-8 form: CVxException names it and
// its position, rather than the text being cut short or altered.
VXXML_API CBinaryData Utf16ToUtf8(const wchar_t* text);
// The same for count characters; zeros inside are converted like any other.
VXXML_API CBinaryData Utf16ToUtf8(const wchar_t* text, size_t count);
// The pieces joined, as one value, without joining them in memory first
// (text kept in blocks). Positions in messages count from the start of the
// first piece.
VXXML_API CBinaryData Utf16ToUtf8(std::span<const std::wstring_view> pieces);

// Text of UTF-8 bytes (no byte-order mark handling: EF BB BF becomes
// U+FEFF). Ill-formed input (a stray or missing continuation byte, an
// overlong form, a surrogate, a value above U+10FFFF, a sequence cut off by
// the end) raises CVxException with the byte offset of the bad sequence.
VXXML_API std::wstring Utf8ToUtf16(const unsigned char* bytes, uint32_t length);

// Text of UTF-16LE bytes; count is the number of bytes. Surrogate pairs
// become one character. A lone surrogate is kept as the code unit it is, so
// that writing the text back as UTF-16 restores the bytes exactly. An odd
// count raises CVxException, a negative one CVxInvalidParamException.
VXXML_API std::wstring BytesToWString(const unsigned char* bytes, int32_t count);

} // namespace VxXmlLib16
