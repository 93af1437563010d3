#include "TestHelpers.h"

#include <chrono>
#include <ctime>
#include <functional>
#include <random>
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

const wchar_t* SchemaName(DateTimeType type)
{
    static const wchar_t* const names[] = {L"dateTime", L"date", L"time", L"gYearMonth",
                                           L"gMonthDay"};
    return names[type];
}

// The calendar rule written out from its definition, with XML Schema 1.0's
// year numbering (-0001 is astronomical year 0).
int MonthLength(int64_t year, int month)
{
    const int64_t y = year < 0 ? year + 1 : year;
    const bool leap = y % 4 == 0 && (y % 100 != 0 || y % 400 == 0);
    static const int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && leap ? 29 : lengths[month - 1];
}

// Random lexical values of every kind, with their expected fields, written
// by independent formatting code.
struct Sample
{
    std::wstring text;
    int64_t year = 0;
    int month = 0, day = 0, hour = 0, minute = 0, second = 0;
    uint64_t fraction = 0;
    bool zoned = false;
    int zone = 0;
};

class SampleMaker
{
public:
    explicit SampleMaker(uint64_t seed) : m_rng(seed) {}

    int64_t Uniform(int64_t lo, int64_t hi)
    {
        return std::uniform_int_distribution<int64_t>(lo, hi)(m_rng);
    }

    Sample Make(DateTimeType type, bool smallYears = false)
    {
        Sample s;
        const int64_t pick = Uniform(0, 9);
        s.year = smallYears || pick < 6 ? Uniform(1, 9999)
                 : pick < 8             ? Uniform(-9999, -1)
                 : pick < 9             ? Uniform(10000, 999999999)
                                        : -Uniform(10000, 999999999);
        s.month = static_cast<int>(Uniform(1, 12));
        s.day = static_cast<int>(
            Uniform(1, MonthLength(type == dt_gMonthDay ? 1972 : s.year, s.month)));
        s.hour = static_cast<int>(Uniform(0, 23));
        s.minute = static_cast<int>(Uniform(0, 59));
        s.second = static_cast<int>(Uniform(0, 59));
        std::wstring fractionText;
        const int digits = static_cast<int>(Uniform(0, 18));
        for (int i = 0; i < digits; ++i) {
            fractionText += static_cast<wchar_t>(L'0' + Uniform(i + 1 == digits ? 1 : 0, 9));
        }
        std::wstring padded = fractionText + std::wstring(18 - fractionText.size(), L'0');
        s.fraction = std::stoull(padded);
        const int64_t zonePick = Uniform(0, 4);
        s.zoned = zonePick > 0;
        s.zone = zonePick == 1 ? 0 : static_cast<int>(Uniform(-840, 840));

        const std::wstring ymd =
            FormatString(L"%s%04lld-%02d-%02d", s.year < 0 ? L"-" : L"",
                         static_cast<long long>(std::llabs(s.year)), s.month, s.day);
        std::wstring hms = FormatString(L"%02d:%02d:%02d", s.hour, s.minute, s.second);
        if (!fractionText.empty()) {
            hms += L"." + fractionText;
        }
        switch (type) {
        case dt_dateTime:
            s.text = ymd + L"T" + hms;
            break;
        case dt_date:
            s.text = ymd;
            break;
        case dt_time:
            s.text = hms;
            break;
        case dt_gYearMonth:
            s.text = ymd.substr(0, ymd.size() - 3);
            break;
        case dt_gMonthDay:
            s.text = FormatString(L"--%02d-%02d", s.month, s.day);
            break;
        }
        if (s.zoned) {
            s.text += s.zone == 0 ? std::wstring(L"Z")
                                  : FormatString(L"%c%02d:%02d", s.zone < 0 ? L'-' : L'+',
                                                 std::abs(s.zone) / 60, std::abs(s.zone) % 60);
        }
        return s;
    }

private:
    std::mt19937_64 m_rng;
};

constexpr DateTimeType kAllTypes[] = {dt_dateTime, dt_date, dt_time, dt_gYearMonth, dt_gMonthDay};

