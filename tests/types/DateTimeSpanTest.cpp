#include "TestHelpers.h"

#include <algorithm>
#include <limits>
#include <random>
#include <tuple>
#include <vector>
#include <vxxml/DateTimeSpan.h>

using namespace VxXmlLib16;

namespace {

CDateTimeSpan Span(const wchar_t* text)
{
    return CDateTimeSpan::FromString(text);
}

constexpr int64_t kMax = std::numeric_limits<int64_t>::max();

} // namespace

TEST(DateTimeSpan, RandomFieldsRoundTrip)
{
    std::mt19937_64 rng(42);
    const auto uniform = [&](int64_t lo, int64_t hi) {
        return std::uniform_int_distribution<int64_t>(lo, hi)(rng);
    };
    for (int i = 0; i < 10000; ++i) {
        // Each field is absent, small or large; the totals stay within 64 bits.
        int64_t f[6];
        for (int k = 0; k < 6; ++k) {
            const int64_t pick = uniform(0, 3);
            f[k] = pick == 0 ? 0 : pick < 3 ? uniform(1, 99) : uniform(100, kMax / 90000 / 12);
        }
        std::wstring fractionText;
        const int digits = static_cast<int>(uniform(0, 18));
        for (int d = 0; d < digits; ++d) {
            fractionText += static_cast<wchar_t>(L'0' + uniform(d + 1 == digits ? 1 : 0, 9));
        }
        const bool negative = uniform(0, 1) == 1;

        std::wstring date, time;
        for (int k = 0; k < 6; ++k) {
            const bool withFraction = k == 5 && !fractionText.empty();
            if (f[k] != 0 || withFraction) {
                (k < 3 ? date : time) += std::to_wstring(f[k]) +
                                         (withFraction ? L"." + fractionText : L"") + L"YMDHMS"[k];
            }
        }
        const std::wstring text =
            date.empty() && time.empty()
                ? L"PT0S"
                : (negative ? L"-P" : L"P") + date + (time.empty() ? L"" : L"T" + time);
        SCOPED_TRACE(Narrow(text));
        const CDateTimeSpan span = Span(text.c_str());
        ASSERT_EQ(span.ToString(), text);
        const int64_t got[6] = {span.GetYears(), span.GetMonths(),  span.GetDays(),
                                span.GetHours(), span.GetMinutes(), span.GetSeconds()};
        ASSERT_TRUE(std::equal(got, got + 6, f));
        ASSERT_EQ(span.GetFraction(),
                  fractionText.empty()
                      ? 0
                      : std::stoull(fractionText + std::wstring(18 - fractionText.size(), L'0')));
        ASSERT_EQ(span.IsNegative(), negative && text != L"PT0S");
        // The canonical spelling is the same value and reads back as itself.
        const CDateTimeSpan canonical = span.Normalized();
        ASSERT_EQ(canonical, span);
        ASSERT_EQ(Span(canonical.ToString().c_str()).ToString(), canonical.ToString());
    }
}

TEST(DateTimeSpan, LexicalVariantsReadToTheirValue)
{
    const std::pair<const wchar_t*, const wchar_t*> cases[] = {
        {L"P0Y", L"PT0S"},   {L"-PT0.000S", L"PT0S"},
        {L"PT1.S", L"PT1S"}, {L"PT.5S", L"PT0.5S"},
        {L"P007D", L"P7D"},  {L"PT1.1234567890123456789S", L"PT1.123456789012345678S"}};
    for (const auto& [text, canonical] : cases) {
        EXPECT_EQ(Span(text).ToString(), canonical) << Narrow(text);
    }
    const CDateTimeSpan span = Span(L"-P1Y14MT25H61M61.5S");
    EXPECT_EQ(span.GetTotalMonths(), -26);
    EXPECT_EQ(span.GetTotalSeconds(), -(25 * 3600 + 61 * 60 + 61));
    EXPECT_EQ(span.Normalized().ToString(), L"-P2Y2M1DT2H2M1.5S");
    EXPECT_FALSE(Span(L"PT0.000000000000000001S").IsZero());
}

