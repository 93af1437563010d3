#include "TestHelpers.h"

#include <chrono>
#include <ctime>
#include <functional>
#include <random>
#include <tuple>
#include <vector>
#include <vxxml/DateTime.h>
#include <vxxml/FormatString.h>

using namespace VxXmlLib16;
namespace chr = std::chrono;

namespace {

CDateTime DT(const wchar_t* text, DateTimeType type = dt_dateTime)
{
    return CDateTime::FromString(text, type);
}

CDateTimeSpan Span(const wchar_t* text)
{
    return CDateTimeSpan::FromString(text);
}

constexpr DateTimeType kAllTypes[] = {dt_dateTime, dt_date, dt_time, dt_gYearMonth, dt_gMonthDay};

// The calendar rule written out from its definition, with XML Schema 1.0's
// year numbering (-0001 is astronomical year 0).
int MonthLength(int64_t year, int month)
{
    const int64_t y = year < 0 ? year + 1 : year;
    const bool leap = y % 4 == 0 && (y % 100 != 0 || y % 400 == 0);
    static const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && leap ? 29 : lengths[month - 1];
}

// A random lexical value of one kind with its fields, written by formatting
// code independent of the library's.
struct Sample
{
    std::wstring text;
    int64_t fields[7]{}; // year, month, day, hour, minute, second, fraction
    bool zoned = false;
    int zone = 0;
};

struct SampleMaker
{
    std::mt19937_64 rng;

    int64_t Uniform(int64_t lo, int64_t hi)
    {
        return std::uniform_int_distribution<int64_t>(lo, hi)(rng);
    }

    Sample Make(DateTimeType type, bool smallYears = false)
    {
        Sample s;
        int64_t* f = s.fields;
        const int64_t pick = smallYears ? 0 : Uniform(0, 9);
        f[0] = pick < 6   ? Uniform(1, 9999)
               : pick < 8 ? Uniform(-9999, -1)
               : pick < 9 ? Uniform(10000, 999999999)
                          : -Uniform(10000, 999999999);
        f[1] = Uniform(1, 12);
        f[2] = Uniform(1, MonthLength(type == dt_gMonthDay ? 1972 : f[0], static_cast<int>(f[1])));
        f[3] = Uniform(0, 23);
        f[4] = Uniform(0, 59);
        f[5] = Uniform(0, 59);
        std::wstring fraction;
        for (int i = 0, digits = static_cast<int>(Uniform(0, 18)); i < digits; ++i) {
            fraction += static_cast<wchar_t>(L'0' + Uniform(i + 1 == digits ? 1 : 0, 9));
        }
        f[6] =
            static_cast<int64_t>(std::stoull(fraction + std::wstring(18 - fraction.size(), L'0')));
        const int64_t zonePick = Uniform(0, 4);
        s.zoned = zonePick > 0;
        s.zone = zonePick == 1 ? 0 : static_cast<int>(Uniform(-840, 840));

        const std::wstring ym = FormatString(L"%s%04lld-%02d", f[0] < 0 ? L"-" : L"",
                                             static_cast<long long>(std::llabs(f[0])), int(f[1]));
        const std::wstring md = FormatString(L"%02d-%02d", int(f[1]), int(f[2]));
        const std::wstring hms = FormatString(L"%02d:%02d:%02d", int(f[3]), int(f[4]), int(f[5])) +
                                 (fraction.empty() ? L"" : L"." + fraction);
        const std::wstring ymd = ym + FormatString(L"-%02d", int(f[2]));
        const std::wstring texts[] = {ymd + L"T" + hms, ymd, hms, ym, L"--" + md};
        s.text = texts[type];
        if (s.zoned) {
            s.text += s.zone == 0 ? std::wstring(L"Z")
                                  : FormatString(L"%c%02d:%02d", s.zone < 0 ? L'-' : L'+',
                                                 std::abs(s.zone) / 60, std::abs(s.zone) % 60);
        }
        return s;
    }
};

CDateTime MakeDateTime(const Sample& s)
{
    const int64_t* f = s.fields;
    return CDateTime::MakeDateTime(static_cast<int32_t>(f[0]), int(f[1]), int(f[2]), int(f[3]),
                                   int(f[4]), int(f[5]));
}

// A dateTime's whole seconds on std::chrono's time line (no zone counts as UTC).
chr::sys_seconds Instant(const CDateTime& v)
{
    const chr::year_month_day ymd{chr::year{v.GetYear()}, chr::month(unsigned(v.GetMonth())),
                                  chr::day(unsigned(v.GetDay()))};
    return chr::sys_days{ymd} + chr::hours{v.GetHour()} + chr::seconds{v.GetSecond()} +
           chr::minutes{v.GetMinute() - (v.HasTimezone() ? v.GetTimezoneOffset() : 0)};
}

} // namespace

