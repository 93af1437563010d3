#include "TestHelpers.h"

#include <random>
#include <vxxml/BigInteger.h>
#include <vxxml/Decimal.h>

using namespace VxXmlLib16;

namespace {

// GCC's 128-bit integer is the independent reference for values that fit.
__extension__ using i128 = __int128;
__extension__ using u128 = unsigned __int128;

std::wstring ToText(i128 value)
{
    if (value == 0) {
        return L"0";
    }
    const bool negative = value < 0;
    u128 magnitude = negative ? 0 - static_cast<u128>(value) : static_cast<u128>(value);
    std::wstring out;
    while (magnitude != 0) {
        out.insert(out.begin(), static_cast<wchar_t>(L'0' + static_cast<int>(magnitude % 10)));
        magnitude /= 10;
    }
    return negative ? L"-" + out : out;
}

CBigInteger Big(i128 value)
{
    return CBigInteger(ToText(value).c_str());
}

// A random signed value of 1 to maxDigits digits, as text.
std::wstring RandomDigits(std::mt19937_64& rng, size_t maxDigits)
{
    const size_t count = 1 + rng() % maxDigits;
    std::wstring out = (rng() % 2) ? L"-" : L"";
    out += static_cast<wchar_t>(L'1' + rng() % 9);
    for (size_t i = 1; i < count; ++i) {
        out += static_cast<wchar_t>(L'0' + rng() % 10);
    }
    return out;
}

i128 RandomI128(std::mt19937_64& rng, int bits)
{
    const i128 magnitude =
        static_cast<i128>(((static_cast<u128>(rng()) << 64) | rng()) >> (128 - bits));
    return (rng() % 2) ? -magnitude : magnitude;
}

} // namespace

TEST(BigIntegerTest, ParsingKeepsItsLenientRules)
{
    const struct
    {
        const wchar_t* text;
        const wchar_t* expected;
    } cases[] = {
        {L"", L"0"},
        {L"    ", L"0"},
        {L"  -42  ", L"-42"},
        {L"007", L"7"},
        {L"+12", L"12"},
        {L"1 2", L"2"},
        {L"1-2", L"2"},
        {L"-", L"0"},
        {L"-0", L"0"},
        {L"12.9", L"12"},
        {L"-12.9", L"-12"},
        {L"-0.5", L"0"},
        {L"1E3", L"1000"},
        {L"2.5e1", L"25"},
        {L"\n7", L"7"},
        {L"123456789012345678901234567890", L"123456789012345678901234567890"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CBigInteger(c.text).ToString(), c.expected) << Narrow(c.text);
    }
    EXPECT_EQ(CBigInteger(static_cast<const wchar_t*>(nullptr)).ToString(), L"0");
    EXPECT_TRUE(CBigInteger(L"-0.5").IsZero());
    EXPECT_EQ(CBigInteger(L"-0.5").Signum(), 0);
}

TEST(BigIntegerTest, TextThatIsNoNumberThrows)
{
    for (const wchar_t* text : {L"abc", L"1.2.3", L"12a", L"0x10", L"1E"}) {
        EXPECT_THROW_MSG(CBigInteger{text}, CVxInvalidValueException,
                         L"The value [" + std::wstring(text) +
                             L"] can not be converted to a decimal");
    }
    EXPECT_THROW_MSG(CBigInteger{L"1E999999999"}, CVxInvalidValueException,
                     L"The value [1E999999999] can not be converted to a decimal: the exponent is "
                     L"out of range");
}

TEST(BigIntegerTest, ConstructorsFromNativeTypes)
{
    EXPECT_EQ(CBigInteger().ToString(), L"0");
    EXPECT_EQ(CBigInteger(INT32_MIN).ToString(), L"-2147483648");
    EXPECT_EQ(CBigInteger(INT64_MIN).ToString(), L"-9223372036854775808");
    EXPECT_EQ(CBigInteger(static_cast<long long>(INT64_MAX)).ToString(), L"9223372036854775807");
    EXPECT_EQ(CBigInteger(UINT64_MAX).ToString(), L"18446744073709551615");
    EXPECT_EQ(CBigInteger(4294967295u).ToString(), L"4294967295");
    EXPECT_EQ(CBigInteger(1e20).ToString(), L"100000000000000000000");
    EXPECT_EQ(CBigInteger(-2.9).ToString(), L"-2");
    EXPECT_EQ(CBigInteger(-0.9).ToString(), L"0");
    EXPECT_EQ(CBigInteger(CDecimal(L"-123.999")).ToString(), L"-123");
    EXPECT_THROW(CBigInteger(std::nan("")), CVxInvalidValueException);
    EXPECT_THROW(CBigInteger{-HUGE_VAL}, CVxInvalidValueException);
}

