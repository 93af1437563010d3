// UTF-16LE byte form of the library's UTF-32 wchar_t text. Internal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

namespace VxXmlLib16::detail {

// Text layer and value types both produce UTF-16LE; this is the one place
// that knows how. A wchar_t in D800-DFFF is written as the code unit it is,
// so UTF-16 read into a wide string byte for byte comes back out unchanged.
[[noreturn]] inline void ThrowNotACodePoint(uint32_t cp, size_t position)
{
    throw CVxInvalidParamException(
        FormatString(L"Invalid character [0x%X] at position %u: not a Unicode code point", cp,
                     static_cast<unsigned>(position)));
}

// Bytes needed for count characters; raises for a value above U+10FFFF.
inline size_t Utf16LEByteCount(const wchar_t* text, size_t count)
{
    size_t bytes = 2 * count;
    for (size_t i = 0; i < count; ++i) {
        const auto cp = static_cast<uint32_t>(text[i]);
        if (cp > 0xFFFF) {
            if (cp > 0x10FFFF) {
                ThrowNotACodePoint(cp, i);
            }
            bytes += 2;
        }
    }
    return bytes;
}

// Writes the code units; out has room for Utf16LEByteCount bytes.
inline void WriteUtf16LE(const wchar_t* text, size_t count, unsigned char* out)
{
    for (size_t i = 0; i < count; ++i) {
        auto cp = static_cast<uint32_t>(text[i]);
        if (cp > 0xFFFF) {
            cp -= 0x10000;
            const uint32_t high = 0xD800 | (cp >> 10);
            const uint32_t low = 0xDC00 | (cp & 0x3FF);
            out[0] = static_cast<unsigned char>(high);
            out[1] = static_cast<unsigned char>(high >> 8);
            out[2] = static_cast<unsigned char>(low);
            out[3] = static_cast<unsigned char>(low >> 8);
            out += 4;
        } else {
            out[0] = static_cast<unsigned char>(cp);
            out[1] = static_cast<unsigned char>(cp >> 8);
            out += 2;
        }
    }
}

} // namespace VxXmlLib16::detail
