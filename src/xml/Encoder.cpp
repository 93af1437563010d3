#include "xml/Utf8Encode.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <cwchar>
#include <limits>
#include <memory>
#include <vxxml/Encoder.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace VxXmlLib16 {

namespace {

[[noreturn]] void ThrowNotEncodable(uint32_t cp, size_t position)
{
    throw CVxException(
        FormatString(L"Invalid character [0x%X] at position %u: cannot be encoded as UTF-8", cp,
                     static_cast<unsigned>(position)));
}

[[noreturn]] void ThrowInvalidUtf8(size_t offset)
{
    throw CVxException(
        FormatString(L"Invalid UTF-8 sequence at byte offset %u", static_cast<unsigned>(offset)));
}

// Length of a valid UTF-8 sequence starting at p (at most `left` bytes
// available) and its code point; 0 when the sequence is ill-formed. The
// second-byte ranges after E0, ED, F0 and F4 exclude overlong forms,
// surrogates and values above U+10FFFF, as Unicode's table of well-formed
// byte sequences does.
inline size_t DecodeUtf8(const unsigned char* p, size_t left, uint32_t& cp)
{
    const unsigned char lead = p[0];
    if (lead < 0x80) {
        cp = lead;
        return 1;
    }
    size_t length;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        cp = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        cp = lead & 0x0F;
        if (lead == 0xE0) {
            low = 0xA0;
        } else if (lead == 0xED) {
            high = 0x9F;
        }
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        cp = lead & 0x07;
        if (lead == 0xF0) {
            low = 0x90;
        } else if (lead == 0xF4) {
            high = 0x8F;
        }
    } else {
        return 0; // continuation byte, C0/C1 overlong lead, or F5-FF
    }
    if (left < length || p[1] < low || p[1] > high) {
        return 0;
    }
    cp = (cp << 6) | (p[1] & 0x3F);
    for (size_t i = 2; i < length; ++i) {
        if ((p[i] & 0xC0) != 0x80) {
            return 0;
        }
        cp = (cp << 6) | (p[i] & 0x3F);
    }
    return length;
}

#if defined(__SSE2__)
// True when none of the four characters in v is above 0x7F. wchar_t is
// signed here, so a "negative" value (above 0x7FFFFFFF) has its top bit set
// and fails the test as well.
inline bool FourAscii(__m128i v)
{
    return _mm_movemask_epi8(_mm_cmpeq_epi32(_mm_srli_epi32(v, 7), _mm_setzero_si128())) == 0xFFFF;
}

// The same for eight characters narrowed to 16 bits with signed saturation:
// one above 0x7FFF becomes 0x7FFF and a "negative" one stays negative, so
// every character above 0x7F keeps a bit at or above bit 7.
inline bool EightAscii(__m128i words)
{
    return _mm_movemask_epi8(_mm_cmpeq_epi16(_mm_srli_epi16(words, 7), _mm_setzero_si128())) ==
           0xFFFF;
}
#endif

} // namespace

size_t detail::EncodeUtf8(const wchar_t* text, size_t count, unsigned char*& out)
{
    static_assert(sizeof(wchar_t) == 4, "one code point per wchar_t");
    unsigned char* o = out;
    size_t i = 0;
    while (i < count) {
#if defined(__SSE2__)
        // ASCII runs: sixteen, then eight characters narrowed to as many
        // bytes per step. The values are below 0x80, so the saturating packs
        // keep them as they are.
        while (count - i >= 16) {
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i));
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i + 4));
            const __m128i c = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i + 8));
            const __m128i d = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i + 12));
            // Narrowed first and tested after: the narrowing is needed anyway.
            const __m128i low = _mm_packs_epi32(a, b);
            const __m128i high = _mm_packs_epi32(c, d);
            if (!EightAscii(_mm_or_si128(low, high))) {
                break;
            }
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o), _mm_packus_epi16(low, high));
            i += 16;
            o += 16;
        }
        while (count - i >= 8) {
            const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i));
            const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + i + 4));
            if (!FourAscii(_mm_or_si128(a, b))) {
                break;
            }
            const __m128i words = _mm_packs_epi32(a, b);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(o), _mm_packus_epi16(words, words));
            i += 8;
            o += 8;
        }
        if (i == count) {
            break;
        }
#endif
        const auto cp = static_cast<uint32_t>(text[i]);
        if (cp < 0x80) {
            *o++ = static_cast<unsigned char>(cp);
        } else if (cp < 0x800) {
            *o++ = static_cast<unsigned char>(0xC0 | (cp >> 6));
            *o++ = static_cast<unsigned char>(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            if (cp >= 0xD800 && cp <= 0xDFFF) {
                break;
            }
            *o++ = static_cast<unsigned char>(0xE0 | (cp >> 12));
            *o++ = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
            *o++ = static_cast<unsigned char>(0x80 | (cp & 0x3F));
        } else if (cp <= 0x10FFFF) {
            *o++ = static_cast<unsigned char>(0xF0 | (cp >> 18));
            *o++ = static_cast<unsigned char>(0x80 | ((cp >> 12) & 0x3F));
            *o++ = static_cast<unsigned char>(0x80 | ((cp >> 6) & 0x3F));
            *o++ = static_cast<unsigned char>(0x80 | (cp & 0x3F));
        } else {
            break;
        }
        ++i;
    }
    out = o;
    return i;
}

