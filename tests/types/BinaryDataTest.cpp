#include "TestHelpers.h"

#include <cstring>
#include <random>
#include <thread>
#include <tuple>
#include <vector>
#include <vxxml/BinaryData.h>

using namespace VxXmlLib16;

namespace {

Bytes RandomBytes(std::mt19937& rng, size_t n)
{
    Bytes b(n);
    for (auto& x : b) {
        x = static_cast<unsigned char>(rng());
    }
    return b;
}

// Reference codecs written the slow, obvious way: through a string of bits.
const std::string kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::wstring ReferenceBase64(const Bytes& in)
{
    std::string bits;
    for (unsigned char b : in) {
        for (int k = 7; k >= 0; --k) {
            bits += static_cast<char>('0' + ((b >> k) & 1));
        }
    }
    bits.resize((bits.size() + 5) / 6 * 6, '0');
    std::wstring out;
    for (size_t i = 0; i < bits.size(); i += 6) {
        out += static_cast<wchar_t>(kAlphabet[std::stoul(bits.substr(i, 6), nullptr, 2)]);
    }
    out.resize((out.size() + 3) / 4 * 4, L'=');
    return out;
}

// Decodes the obvious way: low seven bits, skip blanks and '=', any other
// non-alphabet character makes the result empty, whole bytes only.
Bytes ReferenceDecode(const std::wstring& text)
{
    std::string bits;
    for (wchar_t c : text) {
        const char a = static_cast<char>(static_cast<uint32_t>(c) & 0x7F);
        if (a != 0 && std::string(" \t\r\n=").find(a) != std::string::npos) {
            continue;
        }
        const size_t v = a ? kAlphabet.find(a) : std::string::npos;
        if (v == std::string::npos) {
            return {};
        }
        for (int k = 5; k >= 0; --k) {
            bits += static_cast<char>('0' + ((v >> k) & 1));
        }
    }
    Bytes out;
    for (size_t i = 0; i + 8 <= bits.size(); i += 8) {
        out.push_back(static_cast<unsigned char>(std::stoul(bits.substr(i, 8), nullptr, 2)));
    }
    return out;
}

} // namespace

TEST(BinaryData, EmptyValuesAndEquality)
{
    CBinaryData d;
    EXPECT_EQ(d.GetData(), nullptr);
    EXPECT_EQ(d.ReleaseData(), nullptr);
    EXPECT_EQ(d.GetAsBase64(), L"");
    EXPECT_EQ(d.GetAsHexString(), L"");
    EXPECT_THROW_MSG(d[0], CVxException, L"Index Out of range [0]");
    // Zero-length inputs of every kind keep the value empty.
    d.Append(static_cast<const unsigned char*>(nullptr), 0);
    d.Append(L"");
    d.Append(CBinaryData());
    d.SetBuffer(L"");
    d.SetAsHexString(L"");
    EXPECT_EQ(d.GetData(), nullptr);
    d.SetAsBase64(L"");
    EXPECT_EQ(d.GetData(), nullptr);
    EXPECT_THROW(CBinaryData(static_cast<const unsigned char*>(nullptr), 3),
                 CVxInvalidParamException);

    const CBinaryData a = FromBytes({1, 2, 3});
    for (const auto& [other, equal] : {std::pair{FromBytes({1, 2, 3}), true},
                                       {FromBytes({1, 2, 4}), false},
                                       {FromBytes({1, 2}), false},
                                       {CBinaryData(), false}}) {
        EXPECT_EQ(a == other, equal);
        EXPECT_EQ(other != a, !equal);
    }
    EXPECT_TRUE(CBinaryData() == CBinaryData());
}

TEST(BinaryData, CopiesAreIsolated)
{
    const Bytes original = {1, 2, 3, 4};
    CBinaryData a = FromBytes(original);
    CBinaryData b(a);
    EXPECT_EQ(a.GetData(), b.GetData()) << "a copy shares the buffer";
    b.Append(static_cast<unsigned char>(5));
    EXPECT_EQ(ToBytes(b), (Bytes{1, 2, 3, 4, 5}));

    CBinaryData c;
    c = a;
    c[0] = 9; // the non-const index writes through its own copy
    EXPECT_EQ(c[0], 9);

    CBinaryData d(a);
    std::unique_ptr<unsigned char[]> released(d.ReleaseData());
    EXPECT_EQ(d.GetData(), nullptr);
    EXPECT_NE(released.get(), a.GetData());
    EXPECT_EQ(std::memcmp(released.get(), original.data(), 4), 0);

    CBinaryData e(a);
    e.SetAsHexString(L"FF");
    CBinaryData& self = e;
    e = self; // self-assignment keeps the value
    EXPECT_EQ(ToBytes(e), Bytes{0xFF});

    const CBinaryData f(a); // reading through the const index never unshares
    EXPECT_EQ(f[1], 2);
    EXPECT_EQ(f.GetData(), a.GetData());
    EXPECT_EQ(ToBytes(a), original);
}

