#include "TestHelpers.h"

#include <array>
#include <bit>
#include <cmath>
#include <random>
#include <vxxml/Decimal.h>

using namespace VxXmlLib16;

namespace {

// A decimal is checked against a 128-bit integer scaled by a power of ten.
__extension__ using i128 = __int128;
__extension__ using u128 = unsigned __int128;

i128 Pow10(int n)
{
    i128 p = 1;
    while (n-- > 0) {
        p *= 10;
    }
    return p;
}

// value / 10^places written with exactly that many places; `trim` drops
// trailing zero places, as arithmetic results print.
std::wstring ScaledText(i128 value, int places, bool trim = false)
{
    u128 magnitude = value < 0 ? 0 - static_cast<u128>(value) : static_cast<u128>(value);
    std::wstring digits;
    for (int i = 0; magnitude != 0 || i <= places; ++i, magnitude /= 10) {
        if (i == places && places > 0) {
            digits.insert(digits.begin(), L'.');
        }
        digits.insert(digits.begin(),
                      static_cast<wchar_t>(L'0' + static_cast<int>(magnitude % 10)));
    }
    if (trim && places > 0) {
        digits.erase(digits.find_last_not_of(L'0') + 1);
        if (digits.back() == L'.') {
            digits.pop_back();
        }
    }
    return value < 0 ? L"-" + digits : digits;
}

template <class T, class U> std::array<bool, 6> Order(const T& a, const U& b)
{
    return {a<b, a <= b, a> b, a >= b, a == b, a != b};
}

struct RandomDecimal
{
    i128 scaled;
    int places;
    std::wstring text;
};

RandomDecimal MakeRandom(std::mt19937_64& rng)
{
    const int bits = 1 + static_cast<int>(rng() % 40);
    const auto magnitude = static_cast<i128>(rng() >> (64 - bits));
    RandomDecimal d{rng() % 2 ? -magnitude : magnitude, static_cast<int>(rng() % 10), {}};
    d.text = ScaledText(d.scaled, d.places);
    return d;
}

// Restores the class-wide division precision when a test ends.
struct MaxPlacesGuard
{
    int saved = CDecimal::GetMaxDecimalPlaces();
    ~MaxPlacesGuard() { CDecimal::SetMaxDecimalPlaces(saved); }
};

} // namespace

TEST(DecimalTest, ParsesAndPrintsAsWritten)
{
    const struct
    {
        const wchar_t *text, *expected;
    } cases[] = {
        {L"1.50", L"1.50"},     {L"-0.5", L"-0.5"},       {L"0.000", L"0"},
        {L"-0.0", L"0"},        {L".5", L"0.5"},          {L"1.", L"1"},
        {L"+3.25", L"3.25"},    {L"007.0100", L"7.0100"}, {L" \t1.5\r\n", L"1.5"},
        {L"25e-3", L"0.025"},   {L"1.50E1", L"15"},       {L"12E-5", L"0.00012"},
        {L"-1.2e+3", L"-1200"}, {L"0.001E3", L"1"},       {L"1E-20", L"0.00000000000000000001"}};
    for (const auto& c : cases) {
        EXPECT_EQ(CDecimal(c.text).ToString(), c.expected) << Narrow(c.text);
    }
    EXPECT_EQ(CDecimal(L"1.7E+308").ToString(), L"17" + std::wstring(307, L'0'));

    // A parsed value prints its places as written unless all are zero.
    std::mt19937_64 rng(1);
    for (int i = 0; i < 2000; ++i) {
        const RandomDecimal d = MakeRandom(rng);
        const bool zeroPlaces = d.scaled % Pow10(d.places) == 0;
        ASSERT_EQ(CDecimal(d.text.c_str()).ToString(),
                  zeroPlaces ? ScaledText(d.scaled / Pow10(d.places), 0) : d.text)
            << Narrow(d.text);
    }
}

