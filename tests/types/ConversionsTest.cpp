#include "TestHelpers.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cwchar>
#include <functional>
#include <limits>
#include <random>
#include <tuple>
#include <vxxml/BigInteger.h>
#include <vxxml/BinaryData.h>
#include <vxxml/Conversions.h>
#include <vxxml/DateTime.h>
#include <vxxml/DateTimeSpan.h>
#include <vxxml/Decimal.h>
#include <vxxml/WhitespaceUtils.h>

using namespace VxXmlLib16;
using WS = CWhitespaceUtils;
using CC = CConversions;

namespace {
constexpr auto kNone = WS::WhitespaceRule_None;
constexpr auto kPreserve = WS::WhitespaceRule_Preserve;
constexpr auto kReplace = WS::WhitespaceRule_Replace;
constexpr auto kCollapse = WS::WhitespaceRule_Collapse;
constexpr double kInf = std::numeric_limits<double>::infinity();

std::wstring CannotConvert(const std::wstring& text, const std::wstring& kind)
{
    return L"The value [" + text + L"] can not be converted to a " + kind;
}

std::wstring TooLarge(const std::wstring& text, const std::wstring& kind)
{
    return L"The value [" + text + L"] is to large to fit in a " + kind;
}

// A reader of one kind whose result is printed back, so that one table can
// hold the cases of every kind.
using Reader = std::function<std::wstring(const std::wstring&, WS::WhitespaceRule)>;

Reader Read(auto from, auto to)
{
    return [=](const std::wstring& text, WS::WhitespaceRule rule) { return to(from(text, rule)); };
}

Reader ReadNumber(auto from)
{
    return Read(from, [](auto value) { return std::to_wstring(value); });
}

struct Case
{
    Reader read;
    const wchar_t* text;
    WS::WhitespaceRule rule;
    std::wstring expected; // the printed value, or the exact message of the refusal
};

// Each case either reads to its expected text or is refused with it as the message.
void CheckReads(std::initializer_list<Case> cases, bool refused)
{
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(c.text));
        if (refused) {
            EXPECT_THROW_MSG(c.read(c.text, c.rule), CVxInvalidValueException, c.expected);
        } else {
            EXPECT_EQ(c.read(c.text, c.rule), c.expected);
        }
    }
}
} // namespace

TEST(WhitespaceUtils, RulesFollowXmlSchemaWhiteSpaceFacet)
{
    const std::wstring text = L" \t a\r\n\n b  c\t";
    EXPECT_EQ(WS::ApplyRule(kNone, text), text);
    EXPECT_EQ(WS::ApplyRule(kPreserve, text), text);
    EXPECT_EQ(WS::ApplyRule(kReplace, text), L"   a    b  c ");
    EXPECT_EQ(WS::ApplyRule(kCollapse, text), L"a b c");
    EXPECT_EQ(WS::Collapse(L" \t\r\n "), L"");
    // Only the four XML blanks count: no-break space and vertical tab stay.
    EXPECT_EQ(WS::Collapse(L"\u00a0a\vb "), L"\u00a0a\vb");
    EXPECT_EQ(WS::Replace(L"\v\f"), L"\v\f");
    EXPECT_EQ(WS::Preserve(L"abcdef", 3), L"abc");
    EXPECT_EQ(WS::Preserve(nullptr, 3), L"");
    EXPECT_EQ(WS::Preserve(L"abc", -1), L"");

    const auto bad = static_cast<WS::WhitespaceRule>(4);
    EXPECT_THROW_MSG(WS::ApplyRule(bad, L"x"), CVxException, L"Unknown WhitespaceRule");
    EXPECT_THROW_MSG(CC::i4FromString(L"1", bad), CVxException, L"Unknown WhitespaceRule");
    EXPECT_THROW_MSG(CC::r8FromString(L"1", static_cast<WS::WhitespaceRule>(-1)), CVxException,
                     L"Unknown WhitespaceRule");
    EXPECT_THROW_MSG(CC::stringFromString(L"1", bad), CVxException, L"Unknown WhitespaceRule");
    std::wstring kept = L"x";
    EXPECT_THROW_MSG(WS::ApplyRuleInPlace(bad, kept), CVxException, L"Unknown WhitespaceRule");
    EXPECT_EQ(kept, L"x");

    // Normalising in place gives what the copying rules give, on texts made
    // of blanks, letters and non-ASCII characters in every arrangement.
    std::mt19937 rng(11);
    const wchar_t alphabet[] = {L' ', L'\t', L'\r', L'\n', L'a', L'\u00e9', L'\U0001F600'};
    for (int i = 0; i < 3000; ++i) {
        std::wstring random(rng() % 12, L' ');
        for (wchar_t& c : random) {
            c = alphabet[rng() % std::size(alphabet)];
        }
        for (const auto rule : {kNone, kPreserve, kReplace, kCollapse}) {
            std::wstring inPlace = random;
            WS::ApplyRuleInPlace(rule, inPlace);
            ASSERT_EQ(inPlace, WS::ApplyRule(rule, random)) << "rule " << rule;
        }
    }
}