TEST(DateTime, RandomValuesOfEveryKindRoundTripAndRefuseMissingFields)
{
    // The fields each kind has, in the order of Sample::fields ('-' = refused).
    const char* const has[] = {".......", "...----", "---....", "..-----", "-..----"};
    const wchar_t* const names[] = {L"GetYear",   L"GetMonth",  L"GetDay",     L"GetHour",
                                    L"GetMinute", L"GetSecond", L"GetFraction"};
    SampleMaker maker{std::mt19937_64(20261121)};
    for (DateTimeType type : kAllTypes) {
        for (int i = 0; i < 3000; ++i) {
            const Sample s = maker.Make(type);
            SCOPED_TRACE(Narrow(s.text));
            const CDateTime value = CDateTime::FromString(s.text, type);
            ASSERT_EQ(value.ToString(), s.text);
            ASSERT_EQ(value.GetType(), type);
            const std::function<int64_t()> getters[] = {
                [&] { return value.GetYear(); },
                [&] { return value.GetMonth(); },
                [&] { return value.GetDay(); },
                [&] { return value.GetHour(); },
                [&] { return value.GetMinute(); },
                [&] { return value.GetSecond(); },
                [&] { return static_cast<int64_t>(value.GetFraction()); }};
            for (int k = 0; k < 7; ++k) {
                if (has[type][k] == '-') {
                    EXPECT_THROW_MSG(getters[k](), CVxInvalidStateException,
                                     std::wstring(L"Failed to ") + names[k] +
                                         L". Invalid Date Type: " + value.GetTypeName() + L".");
                } else {
                    ASSERT_EQ(getters[k](), s.fields[k]) << Narrow(names[k]);
                }
            }
            ASSERT_EQ(value.HasTimezone(), s.zoned);
            if (s.zoned) {
                ASSERT_EQ(value.GetTimezoneOffset(), s.zone);
            } else {
                EXPECT_THROW_MSG(value.GetTimezoneOffset(), CVxInvalidStateException,
                                 L"Failed to GetTimezoneOffset. The value has no time zone.");
            }
            ASSERT_EQ(CDateTime(value), value);
        }
    }
    EXPECT_EQ(DT(L"--03-04", dt_gMonthDay).GetTypeName(), std::wstring(L"dt_gMonthDay"));
}

TEST(DateTime, NonCanonicalTextsReadToTheirValue)
{
    const std::tuple<DateTimeType, const wchar_t*, const wchar_t*> cases[] = {
        {dt_dateTime, L"2000-01-01T12:00:00.500", L"2000-01-01T12:00:00.5"},
        {dt_dateTime, L"2000-01-01T12:00:00.000", L"2000-01-01T12:00:00"},
        {dt_time, L"12:00:00-00:00", L"12:00:00Z"},
        // 24:00:00 is the end of the day: the first instant of the next one.
        {dt_dateTime, L"2000-02-28T24:00:00", L"2000-02-29T00:00:00"},
        {dt_dateTime, L"-0001-12-31T24:00:00", L"0001-01-01T00:00:00"},
        {dt_time, L"24:00:00.000+01:00", L"00:00:00+01:00"},
        // Fraction digits past the 18th are dropped, not rounded.
        {dt_time, L"00:00:59.9999999999999999999", L"00:00:59.999999999999999999"},
        {dt_date, L"-0001-02-29", L"-0001-02-29"}, // 1 BCE is a leap year
        {dt_date, L"-0005-02-29", L"-0005-02-29"}};
    for (const auto& [type, text, canonical] : cases) {
        EXPECT_EQ(DT(text, type).ToString(), canonical) << Narrow(text);
    }
}

