#include "TestHelpers.h"

#include <cmath>
#include <cstring>
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

// value / 10^places written with exactly that many places.
std::wstring ScaledText(i128 value, int places)
{
    const bool negative = value < 0;
    u128 magnitude = negative ? 0 - static_cast<u128>(value) : static_cast<u128>(value);
    std::wstring digits;
    do {
        digits.insert(digits.begin(),
                      static_cast<wchar_t>(L'0' + static_cast<int>(magnitude % 10)));
        magnitude /= 10;
    } while (magnitude != 0);
    while (static_cast<int>(digits.size()) <= places) {
        digits.insert(digits.begin(), L'0');
    }
    if (places > 0) {
        digits.insert(digits.end() - places, L'.');
    }
    return negative ? L"-" + digits : digits;
}

// The text an arithmetic result prints: no trailing zero places.
std::wstring Rationalised(std::wstring text)
{
    if (text.find(L'.') != std::wstring::npos) {
        text.erase(text.find_last_not_of(L'0') + 1);
        if (text.back() == L'.') {
            text.pop_back();
        }
    }
    return text;
}

// The text a parsed value prints: places as written unless all are zero.
std::wstring Reprinted(const std::wstring& written)
{
    const size_t point = written.find(L'.');
    if (point != std::wstring::npos &&
        written.find_first_not_of(L'0', point + 1) == std::wstring::npos) {
        const std::wstring whole = written.substr(0, point);
        return whole == L"-0" ? L"0" : whole;
    }
    return written;
}

// Rounded half away from zero to the given places, as ToString(int) does.
std::wstring RoundedText(i128 value, int places, int target)
{
    if (target >= places) {
        return ScaledText(value * Pow10(target - places), target);
    }
    const i128 scale = Pow10(places - target);
    const i128 magnitude = value < 0 ? -value : value;
    i128 q = magnitude / scale;
    if ((magnitude % scale) * 2 >= scale) {
        ++q;
    }
    return ScaledText(value < 0 ? -q : q, target);
}

struct RandomDecimal
{
    i128 scaled;
    int places;
    std::wstring text;
};

RandomDecimal MakeRandom(std::mt19937_64& rng)
{
    RandomDecimal d;
    const int bits = 1 + static_cast<int>(rng() % 40);
    d.scaled = static_cast<i128>(rng() >> (64 - bits));
    if (rng() % 2) {
        d.scaled = -d.scaled;
    }
    d.places = static_cast<int>(rng() % 10);
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
        const wchar_t* text;
        const wchar_t* expected;
    } cases[] = {
        {L"1.50", L"1.50"},
        {L"-0.5", L"-0.5"},
        {L"0.000", L"0"},
        {L"-0", L"0"},
        {L"-0.0", L"0"},
        {L".5", L"0.5"},
        {L"1.", L"1"},
        {L"+3.25", L"3.25"},
        {L"007.0100", L"7.0100"},
        {L" \t1.5\r\n", L"1.5"},
        {L"25e-3", L"0.025"},
        {L"1.50E1", L"15"},
        {L"1.23E-1", L"0.123"},
        {L"12E-5", L"0.00012"},
        {L"-1.2e+3", L"-1200"},
        {L"0.001E3", L"1"},
        {L"123456789012.12345678", L"123456789012.12345678"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CDecimal(c.text).ToString(), c.expected) << Narrow(c.text);
    }
    EXPECT_EQ(CDecimal(L"1.7E+308").ToString(), L"17" + std::wstring(307, L'0'));
    EXPECT_EQ(CDecimal(L"1E-20").ToString(), L"0." + std::wstring(19, L'0') + L"1");

    std::mt19937_64 rng(1);
    for (int i = 0; i < 2000; ++i) {
        const RandomDecimal d = MakeRandom(rng);
        ASSERT_EQ(CDecimal(d.text.c_str()).ToString(), Reprinted(d.text)) << Narrow(d.text);
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
    // A long text is cut in the message.
    const std::wstring longText = std::wstring(100, L'1') + L"x";
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
        const RandomDecimal a = MakeRandom(rng);
        const RandomDecimal b = MakeRandom(rng);
        const CDecimal da(a.text.c_str());
        const CDecimal db(b.text.c_str());
        const int common = std::max(a.places, b.places);
        const i128 sa = a.scaled * Pow10(common - a.places);
        const i128 sb = b.scaled * Pow10(common - b.places);
        ASSERT_EQ((da + db).ToString(), Rationalised(ScaledText(sa + sb, common)))
            << Narrow(a.text) << " + " << Narrow(b.text);
        ASSERT_EQ((da - db).ToString(), Rationalised(ScaledText(sa - sb, common)));
        ASSERT_EQ((da * db).ToString(),
                  Rationalised(ScaledText(a.scaled * b.scaled, a.places + b.places)));
        if (b.scaled != 0) {
            const i128 q = a.scaled * Pow10(b.places + 12) / (b.scaled * Pow10(a.places));
            ASSERT_EQ((da / db).ToString(), Rationalised(ScaledText(q, 12)))
                << Narrow(a.text) << " / " << Narrow(b.text);
        }
        CDecimal compound = da;
        compound += db;
        compound -= da;
        compound *= db;
        ASSERT_EQ(compound, db * db);
        ASSERT_EQ(da < db, sa < sb);
        ASSERT_EQ(da <= db, sa <= sb);
        ASSERT_EQ(da > db, sa > sb);
        ASSERT_EQ(da >= db, sa >= sb);
        ASSERT_EQ(da == db, sa == sb);
        ASSERT_EQ(da != db, sa != sb);
        const int target = static_cast<int>(rng() % 12);
        ASSERT_EQ(da.ToString(target), RoundedText(a.scaled, a.places, target))
            << Narrow(a.text) << " to " << target;
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
        const i128 b = (a.scaled + delta) * Pow10(extra);
        const CDecimal da(a.text.c_str());
        const CDecimal db(ScaledText(b, a.places + extra).c_str());
        ASSERT_EQ(da<db, delta> 0) << Narrow(a.text) << " vs " << Narrow(db.ToString());
        ASSERT_EQ(da == db, delta == 0);
        ASSERT_EQ(db > da, delta > 0);
    }
}