TEST(BigIntegerTest, ConstantsHoldTheirLimits)
{
    EXPECT_EQ(CBigInteger::MAX_LONG.ToString(), L"2147483647");
    EXPECT_EQ(CBigInteger::MIN_LONG.ToString(), L"-2147483648");
    EXPECT_EQ(CBigInteger::MAX_LONGLONG.ToString(), L"9223372036854775807");
    EXPECT_EQ(CBigInteger::MIN_LONGLONG.ToString(), L"-9223372036854775808");
    EXPECT_EQ(CBigInteger::MAX_DOUBLE.ToString(), L"17" + std::wstring(307, L'0'));
    EXPECT_EQ(CBigInteger::MIN_DOUBLE, CBigInteger::MAX_DOUBLE.GetNegative());
    EXPECT_EQ(CBigInteger::Pow10(0).ToString(), L"1");
    EXPECT_EQ(CBigInteger::Pow10(25).ToString(), L"1" + std::wstring(25, L'0'));
}

TEST(BigIntegerTest, ArithmeticMatchesInt128)
{
    std::mt19937_64 rng(20261121);
    for (int i = 0; i < 4000; ++i) {
        const i128 a = RandomI128(rng, 1 + static_cast<int>(rng() % 62));
        const i128 b = RandomI128(rng, 1 + static_cast<int>(rng() % 62));
        const CBigInteger ba = Big(a);
        const CBigInteger bb = Big(b);
        ASSERT_EQ((ba + bb).ToString(), ToText(a + b));
        ASSERT_EQ((ba - bb).ToString(), ToText(a - b));
        ASSERT_EQ((ba * bb).ToString(), ToText(a * b));
        CBigInteger compound = ba;
        compound += bb;
        compound *= bb;
        compound -= ba;
        ASSERT_EQ(compound.ToString(), ToText((a + b) * b - a));
        if (b != 0) {
            ASSERT_EQ((ba / bb).ToString(), ToText(a / b))
                << Narrow(ToText(a)) << " / " << Narrow(ToText(b));
            ASSERT_EQ((ba % bb).ToString(), ToText(a % b));
            CBigInteger q = ba;
            q /= bb;
            CBigInteger r = ba;
            r %= bb;
            ASSERT_EQ(q.ToString(), ToText(a / b));
            ASSERT_EQ(r.ToString(), ToText(a % b));
        }
        ASSERT_EQ(ba < bb, a < b);
        ASSERT_EQ(ba <= bb, a <= b);
        ASSERT_EQ(ba > bb, a > b);
        ASSERT_EQ(ba >= bb, a >= b);
        ASSERT_EQ(ba == bb, a == b);
        ASSERT_EQ(ba != bb, a != b);
    }
}

TEST(BigIntegerTest, IdentitiesHoldOnLargeValues)
{
    std::mt19937_64 rng(77);
    for (int i = 0; i < 300; ++i) {
        const CBigInteger a(RandomDigits(rng, 300).c_str());
        const CBigInteger b(RandomDigits(rng, (rng() % 2) ? 150 : 3).c_str());
        const CBigInteger q = a / b;
        const CBigInteger r = a % b;
        ASSERT_EQ(q * b + r, a) << Narrow(a.ToString()) << " / " << Narrow(b.ToString());
        ASSERT_LT(r.GetAbs(), b.GetAbs());
        ASSERT_TRUE(r.IsZero() || r.Signum() == a.Signum());
        ASSERT_EQ((a + b) - b, a);
        ASSERT_EQ(a * b / b, a);
        ASSERT_EQ((a * b) % b, CBigInteger(0));
        ASSERT_EQ(a - a, CBigInteger(0));
        ASSERT_EQ(CBigInteger(a.ToString().c_str()), a);

        const CBigInteger n = a.GetAbs();
        const CBigInteger root = n.SquareRoot();
        ASSERT_LE(root * root, n);
        ASSERT_GT((root + 1) * (root + 1), n);
    }
    // Perfect squares and the small cases.
    const CBigInteger big(L"123456789123456789123456789");
    EXPECT_EQ((big * big).SquareRoot(), big);
    EXPECT_EQ((big * big - 1).SquareRoot(), big - 1);
    for (int k = 0; k < 50; ++k) {
        EXPECT_EQ(static_cast<int>(CBigInteger(k).SquareRoot()), static_cast<int>(std::sqrt(k)));
    }
}

