#include "TestHelpers.h"

#include <array>
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
    u128 magnitude = value < 0 ? 0 - static_cast<u128>(value) : static_cast<u128>(value);
    std::wstring out;
    do {
        out.insert(out.begin(), static_cast<wchar_t>(L'0' + static_cast<int>(magnitude % 10)));
        magnitude /= 10;
    } while (magnitude != 0);
    return value < 0 ? L"-" + out : out;
}

// All six comparisons at once, so that one assertion checks them together.
template <class T, class U> std::array<bool, 6> Order(const T& a, const U& b)
{
    return {a<b, a <= b, a> b, a >= b, a == b, a != b};
}

// A random signed value of 1 to maxDigits digits, as text.
std::wstring RandomDigits(std::mt19937_64& rng, size_t maxDigits)
{
    const size_t count = 1 + rng() % maxDigits;
    std::wstring out = (rng() % 2) ? L"-" : L"";
    out += static_cast<wchar_t>(L'1' + rng() % 9);
    while (out.size() < count + (out[0] == L'-')) {
        out += static_cast<wchar_t>(L'0' + rng() % 10);
    }
    return out;
}

i128 RandomI128(std::mt19937_64& rng)
{
    const int bits = 1 + static_cast<int>(rng() % 62);
    const auto magnitude =
        static_cast<i128>(((static_cast<u128>(rng()) << 64) | rng()) >> (128 - bits));
    return (rng() % 2) ? -magnitude : magnitude;
}

} // namespace

TEST(BigIntegerTest, ParsingKeepsItsLenientRules)
{
    const struct
    {
        const wchar_t *text, *expected;
    } cases[] = {{L"", L"0"},
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
                 {L"123456789012345678901234567890", L"123456789012345678901234567890"}};
    for (const auto& c : cases) {
        EXPECT_EQ(CBigInteger(c.text).ToString(), c.expected) << Narrow(c.text);
    }
    EXPECT_EQ(CBigInteger(static_cast<const wchar_t*>(nullptr)).ToString(), L"0");
    EXPECT_EQ(CBigInteger(L"-0.5").Signum(), 0);
    for (const wchar_t* text : {L"abc", L"1.2.3", L"12a", L"0x10", L"1E"}) {
        EXPECT_THROW_MSG(CBigInteger{text}, CVxInvalidValueException,
                         L"The value [" + std::wstring(text) +
                             L"] can not be converted to a decimal");
    }
    EXPECT_THROW_MSG(CBigInteger{L"1E999999999"}, CVxInvalidValueException,
                     L"The value [1E999999999] can not be converted to a decimal: the exponent is "
                     L"out of range");
}

TEST(BigIntegerTest, NativeValuesAndConstants)
{
    const std::pair<CBigInteger, std::wstring> cases[] = {
        {CBigInteger(), L"0"},
        {CBigInteger(INT64_MIN), L"-9223372036854775808"},
        {CBigInteger(UINT64_MAX), L"18446744073709551615"},
        {CBigInteger(4294967295u), L"4294967295"},
        {CBigInteger(1e20), L"100000000000000000000"},
        {CBigInteger(-2.9), L"-2"},
        {CBigInteger(-0.9), L"0"},
        {CBigInteger(CDecimal(L"-123.999")), L"-123"},
        {CBigInteger::MAX_LONG, L"2147483647"},
        {CBigInteger::MIN_LONG, L"-2147483648"},
        {CBigInteger::MAX_LONGLONG, L"9223372036854775807"},
        {CBigInteger::MIN_LONGLONG, L"-9223372036854775808"},
        {CBigInteger::MAX_DOUBLE, L"17" + std::wstring(307, L'0')},
        {CBigInteger::MIN_DOUBLE, L"-17" + std::wstring(307, L'0')},
        {CBigInteger::Pow10(0), L"1"},
        {CBigInteger::Pow10(25), L"1" + std::wstring(25, L'0')}};
    for (const auto& [value, expected] : cases) {
        EXPECT_EQ(value.ToString(), expected);
    }
    EXPECT_THROW(CBigInteger(std::nan("")), CVxInvalidValueException);
    EXPECT_THROW(CBigInteger{-HUGE_VAL}, CVxInvalidValueException);

    EXPECT_EQ(static_cast<int>(CBigInteger::MIN_LONG), INT32_MIN);
    EXPECT_EQ(static_cast<long long>(CBigInteger::MAX_LONGLONG), INT64_MAX);
    EXPECT_EQ(static_cast<long long>(CBigInteger::MIN_LONGLONG), INT64_MIN);
    EXPECT_THROW_MSG((void)static_cast<int>(CBigInteger::MAX_LONG + 1), CVxOverFlowException,
                     L"The BigInteger value is too large to fit into an int");
    EXPECT_THROW((void)static_cast<int>(CBigInteger::MIN_LONG - 1), CVxOverFlowException);
    EXPECT_THROW_MSG((void)static_cast<long long>(CBigInteger::MAX_LONGLONG + 1),
                     CVxOverFlowException,
                     L"The BigInteger value is too large to fit into a long long");
    EXPECT_THROW((void)static_cast<long long>(CBigInteger::MIN_LONGLONG - 1), CVxOverFlowException);
}

