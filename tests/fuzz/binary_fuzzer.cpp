// base64 and hex text into CBinaryData (and CBase64), and bytes back out.
//
// The first byte picks what the rest is:
//   0: base64 text -> SetAsBase64, checked against a plain reference decoder
//      and round-tripped through GetAsBase64
//   1: hex text    -> SetAsHexString, round-tripped through GetAsHexString
//   2: raw bytes   -> base64, hex and the UTF-16 text form and back
//   3: wide text   -> the UTF-16LE text form of CBinaryData and back
#include "FuzzSupport.h"

#include <cstring>
#include <cwctype>
#include <string>
#include <vector>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;

namespace {

// The decoding rules as documented, one character at a time: the low seven
// bits select the character, blanks and '=' are skipped, anything else
// outside the alphabet empties the result, an incomplete last group is
// dropped.
std::vector<uint8_t> ReferenceBase64(const std::wstring& text, bool& valid)
{
    static const char alphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::vector<uint8_t> out;
    uint32_t bits = 0;
    int count = 0;
    valid = true;
    for (wchar_t w : text) {
        const char c = static_cast<char>(static_cast<uint32_t>(w) & 0x7F);
        if (c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '=') {
            continue;
        }
        const char* at = c == 0 ? nullptr : std::strchr(alphabet, c);
        if (at == nullptr) {
            valid = false;
            out.clear();
            return out;
        }
        bits = (bits << 6) | static_cast<uint32_t>(at - alphabet);
        count += 6;
        if (count >= 8) {
            count -= 8;
            out.push_back(static_cast<uint8_t>(bits >> count));
            bits &= (1u << count) - 1;
        }
    }
    return out;
}

bool Same(const CBinaryData& value, const std::vector<uint8_t>& bytes)
{
    return value.GetLength() == bytes.size() &&
           (bytes.empty() || std::memcmp(value.GetData(), bytes.data(), bytes.size()) == 0);
}

void Base64Text(const std::wstring& text)
{
    bool valid = true;
    const std::vector<uint8_t> expected = ReferenceBase64(text, valid);

    CBinaryData value;
    value.SetAsBase64(text.c_str());
    VXFUZZ_CHECK(Same(value, expected));

    // The codec on its own, with the output exactly as large as promised
    // (the address sanitizer sees any write beyond it).
    CBase64 codec;
    std::vector<uint8_t> out(CBase64::GetMaxDecodedLength(text.size()));
    const size_t n = codec.Decode(text.data(), text.size(), out.data());
    VXFUZZ_CHECK(n <= out.size());
    out.resize(n);
    VXFUZZ_CHECK(out == expected);

    // Decoded, encoded, decoded again: the same bytes.
    const std::wstring encoded = value.GetAsBase64();
    VXFUZZ_CHECK(encoded.size() == CBase64::GetEncodedLength(value.GetLength()));
    CBinaryData again;
    again.SetAsBase64(encoded.c_str());
    VXFUZZ_CHECK(Same(again, expected));
}

bool IsHexDigit(wchar_t c)
{
    return (c >= L'0' && c <= L'9') || (c >= L'a' && c <= L'f') || (c >= L'A' && c <= L'F');
}

void HexText(const std::wstring& text)
{
    CBinaryData value(reinterpret_cast<const unsigned char*>("left over"), 9);
    bool wellFormed = text.size() % 2 == 0;
    for (wchar_t c : text) {
        wellFormed = wellFormed && IsHexDigit(c);
    }
    try {
        value.SetAsHexString(text.c_str());
    } catch (const CVxException&) {
        VXFUZZ_CHECK(!wellFormed);
        VXFUZZ_CHECK(value.GetLength() == 0);
        return;
    }
    VXFUZZ_CHECK(wellFormed);
    VXFUZZ_CHECK(value.GetLength() * 2 == text.size());
    std::wstring upper = text;
    for (wchar_t& c : upper) {
        c = static_cast<wchar_t>(std::towupper(static_cast<wint_t>(c)));
    }
    VXFUZZ_CHECK(value.GetAsHexString() == upper);
}

void RawBytes(const uint8_t* data, size_t size)
{
    const std::vector<uint8_t> bytes(data, data + size);
    const CBinaryData value(data, static_cast<uint32_t>(size));
    VXFUZZ_CHECK(Same(value, bytes));

    CBinaryData fromBase64;
    fromBase64.SetAsBase64(value.GetAsBase64().c_str());
    VXFUZZ_CHECK(Same(fromBase64, bytes));

    const std::wstring hex = value.GetAsHexString();
    VXFUZZ_CHECK(hex == CBinaryData::GetAsHexString(data, static_cast<uint32_t>(size)));
    CBinaryData fromHex;
    fromHex.SetAsHexString(hex.c_str());
    VXFUZZ_CHECK(Same(fromHex, bytes));

    // Copy-on-write: changing a copy leaves the original alone.
    CBinaryData copy(value);
    copy.Append(static_cast<unsigned char>(0xA5));
    if (size != 0) {
        copy[0] = static_cast<unsigned char>(~copy[0]);
    }
    VXFUZZ_CHECK(Same(value, bytes));
    unsigned char* released = copy.ReleaseData();
    VXFUZZ_CHECK(copy.GetLength() == 0);
    VXFUZZ_CHECK(released[size] == 0xA5);
    delete[] released;
}

void WideTextForm(const std::wstring& text)
{
    // UTF-16LE code units; every wchar_t up to U+10FFFF has them (a lone
    // surrogate is written as the code unit it is).
    bool encodable = true;
    for (wchar_t c : text) {
        encodable = encodable && static_cast<uint32_t>(c) <= 0x10FFFF;
    }
    CBinaryData value;
    try {
        value.Append(text);
    } catch (const CVxException&) {
        VXFUZZ_CHECK(!encodable);
        return;
    }
    VXFUZZ_CHECK(encodable);
    const std::wstring back =
        BytesToWString(value.GetData(), static_cast<int32_t>(value.GetLength()));
    // Reading joins a high surrogate followed by a low one, so only text
    // without such neighbours comes back unchanged.
    bool pairsInText = false;
    for (size_t i = 0; i + 1 < text.size(); ++i) {
        pairsInText = pairsInText || (text[i] >= 0xD800 && text[i] <= 0xDBFF &&
                                      text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF);
    }
    if (!pairsInText) {
        VXFUZZ_CHECK(back == text);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    vxfuzz::Reader in(data, size);
    switch (in.Byte() % 4) {
    case 0:
        Base64Text(in.WideNoZero());
        break;
    case 1:
        HexText(in.WideNoZero());
        break;
    case 2:
        RawBytes(in.Data(), in.Left());
        break;
    case 3:
        WideTextForm(in.Wide());
        break;
    }
    return 0;
}