TEST(DecimalTest, DivisionKeepsTheMaximumPlaces)
{
    MaxPlacesGuard guard;
    EXPECT_EQ(CDecimal::GetMaxDecimalPlaces(), 30);
    EXPECT_EQ((CDecimal(1) / CDecimal(3)).ToString(), L"0." + std::wstring(30, L'3'));
    CDecimal::SetMaxDecimalPlaces(5);
    EXPECT_EQ((CDecimal(1) / CDecimal(3)).ToString(), L"0.33333");
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

TEST(DecimalTest, ToStringRoundsHalfAwayFromZero)
{
    const struct
    {
        const wchar_t* text;
        int places;
        const wchar_t* expected;
    } cases[] = {
        {L"1.005", 2, L"1.01"},   {L"-1.005", 2, L"-1.01"},  {L"2", 2, L"2.00"},
        {L"0.9995", 3, L"1.000"}, {L"9.5", 0, L"10"},        {L"-9.5", 0, L"-10"},
        {L"-9.4", 0, L"-9"},      {L"0.004", 2, L"0.00"},    {L"-0.004", 2, L"0.00"},
        {L"-0.005", 2, L"-0.01"}, {L"99.995", 2, L"100.00"}, {L"1.5", 5, L"1.50000"},
        {L"1.5", -3, L"2"},       {L"12.34", 1, L"12.3"},    {L"0", 0, L"0"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CDecimal(c.text).ToString(c.places), c.expected)
            << Narrow(c.text) << " to " << c.places;
    }
}

TEST(DecimalTest, CheckedConversionsAndTheirBounds)
{
    EXPECT_EQ(CDecimal(L"2147483647").ToLong(), INT32_MAX);
    EXPECT_EQ(CDecimal(L"-2147483648").ToLong(), INT32_MIN);
    EXPECT_EQ(CDecimal(L"-12.9").ToLong(), -12);
    EXPECT_EQ(CDecimal(L"2147483648").ToLongLong(), 2147483648LL);
    EXPECT_THROW_MSG(CDecimal(L"2147483648").ToLong(), CVxOverFlowException,
                     L"The Decimal value if to large to fit into a LONG");
    EXPECT_THROW(CDecimal(L"2147483647.5").ToLong(), CVxOverFlowException);
    EXPECT_THROW(CDecimal(L"-2147483648.5").ToLong(), CVxOverFlowException);

    EXPECT_EQ(CDecimal(L"9223372036854775807").ToLongLong(), INT64_MAX);
    EXPECT_EQ(CDecimal(L"-9223372036854775808").ToLongLong(), INT64_MIN);
    EXPECT_THROW_MSG(CDecimal(L"9223372036854775808").ToLongLong(), CVxOverFlowException,
                     L"The Decimal value if to large to fit into a LONGLONG");
    EXPECT_THROW(CDecimal(L"-9223372036854775808.1").ToLongLong(), CVxOverFlowException);

    EXPECT_EQ(CDecimal(L"1.7E+308").ToDouble(), 1.7e308);
    EXPECT_EQ(CDecimal(L"-1.7E+308").ToDouble(), -1.7e308);
    EXPECT_THROW_MSG(CDecimal(L"1.7000000001E+308").ToDouble(), CVxOverFlowException,
                     L"The Decimal value if to large to fit into a Double");
    EXPECT_THROW(CDecimal(L"-1.7E+308").operator-=(CDecimal(1)).ToDouble(), CVxOverFlowException);
    EXPECT_EQ(CDecimal(L"1E-400").ToDouble(), 0.0);
    EXPECT_EQ(CDecimal(L"-0.5").ToBigInteger().ToString(), L"0");

    // Any finite double survives the trip through its decimal form.
    std::mt19937_64 rng(3);
    for (int i = 0; i < 2000; ++i) {
        const uint64_t bits = rng();
        double value;
        std::memcpy(&value, &bits, sizeof value);
        if (!std::isfinite(value) || std::fabs(value) > 1.7e308) {
            continue;
        }
        ASSERT_EQ(CDecimal(value).ToDouble(), value) << bits;
    }
    EXPECT_EQ(CDecimal(0.1).ToString(), L"0.1");
    EXPECT_EQ(CDecimal(-2.5e-5).ToString(), L"-0.000025");
    EXPECT_EQ(CDecimal(1e20).ToString(), L"100000000000000000000");
    EXPECT_THROW_MSG(CDecimal(std::nan("")), CVxInvalidValueException,
                     L"The value [NaN] can not be converted to a decimal or integer");
    EXPECT_THROW(CDecimal{HUGE_VAL}, CVxInvalidValueException);
}

TEST(DecimalTest, PartsAndDigitCounts)
{
    const CDecimal v(L"-12.034");
    EXPECT_EQ(v.GetIntegerPart().ToString(), L"-12");
    EXPECT_EQ(v.GetFractionPart().ToString(), L"34");
    EXPECT_EQ(v.GetFractionDivider(), 3);
    const CDecimal half(L"-0.5");
    EXPECT_TRUE(half.GetIntegerPart().IsZero());
    EXPECT_EQ(half.GetFractionPart().ToString(), L"5");
    EXPECT_EQ(half.Signum(), -1);
    EXPECT_EQ(CDecimal(7).GetFractionDivider(), 1);

    const struct
    {
        const wchar_t* text;
        int integerDigits;
        int fractionDigits;
    } cases[] = {{L"12.345", 2, 3}, {L"12.340", 2, 2}, {L"-0.05", 1, 2},
                 {L"7", 1, 0},      {L"-7.000", 1, 0}, {L"0012", 2, 0}};
    for (const auto& c : cases) {
        const CDecimal d(c.text);
        EXPECT_EQ(d.GetIntegerDigitCount(), c.integerDigits) << Narrow(c.text);
        EXPECT_EQ(d.GetFractionDigitCount(), c.fractionDigits) << Narrow(c.text);
    }
}

TEST(DecimalTest, IncrementDecrementAndSign)
{
    CDecimal v(L"-0.5");
    EXPECT_EQ((v++).ToString(), L"-0.5");
    EXPECT_EQ(v.ToString(), L"0.5");
    EXPECT_EQ((++v).ToString(), L"1.5");
    EXPECT_EQ((v--).ToString(), L"1.5");
    EXPECT_EQ((--v).ToString(), L"-0.5");
    EXPECT_EQ(v.GetNegative().ToString(), L"0.5");
    v.Negate();
    EXPECT_EQ(v.ToString(), L"0.5");
    EXPECT_EQ(CDecimal(L"1.50"), CDecimal(L"1.5"));
    EXPECT_LT(CDecimal(L"0.05"), CDecimal(L"0.5"));
    EXPECT_LT(CDecimal(L"-1.5"), CDecimal(L"-1.25"));
    EXPECT_EQ(CDecimal(L"-0.0"), CDecimal(0));
    EXPECT_EQ(CDecimal(CBigInteger(L"-42")).ToString(), L"-42");
    EXPECT_EQ(CDecimal(L"2.5") + CBigInteger(2), CDecimal(L"4.5"));
}

TEST(DecimalTest, HugeInputsStayBounded)
{
    std::wstring text = L"-0." + std::wstring(2'000'000, L'0') + L"1";
    const CDecimal tiny(text.c_str());
    EXPECT_EQ(tiny.ToString(), text);
    EXPECT_LT(tiny, CDecimal(0));
    EXPECT_GT(tiny, CDecimal(L"-1E-10000"));
    EXPECT_EQ(tiny.ToString(3), L"0.000");
    EXPECT_EQ(tiny.ToDouble(), -0.0);
}

TEST(DecimalTest, ArbitraryTextEitherReadsBackOrThrows)
{
    // Texts drawn from the characters the readers care about: each must either
    // throw the library's exception or give a value whose text reads back to
    // the same value, for both readers.
    const std::wstring alphabet = L"0123456789+-.eE \t";
    std::mt19937_64 rng(5);
    int accepted = 0;
    for (int i = 0; i < 6000; ++i) {
        std::wstring text;
        const size_t length = rng() % 12;
        for (size_t k = 0; k < length; ++k) {
            text += alphabet[rng() % alphabet.size()];
        }
        try {
            const CDecimal value(text.c_str());
            ASSERT_EQ(CDecimal(value.ToString().c_str()), value) << Narrow(text);
            ASSERT_EQ(CDecimal(value.ToString().c_str()).ToString(), value.ToString());
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