// A dateTime without fraction as std::chrono sees it, for the oracle tests.
chr::sys_seconds ChronoInstant(const Sample& s)
{
    const chr::year_month_day ymd{chr::year{static_cast<int>(s.year)},
                                  chr::month{static_cast<unsigned>(s.month)},
                                  chr::day{static_cast<unsigned>(s.day)}};
    return chr::sys_days{ymd} + chr::hours{s.hour} + chr::minutes{s.minute - s.zone} +
           chr::seconds{s.second};
}

std::wstring ChronoText(chr::sys_seconds t)
{
    const auto day = chr::floor<chr::days>(t);
    const chr::year_month_day ymd{day};
    const chr::hh_mm_ss<chr::seconds> hms{t - day};
    return FormatString(L"%04d-%02u-%02uT%02d:%02d:%02d", static_cast<int>(ymd.year()),
                        static_cast<unsigned>(ymd.month()), static_cast<unsigned>(ymd.day()),
                        static_cast<int>(hms.hours().count()),
                        static_cast<int>(hms.minutes().count()),
                        static_cast<int>(hms.seconds().count()));
}

} // namespace

TEST(DateTime, RandomValuesOfEveryKindRoundTrip)
{
    SampleMaker maker(20261121);
    for (DateTimeType type : kAllTypes) {
        for (int i = 0; i < 3000; ++i) {
            const Sample s = maker.Make(type);
            SCOPED_TRACE(Narrow(s.text));
            const CDateTime value = CDateTime::FromString(s.text, type);
            ASSERT_EQ(value.ToString(), s.text);
            ASSERT_EQ(value.GetType(), type);
            if (type == dt_dateTime || type == dt_date || type == dt_gYearMonth) {
                ASSERT_EQ(value.GetYear(), s.year);
            }
            if (type != dt_time) {
                ASSERT_EQ(value.GetMonth(), s.month);
            }
            if (type == dt_dateTime || type == dt_date || type == dt_gMonthDay) {
                ASSERT_EQ(value.GetDay(), s.day);
            }
            if (type == dt_dateTime || type == dt_time) {
                ASSERT_EQ(value.GetHour(), s.hour);
                ASSERT_EQ(value.GetMinute(), s.minute);
                ASSERT_EQ(value.GetSecond(), s.second);
                ASSERT_EQ(value.GetFraction(), s.fraction);
            }
            ASSERT_EQ(value.HasTimezone(), s.zoned);
            if (s.zoned) {
                ASSERT_EQ(value.GetTimezoneOffset(), s.zone);
            }
            const CDateTime copy = value;
            ASSERT_EQ(copy, value);
        }
    }
}