TEST(DateTime, MalformedTextsAreRefusedWithTheReason)
{
    const wchar_t* const kindName[] = {L"dateTime", L"date", L"time", L"gYearMonth", L"gMonthDay"};
    const wchar_t* const form[] = {
        L"expected [-]CCYY-MM-DDThh:mm:ss[.s+][Z|(+|-)hh:mm]",
        L"expected [-]CCYY-MM-DD[Z|(+|-)hh:mm]", L"expected hh:mm:ss[.s+][Z|(+|-)hh:mm]",
        L"expected [-]CCYY-MM[Z|(+|-)hh:mm]", L"expected --MM-DD[Z|(+|-)hh:mm]"};
    const wchar_t* const day = L"the day does not exist in that month";
    const wchar_t* const hour = L"the hour must be 00 to 23, or 24:00:00 for the end of the day";
    const wchar_t* const zone = L"the time zone must be between -14:00 and +14:00";
    // Texts of one kind refused for one reason; nullptr: the kind's lexical form.
    const std::tuple<DateTimeType, const wchar_t*, std::vector<const wchar_t*>> groups[] = {
        {dt_dateTime,
         nullptr,
         {L"", L"2000-01-01T12:00", L"2000-1-01T12:00:00", L"+2000-01-01T12:00:00",
          L"2000-01-01 12:00:00", L" 2000-01-01T12:00:00", L"2000-01-01T12:00:00Z ",
          L"2000-01-01T12:00:00.", L"2000-01-01T12:00:00+5:00", L"2000-01-01T12:00:0\u0661"}},
        {dt_dateTime,
         L"the year 0000 does not exist",
         {L"0000-01-01T00:00:00", L"-0000-01-01T00:00:00"}},
        {dt_dateTime,
         L"a year of more than four digits must not start with 0",
         {L"01999-01-01T00:00:00"}},
        {dt_dateTime,
         L"the year is outside -999999999 to 999999999",
         {L"1000000000-01-01T00:00:00", L"999999999-12-31T24:00:00"}},
        {dt_dateTime, L"the month must be 01 to 12", {L"2000-13-01T00:00:00"}},
        {dt_dateTime, hour, {L"2000-01-01T24:00:01", L"2000-01-01T24:00:00.5"}},
        {dt_dateTime, L"the minute must be 00 to 59", {L"2000-01-01T12:60:00"}},
        {dt_dateTime, zone, {L"2000-01-01T12:00:00+14:01"}},
        {dt_dateTime, day, {L"2001-02-29T00:00:00"}},
        // -0004 is astronomical -3: not a leap year.
        {dt_date, day, {L"1900-02-29", L"2000-01-00", L"-0004-02-29"}},
        {dt_date, zone, {L"2000-01-01+10:60"}},
        {dt_date, nullptr, {L"2000-01-01T00:00:00"}},
        {dt_time, nullptr, {L"1:00:00"}},
        {dt_time, L"the second must be 00 to 59", {L"12:00:60"}},
        {dt_gYearMonth, nullptr, {L"2000-01-01"}},
        {dt_gMonthDay, nullptr, {L"-02-28"}},
        {dt_gMonthDay, day, {L"--02-30"}}};
    for (const auto& [type, reason, texts] : groups) {
        for (const wchar_t* text : texts) {
            EXPECT_THROW_MSG(DT(text, type), CVxInvalidValueException,
                             std::wstring(L"The value [") + text + L"] can not be converted to a " +
                                 kindName[type] + L": " + (reason ? reason : form[type]));
        }
    }
}