TEST(BinaryData, CopiesWrittenOnOtherThreads)
{
    std::mt19937 rng(7);
    const Bytes original = RandomBytes(rng, 1000);
    const CBinaryData shared = FromBytes(original);
    std::vector<std::thread> threads;
    std::vector<int> ok(8, 0);
    for (int t = 0; t < 8; ++t) {
        threads.emplace_back([&, t] {
            bool good = true;
            for (int round = 0; round < 200; ++round) {
                CBinaryData mine(shared);
                mine.Append(static_cast<unsigned char>(t));
                mine[0] = static_cast<unsigned char>(t);
                good = good && mine.GetLength() == 1001 && mine[0] == t &&
                       std::memcmp(mine.GetData() + 1, original.data() + 1, 999) == 0;
            }
            ok[t] = good;
        });
    }
    for (auto& th : threads) {
        th.join();
    }
    EXPECT_EQ(ok, std::vector<int>(8, 1));
    EXPECT_EQ(ToBytes(shared), original);
}

TEST(BinaryData, AppendMatchesVector)
{
    std::mt19937 rng(42);
    CBinaryData d;
    Bytes expected;
    for (int i = 0; i < 300; ++i) {
        const Bytes piece = RandomBytes(rng, rng() % 700);
        const CBinaryData copy(d); // appending while shared must not disturb the copy
        const Bytes before = ToBytes(copy);
        if (i % 3 == 0) {
            d.Append(piece.data(), static_cast<uint32_t>(piece.size()));
        } else if (i % 3 == 1) {
            d.Append(FromBytes(piece));
        } else {
            for (unsigned char b : piece) {
                d.Append(b);
            }
        }
        ASSERT_EQ(ToBytes(copy), before);
        expected.insert(expected.end(), piece.begin(), piece.end());
    }
    EXPECT_EQ(ToBytes(d), expected);

    // Appending a value to itself, or a range of its own bytes, reads the
    // bytes before growing frees the old block.
    CBinaryData self = FromBytes({1, 2, 3});
    self.Append(self);
    EXPECT_EQ(ToBytes(self), (Bytes{1, 2, 3, 1, 2, 3}));
    Bytes big = RandomBytes(rng, 9000);
    CBinaryData own = FromBytes(big);
    own.Append(own.GetData() + 1, own.GetLength() - 1); // forces growth past 18000
    big.insert(big.end(), big.begin() + 1, big.end());
    EXPECT_EQ(ToBytes(own), big);
}

TEST(BinaryData, OwnershipAndIndexBound)
{
    auto* raw = new unsigned char[3]{7, 8, 9};
    CBinaryData adopted(raw, 3, true);
    EXPECT_EQ(adopted.GetData(), raw);
    adopted.Append(static_cast<unsigned char>(10)); // grows out of the adopted block
    EXPECT_EQ(ToBytes(adopted), (Bytes{7, 8, 9, 10}));
    CBinaryData empty(new unsigned char[1], 0, true); // freed at once
    EXPECT_EQ(empty.GetData(), nullptr);
    unsigned char local[2] = {1, 2};
    const CBinaryData copied(local, 2, false);
    local[0] = 5;
    EXPECT_EQ(copied[0], 1);

    CBinaryData d = FromBytes({1, 2, 3});
    EXPECT_NO_THROW(d[3]); // one past the end is accepted
    EXPECT_THROW_MSG(d[4], CVxException, L"Index Out of range [4]");
    EXPECT_THROW_MSG(copied[100], CVxException, L"Index Out of range [100]");
    // Also for an adopted block that has no spare byte after the data.
    CBinaryData tight(new unsigned char[2]{1, 2}, 2, true);
    tight[2] = 99;
    EXPECT_EQ(ToBytes(tight), (Bytes{1, 2}));
}

TEST(BinaryData, TextIsUtf16LittleEndian)
{
    EXPECT_EQ(ToBytes(CBinaryData(L"A\u00E9\u20AC\U0001F600")),
              (Bytes{0x41, 0x00, 0xE9, 0x00, 0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE}));
    CBinaryData e;
    e.Append(L'A');
    e.Append(static_cast<wchar_t>(0x10FFFF));
    e.Append(std::wstring(L"b\0c", 3)); // every character, the zero included
    EXPECT_EQ(ToBytes(e),
              (Bytes{0x41, 0x00, 0xFF, 0xDB, 0xFF, 0xDF, 0x62, 0x00, 0x00, 0x00, 0x63, 0x00}));
    e.SetBuffer(L"\xD800"); // a lone surrogate keeps its code unit
    EXPECT_EQ(ToBytes(e), (Bytes{0x00, 0xD8}));

    const wchar_t bad[] = {L'x', static_cast<wchar_t>(0x110000), 0};
    EXPECT_THROW_MSG(CBinaryData{bad}, CVxInvalidParamException,
                     L"Invalid character [0x110000] at position 1: not a Unicode code point");
    EXPECT_THROW(e.Append(static_cast<wchar_t>(-1)), CVxInvalidParamException);
    EXPECT_EQ(ToBytes(e), (Bytes{0x00, 0xD8})) << "a failed append leaves the value";
}

