#include "TestHelpers.h"

#include <cerrno>
#include <iconv.h>
#include <random>
#include <string>
#include <vector>
#include <vxxml/Encoder.h>
#include <vxxml/FormatString.h>

using namespace VxXmlLib16;

namespace {

using Bytes = std::vector<unsigned char>;

// glibc's iconv as the independent oracle: wide (UTF-32) text to the named
// encoding and back.
Bytes IconvFromWide(const std::wstring& text, const char* to)
{
    iconv_t cd = iconv_open(to, "WCHAR_T");
    EXPECT_NE(cd, reinterpret_cast<iconv_t>(-1));
    Bytes out(text.size() * 4 + 16);
    char* in = reinterpret_cast<char*>(const_cast<wchar_t*>(text.data()));
    size_t inLeft = text.size() * sizeof(wchar_t);
    char* o = reinterpret_cast<char*>(out.data());
    size_t outLeft = out.size();
    EXPECT_NE(iconv(cd, &in, &inLeft, &o, &outLeft), static_cast<size_t>(-1));
    iconv_close(cd);
    out.resize(out.size() - outLeft);
    return out;
}

Bytes ToBytes(const CBinaryData& d)
{
    return d.GetLength() ? Bytes(d.GetData(), d.GetData() + d.GetLength()) : Bytes{};
}

// Random scalar values from every UTF-8 length class, astral ones included.
std::wstring RandomText(std::mt19937& rng, size_t n)
{
    std::wstring s;
    while (s.size() < n) {
        uint32_t cp = 0;
        switch (rng() % 4) {
        case 0:
            cp = rng() % 0x80;
            break;
        case 1:
            cp = 0x80 + rng() % (0x800 - 0x80);
            break;
        case 2:
            cp = 0x800 + rng() % (0x10000 - 0x800);
            break;
        default:
            cp = 0x10000 + rng() % (0x110000 - 0x10000);
        }
        if (cp == 0 || (cp >= 0xD800 && cp <= 0xDFFF)) {
            continue;
        }
        s += static_cast<wchar_t>(cp);
    }
    return s;
}

} // namespace

TEST(Encoder, RandomTextAgainstIconv)
{
    std::mt19937 rng(11);
    for (int round = 0; round < 50; ++round) {
        const std::wstring text = RandomText(rng, 1 + rng() % 300);
        const Bytes utf8 = IconvFromWide(text, "UTF-8");
        ASSERT_EQ(ToBytes(Utf16ToUtf8(text.c_str())), utf8);
        ASSERT_EQ(Utf8ToUtf16(utf8.data(), static_cast<uint32_t>(utf8.size())), text);

        const Bytes utf16 = IconvFromWide(text, "UTF-16LE");
        ASSERT_EQ(ToBytes(CBinaryData(text.c_str())), utf16);
        ASSERT_EQ(BytesToWString(utf16.data(), static_cast<int32_t>(utf16.size())), text);
    }
}

TEST(Encoder, BoundaryCodePoints)
{
    const std::wstring text = {L'A',   0x7F,   0x80,   0x7FF,   0x800,   0xD7FF,
                               0xE000, 0xFFFD, 0xFFFF, 0x10000, 0x10FFFF};
    const Bytes utf8 = ToBytes(Utf16ToUtf8(text.c_str()));
    EXPECT_EQ(utf8, IconvFromWide(text, "UTF-8"));
    EXPECT_EQ(Utf8ToUtf16(utf8.data(), static_cast<uint32_t>(utf8.size())), text);

    // Pure ASCII takes the fast path both ways; zeros inside a counted text
    // are characters like any other.
    const std::wstring ascii(L"plain <xml/>\0!", 14);
    const CBinaryData bytes = Utf16ToUtf8(ascii.data(), ascii.size());
    EXPECT_EQ(bytes.GetLength(), 14u);
    EXPECT_EQ(Utf8ToUtf16(bytes.GetData(), bytes.GetLength()), ascii);

    EXPECT_EQ(Utf16ToUtf8(L"").GetData(), nullptr);
    EXPECT_EQ(Utf16ToUtf8(nullptr).GetData(), nullptr);
    EXPECT_EQ(Utf8ToUtf16(reinterpret_cast<const unsigned char*>("x"), 0), L"");
    EXPECT_EQ(BytesToWString(nullptr, 0), L"");
    // A byte-order mark is text like any other here.
    const unsigned char bom[] = {0xEF, 0xBB, 0xBF, 'a'};
    EXPECT_EQ(Utf8ToUtf16(bom, 4), L"\uFEFFa");
}