TEST(DateTime, MakeFunctionsCheckTheirFields)
{
    EXPECT_EQ(CDateTime::MakeDateTime(2000, 2, 28, 24, 0, 0).ToString(), L"2000-02-29T00:00:00");
    EXPECT_EQ(CDateTime::MakeDateTime(-1, 12, 31, 23, 59, 59, 1).ToString(),
              L"-0001-12-31T23:59:59.000000000000000001");
    EXPECT_EQ(CDateTime::MakeMonthDay(2, 29).ToString(), L"--02-29");
    EXPECT_EQ(CDateTime::MakeYearMonth(12345, 6).ToString(), L"12345-06");
    EXPECT_EQ(CDateTime().ToString(), L"0001-01-01T00:00:00");
    EXPECT_THROW_MSG(CDateTime::MakeDate(2001, 2, 29), CVxInvalidParamException,
                     L"Can not make a date: the day does not exist in that month");
    EXPECT_THROW_MSG(CDateTime::MakeYearMonth(0, 1), CVxInvalidParamException,
                     L"Can not make a gYearMonth: the year 0000 does not exist");
    EXPECT_THROW_MSG(CDateTime::MakeTime(0, 0, 0, CDateTime::FractionScale),
                     CVxInvalidParamException,
                     L"Can not make a time: the fraction must be below 10^18");
    EXPECT_THROW_MSG(
        CDateTime::MakeTime(-1, 0, 0), CVxInvalidParamException,
        L"Can not make a time: the hour must be 00 to 23, or 24:00:00 for the end of the day");
    EXPECT_THROW_MSG(CDateTime::FromString(L"2000-01-01", static_cast<DateTimeType>(7)),
                     CVxInvalidParamException, L"Unknown date type 7");
}

TEST(DateTime, ComparisonPlacesValuesOnTheUtcTimeLine)
{
    // CompareTo's total order; 9 marks a pair that ComparePartial finds
    // unordered: one side without a zone within 14 hours of the other (the
    // side without a zone is then placed in UTC and, on a tie, first).
    const std::tuple<DateTimeType, const wchar_t*, const wchar_t*, int, int> cases[] = {
        {dt_dateTime, L"2000-01-01T12:00:00+01:00", L"2000-01-01T06:30:00-04:30", 0, 0},
        {dt_dateTime, L"2000-01-01T12:00:00.1Z", L"2000-01-01T12:00:00.100000000000000001Z", -1,
         -1},
        {dt_dateTime, L"2000-01-01T00:00:00-14:00", L"2000-01-01T23:59:59+14:00", 1, 1},
        {dt_dateTime, L"-0001-12-31T23:59:59Z", L"0001-01-01T00:00:00Z", -1, -1},
        {dt_dateTime, L"9999-12-31T23:59:59Z", L"10000-01-01T00:00:00Z", -1, -1},
        // A date starts at its midnight: the same instant in two zones.
        {dt_date, L"2000-01-02+14:00", L"2000-01-01-10:00", 0, 0},
        {dt_gMonthDay, L"--02-28", L"--02-29", -1, -1},
        {dt_gYearMonth, L"-0001-12", L"0001-01", -1, -1},
        // Times are placed on one reference day, not compared modulo 24 hours.
        {dt_time, L"23:00:00-03:00", L"01:00:00Z", 1, 1},
        {dt_time, L"00:30:00+01:00", L"23:30:00Z", -1, -1},
        // XML Schema's own examples of one side without a zone.
        {dt_dateTime, L"2000-01-15T12:00:00", L"2000-01-16T12:00:00Z", -1, -1},
        {dt_dateTime, L"2000-01-16T12:00:00Z", L"2000-01-15T12:00:00", 1, 1},
        {dt_dateTime, L"2000-01-01T12:00:00", L"1999-12-31T23:00:00Z", 1, 9},
        {dt_dateTime, L"2000-01-16T12:00:00", L"2000-01-16T12:00:00Z", -1, 9},
        {dt_dateTime, L"2000-01-16T00:00:00", L"2000-01-16T14:00:00Z", -1, 9},
        {dt_dateTime, L"2000-01-16T00:00:00", L"2000-01-16T14:00:00.1Z", -1, -1}};
    for (const auto& [type, a, b, total, partial] : cases) {
        SCOPED_TRACE(Narrow(a) + " vs " + Narrow(b));
        EXPECT_EQ(DT(a, type).CompareTo(DT(b, type)), total);
        EXPECT_EQ(DT(a, type).ComparePartial(DT(b, type)),
                  partial == 9 ? std::partial_ordering::unordered : partial <=> 0);
        EXPECT_EQ(DT(a, type) == DT(b, type), total == 0);
        EXPECT_EQ(DT(a, type) < DT(b, type), total < 0);
    }
    // Different kinds are never equal and cannot be ordered.
    EXPECT_FALSE(DT(L"2000-01-01", dt_date) == DT(L"2000-01-01T00:00:00"));
    EXPECT_EQ(DT(L"2000-01-01", dt_date).ComparePartial(DT(L"2000-01-01T00:00:00")),
              std::partial_ordering::unordered);
    EXPECT_THROW_MSG(DT(L"2000-01-01", dt_date).CompareTo(DT(L"2000-01-01T00:00:00")),
                     CVxInvalidParamException, L"Can not compare a dt_date with a dt_dateTime");
}