TEST(Conversions, IntegerRangeBoundaries)
{
    // Each kind at its limits and one beyond; messages quote the text.
    const std::tuple<Reader, const wchar_t*, const wchar_t*, const wchar_t*, const wchar_t*,
                     const wchar_t*>
        kinds[] = {
            {ReadNumber(CC::i1FromString), L"i1", L"-128", L"127", L"-129", L"128"},
            {ReadNumber(CC::i2FromString), L"i2", L"-32768", L"32767", L"-32769", L"32768"},
            {ReadNumber(CC::i4FromString), L"i4", L"-2147483648", L"2147483647", L"-2147483649",
             L"2147483648"},
            {ReadNumber(CC::i8FromString), L"i8", L"-9223372036854775808", L"9223372036854775807",
             L"-9223372036854775809", L"9223372036854775808"},
            // The narrow unsigned kinds read through ui4, whose name a negative reports.
            {ReadNumber(CC::ui1FromString), L"ui1", L"0", L"255", nullptr, L"256"},
            {ReadNumber(CC::ui2FromString), L"ui2", L"0", L"65535", nullptr, L"65536"},
            {ReadNumber(CC::ui4FromString), L"ui4", L"0", L"4294967295", L"-1", L"4294967296"},
            {ReadNumber(CC::ui8FromString), L"ui8", L"0", L"18446744073709551615", L"-1",
             L"18446744073709551616"},
            {ReadNumber(CC::yearFromString), L"year", L"0", L"65535", nullptr, L"65536"}};
    for (const auto& [read, kind, lowest, highest, below, above] : kinds) {
        SCOPED_TRACE(Narrow(kind));
        EXPECT_EQ(read(lowest, kNone), lowest);
        EXPECT_EQ(read(highest, kNone), highest);
        if (below) {
            EXPECT_THROW_MSG(read(below, kNone), CVxInvalidValueException, TooLarge(below, kind));
        }
        EXPECT_THROW_MSG(read(above, kNone), CVxInvalidValueException, TooLarge(above, kind));
    }
    const auto i4 = ReadNumber(CC::i4FromString);
    CheckReads(
        {{ReadNumber(CC::ui1FromString), L"-1", kNone, TooLarge(L"-1", L"ui4")},
         {ReadNumber(CC::ui8FromString), L"999999999999999999999999999", kNone,
          TooLarge(L"999999999999999999999999999", L"ui8")},
         // A range error is reported before trailing characters, as strtol does.
         {i4, L"99999999999abc", kNone, TooLarge(L"99999999999abc", L"i4")},
         // The narrow signed kinds read as i4 first.
         {ReadNumber(CC::i2FromString), L"3000000000", kNone, TooLarge(L"3000000000", L"i4")}},
        true);
}

