#include <gtest/gtest.h>
#include <vxxml/FormatString.h>

using VxXmlLib16::FormatString;

TEST(FormatString, WideStringAndCharConversions)
{
    // Non-ASCII and astral characters must pass through %s and %c intact.
    EXPECT_EQ(FormatString(L"[%s] %c!", L"\u00e9t\u00e9 \U0001F600", L'\u20ac'),
              L"[\u00e9t\u00e9 \U0001F600] \u20ac!");
    EXPECT_EQ(FormatString(L"%-5s|%3c|", L"ab", L'z'), L"ab   |  z|");
    EXPECT_EQ(FormatString(L"%ls and %lc", L"explicit", L'x'), L"explicit and x");
}

TEST(FormatString, NumericConversionsAndPercent)
{
    EXPECT_EQ(FormatString(L"%d/%u/%X/%08X %%", -7, 7u, 255u, 0xBEEFu), L"-7/7/FF/0000BEEF %");
    EXPECT_EQ(FormatString(L"%f %.2f %lld", 1.5, 2.345, static_cast<long long>(-1) << 40),
              L"1.500000 2.35 -1099511627776");
}

TEST(FormatString, LongResultsGrowTheBuffer)
{
    const std::wstring big(100000, L'\u0416');
    const std::wstring out = FormatString(L"<%s>", big.c_str());
    ASSERT_EQ(out.size(), big.size() + 2);
    EXPECT_EQ(out.substr(1, big.size()), big);
}

TEST(FormatString, AnyWideCharacterValueIsFormatted)
{
    // Found by fuzzing: a wchar_t of -1 (WEOF as the C library reads %lc)
    // made the whole message fail and the buffer grow to 256 MiB first.
    const auto weof = static_cast<wchar_t>(-1);
    const std::wstring out = FormatString(L"Invalid char [%c] in [%s] at %d", weof, L"x", 3);
    EXPECT_EQ(out, std::wstring(L"Invalid char [") + weof + L"] in [x] at 3");
    EXPECT_EQ(FormatString(L"%.2s|%*d|%-*s|%s", L"abc", 4, 7, 3, L"q", nullptr),
              L"ab|   7|q  |(null)");
}