TEST(DateTime, NonCanonicalTextsReadToTheirValue)
{
    const struct
    {
        DateTimeType type;
        const wchar_t* text;
        const wchar_t* canonical;
    } cases[] = {
        {dt_dateTime, L"2000-01-01T12:00:00.500", L"2000-01-01T12:00:00.5"},
        {dt_dateTime, L"2000-01-01T12:00:00.000", L"2000-01-01T12:00:00"},
        {dt_dateTime, L"2000-01-01T12:00:00+00:00", L"2000-01-01T12:00:00Z"},
        {dt_time, L"12:00:00-00:00", L"12:00:00Z"},
        // 24:00:00 is the end of the day: the first instant of the next one.
        {dt_dateTime, L"1999-12-31T24:00:00Z", L"2000-01-01T00:00:00Z"},
        {dt_dateTime, L"2000-02-28T24:00:00", L"2000-02-29T00:00:00"},
        {dt_dateTime, L"-0001-12-31T24:00:00", L"0001-01-01T00:00:00"},
        {dt_time, L"24:00:00.000+01:00", L"00:00:00+01:00"},
        // Fraction digits past the 18th are dropped, not rounded.
        {dt_time, L"00:00:00.1234567890123456789999", L"00:00:00.123456789012345678"},
        {dt_time, L"00:00:59.9999999999999999999", L"00:00:59.999999999999999999"},
        {dt_gMonthDay, L"--02-29", L"--02-29"},
        {dt_date, L"-0001-02-29", L"-0001-02-29"}, // 1 BCE is a leap year
        {dt_date, L"-0005-02-29", L"-0005-02-29"},
        {dt_gYearMonth, L"999999999-12", L"999999999-12"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(DT(c.text, c.type).ToString(), c.canonical) << Narrow(c.text);
    }
}

TEST(DateTime, MalformedTextsAreRefusedWithTheReason)
{
    const wchar_t* const form[] = {
        L"expected [-]CCYY-MM-DDThh:mm:ss[.s+][Z|(+|-)hh:mm]",
        L"expected [-]CCYY-MM-DD[Z|(+|-)hh:mm]",
        L"expected hh:mm:ss[.s+][Z|(+|-)hh:mm]",
        L"expected [-]CCYY-MM[Z|(+|-)hh:mm]",
        L"expected --MM-DD[Z|(+|-)hh:mm]",
    };
    const wchar_t* const yearZero = L"the year 0000 does not exist";
    const wchar_t* const yearRange = L"the year is outside -999999999 to 999999999";
    const wchar_t* const month = L"the month must be 01 to 12";
    const wchar_t* const day = L"the day does not exist in that month";
    const wchar_t* const hour = L"the hour must be 00 to 23, or 24:00:00 for the end of the day";
    const wchar_t* const zone = L"the time zone must be between -14:00 and +14:00";
    const struct
    {
        DateTimeType type;
        const wchar_t* text;
        const wchar_t* reason;
    } cases[] = {
        {dt_dateTime, L"", form[dt_dateTime]},
        {dt_dateTime, L"2000-01-01", form[dt_dateTime]},
        {dt_dateTime, L"2000-01-01T12:00", form[dt_dateTime]},
        {dt_dateTime, L"2000-1-01T12:00:00", form[dt_dateTime]},
        {dt_dateTime, L"+2000-01-01T12:00:00", form[dt_dateTime]},
        {dt_dateTime, L"2000-01-01 12:00:00", form[dt_dateTime]},
        {dt_dateTime, L" 2000-01-01T12:00:00", form[dt_dateTime]},
        {dt_dateTime, L"2000-01-01T12:00:00Z ", form[dt_dateTime]},
        {dt_dateTime, L"2000-01-01T12:00:00.", form[dt_dateTime]},
        {dt_dateTime, L"2000-01-01T12:00:00+5:00", form[dt_dateTime]},
        {dt_dateTime, L"2000-01-01T12:00:0\u0661", form[dt_dateTime]},
        {dt_dateTime, L"0000-01-01T00:00:00", yearZero},
        {dt_dateTime, L"-0000-01-01T00:00:00", yearZero},
        {dt_dateTime, L"01999-01-01T00:00:00",
         L"a year of more than four digits must not start with 0"},
        {dt_dateTime, L"1000000000-01-01T00:00:00", yearRange},
        {dt_dateTime, L"999999999-12-31T24:00:00", yearRange},
        {dt_dateTime, L"2000-13-01T00:00:00", month},
        {dt_dateTime, L"2001-02-29T00:00:00", day},
        {dt_dateTime, L"2000-01-01T24:00:01", hour},
        {dt_dateTime, L"2000-01-01T24:00:00.5", hour},
        {dt_dateTime, L"2000-01-01T12:60:00", L"the minute must be 00 to 59"},
        {dt_dateTime, L"2000-01-01T12:00:00+14:01", zone},
        {dt_date, L"2000-01-01T00:00:00", form[dt_date]},
        {dt_date, L"1900-02-29", day},
        {dt_date, L"2000-01-00", day},
        {dt_date, L"-0004-02-29", day}, // astronomical -3: not a leap year
        {dt_date, L"2000-01-01+10:60", zone},
        {dt_time, L"1:00:00", form[dt_time]},
        {dt_time, L"12:00:60", L"the second must be 00 to 59"},
        {dt_gYearMonth, L"2000-01-01", form[dt_gYearMonth]},
        {dt_gMonthDay, L"-02-28", form[dt_gMonthDay]},
        {dt_gMonthDay, L"--02-30", day},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.text));
        EXPECT_THROW_MSG(DT(c.text, c.type), CVxInvalidValueException,
                         std::wstring(L"The value [") + c.text + L"] can not be converted to a " +
                             SchemaName(c.type) + L": " + c.reason);
    }
}