TEST(DateTimeSpan, MalformedTextsAreRefused)
{
    const std::wstring form = L"expected [-]PnYnMnDTnHnMnS";
    const std::wstring tooLarge = L"the month part or the second part does not fit in 64 bits";
    const std::pair<std::wstring, std::vector<const wchar_t*>> groups[] = {
        {form, {L"",       L"P",       L"PT",    L"-P",      L"1Y",     L"P1",     L"P1Y1Y",
                L"P1M1Y",  L"P1DT",    L"PT1D",  L"P1H",     L"P1.5Y",  L"PT1.5M", L"P-1D",
                L"+P1D",   L" P1D",    L"P1D ",  L"PT.S",    L"PT1H1H", L"p1D",    L"P1y",
                L"PT1S1S", L"P1DTT1H", L"P1T1H", L"P\u0661D"}},
        {tooLarge,
         {L"P9223372036854775808D", L"P768614336404564651Y", L"P768614336404564650Y8M",
          L"P1DT9223372036854775807S", L"P99999999999999999999999999Y"}}};
    for (const auto& [reason, texts] : groups) {
        for (const wchar_t* text : texts) {
            EXPECT_THROW_MSG(Span(text), CVxInvalidValueException,
                             L"The value [" + std::wstring(text) +
                                 L"] can not be converted to a duration: " + reason);
        }
    }
    EXPECT_EQ(Span(L"P768614336404564650Y7M").GetTotalMonths(), kMax); // the largest that fits
    EXPECT_THROW_MSG(CDateTimeSpan(false, 0, -1, 0, 0, 0, 0), CVxInvalidParamException,
                     L"Can not make a duration: a field is negative");
    EXPECT_THROW_MSG(CDateTimeSpan(false, 0, 0, 0, 0, 0, 0, CDateTimeSpan::FractionScale),
                     CVxInvalidParamException,
                     L"Can not make a duration: the fraction must be below 10^18");
    EXPECT_THROW_MSG(CDateTimeSpan(true, kMax, 0, 0, 0, 0, 0), CVxInvalidParamException,
                     L"Can not make a duration: " + tooLarge);
}

TEST(DateTimeSpan, OrderFollowsTheSchemaExamples)
{
    using std::partial_ordering;
    const partial_ordering less = partial_ordering::less;
    const partial_ordering greater = partial_ordering::greater;
    const partial_ordering none = partial_ordering::unordered;
    // XML Schema's worked examples: months against a run of day counts
    // ('>' greater, '~' unordered, '<' less).
    const std::tuple<const wchar_t*, int, const char*> grid[] = {
        {L"P1Y", 364, ">~~<"}, {L"P1M", 27, ">~~~~<"}, {L"P5M", 149, ">~~~~<"}};
    for (const auto& [months, firstDay, expected] : grid) {
        for (int k = 0; expected[k]; ++k) {
            const std::wstring days = L"P" + std::to_wstring(firstDay + k) + L"D";
            EXPECT_EQ(Span(months).ComparePartial(Span(days.c_str())), expected[k] == '>' ? greater
                                                                       : expected[k] == '<' ? less
                                                                                            : none)
                << Narrow(months) << " vs " << Narrow(days);
        }
    }
    const std::tuple<const wchar_t*, const wchar_t*, partial_ordering> cases[] = {
        // Equal parts are equal whatever the spelling.
        {L"PT24H", L"P1D", partial_ordering::equivalent},
        {L"P1Y", L"P12M", partial_ordering::equivalent},
        {L"-PT0.5S", L"PT0S", less},
        {L"-P1M", L"-P32D", greater},
        // Ten months on, all four references start a 31-day month, so this
        // is decided even though 30.7 days exceed an average month.
        {L"P10MT736H48M", L"P11M", less}};
    for (const auto& [a, b, partial] : cases) {
        SCOPED_TRACE(Narrow(a) + " vs " + Narrow(b));
        EXPECT_EQ(Span(a).ComparePartial(Span(b)), partial);
        EXPECT_EQ(Span(a) <=> Span(b), partial);
    }
    // Where the schema leaves the order open, the first reference instant
    // that tells the two apart decides: from 1696-09-01 one month is 30 days,
    // from 1697-02-01 it is 28; a year from 1903-03-01 is 366 days.
    EXPECT_LT(Span(L"P1M"), Span(L"P30D"));
    EXPECT_GT(Span(L"P1M"), Span(L"P29D"));
    EXPECT_GT(Span(L"P1Y"), Span(L"P365D"));
    // Months that span the same days at all four references still differ.
    EXPECT_EQ(Span(L"P10MT744H").ComparePartial(Span(L"P11M")), none);
    EXPECT_LT(Span(L"P10MT744H"), Span(L"P11M"));
}

