#include "TestHelpers.h"

#include <cstring>
#include <iconv.h>
#include <random>
#include <string>
#include <string_view>
#include <vector>
#include <vxxml/Encoder.h>
#include <vxxml/FormatString.h>

using namespace VxXmlLib16;

namespace {

// glibc's iconv is the independent oracle. Sets ok to whether it took the
// whole input.
Bytes Iconv(const char* from, const char* to, const void* data, size_t size, bool& ok)
{
    iconv_t cd = iconv_open(to, from);
    Bytes out(size * 4 + 16);
    char* in = static_cast<char*>(const_cast<void*>(data));
    char* o = reinterpret_cast<char*>(out.data());
    size_t inLeft = size, outLeft = out.size();
    ok = iconv(cd, &in, &inLeft, &o, &outLeft) != static_cast<size_t>(-1);
    iconv_close(cd);
    out.resize(out.size() - outLeft);
    return out;
}

Bytes FromWide(const std::wstring& text, const char* to)
{
    bool ok = false;
    const Bytes out = Iconv("WCHAR_T", to, text.data(), text.size() * sizeof(wchar_t), ok);
    EXPECT_TRUE(ok);
    return out;
}

// Random scalar values from every UTF-8 length class, astral ones included.
std::wstring RandomText(std::mt19937& rng, size_t n)
{
    const uint32_t bounds[] = {1, 0x80, 0x800, 0x10000, 0x110000};
    std::wstring s;
    while (s.size() < n) {
        const unsigned k = rng() % 4;
        const uint32_t cp = bounds[k] + rng() % (bounds[k + 1] - bounds[k]);
        if (cp < 0xD800 || cp > 0xDFFF) {
            s += static_cast<wchar_t>(cp);
        }
    }
    return s;
}

} // namespace

TEST(Encoder, TextAgainstIconv)
{
    // The boundaries of each UTF-8 length class first, then random text.
    std::mt19937 rng(11);
    std::wstring text = {L'A',   0x7F,   0x80,   0x7FF,   0x800,   0xD7FF,
                         0xE000, 0xFFFD, 0xFFFF, 0x10000, 0x10FFFF};
    for (int round = 0; round < 50; ++round, text = RandomText(rng, 1 + rng() % 300)) {
        const Bytes utf8 = FromWide(text, "UTF-8");
        ASSERT_EQ(ToBytes(Utf16ToUtf8(text.c_str())), utf8);
        ASSERT_EQ(Utf8ToUtf16(utf8.data(), static_cast<uint32_t>(utf8.size())), text);
        const Bytes utf16 = FromWide(text, "UTF-16LE");
        ASSERT_EQ(ToBytes(CBinaryData(text.c_str())), utf16);
        ASSERT_EQ(BytesToWString(utf16.data(), static_cast<int32_t>(utf16.size())), text);
    }
    // Pure ASCII takes a fast path both ways; zeros inside a counted text are
    // characters like any other, and so is a byte-order mark.
    const std::wstring ascii(L"plain <xml/>\0!", 14);
    const CBinaryData bytes = Utf16ToUtf8(ascii.data(), ascii.size());
    EXPECT_EQ(bytes.GetLength(), 14u);
    EXPECT_EQ(Utf8ToUtf16(bytes.GetData(), bytes.GetLength()), ascii);
    const unsigned char bom[] = {0xEF, 0xBB, 0xBF, 'a'};
    EXPECT_EQ(Utf8ToUtf16(bom, 4), L"\uFEFFa");
    EXPECT_EQ(Utf16ToUtf8(L"").GetData(), nullptr);
    EXPECT_EQ(Utf16ToUtf8(nullptr).GetData(), nullptr);
    EXPECT_EQ(Utf8ToUtf16(bytes.GetData(), 0), L"");
    EXPECT_EQ(BytesToWString(nullptr, 0), L"");
}