TEST(BigIntegerTest, ArithmeticMatchesInt128)
{
    std::mt19937_64 rng(20261121);
    for (int i = 0; i < 4000; ++i) {
        const i128 a = RandomI128(rng), b = RandomI128(rng);
        const CBigInteger ba(ToText(a).c_str()), bb(ToText(b).c_str());
        SCOPED_TRACE(Narrow(ToText(a)) + " op " + Narrow(ToText(b)));
        ASSERT_EQ((ba + bb).ToString(), ToText(a + b));
        ASSERT_EQ((ba - bb).ToString(), ToText(a - b));
        ASSERT_EQ((ba * bb).ToString(), ToText(a * b));
        CBigInteger compound = ba;
        ((compound += bb) *= bb) -= ba;
        ASSERT_EQ(compound.ToString(), ToText((a + b) * b - a));
        if (b != 0) {
            CBigInteger q = ba, r = ba;
            q /= bb;
            r %= bb;
            ASSERT_EQ((ba / bb).ToString(), ToText(a / b));
            ASSERT_EQ((ba % bb).ToString(), ToText(a % b));
            ASSERT_EQ(q.ToString(), ToText(a / b));
            ASSERT_EQ(r.ToString(), ToText(a % b));
        }
        ASSERT_EQ(Order(ba, bb), Order(a, b));
    }
}

TEST(BigIntegerTest, IdentitiesHoldOnLargeValues)
{
    std::mt19937_64 rng(77);
    for (int i = 0; i < 300; ++i) {
        const CBigInteger a(RandomDigits(rng, 300).c_str());
        const CBigInteger b(RandomDigits(rng, (rng() % 2) ? 150 : 3).c_str());
        SCOPED_TRACE(Narrow(a.ToString()) + " / " + Narrow(b.ToString()));
        const CBigInteger q = a / b, r = a % b;
        ASSERT_EQ(q * b + r, a);
        ASSERT_LT(r.GetAbs(), b.GetAbs());
        ASSERT_TRUE(r.IsZero() || r.Signum() == a.Signum());
        ASSERT_EQ((a + b) - b, a);
        ASSERT_EQ((a * b) % b, CBigInteger(0));
        ASSERT_EQ(CBigInteger(a.ToString().c_str()), a);
        const CBigInteger n = a.GetAbs(), root = n.SquareRoot();
        ASSERT_LE(root * root, n);
        ASSERT_GT((root + 1) * (root + 1), n);
    }
    const CBigInteger big(L"123456789123456789123456789");
    EXPECT_EQ((big * big).SquareRoot(), big);
    EXPECT_EQ((big * big - 1).SquareRoot(), big - 1);
    for (int k = 0; k < 50; ++k) {
        EXPECT_EQ(static_cast<int>(CBigInteger(k).SquareRoot()), static_cast<int>(std::sqrt(k)));
    }
}

TEST(BigIntegerTest, FailuresAndSignOperations)
{
    const CBigInteger zero;
    CBigInteger x(10);
    EXPECT_THROW_MSG(x / zero, CVxInvalidValueException, L"ERROR: Overflow in operator/.");
    EXPECT_THROW_MSG(x % zero, CVxInvalidValueException, L"ERROR: Overflow in operator%.");
    EXPECT_THROW_MSG(x /= zero, CVxInvalidValueException, L"ERROR: Overflow in operator /=.");
    EXPECT_THROW_MSG(x %= zero, CVxInvalidValueException, L"ERROR: Overflow in operator%=.");
    EXPECT_EQ(x, CBigInteger(10));
    EXPECT_THROW_MSG(CBigInteger(-4).SquareRoot(), CVxInvalidValueException,
                     L"ERROR: Negative Number in function SquareRoot().");

    CBigInteger v(5);
    EXPECT_EQ(&-v, &v); // unary minus negates in place
    EXPECT_EQ(v.ToString(), L"-5");
    EXPECT_EQ(v.GetAbs().ToString(), L"5");
    EXPECT_EQ(v.GetNegative().ToString(), L"5");
    v.Abs();
    EXPECT_EQ(v.ToString(), L"5");
    CBigInteger negatedZero;
    negatedZero.Negate();
    EXPECT_EQ(negatedZero.ToString(), L"0");
    EXPECT_EQ(Order(negatedZero, zero), Order(0, 0));
}

TEST(BigIntegerTest, MegabyteDigitStringsStayLinear)
{
    const std::wstring text = L"-" + std::wstring(3'000'000, L'7');
    const CBigInteger value(text.c_str());
    EXPECT_EQ(value.GetDigitCount(), 3'000'000);
    EXPECT_EQ(value.ToString(), text);
    EXPECT_LT(value, CBigInteger(L"-7"));
    EXPECT_EQ(value + value.GetAbs(), CBigInteger(0));
}