TEST(DecimalTest, MalformedTextThrowsWithTheText)
{
    for (const wchar_t* text :
         {L"", L" ", L"-", L"+", L".", L"-.", L"1.2.3", L"1e", L"1e+", L"e5", L"abc", L"1,5",
          L"--1", L"1 2", L"INF", L"NaN", L"0x10", L"1.5f", L"\u0661"}) {
        EXPECT_THROW_MSG(CDecimal{text}, CVxInvalidValueException,
                         L"The value [" + std::wstring(text) +
                             L"] can not be converted to a decimal");
    }
    EXPECT_THROW_MSG(CDecimal(static_cast<const wchar_t*>(nullptr)), CVxInvalidValueException,
                     L"The value [] can not be converted to a decimal");
    EXPECT_THROW_MSG(CDecimal(L"1E999999999999999999999"), CVxInvalidValueException,
                     L"The value [1E999999999999999999999] can not be converted to a decimal: the "
                     L"exponent is out of range");
    EXPECT_THROW(CDecimal(L"1E-10001"), CVxInvalidValueException);
    EXPECT_EQ(CDecimal(L"1E10000").ToString().size(), 10001u);
    const std::wstring longText = std::wstring(100, L'1') + L"x"; // cut in the message
    EXPECT_THROW_MSG(CDecimal(longText.c_str()), CVxInvalidValueException,
                     L"The value [" + std::wstring(64, L'1') +
                         L"...] can not be converted to a decimal");
}

TEST(DecimalTest, ArithmeticMatchesScaledInt128)
{
    MaxPlacesGuard guard;
    CDecimal::SetMaxDecimalPlaces(12);
    std::mt19937_64 rng(2);
    for (int i = 0; i < 3000; ++i) {
        const RandomDecimal a = MakeRandom(rng), b = MakeRandom(rng);
        const CDecimal da(a.text.c_str()), db(b.text.c_str());
        SCOPED_TRACE(Narrow(a.text) + " op " + Narrow(b.text));
        const int common = std::max(a.places, b.places);
        const i128 sa = a.scaled * Pow10(common - a.places);
        const i128 sb = b.scaled * Pow10(common - b.places);
        ASSERT_EQ((da + db).ToString(), ScaledText(sa + sb, common, true));
        ASSERT_EQ((da - db).ToString(), ScaledText(sa - sb, common, true));
        ASSERT_EQ((da * db).ToString(), ScaledText(a.scaled * b.scaled, a.places + b.places, true));
        if (b.scaled != 0) {
            const i128 q = a.scaled * Pow10(b.places + 12) / (b.scaled * Pow10(a.places));
            ASSERT_EQ((da / db).ToString(), ScaledText(q, 12, true));
        }
        CDecimal compound = da;
        ((compound += db) -= da) *= db;
        ASSERT_EQ(compound, db * db);
        ASSERT_EQ(Order(da, db), Order(sa, sb));

        // ToString(places) rounds half away from zero.
        const int target = static_cast<int>(rng() % 12);
        i128 rounded = a.scaled * Pow10(std::max(0, target - a.places));
        if (target < a.places) {
            const i128 scale = Pow10(a.places - target), m = a.scaled < 0 ? -a.scaled : a.scaled;
            rounded = (m / scale + ((m % scale) * 2 >= scale)) * (a.scaled < 0 ? -1 : 1);
        }
        ASSERT_EQ(da.ToString(target), ScaledText(rounded, target)) << "to " << target;
    }
}

TEST(DecimalTest, ComparisonSeesTheLastPlace)
{
    // Neighbours one unit in the last place apart, written with and without
    // extra trailing zeros, so that only the last digit can decide.
    std::mt19937_64 rng(4);
    for (int i = 0; i < 2000; ++i) {
        const RandomDecimal a = MakeRandom(rng);
        const int delta = static_cast<int>(rng() % 3) - 1;
        const int extra = static_cast<int>(rng() % 3);
        const CDecimal da(a.text.c_str());
        const CDecimal db(ScaledText((a.scaled + delta) * Pow10(extra), a.places + extra).c_str());
        ASSERT_EQ(Order(da, db), Order(0, delta))
            << Narrow(a.text) << " vs " << Narrow(db.ToString());
        ASSERT_EQ(Order(da.CompareTo(db), 0), Order(0, delta));
    }
}

