// The byte edge of the text layer: UTF-8 and UTF-16LE bytes to wide text
// and back, directly and through the text stream.
//
// The first byte picks what the rest is:
//   0: UTF-8 bytes        -> Utf8ToUtf16 -> Utf16ToUtf8 gives the bytes back
//   1: UTF-16LE bytes     -> BytesToWString -> UTF-16LE gives the bytes back
//   2: wide text          -> Utf16ToUtf8 and the text stream's UTF-8 and
//                            UTF-16 bytes -> back to the same text
#include "FuzzSupport.h"

#include <cstring>
#include <string>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;

namespace {

// Reference check of UTF-8 well-formedness, straight from Unicode's table of
// well-formed byte sequences, kept deliberately simple.
bool IsWellFormedUtf8(const uint8_t* p, size_t n)
{
    size_t i = 0;
    while (i < n) {
        const uint8_t b = p[i];
        size_t len;
        uint8_t lo = 0x80;
        uint8_t hi = 0xBF;
        if (b < 0x80) {
            ++i;
            continue;
        } else if (b >= 0xC2 && b <= 0xDF) {
            len = 2;
        } else if (b >= 0xE0 && b <= 0xEF) {
            len = 3;
            lo = b == 0xE0 ? 0xA0 : 0x80;
            hi = b == 0xED ? 0x9F : 0xBF;
        } else if (b >= 0xF0 && b <= 0xF4) {
            len = 4;
            lo = b == 0xF0 ? 0x90 : 0x80;
            hi = b == 0xF4 ? 0x8F : 0xBF;
        } else {
            return false;
        }
        if (n - i < len || p[i + 1] < lo || p[i + 1] > hi) {
            return false;
        }
        for (size_t k = 2; k < len; ++k) {
            if (p[i + k] < 0x80 || p[i + k] > 0xBF) {
                return false;
            }
        }
        i += len;
    }
    return true;
}

bool SameBytes(const CBinaryData& bytes, const uint8_t* data, size_t size)
{
    return bytes.GetLength() == size &&
           (size == 0 || std::memcmp(bytes.GetData(), data, size) == 0);
}

void Utf8Bytes(const uint8_t* data, size_t size)
{
    std::wstring text;
    try {
        text = Utf8ToUtf16(data, static_cast<uint32_t>(size));
    } catch (const CVxException&) {
        VXFUZZ_CHECK(!IsWellFormedUtf8(data, size));
        return;
    }
    VXFUZZ_CHECK(IsWellFormedUtf8(data, size));
    VXFUZZ_CHECK(vxfuzz::IsScalarText(text));
    VXFUZZ_CHECK(SameBytes(Utf16ToUtf8(text.data(), text.size()), data, size));
}

void Utf16Bytes(const uint8_t* data, size_t size)
{
    std::wstring text;
    try {
        text = BytesToWString(data, static_cast<int32_t>(size));
    } catch (const CVxException&) {
        VXFUZZ_CHECK(size % 2 != 0);
        return;
    }
    VXFUZZ_CHECK(size % 2 == 0);
    // Pairs were joined, lone surrogates kept as they are: writing the text
    // as UTF-16LE again restores every byte.
    CBinaryData back;
    back.Append(text);
    VXFUZZ_CHECK(SameBytes(back, data, size));
}

void WideText(const std::wstring& text)
{
    const bool scalar = vxfuzz::IsScalarText(text);
    CBinaryData utf8;
    try {
        utf8 = Utf16ToUtf8(text.data(), text.size());
    } catch (const CVxException&) {
        VXFUZZ_CHECK(!scalar);
        return;
    }
    VXFUZZ_CHECK(scalar);
    VXFUZZ_CHECK(Utf8ToUtf16(utf8.GetData(), utf8.GetLength()) == text);

    // The text streams; a stream holds zero-terminated text.
    std::wstring noZero = text.substr(0, text.find(L'\0'));
    CTextStream u8(XmlEncoding_UTF8);
    u8.Open();
    u8.Write(noZero);
    const CBinaryData fromStream8 = u8.ToBytes();
    VXFUZZ_CHECK(Utf8ToUtf16(fromStream8.GetData(), fromStream8.GetLength()) == noZero);

    CTextStream u16(XmlEncoding_UTF16);
    u16.Open();
    u16.Write(noZero);
    const CBinaryData fromStream16 = u16.ToBytes();
    VXFUZZ_CHECK(BytesToWString(fromStream16.GetData(),
                                static_cast<int32_t>(fromStream16.GetLength())) == noZero);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    vxfuzz::Reader in(data, size);
    switch (in.Byte() % 3) {
    case 0:
        Utf8Bytes(in.Data(), in.Left());
        break;
    case 1:
        Utf16Bytes(in.Data(), in.Left());
        break;
    case 2:
        WideText(in.Wide());
        break;
    }
    return 0;
}