TEST(Encoder, CharactersWithoutUtf8FormRaise)
{
    EXPECT_THROW_MSG(Utf16ToUtf8(L"ab\xD800"), CVxException,
                     L"Invalid character [0xD800] at position 2: cannot be encoded as UTF-8");
    // A UTF-16 pair stored as two wchar_t is two lone surrogates here.
    EXPECT_THROW_MSG(Utf16ToUtf8(L"\xD83D\xDE00"), CVxException,
                     L"Invalid character [0xD83D] at position 0: cannot be encoded as UTF-8");
    const wchar_t beyond[] = {L'x', static_cast<wchar_t>(0x110000), 0};
    EXPECT_THROW_MSG(Utf16ToUtf8(beyond), CVxException,
                     L"Invalid character [0x110000] at position 1: cannot be encoded as UTF-8");
}

// ASCII is converted several characters at a time: a character that is not
// ASCII (or not encodable) must be found wherever it falls in such a run, and
// text given in pieces must convert as the pieces joined.
TEST(Encoder, NonAsciiAtEveryOffsetOfAnAsciiRun)
{
    const wchar_t others[] = {0xE9, 0x20AC, 0x1F600, 0x7F};
    for (wchar_t other : others) {
        for (size_t at = 0; at < 24; ++at) {
            std::wstring text(24, L'a');
            text[at] = other;
            const Bytes expected = IconvFromWide(text, "UTF-8");
            ASSERT_EQ(ToBytes(Utf16ToUtf8(text.data(), text.size())), expected) << at;
            const std::wstring_view pieces[] = {std::wstring_view(text).substr(0, at / 2),
                                                std::wstring_view(text).substr(at / 2)};
            ASSERT_EQ(ToBytes(Utf16ToUtf8(pieces)), expected) << at;
        }
    }
    // Long text far from ASCII outgrows the first buffer; an error after
    // the growth still names its place in the whole text.
    std::wstring wide;
    for (int i = 0; i < 9000; ++i) {
        wide += (i % 3 == 0) ? L'\U0001F600' : L'\u65E5';
    }
    ASSERT_EQ(ToBytes(Utf16ToUtf8(wide.data(), wide.size())), IconvFromWide(wide, "UTF-8"));
    wide[8999] = static_cast<wchar_t>(0xD800);
    EXPECT_THROW_MSG(Utf16ToUtf8(wide.data(), wide.size()), CVxException,
                     L"Invalid character [0xD800] at position 8999: cannot be encoded as UTF-8");
    for (const uint32_t bad : {0xDFFFu, 0x110000u, 0x80000041u}) {
        for (size_t at = 0; at < 20; at += 3) {
            std::wstring text(20, L'b');
            text[at] = static_cast<wchar_t>(bad);
            const std::wstring_view pieces[] = {std::wstring_view(text).substr(0, 5),
                                                std::wstring_view(text).substr(5)};
            EXPECT_THROW_MSG(Utf16ToUtf8(pieces), CVxException,
                             FormatString(L"Invalid character [0x%X] at position %u: cannot be "
                                          L"encoded as UTF-8",
                                          bad, static_cast<unsigned>(at)));
        }
    }
}