TEST(Conversions, IntegerLexicalForms)
{
    const auto i4 = ReadNumber(CC::i4FromString);
    CheckReads({{i4, L"  42  ", kCollapse, L"42"},
                {i4, L"\t\n+42", kNone, L"42"}, // leading blanks, one sign
                {i4, L"\v\f-7", kNone, L"-7"},  // as C's strtol skips them
                {i4, L"-000000000000000000002147483648", kNone, L"-2147483648"},
                {ReadNumber(CC::ui4FromString), L"-0", kNone, L"0"},
                {ReadNumber(CC::ui8FromString), L"+0", kNone, L"0"},
                {ReadNumber(CC::yearFromString), L" 0005 ", kCollapse, L"5"}},
               false);
    // The message quotes the text after the whitespace rule: trailing blanks
    // only go under collapse, replace turns a tab into a space. Arabic-Indic
    // and full-width digits are no digits here, a no-break space is no blank.
    const std::tuple<const wchar_t*, WS::WhitespaceRule, const wchar_t*> bad[] = {
        {L"", kNone, L""},
        {L"   ", kCollapse, L""},
        {L"42 ", kNone, L"42 "},
        {L"42\t", kReplace, L"42 "},
        {L" 4  2 ", kCollapse, L"4 2"},
        {L"+-1", kNone, L"+-1"},
        {L"+", kNone, L"+"},
        {L"0x1F", kNone, L"0x1F"},
        {L"1.0", kNone, L"1.0"},
        {L"1e3", kNone, L"1e3"},
        {L"\u0661\u0662", kNone, L"\u0661\u0662"},
        {L"\uff14\uff12", kNone, L"\uff14\uff12"},
        {L"\u00a042", kNone, L"\u00a042"}};
    for (const auto& [text, rule, shown] : bad) {
        SCOPED_TRACE(Narrow(text));
        EXPECT_THROW_MSG(CC::i4FromString(text, rule), CVxInvalidValueException,
                         CannotConvert(shown, L"i4"));
    }
    // Characters after the number count even behind an embedded NUL.
    EXPECT_THROW(CC::i4FromString(std::wstring(L"42\0007", 4), kNone), CVxInvalidValueException);
    EXPECT_THROW_MSG(CC::i1FromString(L"x", kNone), CVxInvalidValueException,
                     CannotConvert(L"x", L"i4"));
    EXPECT_THROW_MSG(CC::yearFromString(L"20x4", kNone), CVxInvalidValueException,
                     CannotConvert(L"20x4", L"year"));
}

TEST(Conversions, IntegerTextRoundTripsAgainstToChars)
{
    std::mt19937_64 rng(7);
    char narrow[32];
    for (int i = 0; i < 20000; ++i) {
        const int64_t v64 = static_cast<int64_t>(rng()) >> (rng() % 64);
        const std::wstring expected(narrow, std::to_chars(narrow, narrow + 32, v64).ptr);
        ASSERT_EQ(CC::i8ToString(v64), expected);
        ASSERT_EQ(CC::i8FromString(expected, kCollapse), v64);
        const auto v32 = static_cast<int32_t>(v64);
        ASSERT_EQ(CC::i4FromString(CC::i4ToString(v32), kNone), v32);
        const auto u64 = static_cast<uint64_t>(v64);
        ASSERT_EQ(CC::ui8FromString(CC::ui8ToString(u64), kNone), u64);
    }
    EXPECT_EQ(CC::i1ToString(-128), L"-128");
    EXPECT_EQ(CC::i2ToString(-32768), L"-32768");
    EXPECT_EQ(CC::ui1ToString(255), L"255");
    EXPECT_EQ(CC::ui2ToString(65535), L"65535");
    EXPECT_EQ(CC::ui4ToString(UINT32_MAX), L"4294967295");
    EXPECT_EQ(CC::yearToString(5), L"5");
}

