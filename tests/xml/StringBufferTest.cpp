#include "TestHelpers.h"

#include <random>
#include <string>
#include <vxxml/StringBuffer.h>

using namespace VxXmlLib16;

TEST(StringBuffer, BlocksFillMergeAndClear)
{
    CStringBuffer b;
    EXPECT_EQ(b.GetBlockSize(), 4095u);
    const std::wstring full(4095, L'x');
    b.Append(full);
    EXPECT_EQ(b.GetBlockCount(), 1u);
    b.Append(L'y'); // the first block is full: a second one starts
    EXPECT_EQ(b.GetBlockCount(), 2u);
    const wchar_t* merged = b.GetBuffer();
    EXPECT_EQ(std::wstring(merged), full + L'y');
    EXPECT_EQ(b.GetBlockCount(), 1u);
    EXPECT_EQ(b.GetBuffer(), merged) << "a single block is returned as it is";
    b.Append(L"z"); // the merged block is full to the brim
    EXPECT_EQ(b.GetBlockCount(), 2u);
    // Clearing drops several blocks, but keeps (zeroed) a single merged one.
    b.Clear();
    EXPECT_EQ(b.GetBlockCount(), 0u);
    EXPECT_STREQ(b.GetBuffer(), L"") << "empty is an empty string, not null";
    b.Append(full + L"yz");
    merged = b.GetBuffer();
    EXPECT_EQ(std::wstring(merged), full + L"yz");
    b.Clear();
    EXPECT_EQ(b.GetBlockCount(), 1u);
    b.Append(L"hi");
    EXPECT_EQ(b.GetBuffer(), merged);
    EXPECT_STREQ(b.GetBuffer(), L"hi") << "no leftovers of the earlier text";
    EXPECT_THROW_MSG(CStringBuffer(1), CVxInvalidParamException,
                     L"Invalid block size [1]: must be at least 2");
}

// Random appends, merges, clears and sets on small blocks, so that block
// boundaries are crossed all the time, checked against a plain wstring.
TEST(StringBuffer, RandomOperationsMatchWString)
{
    std::mt19937 rng(3);
    for (uint32_t blockSize : {2u, 3u, 5u, 17u, 4096u}) {
        CStringBuffer b(blockSize);
        std::wstring expected;
        for (int step = 0; step < 2000; ++step) {
            const unsigned op = rng() % 100;
            if (op < 45) {
                const wchar_t c = static_cast<wchar_t>(L'a' + rng() % 26);
                b.Append(c);
                expected += c;
            } else if (op < 85) {
                // Embedded zeros are kept from a wstring or a counted text.
                std::wstring s(rng() % 12, L'\0');
                for (auto& c : s) {
                    c = static_cast<wchar_t>(rng() % 8 ? 0x400 + rng() % 0x10000 : 0);
                }
                rng() % 2 ? b.Append(s) : b.Append(s.data(), s.size());
                expected += s;
            } else if (op < 95) {
                ASSERT_EQ(std::wstring(b.GetBuffer(), b.GetLength()), expected);
                ASSERT_EQ(b.GetBuffer()[b.GetLength()], L'\0');
            } else if (op < 97) {
                b.Clear();
                expected.clear();
            } else {
                const bool null = op == 97;
                b.Set(null ? nullptr : L"reset");
                expected = null ? L"" : L"reset";
            }
            ASSERT_EQ(b.GetLength(), expected.size());
        }
        EXPECT_EQ(std::wstring(b.GetBuffer(), b.GetLength()), expected);
    }
    CStringBuffer b;
    b.Append(L"c\0d"); // a C string ends at its zero
    EXPECT_EQ(b.GetLength(), 1u);
}
