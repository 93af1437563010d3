// What the text writer escapes, and the routines that find it: a table per
// escaping mode, vector masks that flag the characters worth a look, and
// the copy of a short text up to its first flagged character. Internal.
#pragma once

#include <cstddef>
#include <cstdint>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace VxXmlLib16::detail::escaping {

// What the escaper does with a character below 0x40; everything from 0x40
// up is written as it is, so one comparison skips almost every character.
enum EscapeAction : unsigned char {
    Keep = 0,
    Amp,
    Lt,
    Gt,
    Quot,
    LineFeedText, // the writer's line end
    LineFeedAttr, // &#xA;
    TabAttr,      // &#x9;
    Drop,         // carriage return
};

struct EscapeTables
{
    unsigned char text[0x40] = {};
    unsigned char attribute[0x40] = {};
    constexpr EscapeTables()
    {
        text[L'&'] = attribute[L'&'] = Amp;
        text[L'<'] = attribute[L'<'] = Lt;
        text[L'>'] = attribute[L'>'] = Gt;
        text[L'\r'] = attribute[L'\r'] = Drop;
        text[L'\n'] = LineFeedText;
        attribute[L'\n'] = LineFeedAttr;
        // A raw tab in an attribute value is read back as a space (attribute
        // value normalisation), so it must travel as a reference.
        attribute[L'\t'] = TabAttr;
        attribute[L'"'] = Quot;
    }
};
constexpr EscapeTables kEscape;

// What a run of copied characters stops at: the characters element text
// escapes, or those attribute values escape.
enum RunMode : int { kText, kAttribute };

#if defined(__SSE2__)
static_assert(sizeof(wchar_t) == 4, "four wide characters per 16-byte load");

// Byte mask of the characters in v that a run of the given mode must look
// at: a superset of those it stops at, found with few comparisons. Every
// control character (the run copies those that need nothing), and '<' and
// '>', which differ in one bit, as do '"' and '&' (the quotation mark
// matters in attribute values only).
template <int Mode> inline int StopMask(__m128i v)
{
    const __m128i control = _mm_cmplt_epi32(v, _mm_set1_epi32(0x20));
    const __m128i angle = _mm_cmpeq_epi32(_mm_or_si128(v, _mm_set1_epi32(2)), _mm_set1_epi32(L'>'));
    __m128i amp;
    if constexpr (Mode == kAttribute) {
        amp = _mm_cmpeq_epi32(_mm_or_si128(v, _mm_set1_epi32(4)), _mm_set1_epi32(L'&'));
    } else {
        amp = _mm_cmpeq_epi32(v, _mm_set1_epi32(L'&'));
    }
    return _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(control, angle), amp));
}

// The same for the eight characters of a and b, two mask bits each. They are
// narrowed to 16 bits first, so that one comparison covers eight: the
// narrowing saturates, a character above 0x7FFF becomes 0x7FFF, which no
// test flags, and a negative value (no character at all) becomes negative
// and is flagged as a control character, to be looked at one by one.
template <int Mode> inline int StopMask8(__m128i a, __m128i b)
{
    const __m128i v = _mm_packs_epi32(a, b);
    const __m128i control = _mm_cmplt_epi16(v, _mm_set1_epi16(0x20));
    const __m128i angle = _mm_cmpeq_epi16(_mm_or_si128(v, _mm_set1_epi16(2)), _mm_set1_epi16('>'));
    __m128i amp;
    if constexpr (Mode == kAttribute) {
        amp = _mm_cmpeq_epi16(_mm_or_si128(v, _mm_set1_epi16(4)), _mm_set1_epi16('&'));
    } else {
        amp = _mm_cmpeq_epi16(v, _mm_set1_epi16('&'));
    }
    return _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(control, angle), amp));
}
#endif

template <int Mode> inline bool IsStop(wchar_t c)
{
    const unsigned char* table = Mode == kAttribute ? kEscape.attribute : kEscape.text;
    const auto u = static_cast<uint32_t>(c);
    return u == 0 || (u < 0x40 && table[u] != Keep);
}

// Copies the first length characters of text to out (which has room for
// them), stopping at the first character the mode has to look at; returns
// how many it copied. The texts of most elements and attributes are short:
// eight characters are copied and checked per step, and the last step
// overlaps the one before instead of finishing one character at a time.
template <int Mode> inline size_t CopyPlain(wchar_t* out, const wchar_t* text, size_t length)
{
#if defined(__SSE2__)
    const auto load = [](const wchar_t* from) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    };
    const auto store = [](wchar_t* to, __m128i v) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), v);
    };
    if (length >= 8) {
        size_t i = 0;
        for (;;) {
            const __m128i a = load(text + i);
            const __m128i b = load(text + i + 4);
            store(out + i, a);
            store(out + i + 4, b);
            // Characters of an overlapping step passed the step before, so
            // the first flag is always a new one.
            if (const int mask = StopMask8<Mode>(a, b)) {
                return i + static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(mask)) / 2);
            }
            if (length - i <= 8) {
                return length;
            }
            i = length - i >= 16 ? i + 8 : length - 8;
        }
    }
    if (length >= 4) {
        // The first four and the last four, overlapping below eight.
        const __m128i a = load(text);
        const __m128i b = load(text + length - 4);
        store(out, a);
        store(out + length - 4, b);
        if (const int mask = StopMask8<Mode>(a, b)) {
            const auto k = static_cast<size_t>(__builtin_ctz(static_cast<unsigned>(mask)) / 2);
            return k < 4 ? k : length - 8 + k;
        }
        return length;
    }
#endif
    for (size_t i = 0; i < length; ++i) {
        if (IsStop<Mode>(text[i])) {
            return i;
        }
        out[i] = text[i];
    }
    return length;
}

} // namespace VxXmlLib16::detail::escaping