TEST(BinaryData, HexRoundTripsAndErrors)
{
    std::mt19937 rng(1);
    for (size_t n : {1, 2, 15, 16, 255, 4096}) {
        const Bytes b = RandomBytes(rng, n);
        std::wstring expected, lower;
        for (unsigned char x : b) {
            expected += {L"0123456789ABCDEF"[x / 16], L"0123456789ABCDEF"[x % 16]};
            lower += {L"0123456789abcdef"[x / 16], L"0123456789abcdef"[x % 16]};
        }
        EXPECT_EQ(FromBytes(b).GetAsHexString(), expected);
        EXPECT_EQ(CBinaryData::GetAsHexString(b.data(), static_cast<uint32_t>(n)), expected);
        CBinaryData back;
        back.SetAsHexString(lower.c_str());
        EXPECT_EQ(ToBytes(back), b);
    }
    // A character whose low bits look like a digit is still rejected.
    const std::tuple<const wchar_t*, const wchar_t*> bad[] = {
        {L"0g", L"Invalid char in hex string [g]"},
        {L"AAg0", L"Invalid char in hex string [g]"},
        {L"0 ", L"Invalid char in hex string [ ]"},
        {L"\u00C90", L"Invalid char in hex string [\u00C9]"},
        {L"\u01300", L"Invalid char in hex string [\u0130]"},
        {L"abc", L"Invalid length in hex string"}};
    for (const auto& [text, message] : bad) {
        CBinaryData d = FromBytes({1});
        EXPECT_THROW_MSG(d.SetAsHexString(text), CVxException, message);
        EXPECT_EQ(d.GetData(), nullptr) << "the value is cleared before converting";
    }
}

TEST(BinaryData, Base64RoundTripAgainstReference)
{
    std::mt19937 rng(2);
    for (size_t n = 0; n < 70; ++n) {
        const Bytes b = RandomBytes(rng, n);
        const std::wstring text = FromBytes(b).GetAsBase64();
        ASSERT_EQ(text, ReferenceBase64(b)) << "length " << n;
        CBinaryData back;
        back.SetAsBase64(text.c_str());
        EXPECT_EQ(ToBytes(back), b) << "length " << n;
    }
    const Bytes big = RandomBytes(rng, 100000);
    const std::wstring text = FromBytes(big).GetAsBase64();
    EXPECT_EQ(text, ReferenceBase64(big));
    // Line breaks every 76 characters and stray blanks anywhere change nothing.
    std::wstring wrapped;
    for (size_t i = 0; i < text.size(); ++i) {
        wrapped += i % 76 == 0 && i != 0 ? L"\r\n" : L"";
        wrapped += rng() % 97 == 0 ? (rng() % 2 ? L" " : L"\t") : L"";
        wrapped += text[i];
    }
    CBinaryData back;
    back.SetAsBase64(wrapped.c_str());
    EXPECT_EQ(ToBytes(back), big);
}

// What decoding does (skipping blanks and '=', dropping an incomplete last
// symbol, reading characters by their low seven bits) is held to the
// reference decoder below; here only what a failure leaves behind.
TEST(BinaryData, FailedBase64DecodeHoldsAnEmptyBuffer)
{
    CBinaryData d;
    d.SetAsBase64(L"YWJj!YWJj");
    EXPECT_EQ(d.GetLength(), 0u);
    EXPECT_NE(d.GetData(), nullptr);
    EXPECT_TRUE(d != CBinaryData());
    EXPECT_NO_THROW(d[0]);
    EXPECT_THROW_MSG(d[1], CVxException, L"Index Out of range [1]");
}

// Random text mixing symbols, blanks, '=' and characters above U+007F in any
// position, so that the fast paths are entered and left at every alignment.
TEST(BinaryData, Base64DecodeRandomTextAgainstReference)
{
    std::mt19937 rng(8);
    for (int round = 0; round < 3000; ++round) {
        std::wstring text;
        for (size_t n = rng() % 40; n > 0; --n) {
            const unsigned pick = rng() % 100;
            wchar_t c = static_cast<wchar_t>(kAlphabet[rng() % 64]);
            if (pick < 8) {
                c = L" \t\r\n="[rng() % 5];
            } else if (pick < 14) {
                c = static_cast<wchar_t>(c + 0x80 * (1 + rng() % 500)); // same low seven bits
            } else if (pick == 14 && rng() % 4 == 0) {
                c = static_cast<wchar_t>(1 + rng() % 0x7F); // often invalid
            }
            text += c;
        }
        CBinaryData d;
        d.SetAsBase64(text.c_str());
        ASSERT_EQ(ToBytes(d), ReferenceDecode(text)) << Narrow(text);
    }
}