TEST(Encoder, IllFormedUtf8Raises)
{
    struct Case
    {
        Bytes bytes;
        unsigned offset;
    };
    const Case cases[] = {
        {{0x80}, 0},                               // stray continuation byte
        {{'a', 0xBF, 'b'}, 1},                     // stray continuation byte
        {{0xC0, 0x80}, 0},                         // overlong NUL
        {{0xC1, 0xBF}, 0},                         // overlong 2-byte
        {{0xE0, 0x80, 0x80}, 0},                   // overlong 3-byte
        {{0xE0, 0x9F, 0xBF}, 0},                   // overlong 3-byte, top
        {{0xF0, 0x80, 0x80, 0x80}, 0},             // overlong 4-byte
        {{0xF0, 0x8F, 0xBF, 0xBF}, 0},             // overlong 4-byte, top
        {{'x', 0xED, 0xA0, 0x80}, 1},              // encoded surrogate D800
        {{0xED, 0xBF, 0xBF}, 0},                   // encoded surrogate DFFF
        {{0xF4, 0x90, 0x80, 0x80}, 0},             // U+110000
        {{0xF5, 0x80, 0x80, 0x80}, 0},             // lead byte beyond the range
        {{0xF8, 0x88, 0x80, 0x80, 0x80}, 0},       // 5-byte form
        {{0xFC, 0x84, 0x80, 0x80, 0x80, 0x80}, 0}, // 6-byte form
        {{0xFE}, 0},
        {{0xFF}, 0},
        {{0xE2, 0x28, 0xA1}, 0},     // bad second byte
        {{0xE2, 0x82, 0x28}, 0},     // bad third byte
        {{'a', 'b', 0xE2, 0x82}, 2}, // cut off by the end
        {{0xF0, 0x9F, 0x98}, 0},     // cut off by the end
        {{0xC3}, 0},                 // cut off by the end
    };
    for (const Case& c : cases) {
        const std::wstring expected =
            L"Invalid UTF-8 sequence at byte offset " + std::to_wstring(c.offset);
        EXPECT_THROW_MSG(Utf8ToUtf16(c.bytes.data(), static_cast<uint32_t>(c.bytes.size())),
                         CVxException, expected.c_str());
    }
}

// Random byte strings, mostly from the bytes that start or continue
// multi-byte sequences: we accept exactly what iconv accepts, with the same
// text.
TEST(Encoder, RandomBytesAgreeWithIconv)
{
    std::mt19937 rng(12);
    const unsigned char interesting[] = {0x00, 'a',  0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0,
                                         0xBF, 0xC0, 0xC1, 0xC2, 0xDF, 0xE0, 0xED, 0xEF,
                                         0xF0, 0xF4, 0xF5, 0xF8, 0xFC, 0xFE, 0xFF};
    int accepted = 0;
    for (int round = 0; round < 20000; ++round) {
        Bytes in(1 + rng() % 6);
        for (auto& b : in) {
            b = interesting[rng() % std::size(interesting)];
        }
        iconv_t cd = iconv_open("WCHAR_T", "UTF-8");
        std::wstring expected(in.size(), L'\0');
        char* src = reinterpret_cast<char*>(in.data());
        size_t srcLeft = in.size();
        char* dst = reinterpret_cast<char*>(expected.data());
        size_t dstLeft = expected.size() * sizeof(wchar_t);
        bool valid = iconv(cd, &src, &srcLeft, &dst, &dstLeft) != static_cast<size_t>(-1);
        iconv_close(cd);
        expected.resize(expected.size() - dstLeft / sizeof(wchar_t));
        // glibc decodes F5-F7 leads to values above U+10FFFF, which are no
        // Unicode characters; Unicode's rules (and we) refuse them.
        for (wchar_t c : expected) {
            valid = valid && static_cast<uint32_t>(c) <= 0x10FFFF;
        }
        try {
            const std::wstring text = Utf8ToUtf16(in.data(), static_cast<uint32_t>(in.size()));
            ASSERT_TRUE(valid) << "accepted what iconv refuses, round " << round;
            ASSERT_EQ(text, expected);
            ++accepted;
        } catch (const CVxException&) {
            ASSERT_FALSE(valid) << "refused what iconv accepts, round " << round << ": "
                                << testing::PrintToString(in);
        }
    }
    EXPECT_GT(accepted, 300); // both outcomes were exercised
}

TEST(Encoder, Utf16BytesEdgeCases)
{
    // A lone surrogate, high or low, is kept as its code unit and written
    // back unchanged.
    const Bytes lone = {0x3D, 0xD8, 'a', 0, 0x00, 0xDE, 0x3D, 0xD8};
    const std::wstring text = BytesToWString(lone.data(), static_cast<int32_t>(lone.size()));
    EXPECT_EQ(text, (std::wstring{0xD83D, L'a', 0xDE00, 0xD83D}));
    EXPECT_EQ(ToBytes(CBinaryData(text.c_str())), lone);

    const unsigned char odd[] = {'a', 0, 'b'};
    EXPECT_THROW_MSG(BytesToWString(odd, 3), CVxException,
                     L"Invalid UTF-16 data: odd number of bytes [3]");
    EXPECT_THROW_MSG(BytesToWString(odd, -2), CVxInvalidParamException, L"Invalid byte count [-2]");
}