TEST(Conversions, RealSpecialsAndStrtodForms)
{
    const std::tuple<const wchar_t*, WS::WhitespaceRule, double> reads[] = {
        {L"INF", kNone, kInf},
        {L" -INF ", kCollapse, -kInf},
        {L"infinity", kNone, kInf},
        {L" \t+1.5", kNone, 1.5},
        {L"-.5e1", kNone, -5.0},
        {L"5.", kNone, 5.0},
        {L"1E-2", kNone, 0.01},
        {L"0x1.8p1", kNone, 3.0},
        // Out of range goes to infinity or zero, as strtod does; no error.
        {L"1e400", kNone, kInf},
        {L"-1e400", kNone, -kInf},
        {L"1e-400", kNone, 0.0}};
    for (const auto& [text, rule, expected] : reads) {
        EXPECT_EQ(CC::r8FromString(text, rule), expected) << Narrow(text);
    }
    for (const wchar_t* nan : {L"NaN", L"1.#QNAN", L"-NAN"}) {
        EXPECT_TRUE(std::isnan(CC::r8FromString(nan, kNone))) << Narrow(nan);
    }
    EXPECT_TRUE(std::isnan(CC::r4FromString(L"NaN", kNone)));
    EXPECT_TRUE(std::signbit(CC::r8FromString(L"-0", kNone)));
    EXPECT_EQ(CC::r4FromString(L"1e39", kNone), std::numeric_limits<float>::infinity());
    // A long text (beyond the stack buffer) still reads exactly.
    EXPECT_EQ(CC::r8FromString(L"0." + std::wstring(200, L'0') + L"1", kNone), 1e-201);
    // r4 is rounded once, to float: this text lies just above the midpoint
    // between two floats but would round to the lower one through double.
    EXPECT_EQ(CC::r4FromString(L"1.00000005960464477550", kNone), std::nextafter(1.0f, 2.0f));
    EXPECT_EQ(CC::r8ToString(-kInf), L"-INF");
    EXPECT_EQ(CC::r8ToString(std::nan("")), L"NaN");
    EXPECT_EQ(CC::r4ToString(-std::numeric_limits<float>::infinity(), L"%.2f"), L"-INF");

    for (const wchar_t* bad : {L"", L"1.5x", L"1,5", L"1.5 ", L"e5", L"1e", L"--1", L"+-1", L".",
                               L"-", L"1.2.3", L"\u0661.5", L"INF INF"}) {
        EXPECT_THROW_MSG(CC::r8FromString(bad, kNone), CVxInvalidValueException,
                         CannotConvert(bad, L"r8"));
        EXPECT_THROW_MSG(CC::r4FromString(bad, kNone), CVxInvalidValueException,
                         CannotConvert(bad, L"r4"));
    }
    EXPECT_THROW_MSG(CC::r8FromString(L"  ", kCollapse), CVxInvalidValueException,
                     CannotConvert(L"", L"r8"));
}

TEST(Conversions, RealShortestTextRoundTripsRandomBits)
{
    std::mt19937_64 rng(42);
    for (int i = 0; i < 100000; ++i) {
        const double d = std::bit_cast<double>(rng());
        const std::wstring text = CC::r8ToString(d);
        const double back = CC::r8FromString(text, kCollapse);
        // Shortest means to_chars' output, character for character.
        char narrow[64];
        if (std::isnan(d)) {
            ASSERT_EQ(text, L"NaN");
            ASSERT_TRUE(std::isnan(back));
        } else if (!std::isinf(d)) {
            ASSERT_EQ(std::bit_cast<uint64_t>(back), std::bit_cast<uint64_t>(d)) << Narrow(text);
            ASSERT_EQ(text, std::wstring(narrow, std::to_chars(narrow, narrow + 64, d).ptr));
        }
        const float f = std::bit_cast<float>(static_cast<uint32_t>(rng()));
        const float fback = CC::r4FromString(CC::r4ToString(f), kNone);
        ASSERT_TRUE(std::isnan(f) ? std::isnan(fback)
                                  : std::bit_cast<uint32_t>(fback) == std::bit_cast<uint32_t>(f))
            << Narrow(CC::r4ToString(f));
    }
    EXPECT_EQ(CC::r8ToString(kInf), L"INF");
    EXPECT_EQ(CC::r8ToString(-0.0), L"-0");
    EXPECT_EQ(CC::r4ToString(0.1f), L"0.1");
}

TEST(Conversions, RealFormats)
{
    EXPECT_EQ(CC::r8ToString(3.14159, L"%lf"), L"3.141590");
    EXPECT_EQ(CC::r8ToString(-2.5, L"[%+08.1f] 100%%"), L"[-00002.5] 100%");
    EXPECT_EQ(CC::r8ToString(1234.5, L"%.3E"), L"1.234E+03"); // printf's own rounding
    EXPECT_EQ(CC::r4ToString(0.5f, L"%g"), L"0.5");
    EXPECT_EQ(CC::r8ToString(1.0, L"\u20ac%.2f"), L"\u20ac1.00");
    for (const wchar_t* bad : {L"%s", L"%d", L"%f %f", L"no conversion", L"%*f", L"%.*f", L"%Lf",
                               L"%", L"%.2", L"%1000f", L"%.1000f", L"%n"}) {
        EXPECT_THROW_MSG(CC::r8ToString(1.0, bad), CVxInvalidParamException,
                         std::wstring(L"Invalid number format [") + bad + L"]");
    }
}