TEST(DecimalTest, DivisionKeepsTheMaximumPlaces)
{
    MaxPlacesGuard guard;
    EXPECT_EQ((CDecimal(1) / CDecimal(3)).ToString(), L"0." + std::wstring(30, L'3'));
    CDecimal::SetMaxDecimalPlaces(5);
    EXPECT_EQ((CDecimal(-2) / CDecimal(3)).ToString(), L"-0.66666");
    EXPECT_EQ((CDecimal(10) / CDecimal(4)).ToString(), L"2.5");
    EXPECT_EQ((CDecimal(L"0.000001") / CDecimal(3)).ToString(), L"0");
    CDecimal::SetMaxDecimalPlaces(0);
    EXPECT_EQ((CDecimal(7) / CDecimal(L"2.5")).ToString(), L"2");

    CDecimal x(10);
    EXPECT_THROW_MSG(x / CDecimal(), CVxInvalidValueException, L"ERROR: Overflow in operator/.");
    EXPECT_THROW_MSG(x /= CDecimal(L"0.000"), CVxInvalidValueException,
                     L"ERROR: Overflow in operator /=.");
    EXPECT_EQ(x, CDecimal(10));
}

TEST(DecimalTest, ToStringRoundingEdges)
{
    // Beyond the random cases above: a carry into a new digit, a negative
    // that rounds to zero, and places below zero.
    EXPECT_EQ(CDecimal(L"99.995").ToString(2), L"100.00");
    EXPECT_EQ(CDecimal(L"-0.004").ToString(2), L"0.00");
    EXPECT_EQ(CDecimal(L"-0.005").ToString(2), L"-0.01");
    EXPECT_EQ(CDecimal(L"1.5").ToString(-3), L"2");
}

TEST(DecimalTest, CheckedConversionsAndTheirBounds)
{
    EXPECT_EQ(CDecimal(L"-2147483648").ToLong(), INT32_MIN);
    EXPECT_EQ(CDecimal(L"-12.9").ToLong(), -12);
    EXPECT_EQ(CDecimal(L"9223372036854775807").ToLongLong(), INT64_MAX);
    EXPECT_EQ(CDecimal(L"-9223372036854775808").ToLongLong(), INT64_MIN);
    EXPECT_EQ(CDecimal(L"-1.7E+308").ToDouble(), -1.7e308);
    EXPECT_EQ(CDecimal(L"1E-400").ToDouble(), 0.0);
    EXPECT_EQ(CDecimal(L"-0.5").ToBigInteger().ToString(), L"0");
    EXPECT_THROW_MSG(CDecimal(L"2147483648").ToLong(), CVxOverFlowException,
                     L"The Decimal value if to large to fit into a LONG");
    EXPECT_THROW(CDecimal(L"2147483647.5").ToLong(), CVxOverFlowException);
    EXPECT_THROW(CDecimal(L"-2147483648.5").ToLong(), CVxOverFlowException);
    EXPECT_THROW_MSG(CDecimal(L"9223372036854775808").ToLongLong(), CVxOverFlowException,
                     L"The Decimal value if to large to fit into a LONGLONG");
    EXPECT_THROW(CDecimal(L"-9223372036854775808.1").ToLongLong(), CVxOverFlowException);
    EXPECT_THROW_MSG(CDecimal(L"1.7000000001E+308").ToDouble(), CVxOverFlowException,
                     L"The Decimal value if to large to fit into a Double");
    EXPECT_THROW(CDecimal(L"-1.7E+308").operator-=(CDecimal(1)).ToDouble(), CVxOverFlowException);

    // Any finite double survives the trip through its decimal form.
    std::mt19937_64 rng(3);
    for (int i = 0; i < 2000; ++i) {
        const double value = std::bit_cast<double>(rng());
        if (std::isfinite(value) && std::fabs(value) <= 1.7e308) {
            ASSERT_EQ(CDecimal(value).ToDouble(), value) << i;
        }
    }
    EXPECT_EQ(CDecimal(0.1).ToString(), L"0.1");
    EXPECT_EQ(CDecimal(-2.5e-5).ToString(), L"-0.000025");
    EXPECT_THROW_MSG(CDecimal(std::nan("")), CVxInvalidValueException,
                     L"The value [NaN] can not be converted to a decimal or integer");
    EXPECT_THROW(CDecimal{HUGE_VAL}, CVxInvalidValueException);
}