TEST(DateTime, AccessorsRefuseFieldsTheKindDoesNotHave)
{
    // The fields each kind lacks, in the order Year Month Day Hour Minute
    // Second Fraction ('x' = refused); the values themselves are checked by
    // the round trip above.
    const wchar_t* const names[] = {L"GetYear",   L"GetMonth",  L"GetDay",     L"GetHour",
                                    L"GetMinute", L"GetSecond", L"GetFraction"};
    const struct
    {
        const wchar_t* text;
        DateTimeType type;
        const char* refused;
    } kinds[] = {{L"2000-03-04T05:06:07", dt_dateTime, "......."},
                 {L"2000-03-04", dt_date, "...xxxx"},
                 {L"05:06:07", dt_time, "xxx...."},
                 {L"2000-03", dt_gYearMonth, "..xxxxx"},
                 {L"--03-04", dt_gMonthDay, "x..xxxx"}};
    for (const auto& k : kinds) {
        const CDateTime d = DT(k.text, k.type);
        const std::function<void()> getters[] = {[&] { d.GetYear(); },    [&] { d.GetMonth(); },
                                                 [&] { d.GetDay(); },     [&] { d.GetHour(); },
                                                 [&] { d.GetMinute(); },  [&] { d.GetSecond(); },
                                                 [&] { d.GetFraction(); }};
        for (int i = 0; i < 7; ++i) {
            if (k.refused[i] == 'x') {
                EXPECT_THROW_MSG(getters[i](), CVxInvalidStateException,
                                 std::wstring(L"Failed to ") + names[i] + L". Invalid Date Type: " +
                                     d.GetTypeName() + L".");
            } else {
                EXPECT_NO_THROW(getters[i]());
            }
        }
    }
    EXPECT_EQ(DT(L"--03-04", dt_gMonthDay).GetTypeName(), std::wstring(L"dt_gMonthDay"));
    EXPECT_THROW_MSG(DT(L"12:00:00", dt_time).GetTimezoneOffset(), CVxInvalidStateException,
                     L"Failed to GetTimezoneOffset. The value has no time zone.");
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

TEST(DateTime, ZonedValuesCompareAsUtcInstants)
{
    EXPECT_EQ(DT(L"2000-01-01T12:00:00+01:00"), DT(L"2000-01-01T11:00:00Z"));
    EXPECT_EQ(DT(L"2000-01-01T12:00:00+01:00"), DT(L"2000-01-01T06:30:00-04:30"));
    EXPECT_LT(DT(L"2000-01-01T12:00:00.1Z"), DT(L"2000-01-01T12:00:00.100000000000000001Z"));
    EXPECT_GT(DT(L"2000-01-01T00:00:00-14:00"), DT(L"2000-01-01T23:59:59+14:00"));
    EXPECT_LT(DT(L"-0001-12-31T23:59:59Z"), DT(L"0001-01-01T00:00:00Z"));
    EXPECT_LT(DT(L"9999-12-31T23:59:59Z"), DT(L"10000-01-01T00:00:00Z"));
    // A date starts at its midnight: the same instant in two zones.
    EXPECT_EQ(DT(L"2000-01-02+14:00", dt_date), DT(L"2000-01-01-10:00", dt_date));
    EXPECT_LT(DT(L"--02-28", dt_gMonthDay), DT(L"--02-29", dt_gMonthDay));
    EXPECT_LT(DT(L"-0001-12", dt_gYearMonth), DT(L"0001-01", dt_gYearMonth));
    // Times are placed on one reference day, not compared modulo 24 hours.
    EXPECT_GT(DT(L"23:00:00-03:00", dt_time), DT(L"01:00:00Z", dt_time));
    EXPECT_NE(DT(L"00:30:00+01:00", dt_time), DT(L"23:30:00Z", dt_time));

    // Different kinds are never equal and cannot be ordered.
    EXPECT_FALSE(DT(L"2000-01-01", dt_date) == DT(L"2000-01-01T00:00:00"));
    EXPECT_EQ(DT(L"2000-01-01", dt_date).ComparePartial(DT(L"2000-01-01T00:00:00")),
              std::partial_ordering::unordered);
    EXPECT_THROW_MSG(DT(L"2000-01-01", dt_date).CompareTo(DT(L"2000-01-01T00:00:00")),
                     CVxInvalidParamException, L"Can not compare a dt_date with a dt_dateTime");
}

TEST(DateTime, OneSideWithoutZoneFollowsTheFourteenHourRule)
{
    // XML Schema's own examples; CompareTo places the side without a zone in
    // UTC and, on a tie, first.
    const struct
    {
        const wchar_t* a;
        const wchar_t* b;
        std::partial_ordering partial;
        int total;
    } cases[] = {
        {L"2000-01-15T12:00:00", L"2000-01-16T12:00:00Z", std::partial_ordering::less, -1},
        {L"2000-01-16T12:00:00Z", L"2000-01-15T12:00:00", std::partial_ordering::greater, 1},
        {L"2000-01-01T12:00:00", L"1999-12-31T23:00:00Z", std::partial_ordering::unordered, 1},
        {L"2000-01-16T12:00:00", L"2000-01-16T12:00:00Z", std::partial_ordering::unordered, -1},
        {L"2000-01-16T00:00:00", L"2000-01-16T12:00:00Z", std::partial_ordering::unordered, -1},
        {L"2000-01-16T00:00:00", L"2000-01-16T14:00:00Z", std::partial_ordering::unordered, -1},
        {L"2000-01-16T00:00:00", L"2000-01-16T14:00:00.1Z", std::partial_ordering::less, -1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.a) + " vs " + Narrow(c.b));
        EXPECT_EQ(DT(c.a).ComparePartial(DT(c.b)), c.partial);
        EXPECT_EQ(DT(c.a).CompareTo(DT(c.b)), c.total);
    }
    EXPECT_NE(DT(L"2000-01-16T12:00:00"), DT(L"2000-01-16T12:00:00Z"));
}

