// CDateTime: the date and time values of XML Schema (xs:dateTime, xs:date,
// xs:time, xs:gYearMonth and xs:gMonthDay).
#pragma once

#include <chrono>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <vxxml/DateTimeSpan.h>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

// The kind of a CDateTime, i.e. which XML Schema type it is a value of.
enum DateTimeType : int32_t {
    dt_dateTime = 0,   // CCYY-MM-DDThh:mm:ss
    dt_date = 1,       // CCYY-MM-DD
    dt_time = 2,       // hh:mm:ss
    dt_gYearMonth = 3, // CCYY-MM
    dt_gMonthDay = 4,  // --MM-DD
};

// One value of one of the five kinds above, with an optional time zone.
//
// Fields: a kind holds only its own fields (a date has no hour, a time no
// year); the accessors of the missing ones throw CVxInvalidStateException.
// Years run from -999999999 to 999999999 without 0000, as in XML Schema 1.0:
// -0001 is the year before 0001 (1 BCE) and is a leap year, since the
// proleptic Gregorian calendar is used throughout. Fractions of a second are
// kept to 18 digits (units of 10^-18 s, see GetFraction); digits beyond the
// 18th are dropped. 24:00:00 is read as the end of the day and stored as
// 00:00:00 of the next day (of the same day for a time).
//
// Time zone: an offset from -14:00 to +14:00 or none. The local fields are
// kept as written, so "10:00:00+05:00" reads back unchanged; ToUtc() and
// ToTimezone() move a value to another zone.
//
// Value and order (CompareTo, ==, <, ...): values with a zone are compared
// as instants in UTC, so "12:00:00+01:00" == "11:00:00Z". Values are placed
// on the time line by their first instant: a date at 00:00:00, a gYearMonth
// on day 1, a gMonthDay in the leap year 1972 and a time on 1972-12-31.
// When exactly one side has no zone, XML Schema decides only if the two are
// more than 14 hours apart and leaves the order undetermined otherwise;
// ComparePartial() gives exactly that relation. CompareTo needs a total
// order, so it treats a value without a zone as if it were in UTC (which
// agrees with XML Schema wherever XML Schema decides) and, when the instants
// are then equal, puts the value without a zone first. So == holds only
// between two values that both have a zone or both have none.
//
// Values of different kinds are never equal; CompareTo and the relational
// operators refuse them with CVxInvalidParamException.
class VXXML_API CDateTime
{
public:
    using enum DateTimeType;

    static constexpr int32_t MinYear = -999999999;
    static constexpr int32_t MaxYear = 999999999;
    static constexpr int MaxTimezoneMinutes = 14 * 60;
    static constexpr int FractionDigits = 18;
    static constexpr uint64_t FractionScale = 1000000000000000000ULL;

    // 0001-01-01T00:00:00 as a dateTime without a time zone.
    CDateTime();

    // Values from their fields, without a time zone (see SetTimezone).
    // fraction is in units of 10^-18 s. An hour of 24 with zero minutes,
    // seconds and fraction is the end of the day. Fields out of range throw
    // CVxInvalidParamException.
    static CDateTime MakeDateTime(int32_t year, int month, int day, int hour, int minute,
                                  int second, uint64_t fraction = 0);
    static CDateTime MakeDate(int32_t year, int month, int day);
    static CDateTime MakeTime(int hour, int minute, int second, uint64_t fraction = 0);
    static CDateTime MakeYearMonth(int32_t year, int month);
    static CDateTime MakeMonthDay(int month, int day);

    // The current local wall-clock time, without a zone, or with the local
    // offset when withTimezone is set. A kind other than dt_dateTime keeps
    // only that kind's fields.
    static CDateTime Now(DateTimeType type = dt_dateTime, bool withTimezone = false);
    // The current time in UTC (zone Z).
    static CDateTime UtcNow(DateTimeType type = dt_dateTime);
    // A point of the system clock in UTC (zone Z).
    static CDateTime FromTimePoint(std::chrono::system_clock::time_point point,
                                   DateTimeType type = dt_dateTime);

    // Parses the XML Schema lexical form of the kind exactly (no surrounding
    // whitespace). Throws CVxInvalidValueException quoting the text and
    // naming the kind.
    static CDateTime FromString(std::wstring_view text, DateTimeType type);
    // The lexical form: at least four year digits, the fraction without
    // trailing zeros, "Z" for a zero offset.
    std::wstring ToString() const;
    // Appends ToString()'s text to out: for callers that format many values
    // into one buffer instead of making a string per value.
    void AppendTo(std::wstring& out) const;