TEST(DecimalTest, PartsDigitCountsAndSign)
{
    const CDecimal v(L"-12.034");
    EXPECT_EQ(v.GetIntegerPart().ToString(), L"-12");
    EXPECT_EQ(v.GetFractionPart().ToString(), L"34");
    EXPECT_EQ(v.GetFractionDivider(), 3);
    EXPECT_TRUE(CDecimal(L"-0.5").GetIntegerPart().IsZero());
    EXPECT_EQ(CDecimal(L"-0.5").Signum(), -1);
    const struct
    {
        const wchar_t* text;
        int integerDigits, fractionDigits;
    } cases[] = {{L"12.340", 2, 2}, {L"-0.05", 1, 2}, {L"-7.000", 1, 0}, {L"0012", 2, 0}};
    for (const auto& c : cases) {
        EXPECT_EQ(CDecimal(c.text).GetIntegerDigitCount(), c.integerDigits) << Narrow(c.text);
        EXPECT_EQ(CDecimal(c.text).GetFractionDigitCount(), c.fractionDigits) << Narrow(c.text);
    }

    CDecimal x(L"-0.5");
    EXPECT_EQ((x++).ToString(), L"-0.5");
    EXPECT_EQ((++x).ToString(), L"1.5");
    EXPECT_EQ((x--).ToString(), L"1.5");
    EXPECT_EQ((--x).ToString(), L"-0.5");
    x.Negate();
    EXPECT_EQ(x.ToString(), L"0.5");
    EXPECT_EQ(CDecimal(L"2.5") + CBigInteger(2), CDecimal(L"4.5"));
}

TEST(DecimalTest, HugeInputsStayBounded)
{
    const std::wstring text = L"-0." + std::wstring(2'000'000, L'0') + L"1";
    const CDecimal tiny(text.c_str());
    EXPECT_EQ(tiny.ToString(), text);
    EXPECT_LT(tiny, CDecimal(0));
    EXPECT_GT(tiny, CDecimal(L"-1E-10000"));
    EXPECT_EQ(tiny.ToString(3), L"0.000");
}

TEST(DecimalTest, ArbitraryTextEitherReadsBackOrThrows)
{
    // Texts of the characters the readers care about: each must throw the
    // library's exception or give a value whose text reads back to it.
    const std::wstring alphabet = L"0123456789+-.eE \t";
    std::mt19937_64 rng(5);
    int accepted = 0;
    for (int i = 0; i < 6000; ++i) {
        std::wstring text;
        for (size_t length = rng() % 12; length > 0; --length) {
            text += alphabet[rng() % alphabet.size()];
        }
        try {
            const CDecimal value(text.c_str());
            const CDecimal back(value.ToString().c_str());
            ASSERT_EQ(back, value) << Narrow(text);
            ASSERT_EQ(back.ToString(), value.ToString());
            ++accepted;
        } catch (const CVxInvalidValueException&) {
        }
        try {
            const CBigInteger value(text.c_str());
            ASSERT_EQ(CBigInteger(value.ToString().c_str()), value) << Narrow(text);
        } catch (const CVxInvalidValueException&) {
        }
    }
    EXPECT_GT(accepted, 300) << "the generator should hit valid texts too";
}
