#include "TestHelpers.h"

#include <cstring>
#include <random>
#include <thread>
#include <vector>
#include <vxxml/BinaryData.h>

using namespace VxXmlLib16;

namespace {

using Bytes = std::vector<unsigned char>;

Bytes ToBytes(const CBinaryData& d)
{
    return d.GetLength() ? Bytes(d.GetData(), d.GetData() + d.GetLength()) : Bytes{};
}

CBinaryData FromBytes(const Bytes& b)
{
    return CBinaryData(b.data(), static_cast<uint32_t>(b.size()));
}

Bytes RandomBytes(std::mt19937& rng, size_t n)
{
    Bytes b(n);
    for (auto& x : b) {
        x = static_cast<unsigned char>(rng());
    }
    return b;
}

// Reference codecs written the slow, obvious way: one bit at a time.
const char* const kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::wstring ReferenceBase64(const Bytes& in)
{
    std::vector<int> bits;
    for (unsigned char b : in) {
        for (int k = 7; k >= 0; --k) {
            bits.push_back((b >> k) & 1);
        }
    }
    while (bits.size() % 6 != 0) {
        bits.push_back(0);
    }
    std::wstring out;
    for (size_t i = 0; i < bits.size(); i += 6) {
        int v = 0;
        for (size_t k = 0; k < 6; ++k) {
            v = v * 2 + bits[i + k];
        }
        out += static_cast<wchar_t>(kAlphabet[v]);
    }
    while (out.size() % 4 != 0) {
        out += L'=';
    }
    return out;
}

// Decodes the obvious way: low seven bits, skip blanks and '=', any other
// non-alphabet character makes the result empty, whole bytes only.
Bytes ReferenceDecode(const std::wstring& text)
{
    const std::string alphabet = kAlphabet;
    std::vector<int> bits;
    for (wchar_t c : text) {
        const char a = static_cast<char>(static_cast<uint32_t>(c) & 0x7F);
        if (a == '=' || a == ' ' || a == '\t' || a == '\r' || a == '\n') {
            continue;
        }
        const size_t v = alphabet.find(a);
        if (a == '\0' || v == std::string::npos) {
            return {};
        }
        for (int k = 5; k >= 0; --k) {
            bits.push_back(static_cast<int>(v >> k) & 1);
        }
    }
    Bytes out;
    for (size_t i = 0; i + 8 <= bits.size(); i += 8) {
        int b = 0;
        for (size_t k = 0; k < 8; ++k) {
            b = b * 2 + bits[i + k];
        }
        out.push_back(static_cast<unsigned char>(b));
    }
    return out;
}

std::wstring ReferenceHex(const Bytes& in)
{
    std::wstring out;
    for (unsigned char b : in) {
        out += static_cast<wchar_t>("0123456789ABCDEF"[b / 16]);
        out += static_cast<wchar_t>("0123456789ABCDEF"[b % 16]);
    }
    return out;
}

} // namespace

TEST(BinaryData, EmptyValue)
{
    CBinaryData d;
    EXPECT_EQ(d.GetLength(), 0u);
    EXPECT_EQ(d.GetData(), nullptr);
    EXPECT_EQ(d.ReleaseData(), nullptr);
    EXPECT_EQ(d.GetAsBase64(), L"");
    EXPECT_EQ(d.GetAsHexString(), L"");
    EXPECT_TRUE(d == CBinaryData());
    EXPECT_THROW_MSG(d[0], CVxException, L"Index Out of range [0]");
    // Zero-length inputs of every kind keep the value empty.
    d.Append(static_cast<const unsigned char*>(nullptr), 0);
    d.Append(L"");
    d.Append(CBinaryData());
    d.SetBuffer(L"");
    EXPECT_EQ(d.GetData(), nullptr);
    EXPECT_EQ(CBinaryData(L"").GetData(), nullptr);
    EXPECT_THROW(CBinaryData(static_cast<const unsigned char*>(nullptr), 3),
                 CVxInvalidParamException);
}