TEST(DateTime, CompareAndDifferenceAgreeWithChronoTimeLine)
{
    SampleMaker maker{std::mt19937_64(7)};
    for (int i = 0; i < 5000; ++i) {
        const Sample a = maker.Make(dt_dateTime, true);
        Sample b = maker.Make(dt_dateTime, true);
        if (i % 3 == 0) { // many near ties
            b = a;
            b.zone = static_cast<int>(maker.Uniform(-840, 840));
            b.fields[4] = maker.Uniform(0, 59);
        }
        CDateTime x = MakeDateTime(a), y = MakeDateTime(b);
        x.SetTimezone(a.zone);
        y.SetTimezone(b.zone);
        const auto ta = Instant(x), tb = Instant(y);
        SCOPED_TRACE(Narrow(x.ToString()) + " vs " + Narrow(y.ToString()));
        ASSERT_EQ(x.CompareTo(y), ta < tb ? -1 : (ta > tb ? 1 : 0));
        ASSERT_EQ((y - x).GetTotalSeconds(), (tb - ta).count());
        ASSERT_EQ(x + (y - x), y);
    }
}

TEST(DateTime, AddingDurationsFollowsTheSchemaAlgorithm)
{
    const std::tuple<DateTimeType, const wchar_t*, const wchar_t*, const wchar_t*> cases[] = {
        // The worked examples of XML Schema 1.0.
        {dt_dateTime, L"2000-01-12T12:13:14Z", L"P1Y3M5DT7H10M3.3S", L"2001-04-17T19:23:17.3Z"},
        {dt_gYearMonth, L"2000-01", L"-P3M", L"1999-10"},
        {dt_date, L"2000-01-12", L"PT33H", L"2000-01-13"},
        // Month ends are pinned, then days are added.
        {dt_date, L"2000-03-31", L"-P1M", L"2000-02-29"},
        {dt_date, L"2000-01-01", L"-PT1S", L"1999-12-31"},
        {dt_dateTime, L"2000-01-31T23:59:59.999999999999999999+05:00", L"P1MT0.000000000000000001S",
         L"2000-03-01T00:00:00+05:00"},
        {dt_dateTime, L"0001-01-01T00:00:00", L"-P1D", L"-0001-12-31T00:00:00"},
        {dt_date, L"-0001-02-28", L"P1D", L"-0001-02-29"},
        // A time wraps; months cannot move it.
        {dt_time, L"00:10:00", L"-P3DT20M", L"23:50:00"},
        {dt_time, L"10:00:00.25", L"P1Y1M", L"10:00:00.25"},
        // A gMonthDay lives in a leap year, and the next ones after it.
        {dt_gMonthDay, L"--02-29", L"P1Y", L"--02-28"},
        {dt_gMonthDay, L"--02-29", L"P4Y", L"--02-29"},
        {dt_gMonthDay, L"--12-31Z", L"P1D", L"--01-01Z"},
        {dt_gMonthDay, L"--01-15", L"P9223372036854775807M", L"--08-15"},
        {dt_date, L"-999999999-01-01", L"P730484999268D", L"999999999-12-31"}};
    for (const auto& [type, start, span, expected] : cases) {
        SCOPED_TRACE(Narrow(start) + " + " + Narrow(span));
        EXPECT_EQ((DT(start, type) + Span(span)).ToString(), expected);
        EXPECT_EQ((DT(start, type) - (-Span(span))).ToString(), expected);
    }
    // Adding is not associative: the order of the months and days matters.
    EXPECT_EQ((DT(L"2000-03-30", dt_date) + Span(L"P1D") + Span(L"P1M")).ToString(), L"2000-04-30");

    const wchar_t* overflow =
        L"The result of the date arithmetic is outside the years -999999999 to 999999999";
    EXPECT_THROW_MSG(DT(L"999999999-12-31T23:59:59Z") + Span(L"PT1S"), CVxOverFlowException,
                     overflow);
    EXPECT_THROW_MSG(DT(L"-999999999-01-01", dt_date) - Span(L"P1D"), CVxOverFlowException,
                     overflow);
    EXPECT_THROW_MSG(DT(L"2000-01", dt_gYearMonth) + Span(L"P9223372036854775807M"),
                     CVxOverFlowException, overflow);
    EXPECT_THROW_MSG(DT(L"-999999999-01-01T00:00:00Z").ToTimezone(-1), CVxOverFlowException,
                     overflow);
}