TEST(BigIntegerTest, FailuresCarryTheirMessages)
{
    const CBigInteger ten(10);
    const CBigInteger zero;
    EXPECT_THROW_MSG(ten / zero, CVxInvalidValueException, L"ERROR: Overflow in operator/.");
    EXPECT_THROW_MSG(ten % zero, CVxInvalidValueException, L"ERROR: Overflow in operator%.");
    CBigInteger x(10);
    EXPECT_THROW_MSG(x /= zero, CVxInvalidValueException, L"ERROR: Overflow in operator /=.");
    EXPECT_THROW_MSG(x %= zero, CVxInvalidValueException, L"ERROR: Overflow in operator%=.");
    EXPECT_EQ(x, ten);
    EXPECT_THROW_MSG(CBigInteger(-4).SquareRoot(), CVxInvalidValueException,
                     L"ERROR: Negative Number in function SquareRoot().");
}

TEST(BigIntegerTest, SignOperations)
{
    CBigInteger v(5);
    CBigInteger& same = -v; // negates in place
    EXPECT_EQ(&same, &v);
    EXPECT_EQ(v.ToString(), L"-5");
    EXPECT_EQ(v.GetAbs().ToString(), L"5");
    EXPECT_EQ(v.GetNegative().ToString(), L"5");
    EXPECT_EQ(v.ToString(), L"-5");
    v.Abs();
    EXPECT_EQ(v.ToString(), L"5");
    CBigInteger zero;
    zero.Negate();
    EXPECT_EQ(zero.ToString(), L"0");
    EXPECT_EQ(zero, CBigInteger(0));
    EXPECT_FALSE(zero < CBigInteger(0));
}

TEST(BigIntegerTest, CheckedNativeConversions)
{
    EXPECT_EQ(static_cast<int>(CBigInteger::MAX_LONG), INT32_MAX);
    EXPECT_EQ(static_cast<int>(CBigInteger::MIN_LONG), INT32_MIN);
    EXPECT_EQ(static_cast<long long>(CBigInteger::MAX_LONGLONG), INT64_MAX);
    EXPECT_EQ(static_cast<long long>(CBigInteger::MIN_LONGLONG), INT64_MIN);
    EXPECT_EQ(static_cast<long long>(CBigInteger(L"-1")), -1);
    EXPECT_THROW_MSG(static_cast<int>(CBigInteger::MAX_LONG + 1), CVxOverFlowException,
                     L"The BigInteger value is too large to fit into an int");
    EXPECT_THROW(static_cast<int>(CBigInteger::MIN_LONG - 1), CVxOverFlowException);
    EXPECT_THROW_MSG(static_cast<long long>(CBigInteger::MAX_LONGLONG + 1), CVxOverFlowException,
                     L"The BigInteger value is too large to fit into a long long");
    EXPECT_THROW(static_cast<long long>(CBigInteger::MIN_LONGLONG - 1), CVxOverFlowException);
    EXPECT_THROW(static_cast<long long>(CBigInteger(L"99999999999999999999999")),
                 CVxOverFlowException);
}

TEST(BigIntegerTest, MegabyteDigitStringsStayLinear)
{
    std::wstring text(3'000'000, L'7');
    text.insert(text.begin(), L'-');
    const CBigInteger value(text.c_str());
    EXPECT_EQ(value.GetDigitCount(), 3'000'000);
    EXPECT_EQ(value.ToString(), text);
    EXPECT_LT(value, CBigInteger(L"-7"));
    EXPECT_EQ(value + value.GetAbs(), CBigInteger(0));
}