    DateTimeType GetType() const { return m_eType; }
    // The enumerator's name, e.g. "dt_gYearMonth".
    static const wchar_t* GetTypeName(DateTimeType type);
    const wchar_t* GetTypeName() const { return GetTypeName(m_eType); }

    // Field accessors. Each throws CVxInvalidStateException ("Failed to
    // GetYear. Invalid Date Type: dt_time.") when the kind has no such field.
    int32_t GetYear() const;      // dateTime, date, gYearMonth
    int GetMonth() const;         // all but time
    int GetDay() const;           // dateTime, date, gMonthDay
    int GetHour() const;          // dateTime, time (0 to 23)
    int GetMinute() const;        // dateTime, time
    int GetSecond() const;        // dateTime, time (0 to 59)
    uint64_t GetFraction() const; // dateTime, time: 10^-18 s

    bool HasTimezone() const { return m_bHasTimezone; }
    // Minutes east of UTC. Throws CVxInvalidStateException without a zone.
    int GetTimezoneOffset() const;
    // Marks the local fields as being in the given zone (minutes east of
    // UTC, -840 to 840) or in none; the fields themselves do not change.
    void SetTimezone(int offsetMinutes);
    void ClearTimezone();
    // The same instant expressed in another zone, for a dateTime or a time
    // that has a zone (a time wraps around midnight). Throws
    // CVxInvalidStateException for other kinds or without a zone.
    CDateTime ToTimezone(int offsetMinutes) const;
    CDateTime ToUtc() const { return ToTimezone(0); }

    // Negative, zero or positive (see the class comment).
    int CompareTo(const CDateTime& other) const;
    // XML Schema's own order: unordered for different kinds and, when
    // exactly one side has a zone, for values less than 14 hours apart.
    std::partial_ordering ComparePartial(const CDateTime& other) const;

    bool operator==(const CDateTime& other) const
    {
        return m_eType == other.m_eType && CompareTo(other) == 0;
    }
    std::weak_ordering operator<=>(const CDateTime& other) const
    {
        const int c = CompareTo(other);
        return c < 0 ? std::weak_ordering::less
                     : (c > 0 ? std::weak_ordering::greater : std::weak_ordering::equivalent);
    }

    // Adds a duration with XML Schema's algorithm: the months first, with the
    // day pinned to the last day of a shorter month (2000-01-31 + P1M is
    // 2000-02-29), then the days and the time. The zone is kept. A date,
    // gYearMonth or gMonthDay is added to as the first instant it stands for
    // (a gMonthDay in 1972) and keeps only its own fields of the result; a
    // time ignores the months and wraps around midnight. Throws
    // CVxOverFlowException when the year leaves the supported range.
    CDateTime& operator+=(const CDateTimeSpan& span);
    CDateTime& operator-=(const CDateTimeSpan& span);
    CDateTime operator+(const CDateTimeSpan& span) const;
    CDateTime operator-(const CDateTimeSpan& span) const;
    // The time between two values of the same kind, as days, hours, minutes
    // and seconds (this - other). A side without a zone counts as UTC, as in
    // CompareTo. Throws CVxInvalidParamException for different kinds.
    CDateTimeSpan operator-(const CDateTime& other) const;

private:
    struct Instant
    {
        int64_t seconds; // since 1970-01-01T00:00:00Z
        uint64_t fraction;
    };

    // Raw fields before they are checked (parser and Make functions).
    struct Parts;
    static const wchar_t* FromParts(DateTimeType type, const Parts& parts, CDateTime& out);
    static CDateTime Make(DateTimeType type, const Parts& parts);

    Instant GetInstant() const;
    bool HasTime() const;
    void Throw_IfNoField(bool present, const wchar_t* operation) const;
    // Sets the fields from a day count, second of the day and fraction, for
    // this value's kind.
    void SetFromDays(int64_t days, int64_t secondOfDay, uint64_t fraction);

    DateTimeType m_eType = dt_dateTime;
    int32_t m_nYear = 1; // lexical year, never 0
    uint8_t m_nMonth = 1;
    uint8_t m_nDay = 1;
    uint8_t m_nHour = 0;
    uint8_t m_nMinute = 0;
    uint8_t m_nSecond = 0;
    bool m_bHasTimezone = false;
    int16_t m_nTimezone = 0; // minutes east of UTC
    uint64_t m_nFraction = 0;
};

} // namespace VxXmlLib16
