// The base64 codec behind CBinaryData's xs:base64Binary form.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

// Standard alphabet of RFC 4648 ('+', '/', '=' padding). Encoding never
// inserts line breaks. Decoding skips space, tab, CR, LF and '=' anywhere and
// looks each character up by its low seven bits, so U+0141 reads as 'A';
// any other character makes the whole result zero bytes. Bits left over at
// the end (an incomplete last group) are dropped.
//
// An object holds the bit accumulator of one conversion at a time; after a
// call it still shows what was left in it (see GetPendingBits).
class VXXML_API CBase64
{
public:
    CBase64() = default;
    virtual ~CBase64() = default;

    // 4 * ceil(length / 3): the number of characters Encode produces.
    static size_t GetEncodedLength(size_t length) { return (length + 2) / 3 * 4; }
    // An upper bound of the bytes Decode produces from count characters.
    static size_t GetMaxDecodedLength(size_t count) { return count / 4 * 3 + 3; }

    std::wstring Encode(const unsigned char* bytes, uint32_t length);
    // Writes the encoded text of length bytes to out, which must have room
    // for GetEncodedLength(length) characters (no terminator is written).
    void Encode(const unsigned char* bytes, uint32_t length, wchar_t* out);

    // Decodes count characters of text into out, which must have room for
    // GetMaxDecodedLength(count) bytes, and returns the number of bytes
    // produced; 0 when the text holds an invalid character.
    size_t Decode(const wchar_t* text, size_t count, unsigned char* out);

    // Bits of an incomplete group left in the accumulator by the last call.
    int32_t GetPendingBits() const { return m_nBitCount; }

private:
    const void* m_lpInput = nullptr; // input of the conversion in progress
    size_t m_dwInputLength = 0;
    int32_t m_nBitCount = 0;    // bits held in m_dwBitBuffer
    uint32_t m_dwBitBuffer = 0; // accumulator, newest bits lowest
};

} // namespace VxXmlLib16