TEST(Conversions, TextKindsReadTheirLexicalForms)
{
    const auto boolean = Read(CC::booleanFromString, CC::booleanToString);
    const auto character = Read(CC::charFromString, CC::charToString);
    const auto month = ReadNumber(CC::monthFromString), day = ReadNumber(CC::dayFromString);
    CheckReads(
        {{boolean, L"1", kNone, L"true"},
         {boolean, L"\n false \t", kCollapse, L"false"},
         {boolean, L"0", kReplace, L"false"},
         {character, L"  \U0001F600\n", kCollapse, L"\U0001F600"},
         {character, L"\t", kReplace, L" "},
         {character, L"\t", kNone, L"\t"},
         {Read(CC::stringFromString, CC::stringToString), L" a \n b ", kReplace, L" a   b "},
         {month, L"--11--", kNone, L"11"},
         {month, L" 3 ", kCollapse, L"3"},
         {day, L"31", kNone, L"31"},
         {Read(CC::decimalFromString, [](const CDecimal& v) { return CC::decimalToString(v); }),
          L"1.7E+3", kNone, L"1700"},
         {Read(CC::integerFromString, CC::integerToString), L"\t-123456789012345678901234567890\n",
          kCollapse, L"-123456789012345678901234567890"},
         {Read(CC::hexBinaryFromString, CC::hexBinaryToString), L"\n 0a1B \n", kCollapse, L"0A1B"},
         {Read(CC::base64BinaryFromString, CC::base64BinaryToString), L" YWJj ", kCollapse,
          L"YWJj"},
         {Read(CC::yearMonthFromString, CC::yearMonthToString), L"-0044-03", kNone, L"-0044-03"},
         {Read(CC::monthDayFromString, CC::monthDayToString), L"--02-29", kNone, L"--02-29"},
         {Read(CC::durationFromString, CC::durationToString), L"\n-P1DT2H\n", kCollapse,
          L"-P1DT2H"}},
        false);
    for (unsigned m = 1; m <= 12; ++m) {
        EXPECT_EQ(CC::monthFromString(CC::monthToString(m), kNone), m);
    }
    for (unsigned d = 1; d <= 31; ++d) {
        EXPECT_EQ(CC::dayFromString(CC::dayToString(d), kNone), d);
    }
    EXPECT_EQ(CC::monthToString(5), L"--05");
    EXPECT_EQ(CC::dayToString(7), L"---07");

    const auto notBoolean = [](const std::wstring& shown) {
        return L"A Boolean Value read from an XML document was invalid [" + shown +
               L"]. Valid values are 'true', 'false', '1', or '0'";
    };
    const auto notChar = [](const std::wstring& shown) {
        return L"The value [" + shown +
               L"] can not be a char as it is either empty of greater than 1 char long";
    };
    CheckReads({{boolean, L"True", kNone, notBoolean(L"True")},
                {boolean, L" true", kNone, notBoolean(L" true")},
                {boolean, L"\ttrue", kReplace, notBoolean(L" true")},
                {boolean, L"", kNone, notBoolean(L"")},
                {boolean, L"01", kNone, notBoolean(L"01")},
                {character, L"", kNone, notChar(L"")},
                {character, L" \t", kCollapse, notChar(L"")},
                {character, L"ab", kNone, notChar(L"ab")},
                {character, L" a", kNone, notChar(L" a")}},
               true);
    for (const wchar_t* bad : {L"--00", L"--13", L"--5", L"---05", L"--05Z", L"--05-", L"0", L"13",
                               L"", L"-05", L"--0a"}) {
        EXPECT_THROW_MSG(CC::monthFromString(bad, kNone), CVxInvalidValueException,
                         CannotConvert(bad, L"month"));
    }
    for (const wchar_t* bad :
         {L"---00", L"---32", L"--05", L"---5", L"---05--", L"32", L"---05+01:00"}) {
        EXPECT_THROW_MSG(CC::dayFromString(bad, kNone), CVxInvalidValueException,
                         CannotConvert(bad, L"day"));
    }
}