TEST(DateTime, CompareAgreesWithChronoTimeLine)
{
    SampleMaker maker(7);
    for (int i = 0; i < 5000; ++i) {
        Sample a = maker.Make(dt_dateTime, true);
        Sample b = maker.Make(dt_dateTime, true);
        if (i % 3 == 0) { // many near ties
            b = a;
            b.zone = static_cast<int>(maker.Uniform(-840, 840));
            b.minute = static_cast<int>(maker.Uniform(0, 59));
        }
        a.zoned = b.zoned = true;
        a.fraction = b.fraction = 0;
        const CDateTime x = CDateTime::MakeDateTime(static_cast<int32_t>(a.year), a.month, a.day,
                                                    a.hour, a.minute, a.second);
        CDateTime y = CDateTime::MakeDateTime(static_cast<int32_t>(b.year), b.month, b.day, b.hour,
                                              b.minute, b.second);
        CDateTime xz = x;
        xz.SetTimezone(a.zone);
        y.SetTimezone(b.zone);
        const auto ta = ChronoInstant(a);
        const auto tb = ChronoInstant(b);
        ASSERT_EQ(xz.CompareTo(y), ta < tb ? -1 : (ta > tb ? 1 : 0))
            << Narrow(xz.ToString()) << " vs " << Narrow(y.ToString());
        // The difference is exact and adding it back lands on the other value.
        ASSERT_EQ((y - xz).GetTotalSeconds(), (tb - ta).count());
        ASSERT_EQ(xz + (y - xz), y);
    }
}