TEST(DateTime, AddingAgreesWithChronoCalendar)
{
    // std::chrono's calendar does the same steps independently: add months,
    // pin the day to the month's end, then add the day and time part.
    SampleMaker maker{std::mt19937_64(99)};
    for (int i = 0; i < 5000; ++i) {
        const CDateTime start = MakeDateTime(maker.Make(dt_dateTime, true));
        const bool negative = maker.Uniform(0, 1) == 1;
        const int64_t months = maker.Uniform(0, 1200), seconds = maker.Uniform(0, 400LL * 86400);
        if (start.GetYear() + months / 12 + 1 > 9999 || start.GetYear() - months / 12 - 2 < 1) {
            continue;
        }
        const CDateTimeSpan span(negative, months / 12, months % 12, seconds / 86400,
                                 seconds / 3600 % 24, seconds / 60 % 60, seconds % 60);
        const auto ym = chr::year{start.GetYear()} / start.GetMonth() +
                        chr::months{negative ? -months : months};
        const unsigned day = std::min(unsigned(start.GetDay()), unsigned((ym / chr::last).day()));
        const auto timeOfDay = Instant(start) - chr::floor<chr::days>(Instant(start));
        ASSERT_EQ(Instant(start + span), chr::sys_days{ym / chr::day{day}} + timeOfDay +
                                             chr::seconds{negative ? -seconds : seconds})
            << Narrow(start.ToString()) << " + " << Narrow(span.ToString());
    }
}

TEST(DateTime, DifferencesAreDaysAndTime)
{
    const std::tuple<DateTimeType, const wchar_t*, const wchar_t*, const wchar_t*> cases[] = {
        {dt_date, L"2000-03-01", L"2000-02-01", L"P29D"},
        {dt_dateTime, L"2000-01-01T00:00:00Z", L"2000-01-01T01:30:00+02:00", L"PT30M"},
        {dt_dateTime, L"1999-12-31T23:00:00Z", L"2000-01-01T00:00:00.5Z", L"-PT1H0.5S"},
        {dt_date, L"0001-01-01", L"-0001-01-01", L"P366D"},
        {dt_time, L"00:00:00", L"23:59:59", L"-PT23H59M59S"},
        {dt_dateTime, L"999999999-12-31T23:59:59Z", L"-999999999-01-01T00:00:00Z",
         L"P730484999268DT23H59M59S"}};
    for (const auto& [type, a, b, expected] : cases) {
        EXPECT_EQ((DT(a, type) - DT(b, type)).ToString(), expected) << Narrow(a);
    }
    EXPECT_THROW_MSG(DT(L"2000-01-01", dt_date) - DT(L"2000-01", dt_gYearMonth),
                     CVxInvalidParamException, L"Can not subtract a dt_gYearMonth from a dt_date");
}