namespace {

// As detail::EncodeUtf8, but throws at the first character with no UTF-8
// form, naming its position counted from `first`.
unsigned char* EncodeUtf8(const wchar_t* text, size_t count, unsigned char* out, size_t first)
{
    const size_t done = detail::EncodeUtf8(text, count, out);
    if (done != count) {
        ThrowNotEncodable(static_cast<uint32_t>(text[done]), first + done);
    }
    return out;
}

} // namespace

CBinaryData Utf16ToUtf8(const wchar_t* text)
{
    return text ? Utf16ToUtf8(text, std::wcslen(text)) : CBinaryData();
}

CBinaryData Utf16ToUtf8(const wchar_t* text, size_t count)
{
    if (text == nullptr || count == 0) {
        return CBinaryData();
    }
    const std::wstring_view piece(text, count);
    return Utf16ToUtf8(std::span<const std::wstring_view>(&piece, 1));
}

CBinaryData Utf16ToUtf8(std::span<const std::wstring_view> pieces)
{
    // One pass: the text is validated while it is converted (the buffer is
    // freed when a character without UTF-8 form is met). The buffer is sized
    // for mostly-ASCII text and grown only when a stretch could overrun it,
    // so the usual document is converted without a measuring pass and
    // without a copy.
    constexpr size_t kStretch = 4096;
    size_t total = 0;
    for (const std::wstring_view& piece : pieces) {
        total += piece.size();
    }
    if (total == 0) {
        return CBinaryData();
    }
    if (total > std::numeric_limits<uint32_t>::max()) {
        // At least one byte per character: too long whatever the text.
        throw CVxOverFlowException(L"UTF-8 text exceeds the maximum length of 4294967295 bytes");
    }
    size_t capacity = total + total / 8 + 4 * std::min(total, kStretch);
    auto bytes = std::make_unique_for_overwrite<unsigned char[]>(capacity);
    size_t length = 0;
    size_t position = 0;
    for (const std::wstring_view& piece : pieces) {
        for (size_t at = 0; at < piece.size(); at += kStretch) {
            const size_t count = std::min(kStretch, piece.size() - at);
            if (capacity - length < 4 * count) {
                capacity = std::max(2 * capacity, length + 4 * count);
                auto grown = std::make_unique_for_overwrite<unsigned char[]>(capacity);
                std::memcpy(grown.get(), bytes.get(), length);
                bytes = std::move(grown);
            }
            unsigned char* const out = bytes.get() + length;
            length +=
                static_cast<size_t>(EncodeUtf8(piece.data() + at, count, out, position) - out);
            position += count;
        }
    }
    if (length > std::numeric_limits<uint32_t>::max()) {
        throw CVxOverFlowException(L"UTF-8 text exceeds the maximum length of 4294967295 bytes");
    }
    if (capacity - length > length / 4 + 64) {
        // Far more text outside ASCII than expected: give the spare room back.
        auto exact = std::make_unique_for_overwrite<unsigned char[]>(length);
        std::memcpy(exact.get(), bytes.get(), length);
        bytes = std::move(exact);
    }
    CBinaryData result(bytes.get(), static_cast<uint32_t>(length), true);
    bytes.release();
    return result;
}

std::wstring Utf8ToUtf16(const unsigned char* bytes, uint32_t length)
{
    std::wstring text;
    if (bytes == nullptr || length == 0) {
        return text;
    }
    // Measuring pass that also validates, so that a bad sequence is reported
    // before anything is built; ASCII runs skip the decoder.
    size_t count = 0;
    size_t i = 0;
    while (i < length) {
        if (bytes[i] < 0x80) {
            ++i;
        } else {
            uint32_t cp = 0;
            const size_t n = DecodeUtf8(bytes + i, length - i, cp);
            if (n == 0) {
                ThrowInvalidUtf8(i);
            }
            i += n;
        }
        ++count;
    }
    text.resize(count);
    wchar_t* out = text.data();
    if (count == length) {
        for (i = 0; i < length; ++i) {
            out[i] = static_cast<wchar_t>(bytes[i]);
        }
        return text;
    }
    i = 0;
    while (i < length) {
        uint32_t cp = 0;
        i += DecodeUtf8(bytes + i, length - i, cp);
        *out++ = static_cast<wchar_t>(cp);
    }
    return text;
}

std::wstring BytesToWString(const unsigned char* bytes, int32_t count)
{
    std::wstring text;
    if (count < 0) {
        throw CVxInvalidParamException(FormatString(L"Invalid byte count [%d]", count));
    }
    if (bytes == nullptr || count == 0) {
        return text;
    }
    if (count % 2 != 0) {
        throw CVxException(FormatString(L"Invalid UTF-16 data: odd number of bytes [%d]", count));
    }
    const size_t units = static_cast<size_t>(count) / 2;
    text.resize(units);
    wchar_t* out = text.data();
    size_t i = 0;
    while (i < units) {
        const uint32_t unit = bytes[2 * i] | (uint32_t{bytes[2 * i + 1]} << 8);
        ++i;
        if (unit >= 0xD800 && unit <= 0xDBFF && i < units) {
            const uint32_t next = bytes[2 * i] | (uint32_t{bytes[2 * i + 1]} << 8);
            if (next >= 0xDC00 && next <= 0xDFFF) {
                *out++ = static_cast<wchar_t>(0x10000 + ((unit - 0xD800) << 10) + (next - 0xDC00));
                ++i;
                continue;
            }
        }
        *out++ = static_cast<wchar_t>(unit);
    }
    text.resize(static_cast<size_t>(out - text.data()));
    return text;
}

} // namespace VxXmlLib16