TEST(DateTime, AddingDurationsFollowsTheSchemaAlgorithm)
{
    const struct
    {
        DateTimeType type;
        const wchar_t* start;
        const wchar_t* span;
        const wchar_t* expected;
    } cases[] = {
        // The worked examples of XML Schema 1.0.
        {dt_dateTime, L"2000-01-12T12:13:14Z", L"P1Y3M5DT7H10M3.3S", L"2001-04-17T19:23:17.3Z"},
        {dt_gYearMonth, L"2000-01", L"-P3M", L"1999-10"},
        {dt_date, L"2000-01-12", L"PT33H", L"2000-01-13"},
        // Month ends are pinned, then days are added.
        {dt_date, L"2000-01-31", L"P1M", L"2000-02-29"},
        {dt_date, L"2001-01-31", L"P1M", L"2001-02-28"},
        {dt_date, L"2000-03-31", L"-P1M", L"2000-02-29"},
        {dt_date, L"2000-02-29", L"P1Y", L"2001-02-28"},
        {dt_date, L"2000-03-30", L"P1M1D", L"2000-05-01"},
        {dt_date, L"2000-01-01", L"-PT1S", L"1999-12-31"},
        {dt_dateTime, L"2000-01-31T23:59:59.999999999999999999+05:00", L"P1MT0.000000000000000001S",
         L"2000-03-01T00:00:00+05:00"},
        {dt_dateTime, L"0001-01-01T00:00:00", L"-P1D", L"-0001-12-31T00:00:00"},
        {dt_date, L"-0001-12-31", L"P1D", L"0001-01-01"},
        {dt_date, L"-0001-02-28", L"P1D", L"-0001-02-29"},
        {dt_dateTime, L"9999-12-31T23:59:59Z", L"PT1S", L"10000-01-01T00:00:00Z"},
        // A time wraps; months cannot move it.
        {dt_time, L"23:30:00Z", L"PT1H", L"00:30:00Z"},
        {dt_time, L"00:10:00", L"-P3DT20M", L"23:50:00"},
        {dt_time, L"10:00:00.25", L"P1Y1M", L"10:00:00.25"},
        // A gMonthDay lives in a leap year, and the next ones after it.
        {dt_gMonthDay, L"--02-29", L"P1Y", L"--02-28"},
        {dt_gMonthDay, L"--02-29", L"P4Y", L"--02-29"},
        {dt_gMonthDay, L"--12-31Z", L"P1D", L"--01-01Z"},
        {dt_gMonthDay, L"--03-01", L"-P1D", L"--02-29"},
        {dt_gMonthDay, L"--01-15", L"P9223372036854775807M", L"--08-15"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(Narrow(c.start) + " + " + Narrow(c.span));
        EXPECT_EQ((DT(c.start, c.type) + Span(c.span)).ToString(), c.expected);
        EXPECT_EQ((DT(c.start, c.type) - (-Span(c.span))).ToString(), c.expected);
    }
    // Adding is not associative: the order of the months and days matters.
    EXPECT_EQ((DT(L"2000-03-30", dt_date) + Span(L"P1D") + Span(L"P1M")).ToString(), L"2000-04-30");
    EXPECT_EQ((DT(L"2000-03-30", dt_date) + Span(L"P1M") + Span(L"P1D")).ToString(), L"2000-05-01");

    const wchar_t* overflow =
        L"The result of the date arithmetic is outside the years -999999999 to 999999999";
    EXPECT_THROW_MSG(DT(L"999999999-12-31T23:59:59Z") + Span(L"PT1S"), CVxOverFlowException,
                     overflow);
    EXPECT_THROW_MSG(DT(L"-999999999-01-01", dt_date) - Span(L"P1D"), CVxOverFlowException,
                     overflow);
    EXPECT_THROW_MSG(DT(L"2000-01", dt_gYearMonth) + Span(L"P9223372036854775807M"),
                     CVxOverFlowException, overflow);
    EXPECT_EQ((DT(L"-999999999-01-01", dt_date) + Span(L"P730484999268D")).ToString(),
              L"999999999-12-31");
}

TEST(DateTime, AddingAgreesWithChronoCalendar)
{
    // std::chrono's calendar does the same steps independently: add months,
    // pin the day to the month's end, then add the day and time part.
    SampleMaker maker(99);
    for (int i = 0; i < 5000; ++i) {
        const Sample s = maker.Make(dt_dateTime, true);
        const bool negative = maker.Uniform(0, 1) == 1;
        const int64_t months = maker.Uniform(0, 1200);
        const int64_t seconds = maker.Uniform(0, 400LL * 86400);
        if (s.year + months / 12 + 1 > 9999 || s.year - months / 12 - 2 < 1) {
            continue;
        }
        const CDateTimeSpan span(negative, months / 12, months % 12, seconds / 86400,
                                 seconds / 3600 % 24, seconds / 60 % 60, seconds % 60);
        const CDateTime start = CDateTime::MakeDateTime(static_cast<int32_t>(s.year), s.month,
                                                        s.day, s.hour, s.minute, s.second);

        chr::year_month ym = chr::year{static_cast<int>(s.year)} / s.month;
        ym += chr::months{negative ? -months : months};
        const unsigned last = static_cast<unsigned>((ym / chr::last).day());
        const chr::year_month_day pinned =
            ym / chr::day{std::min<unsigned>(static_cast<unsigned>(s.day), last)};
        const chr::sys_seconds expected = chr::sys_days{pinned} + chr::hours{s.hour} +
                                          chr::minutes{s.minute} + chr::seconds{s.second} +
                                          chr::seconds{negative ? -seconds : seconds};
        ASSERT_EQ((start + span).ToString(), ChronoText(expected))
            << Narrow(start.ToString()) << " + " << Narrow(span.ToString());
    }
}

TEST(DateTime, DifferencesAreDaysAndTime)
{
    EXPECT_EQ((DT(L"2000-03-01", dt_date) - DT(L"2000-02-01", dt_date)).ToString(), L"P29D");
    EXPECT_EQ((DT(L"2000-01-01T00:00:00Z") - DT(L"2000-01-01T01:30:00+02:00")).ToString(),
              L"PT30M");
    EXPECT_EQ((DT(L"1999-12-31T23:00:00Z") - DT(L"2000-01-01T00:00:00.5Z")).ToString(),
              L"-PT1H0.5S");
    EXPECT_EQ((DT(L"0001-01-01", dt_date) - DT(L"-0001-01-01", dt_date)).ToString(), L"P366D");
    EXPECT_EQ((DT(L"00:00:00", dt_time) - DT(L"23:59:59", dt_time)).ToString(), L"-PT23H59M59S");
    EXPECT_EQ((DT(L"999999999-12-31T23:59:59Z") - DT(L"-999999999-01-01T00:00:00Z")).ToString(),
              L"P730484999268DT23H59M59S");
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
    EXPECT_THROW_MSG(DT(L"-999999999-01-01T00:00:00Z").ToTimezone(-1), CVxOverFlowException,
                     L"The result of the date arithmetic is outside the years -999999999 to "
                     L"999999999");

    SampleMaker maker(3);
    for (int i = 0; i < 2000; ++i) {
        Sample s = maker.Make(i % 2 ? dt_time : dt_dateTime);
        if (!s.zoned || std::llabs(s.year) > 999999990) {
            continue;
        }
        const CDateTime value = DT(s.text.c_str(), i % 2 ? dt_time : dt_dateTime);
        const int zone = static_cast<int>(maker.Uniform(-840, 840));
        const CDateTime moved = value.ToTimezone(zone);
        ASSERT_EQ(moved.GetTimezoneOffset(), zone);
        ASSERT_EQ(moved.ToTimezone(s.zone).ToString(), s.text);
        if (value.GetType() == dt_dateTime) {
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
    EXPECT_EQ(CDateTime::FromTimePoint(epoch).ToString(), L"1970-01-01T00:00:00Z");
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
    // With the zone, the same instant as the UTC clock.
    const CDateTime zoned = CDateTime::Now(dt_dateTime, true);
    EXPECT_LE(zoned, CDateTime::UtcNow());
    EXPECT_LE(CDateTime::FromTimePoint(t1), zoned);
}

TEST(DateTime, MutatedTextsParseConsistentlyOrAreRefused)
{
    // Edits of valid texts with the characters the grammar cares about: each
    // result either is refused with the library's exception or is a value
    // whose own text reads back to it.
    SampleMaker maker(11);
    const std::wstring alphabet = L"0123456789-+:.TZ 9";
    int accepted = 0;
    for (int i = 0; i < 20000; ++i) {
        const DateTimeType type = kAllTypes[i % 5];
        std::wstring text = maker.Make(type).text;
        for (int edits = static_cast<int>(maker.Uniform(1, 3)); edits > 0; --edits) {
            const size_t at = static_cast<size_t>(maker.Uniform(0, int64_t(text.size())));
            const wchar_t c = alphabet[static_cast<size_t>(maker.Uniform(0, 17))];
            const int64_t kind = maker.Uniform(0, 2);
            // insert, delete or replace one character
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