TEST(DateTimeSpan, TotalOrderExtendsTheSchemaOrder)
{
    // Small month and day counts give many pairs the schema cannot order.
    std::mt19937_64 rng(5);
    const auto uniform = [&](int64_t lo, int64_t hi) {
        return std::uniform_int_distribution<int64_t>(lo, hi)(rng);
    };
    std::vector<CDateTimeSpan> spans;
    for (int i = 0; i < 250; ++i) {
        spans.emplace_back(uniform(0, 1) == 1, 0, uniform(0, 30), uniform(0, 900), uniform(0, 30),
                           0, 0, i % 5 == 0 ? 500000000000000000ULL : 0);
    }
    int decided = 0;
    for (const CDateTimeSpan& a : spans) {
        for (const CDateTimeSpan& b : spans) {
            const int total = a.CompareTo(b);
            ASSERT_EQ(total, -b.CompareTo(a));
            const std::partial_ordering partial = a.ComparePartial(b);
            if (partial != std::partial_ordering::unordered) {
                ++decided;
                ASSERT_TRUE(partial == (total <=> 0)) << Narrow(a.ToString() + L" " + b.ToString());
            }
        }
    }
    EXPECT_GT(decided, 250 * 250 / 2);
    for (int i = 0; i < 100000; ++i) {
        const auto pick = [&]() -> const CDateTimeSpan& { return spans[uniform(0, 249)]; };
        const CDateTimeSpan &a = pick(), &b = pick(), &c = pick();
        ASSERT_TRUE(!(a <= b && b <= c) || a <= c);
    }
}

TEST(DateTimeSpan, SumsAndDifferences)
{
    EXPECT_EQ((Span(L"P1Y") + Span(L"P13M")).ToString(), L"P2Y1M");
    EXPECT_EQ((Span(L"P1D") - Span(L"PT1H0.5S")).ToString(), L"PT22H59M59.5S");
    EXPECT_EQ((Span(L"-P1D") + Span(L"P1D")).ToString(), L"PT0S");
    EXPECT_EQ((Span(L"-P1M") - Span(L"PT1S")).ToString(), L"-P1MT1S");
    EXPECT_EQ((-Span(L"P1M2D")).ToString(), L"-P1M2D");
    EXPECT_EQ((-Span(L"PT0S")).ToString(), L"PT0S");
    EXPECT_THROW_MSG(Span(L"P1M") - Span(L"P1D"), CVxInvalidParamException,
                     L"The result has a month part and a day and time part of opposite signs, "
                     L"which no duration can hold");
    EXPECT_THROW_MSG(Span(L"P768614336404564650Y7M") + Span(L"P1M"), CVxOverFlowException,
                     L"The result is too large: its month part or its second part does not fit "
                     L"in 64 bits");
    EXPECT_THROW_MSG(Span(L"-PT9223372036854775807.5S") - Span(L"PT0.5S"), CVxOverFlowException,
                     L"The result is too large: its month part or its second part does not fit "
                     L"in 64 bits");
}