TEST(BinaryData, CopiesAreIsolated)
{
    const Bytes original = {1, 2, 3, 4};
    CBinaryData a = FromBytes(original);
    CBinaryData b(a);
    EXPECT_EQ(a.GetData(), b.GetData()) << "a copy shares the buffer";

    b.Append(static_cast<unsigned char>(5));
    EXPECT_EQ(ToBytes(a), original);
    EXPECT_EQ(ToBytes(b), (Bytes{1, 2, 3, 4, 5}));

    CBinaryData c;
    c = a;
    c[0] = 9; // the non-const index writes through its own copy
    EXPECT_EQ(ToBytes(a), original);
    EXPECT_EQ(c[0], 9);

    CBinaryData d(a);
    std::unique_ptr<unsigned char[]> released(d.ReleaseData());
    EXPECT_EQ(d.GetData(), nullptr);
    EXPECT_NE(released.get(), a.GetData());
    EXPECT_EQ(std::memcmp(released.get(), original.data(), 4), 0);
    EXPECT_EQ(ToBytes(a), original);

    CBinaryData e(a);
    e.SetAsHexString(L"FF");
    e = e; // self-assignment keeps the value
    EXPECT_EQ(ToBytes(e), Bytes{0xFF});
    EXPECT_EQ(ToBytes(a), original);

    // Reading through the const index never unshares.
    const CBinaryData f(a);
    EXPECT_EQ(f[1], 2);
    EXPECT_EQ(f.GetData(), a.GetData());
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
        switch (i % 4) {
        case 0:
            d.Append(piece.data(), static_cast<uint32_t>(piece.size()));
            break;
        case 1:
            d.Append(FromBytes(piece));
            break;
        case 2:
            for (unsigned char b : piece) {
                d.Append(b);
            }
            break;
        default: {
            CBinaryData copy(d); // appending while shared must not disturb the copy
            const Bytes before = ToBytes(copy);
            d.Append(piece.data(), static_cast<uint32_t>(piece.size()));
            EXPECT_EQ(ToBytes(copy), before);
        }
        }
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

TEST(BinaryData, OwnershipTransfer)
{
    auto* raw = new unsigned char[3]{7, 8, 9};
    CBinaryData adopted(raw, 3, true);
    EXPECT_EQ(adopted.GetData(), raw);
    adopted.Append(static_cast<unsigned char>(10)); // grows out of the adopted block
    EXPECT_EQ(ToBytes(adopted), (Bytes{7, 8, 9, 10}));

    CBinaryData empty(new unsigned char[1], 0, true); // freed at once
    EXPECT_EQ(empty.GetData(), nullptr);

    unsigned char local[2] = {1, 2};
    CBinaryData copied(local, 2, false);
    local[0] = 5;
    EXPECT_EQ(copied[0], 1);
}

TEST(BinaryData, TextIsUtf16LittleEndian)
{
    CBinaryData d(L"A\u00E9\u20AC\U0001F600");
    EXPECT_EQ(ToBytes(d), (Bytes{0x41, 0x00, 0xE9, 0x00, 0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE}));

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

TEST(BinaryData, IndexBound)
{
    CBinaryData d = FromBytes({1, 2, 3});
    EXPECT_EQ(d[2], 3);
    EXPECT_NO_THROW(d[3]); // one past the end is accepted
    EXPECT_THROW_MSG(d[4], CVxException, L"Index Out of range [4]");
    const CBinaryData& cd = d;
    EXPECT_THROW_MSG(cd[100], CVxException, L"Index Out of range [100]");

    // Also for an adopted block that has no spare byte after the data.
    CBinaryData adopted(new unsigned char[2]{1, 2}, 2, true);
    adopted[2] = 99;
    EXPECT_EQ(ToBytes(adopted), (Bytes{1, 2}));
}

TEST(BinaryData, Equality)
{
    const CBinaryData a = FromBytes({1, 2, 3});
    EXPECT_TRUE(a == FromBytes({1, 2, 3}));
    EXPECT_TRUE(a != FromBytes({1, 2, 4}));
    EXPECT_TRUE(a != FromBytes({1, 2}));
    EXPECT_TRUE(a != CBinaryData());
    EXPECT_TRUE(CBinaryData() != a);
    EXPECT_TRUE(CBinaryData() == CBinaryData());
}

TEST(BinaryData, HexRoundTripAgainstReference)
{
    std::mt19937 rng(1);
    for (size_t n : {1, 2, 15, 16, 255, 4096}) {
        const Bytes b = RandomBytes(rng, n);
        const std::wstring hex = FromBytes(b).GetAsHexString();
        EXPECT_EQ(hex, ReferenceHex(b));
        EXPECT_EQ(CBinaryData::GetAsHexString(b.data(), static_cast<uint32_t>(n)), hex);
        std::wstring lower = hex;
        for (auto& c : lower) {
            c = static_cast<wchar_t>(std::towlower(c));
        }
        CBinaryData back;
        back.SetAsHexString(lower.c_str());
        EXPECT_EQ(ToBytes(back), b);
    }
}

TEST(BinaryData, HexErrors)
{
    CBinaryData d;
    d.SetAsHexString(L"0a1B");
    EXPECT_EQ(ToBytes(d), (Bytes{0x0A, 0x1B}));
    d.SetAsHexString(L"");
    EXPECT_EQ(d.GetData(), nullptr);

    d = FromBytes({1});
    EXPECT_THROW_MSG(d.SetAsHexString(L"0g"), CVxException, L"Invalid char in hex string [g]");
    EXPECT_EQ(d.GetData(), nullptr) << "the value is cleared before converting";
    EXPECT_THROW_MSG(d.SetAsHexString(L"AAg0"), CVxException, L"Invalid char in hex string [g]");
    EXPECT_THROW_MSG(d.SetAsHexString(L"0 "), CVxException, L"Invalid char in hex string [ ]");
    EXPECT_THROW_MSG(d.SetAsHexString(L"\u00C90"), CVxException,
                     L"Invalid char in hex string [\u00C9]");
    EXPECT_THROW_MSG(d.SetAsHexString(L"abc"), CVxException, L"Invalid length in hex string");
    // A character whose low bits look like a digit is still rejected.
    EXPECT_THROW_MSG(d.SetAsHexString(L"\u01300"), CVxException,
                     L"Invalid char in hex string [\u0130]");
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
        if (i % 76 == 0 && i != 0) {
            wrapped += L"\r\n";
        }
        if (rng() % 97 == 0) {
            wrapped += (rng() % 2) ? L' ' : L'\t';
        }
        wrapped += text[i];
    }
    CBinaryData back;
    back.SetAsBase64(wrapped.c_str());
    EXPECT_EQ(ToBytes(back), big);
}

TEST(BinaryData, Base64EdgeCases)
{
    EXPECT_EQ(FromBytes({0x61, 0x62, 0x63}).GetAsBase64(), L"YWJj");
    EXPECT_EQ(FromBytes({0x00}).GetAsBase64(), L"AA==");
    EXPECT_EQ(FromBytes({0xFF, 0xFE}).GetAsBase64(), L"//4=");

    CBinaryData d;
    d.SetAsBase64(L" Y W\nJ j ");
    EXPECT_EQ(ToBytes(d), (Bytes{0x61, 0x62, 0x63}));
    d.SetAsBase64(L"YW=Jj"); // '=' is skipped wherever it is
    EXPECT_EQ(ToBytes(d), (Bytes{0x61, 0x62, 0x63}));
    d.SetAsBase64(L"YWJjZ"); // an incomplete last symbol's bits are dropped
    EXPECT_EQ(ToBytes(d), (Bytes{0x61, 0x62, 0x63}));
    // Characters are read by their low seven bits: U+0159 reads as 'Y'.
    d.SetAsBase64(L"\u0159\u0157\u014A\u016A");
    EXPECT_EQ(ToBytes(d), (Bytes{0x61, 0x62, 0x63}));

    d.SetAsBase64(L"YWJj!YWJj");
    EXPECT_EQ(d.GetLength(), 0u);
    EXPECT_NE(d.GetData(), nullptr) << "a failed decode holds an empty buffer";
    EXPECT_TRUE(d != CBinaryData());
    EXPECT_NO_THROW(d[0]);
    EXPECT_THROW_MSG(d[1], CVxException, L"Index Out of range [1]");

    d.SetAsBase64(L"");
    EXPECT_EQ(d.GetData(), nullptr);
    d.SetAsBase64(L"====");
    EXPECT_EQ(d.GetLength(), 0u);
}

// Random text mixing symbols, blanks, '=' and characters above U+007F in any
// position, so that the fast paths are entered and left at every alignment.
TEST(BinaryData, Base64DecodeRandomTextAgainstReference)
{
    std::mt19937 rng(8);
    for (int round = 0; round < 3000; ++round) {
        std::wstring text;
        const size_t n = rng() % 40;
        for (size_t i = 0; i < n; ++i) {
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