TEST(Encoder, IllFormedTextRaises)
{
    // A UTF-16 pair stored as two wchar_t is two lone surrogates here.
    const std::pair<std::wstring, const wchar_t*> wide[] = {
        {L"ab\xD800", L"[0xD800] at position 2"},
        {L"\xD83D\xDE00", L"[0xD83D] at position 0"},
        {{L'x', 0x110000}, L"[0x110000] at position 1"}};
    for (const auto& [text, where] : wide) {
        EXPECT_THROW_MSG(Utf16ToUtf8(text.c_str()), CVxException,
                         L"Invalid character " + std::wstring(where) +
                             L": cannot be encoded as UTF-8");
    }
    // Stray continuation bytes; overlong forms; encoded surrogates; U+110000
    // and beyond; 5- and 6-byte forms; bad second or third bytes; sequences
    // cut off by the end. The offset counts bytes, not characters.
    // clang-format off
    for (const char* bad :
         {"\x80", "\xBF", "\xC0\x80", "\xC1\xBF", "\xE0\x80\x80", "\xE0\x9F\xBF", "\xF0\x80\x80\x80",
          "\xF0\x8F\xBF\xBF", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80",
          "\xF8\x88\x80\x80\x80", "\xFC\x84\x80\x80\x80\x80", "\xFE", "\xFF", "\xE2\x28\xA1",
          "\xE2\x82\x28", "\xE2\x82", "\xF0\x9F\x98", "\xC3"}) {
        // clang-format on
        for (const std::string prefix : {"", "a\xC3\xA9"}) {
            const std::string bytes = prefix + bad;
            EXPECT_THROW_MSG(Utf8ToUtf16(reinterpret_cast<const unsigned char*>(bytes.data()),
                                         static_cast<uint32_t>(bytes.size())),
                             CVxException,
                             L"Invalid UTF-8 sequence at byte offset " +
                                 std::to_wstring(prefix.size()));
        }
    }
    const unsigned char odd[] = {'a', 0, 'b'};
    EXPECT_THROW_MSG(BytesToWString(odd, 3), CVxException,
                     L"Invalid UTF-16 data: odd number of bytes [3]");
    EXPECT_THROW_MSG(BytesToWString(odd, -2), CVxInvalidParamException, L"Invalid byte count [-2]");
}

// ASCII is converted several characters at a time: a character that is not
// ASCII (or not encodable) must be found wherever it falls in such a run, and
// text given in pieces must convert as the pieces joined.
TEST(Encoder, NonAsciiAtEveryOffsetOfAnAsciiRun)
{
    // Runs are narrowed to 16 bits before they are tested: values that
    // narrow to odd patterns (0x100, 0x8000, 0x10000) must still leave them.
    const wchar_t others[] = {0xE9, 0x20AC, 0x1F600, 0x7F, 0x80, 0x100, 0x8000, 0xFFFF, 0x10000};
    for (wchar_t other : others) {
        for (size_t at = 0; at < 24; ++at) {
            std::wstring text(24, L'a');
            text[at] = other;
            const Bytes expected = FromWide(text, "UTF-8");
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
    ASSERT_EQ(ToBytes(Utf16ToUtf8(wide.data(), wide.size())), FromWide(wide, "UTF-8"));
    wide[8999] = static_cast<wchar_t>(0xD800);
    EXPECT_THROW_MSG(Utf16ToUtf8(wide.data(), wide.size()), CVxException,
                     L"Invalid character [0xD800] at position 8999: cannot be encoded as UTF-8");
    for (const uint32_t bad : {0xDFFFu, 0x110000u, 0x80000041u, 0x7FFFFFFFu, 0xFFFFFF80u}) {
        for (size_t at = 0; at < 40; at += 3) {
            std::wstring text(40, L'b');
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

TEST(Encoder, RandomBytesAgreeWithIconv)
{
    // Mostly bytes that start or continue multi-byte sequences: we accept
    // exactly what iconv accepts, with the same text.
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
        bool valid = false;
        const Bytes wide = Iconv("UTF-8", "WCHAR_T", in.data(), in.size(), valid);
        std::wstring expected(wide.size() / sizeof(wchar_t), L'\0');
        std::memcpy(expected.data(), wide.data(), wide.size());
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
            ASSERT_FALSE(valid) << "refused what iconv accepts: " << testing::PrintToString(in);
        }
    }
    EXPECT_GT(accepted, 300); // both outcomes were exercised
}

TEST(Encoder, LoneUtf16SurrogatesSurviveARoundTrip)
{
    const Bytes lone = {0x3D, 0xD8, 'a', 0, 0x00, 0xDE, 0x3D, 0xD8};
    const std::wstring text = BytesToWString(lone.data(), static_cast<int32_t>(lone.size()));
    EXPECT_EQ(text, (std::wstring{0xD83D, L'a', 0xDE00, 0xD83D}));
    EXPECT_EQ(ToBytes(CBinaryData(text.c_str())), lone);
}
