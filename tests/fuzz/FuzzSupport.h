// Helpers shared by the fuzz targets: turning fuzzer bytes into the wide
// text the library works on, and stopping loudly when a check fails.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace vxfuzz {

// A failed check is a finding: print where and abort, so that libFuzzer (and
// the corpus replay under CTest) reports it as a crash.
[[noreturn]] inline void Fail(const char* file, int line, const char* what)
{
    std::fprintf(stderr, "%s:%d: fuzz check failed: %s\n", file, line, what);
    std::fflush(stderr);
    std::abort();
}

#define VXFUZZ_CHECK(condition)                                                                    \
    do {                                                                                           \
        if (!(condition)) {                                                                        \
            ::vxfuzz::Fail(__FILE__, __LINE__, #condition);                                        \
        }                                                                                          \
    } while (false)

// Reads the input front to back; running out of bytes yields zeros.
class Reader
{
public:
    Reader(const uint8_t* data, size_t size) : m_p(data), m_end(data + size) {}

    bool Empty() const { return m_p == m_end; }
    size_t Left() const { return static_cast<size_t>(m_end - m_p); }
    const uint8_t* Data() const { return m_p; }

    uint8_t Byte() { return m_p == m_end ? 0 : *m_p++; }

    // The rest of the input as wide text. Most bytes stand for the character
    // of the same number (ASCII and U+0080-U+00FC), so text seeds stay
    // readable; two escapes reach every other wchar_t value:
    //   FD hi lo         one character U+hilo (surrogates included)
    //   FE b0 b1 b2 b3   one character of any 32-bit value, little-endian,
    //                    including values above U+10FFFF and negative ones
    //   FF               the escape itself is dropped, the next byte is
    //                    taken literally (so FD, FE and FF can be written)
    // A zero byte stays a zero character: targets decide whether text may
    // contain one.
    std::wstring Wide()
    {
        std::wstring text;
        text.reserve(Left());
        while (m_p != m_end) {
            const uint8_t b = *m_p++;
            if (b == 0xFD) {
                const uint32_t hi = Byte();
                const uint32_t lo = Byte();
                text += static_cast<wchar_t>((hi << 8) | lo);
            } else if (b == 0xFE) {
                uint32_t v = 0;
                for (int i = 0; i < 4; ++i) {
                    v |= uint32_t{Byte()} << (8 * i);
                }
                text += static_cast<wchar_t>(v);
            } else if (b == 0xFF) {
                text += static_cast<wchar_t>(Byte());
            } else {
                text += static_cast<wchar_t>(b);
            }
        }
        return text;
    }

    // Wide(), cut at the first zero character: for interfaces that take a
    // zero-terminated string.
    std::wstring WideNoZero()
    {
        std::wstring text = Wide();
        const size_t zero = text.find(L'\0');
        if (zero != std::wstring::npos) {
            text.resize(zero);
        }
        return text;
    }

private:
    const uint8_t* m_p;
    const uint8_t* m_end;
};

// True when every character is a Unicode scalar value (no surrogate, nothing
// above U+10FFFF, nothing negative).
inline bool IsScalarText(const std::wstring& text)
{
    for (wchar_t c : text) {
        const auto v = static_cast<uint32_t>(c);
        if (v > 0x10FFFF || (v >= 0xD800 && v <= 0xDFFF)) {
            return false;
        }
    }
    return true;
}

} // namespace vxfuzz