TEST(DateTime, TimeZonesMoveWithoutChangingTheInstant)
{
    EXPECT_EQ(DT(L"2000-01-01T00:30:00+01:00").ToUtc().ToString(), L"1999-12-31T23:30:00Z");
    EXPECT_EQ(DT(L"2000-03-01T05:00:00.5Z").ToTimezone(-600).ToString(),
              L"2000-02-29T19:00:00.5-10:00");
    EXPECT_EQ(DT(L"01:00:00+05:00", dt_time).ToUtc().ToString(), L"20:00:00Z");
    EXPECT_THROW_MSG(DT(L"2000-01-01Z", dt_date).ToUtc(), CVxInvalidStateException,
                     L"Failed to ToTimezone. Invalid Date Type: dt_date.");
    EXPECT_THROW_MSG(DT(L"2000-01-01T00:00:00").ToUtc(), CVxInvalidStateException,
                     L"Failed to ToTimezone. The value has no time zone.");
    EXPECT_THROW_MSG(DT(L"2000-01-01T00:00:00Z").ToTimezone(-841), CVxInvalidParamException,
                     L"The time zone offset -841 is outside -840 to 840 minutes");

    SampleMaker maker{std::mt19937_64(3)};
    for (int i = 0; i < 2000; ++i) {
        const DateTimeType type = i % 2 ? dt_time : dt_dateTime;
        const Sample s = maker.Make(type);
        if (!s.zoned || std::llabs(s.fields[0]) > 999999990) {
            continue;
        }
        const CDateTime value = DT(s.text.c_str(), type);
        const int zone = static_cast<int>(maker.Uniform(-840, 840));
        const CDateTime moved = value.ToTimezone(zone);
        ASSERT_EQ(moved.GetTimezoneOffset(), zone);
        ASSERT_EQ(moved.ToTimezone(s.zone).ToString(), s.text);
        if (type == dt_dateTime) {
            ASSERT_EQ(moved, value) << Narrow(s.text);
        }
    }
    CDateTime local = DT(L"2000-01-01T12:00:00");
    local.SetTimezone(330);
    EXPECT_EQ(local.ToString(), L"2000-01-01T12:00:00+05:30");
}

TEST(DateTime, ClockValues)
{
    const chr::system_clock::time_point epoch{};
    EXPECT_EQ(CDateTime::FromTimePoint(epoch - chr::nanoseconds{1}).ToString(),
              L"1969-12-31T23:59:59.999999999Z");
    EXPECT_EQ(CDateTime::FromTimePoint(epoch + chr::hours{24 * 11016}, dt_date).ToString(),
              L"2000-02-29Z");

    // The local clock, checked against the C library's own conversion of the
    // seconds just before and just after.
    const auto localText = [](chr::system_clock::time_point t) {
        const std::time_t seconds = chr::system_clock::to_time_t(chr::floor<chr::seconds>(t));
        std::tm tm{};
        localtime_r(&seconds, &tm);
        return FormatString(L"%04d-%02d-%02dT%02d:%02d:%02d", tm.tm_year + 1900, tm.tm_mon + 1,
                            tm.tm_mday, tm.tm_hour, tm.tm_min, tm.tm_sec);
    };
    const auto t0 = chr::system_clock::now();
    const CDateTime now = CDateTime::Now();
    const auto t1 = chr::system_clock::now();
    const std::wstring text = now.ToString().substr(0, 19);
    EXPECT_TRUE(text == localText(t0) || text == localText(t1)) << Narrow(text);
    EXPECT_FALSE(now.HasTimezone());
    const CDateTime zoned = CDateTime::Now(dt_dateTime, true);
    EXPECT_LE(zoned, CDateTime::UtcNow());
    EXPECT_LE(CDateTime::FromTimePoint(t1), zoned);
}

TEST(DateTime, MutatedTextsParseConsistentlyOrAreRefused)
{
    // One to three characters inserted, deleted or replaced in valid texts:
    // each result is refused with its text quoted, or reads back as itself.
    SampleMaker maker{std::mt19937_64(11)};
    const std::wstring alphabet = L"0123456789-+:.TZ 9";
    int accepted = 0;
    for (int i = 0; i < 20000; ++i) {
        const DateTimeType type = kAllTypes[i % 5];
        std::wstring text = maker.Make(type).text;
        for (int edits = static_cast<int>(maker.Uniform(1, 3)); edits > 0; --edits) {
            const auto at = static_cast<size_t>(maker.Uniform(0, int64_t(text.size())));
            const wchar_t c = alphabet[static_cast<size_t>(maker.Uniform(0, 17))];
            const int64_t kind = maker.Uniform(0, 2);
            kind == 0 ? text.insert(at, 1, c) : text.replace(at, 1, kind == 1 ? 0 : 1, c);
        }
        try {
            const CDateTime value = CDateTime::FromString(text, type);
            ++accepted;
            ASSERT_EQ(CDateTime::FromString(value.ToString(), type).ToString(), value.ToString())
                << Narrow(text);
        } catch (const CVxInvalidValueException& e) {
            ASSERT_NE(e.GetMessage().find(L"[" + text + L"]"), std::wstring::npos);
        }
    }
    EXPECT_GT(accepted, 1000);
}