TEST(Conversions, DecimalFormatIsPrintfFOnTheExactValue)
{
    const std::tuple<const wchar_t*, const wchar_t*, const wchar_t*> cases[] = {
        {L"1.005", L"%.2f", L"1.01"}, // half away from zero, where a double would give 1.00
        {L"-1.005", L"%.2f", L"-1.01"},
        {L"1.5", L"%f", L"1.500000"}, // printf's default of six places
        {L"3.14159", L"%-8.1f|", L"3.1     |"},
        {L"2.5", L"% .0f", L" 3"},
        {L"2.5", L"%#.0f", L"3."},
        {L"7", L"%6.1lf", L"   7.0"},
        {L"12345678901234567890.123456789", L"%.3f", L"12345678901234567890.123"},
        {L"19.99", L"EUR %.1F (100%%)", L"EUR 20.0 (100%)"},
        {L"0.125", L"", L"0.125"}, // an empty format is the plain form
    };
    for (const auto& [value, format, expected] : cases) {
        EXPECT_EQ(CC::decimalToString(CDecimal(value), format), expected) << Narrow(format);
    }
    // Away from ties the result is what printf makes of the same number.
    std::mt19937_64 rng(3);
    for (int i = 0; i < 2000; ++i) {
        const int64_t scaled = static_cast<int64_t>(rng() % 2000000000000ULL) - 1000000000000LL;
        const int places = static_cast<int>(rng() % 5);
        int64_t unit = 1; // one unit in the last place kept, in millionths
        for (int d = places; d < 6; ++d) {
            unit *= 10;
        }
        if (std::llabs(scaled) % unit == unit / 2) {
            continue; // an exact tie: printf rounds those to even
        }
        wchar_t text[64], format[16], expected[64];
        std::swprintf(text, 64, L"%s%lld.%06lld", scaled < 0 ? L"-" : L"",
                      static_cast<long long>(std::llabs(scaled) / 1000000),
                      static_cast<long long>(std::llabs(scaled) % 1000000));
        std::swprintf(format, 16, L"%%+012.%df", places);
        std::swprintf(expected, 64, format, std::wcstod(text, nullptr));
        ASSERT_EQ(CC::decimalToString(CDecimal(text), format), expected)
            << Narrow(text) << " " << Narrow(format);
    }
    for (const wchar_t* bad : {L"%d", L"%e", L"%g", L"%s", L"%.2f%.2f", L"plain", L"%*.2f"}) {
        EXPECT_THROW_MSG(CC::decimalToString(CDecimal(L"1"), bad), CVxInvalidParamException,
                         std::wstring(L"Invalid number format [") + bad + L"]");
    }
}

TEST(Conversions, DateTimeKinds)
{
    const CDateTime dt = CC::datetimeFromString(L"  2024-02-29T12:34:56.5+05:30 ", kCollapse);
    EXPECT_EQ(CC::datetimeToString(dt), L"2024-02-29T12:34:56.5+05:30");
    // A value of another kind is written through the fields both share.
    EXPECT_EQ(CC::dateToString(dt), L"2024-02-29+05:30");
    EXPECT_EQ(CC::timeToString(dt), L"12:34:56.5+05:30");
    EXPECT_EQ(CC::yearMonthToString(dt), L"2024-02+05:30");
    EXPECT_EQ(CC::monthDayToString(dt), L"--02-29+05:30");
    EXPECT_EQ(CC::datetimeToString(CC::dateFromString(L"2024-02-29", kNone)),
              L"2024-02-29T00:00:00");
    EXPECT_THROW(CC::dateToString(CC::timeFromString(L"10:00:00", kNone)),
                 CVxInvalidStateException);
    // The whitespace rule is applied before the kind reads its form.
    EXPECT_THROW(CC::timeFromString(L" 10:00:00", kNone), CVxInvalidValueException);
    EXPECT_THROW(CC::timeFromString(L"10:00\t:00", kReplace), CVxInvalidValueException);
    EXPECT_THROW(CC::hexBinaryFromString(L"0g", kCollapse), CVxException);
}
