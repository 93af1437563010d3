#include "types/CalendarMath.h"

#include <algorithm>
#include <ctime>
#include <vxxml/DateTime.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

namespace VxXmlLib16 {

using detail::AstronomicalYear;
using detail::DaysFromCivil;
using detail::DaysInMonth;
using detail::FloorDiv;
using detail::FloorMod;
using detail::Int128;
using detail::kSecondsPerDay;
using detail::LexicalYear;

namespace {

// Texts used at more than one throw site.
constexpr const wchar_t* kMsgNoZone = L"Failed to %s. The value has no time zone.";
constexpr const wchar_t* kMsgYearOverflow =
    L"The result of the date arithmetic is outside the years -999999999 to 999999999";

constexpr const wchar_t* kReasonYearZero = L"the year 0000 does not exist";
constexpr const wchar_t* kReasonYearRange = L"the year is outside -999999999 to 999999999";
constexpr const wchar_t* kReasonHour =
    L"the hour must be 00 to 23, or 24:00:00 for the end of the day";

// The XML Schema name of each kind, for messages about texts.
const wchar_t* SchemaName(DateTimeType type)
{
    switch (type) {
    case dt_dateTime:
        return L"dateTime";
    case dt_date:
        return L"date";
    case dt_time:
        return L"time";
    case dt_gYearMonth:
        return L"gYearMonth";
    case dt_gMonthDay:
        return L"gMonthDay";
    }
    return L"?";
}

// What a text of each kind looks like, for the message of a text that does
// not have that shape at all.
const wchar_t* FormReason(DateTimeType type)
{
    switch (type) {
    case dt_dateTime:
        return L"expected [-]CCYY-MM-DDThh:mm:ss[.s+][Z|(+|-)hh:mm]";
    case dt_date:
        return L"expected [-]CCYY-MM-DD[Z|(+|-)hh:mm]";
    case dt_time:
        return L"expected hh:mm:ss[.s+][Z|(+|-)hh:mm]";
    case dt_gYearMonth:
        return L"expected [-]CCYY-MM[Z|(+|-)hh:mm]";
    case dt_gMonthDay:
        return L"expected --MM-DD[Z|(+|-)hh:mm]";
    }
    return L"?";
}

bool IsKnownType(DateTimeType type)
{
    return type >= dt_dateTime && type <= dt_gMonthDay;
}

void Throw_IfUnknownType(DateTimeType type)
{
    if (!IsKnownType(type)) {
        throw CVxInvalidParamException(
            FormatString(L"Unknown date type %d", static_cast<int>(type)));
    }
}

bool TypeHasYear(DateTimeType t)
{
    return t == dt_dateTime || t == dt_date || t == dt_gYearMonth;
}
bool TypeHasMonth(DateTimeType t)
{
    return t != dt_time;
}
bool TypeHasDay(DateTimeType t)
{
    return t == dt_dateTime || t == dt_date || t == dt_gMonthDay;
}
bool TypeHasTime(DateTimeType t)
{
    return t == dt_dateTime || t == dt_time;
}

// The astronomical years that the lexical range -999999999..999999999 covers,
// and the day numbers of its first and last day.
constexpr int64_t kMinAstronomicalYear = AstronomicalYear(CDateTime::MinYear);
constexpr int64_t kMaxAstronomicalYear = CDateTime::MaxYear;
constexpr int64_t kMinDay = DaysFromCivil<int64_t>(kMinAstronomicalYear, 1, 1);
constexpr int64_t kMaxDay = DaysFromCivil<int64_t>(kMaxAstronomicalYear, 12, 31);

// The year in which a gMonthDay is placed: a leap year, so that --02-29
// exists, and the reference year XML Schema uses for such values.
constexpr int64_t kReferenceYear = 1972;
constexpr int64_t kDaysPer400Years = 146097;
constexpr int64_t kMonthsPer400Years = 4800;

// Reads a text position by position. Every Read function returns false when
// the text does not have the expected shape there.
class Scanner
{
public:
    explicit Scanner(std::wstring_view text) : m_text(text) {}

    bool AtEnd() const { return m_pos == m_text.size(); }

    bool Accept(wchar_t c)
    {
        if (!AtEnd() && m_text[m_pos] == c) {
            ++m_pos;
            return true;
        }
        return false;
    }

    bool ReadFixed(int count, int& value)
    {
        if (m_text.size() - m_pos < static_cast<size_t>(count)) {
            return false;
        }
        value = 0;
        for (int i = 0; i < count; ++i) {
            const wchar_t c = m_text[m_pos + static_cast<size_t>(i)];
            if (!detail::IsDigit(c)) {
                return false;
            }
            value = value * 10 + (c - L'0');
        }
        m_pos += static_cast<size_t>(count);
        return true;
    }

    // [-]CCYY with four or more digits. A well-shaped year that is still not
    // allowed sets reason and returns true, so that a text with a bad shape
    // elsewhere is reported as such.
    bool ReadYear(int64_t& year, const wchar_t*& reason)
    {
        const bool negative = Accept(L'-');
        const size_t start = m_pos;
        while (!AtEnd() && detail::IsDigit(m_text[m_pos])) {
            ++m_pos;
        }
        const size_t count = m_pos - start;
        if (count < 4) {
            return false;
        }
        if (count > 4 && m_text[start] == L'0') {
            reason = L"a year of more than four digits must not start with 0";
            return true;
        }
        if (count > 9) {
            reason = kReasonYearRange;
            return true;
        }
        year = 0;
        for (size_t i = start; i < m_pos; ++i) {
            year = year * 10 + (m_text[i] - L'0');
        }
        if (year == 0) {
            reason = kReasonYearZero;
        }
        year = negative ? -year : year;
        return true;
    }

    // .s+ (optional)
    bool ReadFraction(uint64_t& fraction, bool& anyNonZero)
    {
        if (!Accept(L'.')) {
            return true;
        }
        const size_t count = detail::ParseFractionDigits(m_text, m_pos, fraction, anyNonZero);
        m_pos += count;
        return count > 0;
    }

    // Z | (+|-)hh:mm (optional)
    bool ReadTimezone(bool& present, int& minutes, bool& inRange)
    {
        present = false;
        inRange = true;
        if (Accept(L'Z')) {
            present = true;
            minutes = 0;
            return true;
        }
        int sign = 0;
        if (Accept(L'+')) {
            sign = 1;
        } else if (Accept(L'-')) {
            sign = -1;
        } else {
            return true;
        }
        int hours = 0;
        int mins = 0;
        if (!ReadFixed(2, hours) || !Accept(L':') || !ReadFixed(2, mins)) {
            return false;
        }
        present = true;
        inRange = hours <= 14 && mins <= 59 && hours * 60 + mins <= CDateTime::MaxTimezoneMinutes;
        minutes = sign * (hours * 60 + mins);
        return true;
    }

private:
    std::wstring_view m_text;
    size_t m_pos = 0;
};

} // namespace

// The fields of a value before they are checked; shared by the parser and
// the Make functions.
struct CDateTime::Parts
{
    int64_t year = 1; // lexical
    const wchar_t* yearReason = nullptr;
    int64_t month = 1;
    int64_t day = 1;
    int64_t hour = 0;
    int64_t minute = 0;
    int64_t second = 0;
    uint64_t fraction = 0;
    bool fractionNonZero = false;
    bool hasTimezone = false;
    bool timezoneInRange = true;
    int timezone = 0;
};

// Checks the parts for the kind and stores them in out. Returns the reason
// when they do not form a value, else null.
const wchar_t* CDateTime::FromParts(DateTimeType type, const Parts& parts, CDateTime& out)
{
    int64_t year = 1;
    if (TypeHasYear(type)) {
        if (parts.yearReason) {
            return parts.yearReason;
        }
        if (parts.year == 0) {
            return kReasonYearZero;
        }
        if (parts.year < MinYear || parts.year > MaxYear) {
            return kReasonYearRange;
        }
        year = parts.year;
    }
    if (TypeHasMonth(type) && (parts.month < 1 || parts.month > 12)) {
        return L"the month must be 01 to 12";
    }
    if (TypeHasDay(type)) {
        const int64_t calendarYear = type == dt_gMonthDay ? kReferenceYear : AstronomicalYear(year);
        if (parts.day < 1 || parts.day > DaysInMonth(calendarYear, static_cast<int>(parts.month))) {
            return L"the day does not exist in that month";
        }
    }
    bool endOfDay = false;
    if (TypeHasTime(type)) {
        if (parts.hour == 24) {
            endOfDay = true;
            if (parts.minute != 0 || parts.second != 0 || parts.fractionNonZero) {
                return kReasonHour;
            }
        } else if (parts.hour < 0 || parts.hour > 23) {
            return kReasonHour;
        }
        if (parts.minute < 0 || parts.minute > 59) {
            return L"the minute must be 00 to 59";
        }
        if (parts.second < 0 || parts.second > 59) {
            return L"the second must be 00 to 59";
        }
        if (parts.fraction >= FractionScale) {
            return L"the fraction must be below 10^18";
        }
    }
    if (parts.hasTimezone && (!parts.timezoneInRange || parts.timezone < -MaxTimezoneMinutes ||
                              parts.timezone > MaxTimezoneMinutes)) {
        return L"the time zone must be between -14:00 and +14:00";
    }

    CDateTime value;
    value.m_eType = type;
    value.m_nYear = static_cast<int32_t>(year);
    if (TypeHasMonth(type)) {
        value.m_nMonth = static_cast<uint8_t>(parts.month);
    }
    if (TypeHasDay(type)) {
        value.m_nDay = static_cast<uint8_t>(parts.day);
    }
    if (TypeHasTime(type) && !endOfDay) {
        value.m_nHour = static_cast<uint8_t>(parts.hour);
        value.m_nMinute = static_cast<uint8_t>(parts.minute);
        value.m_nSecond = static_cast<uint8_t>(parts.second);
        value.m_nFraction = parts.fraction;
    }
    if (endOfDay && type == dt_dateTime) {
        // 24:00:00 is the first instant of the next day.
        const int64_t next =
            DaysFromCivil<int64_t>(AstronomicalYear(year), value.m_nMonth, value.m_nDay) + 1;
        if (next > kMaxDay) {
            return kReasonYearRange;
        }
        value.SetFromDays(next, 0, 0);
    }
    value.m_bHasTimezone = parts.hasTimezone;
    value.m_nTimezone = static_cast<int16_t>(parts.hasTimezone ? parts.timezone : 0);
    out = value;
    return nullptr;
}

CDateTime::CDateTime() = default;

CDateTime CDateTime::Make(DateTimeType type, const Parts& parts)
{
    CDateTime value;
    if (const wchar_t* reason = FromParts(type, parts, value)) {
        throw CVxInvalidParamException(
            FormatString(L"Can not make a %s: %s", SchemaName(type), reason));
    }
    return value;
}

CDateTime CDateTime::MakeDateTime(int32_t year, int month, int day, int hour, int minute,
                                  int second, uint64_t fraction)
{
    Parts parts;
    parts.year = year;
    parts.month = month;
    parts.day = day;
    parts.hour = hour;
    parts.minute = minute;
    parts.second = second;
    parts.fraction = fraction;
    parts.fractionNonZero = fraction != 0;
    return Make(dt_dateTime, parts);
}

CDateTime CDateTime::MakeDate(int32_t year, int month, int day)
{
    Parts parts;
    parts.year = year;
    parts.month = month;
    parts.day = day;
    return Make(dt_date, parts);
}

CDateTime CDateTime::MakeTime(int hour, int minute, int second, uint64_t fraction)
{
    Parts parts;
    parts.hour = hour;
    parts.minute = minute;
    parts.second = second;
    parts.fraction = fraction;
    parts.fractionNonZero = fraction != 0;
    return Make(dt_time, parts);
}

CDateTime CDateTime::MakeYearMonth(int32_t year, int month)
{
    Parts parts;
    parts.year = year;
    parts.month = month;
    return Make(dt_gYearMonth, parts);
}

CDateTime CDateTime::MakeMonthDay(int month, int day)
{
    Parts parts;
    parts.month = month;
    parts.day = day;
    return Make(dt_gMonthDay, parts);
}

CDateTime CDateTime::FromString(std::wstring_view text, DateTimeType type)
{
    Throw_IfUnknownType(type);
    Scanner in(text);
    Parts parts;
    int month = 1;
    int day = 1;
    int hour = 0;
    int minute = 0;
    int second = 0;

    bool shaped = true;
    const auto readDate = [&](bool withDay) {
        return in.ReadYear(parts.year, parts.yearReason) && in.Accept(L'-') &&
               in.ReadFixed(2, month) && (!withDay || (in.Accept(L'-') && in.ReadFixed(2, day)));
    };
    const auto readTime = [&] {
        return in.ReadFixed(2, hour) && in.Accept(L':') && in.ReadFixed(2, minute) &&
               in.Accept(L':') && in.ReadFixed(2, second) &&
               in.ReadFraction(parts.fraction, parts.fractionNonZero);
    };
    switch (type) {
    case dt_dateTime:
        shaped = readDate(true) && in.Accept(L'T') && readTime();
        break;
    case dt_date:
        shaped = readDate(true);
        break;
    case dt_time:
        shaped = readTime();
        break;
    case dt_gYearMonth:
        shaped = readDate(false);
        break;
    case dt_gMonthDay:
        shaped = in.Accept(L'-') && in.Accept(L'-') && in.ReadFixed(2, month) && in.Accept(L'-') &&
                 in.ReadFixed(2, day);
        break;
    }
    shaped = shaped && in.ReadTimezone(parts.hasTimezone, parts.timezone, parts.timezoneInRange) &&
             in.AtEnd();

    parts.month = month;
    parts.day = day;
    parts.hour = hour;
    parts.minute = minute;
    parts.second = second;
    CDateTime value;
    if (const wchar_t* reason = shaped ? FromParts(type, parts, value) : FormReason(type)) {
        const std::wstring quoted(text);
        throw CVxInvalidValueException(
            FormatString(L"The value [%s] can not be converted to a %s: %s", quoted.c_str(),
                         SchemaName(type), reason));
    }
    return value;
}

std::wstring CDateTime::ToString() const
{
    std::wstring text;
    AppendTo(text);
    return text;
}

namespace {

// Two digits of a field below 100, written in place.
void PutTwo(wchar_t* at, unsigned value)
{
    at[0] = static_cast<wchar_t>(L'0' + value / 10);
    at[1] = static_cast<wchar_t>(L'0' + value % 10);
}

} // namespace

void CDateTime::AppendTo(std::wstring& text) const
{
    // Most values written are dates and date-times of a four-digit year,
    // without a fraction, in UTC or without a zone: their characters have
    // fixed places, so they are put there directly instead of being counted
    // one at a time. Every other shape takes the general path below.
    if ((m_eType == dt_dateTime || m_eType == dt_date) && m_nYear > 0 && m_nYear < 10000 &&
        m_nFraction == 0 && (!m_bHasTimezone || m_nTimezone == 0) && m_nMonth < 100 &&
        m_nDay < 100 && m_nHour < 100 && m_nMinute < 100 && m_nSecond < 100) {
        wchar_t fixed[20];
        const auto year = static_cast<unsigned>(m_nYear);
        PutTwo(fixed, year / 100);
        PutTwo(fixed + 2, year % 100);
        fixed[4] = L'-';
        PutTwo(fixed + 5, m_nMonth);
        fixed[7] = L'-';
        PutTwo(fixed + 8, m_nDay);
        size_t length = 10;
        if (m_eType == dt_dateTime) {
            fixed[10] = L'T';
            PutTwo(fixed + 11, m_nHour);
            fixed[13] = L':';
            PutTwo(fixed + 14, m_nMinute);
            fixed[16] = L':';
            PutTwo(fixed + 17, m_nSecond);
            length = 19;
        }
        if (m_bHasTimezone) {
            fixed[length++] = L'Z';
        }
        text.append(fixed, length);
        return;
    }
    detail::TextBuilder out;
    if (TypeHasYear(m_eType)) {
        if (m_nYear < 0) {
            out += L'-';
        }
        detail::AppendUnsigned(out,
                               static_cast<uint64_t>(m_nYear < 0 ? -int64_t{m_nYear} : m_nYear), 4);
        out += L'-';
        detail::AppendUnsigned(out, m_nMonth, 2);
        if (TypeHasDay(m_eType)) {
            out += L'-';
            detail::AppendUnsigned(out, m_nDay, 2);
        }
    } else if (m_eType == dt_gMonthDay) {
        out += L"--";
        detail::AppendUnsigned(out, m_nMonth, 2);
        out += L'-';
        detail::AppendUnsigned(out, m_nDay, 2);
    }
    if (m_eType == dt_dateTime) {
        out += L'T';
    }
    if (TypeHasTime(m_eType)) {
        detail::AppendUnsigned(out, m_nHour, 2);
        out += L':';
        detail::AppendUnsigned(out, m_nMinute, 2);
        out += L':';
        detail::AppendUnsigned(out, m_nSecond, 2);
        detail::AppendFraction(out, m_nFraction);
    }
    if (m_bHasTimezone) {
        if (m_nTimezone == 0) {
            out += L'Z';
        } else {
            const int magnitude = m_nTimezone < 0 ? -m_nTimezone : m_nTimezone;
            out += m_nTimezone < 0 ? L'-' : L'+';
            detail::AppendUnsigned(out, static_cast<uint64_t>(magnitude / 60), 2);
            out += L':';
            detail::AppendUnsigned(out, static_cast<uint64_t>(magnitude % 60), 2);
        }
    }
    out.AppendTo(text);
}

const wchar_t* CDateTime::GetTypeName(DateTimeType type)
{
    switch (type) {
    case dt_dateTime:
        return L"dt_dateTime";
    case dt_date:
        return L"dt_date";
    case dt_time:
        return L"dt_time";
    case dt_gYearMonth:
        return L"dt_gYearMonth";
    case dt_gMonthDay:
        return L"dt_gMonthDay";
    }
    return L"dt_unknown";
}

void CDateTime::Throw_IfNoField(bool present, const wchar_t* operation) const
{
    if (!present) {
        throw CVxInvalidStateException(
            FormatString(L"Failed to %s. Invalid Date Type: %s.", operation, GetTypeName()));
    }
}

int32_t CDateTime::GetYear() const
{
    Throw_IfNoField(TypeHasYear(m_eType), L"GetYear");
    return m_nYear;
}

int CDateTime::GetMonth() const
{
    Throw_IfNoField(TypeHasMonth(m_eType), L"GetMonth");
    return m_nMonth;
}

int CDateTime::GetDay() const
{
    Throw_IfNoField(TypeHasDay(m_eType), L"GetDay");
    return m_nDay;
}

int CDateTime::GetHour() const
{
    Throw_IfNoField(TypeHasTime(m_eType), L"GetHour");
    return m_nHour;
}

int CDateTime::GetMinute() const
{
    Throw_IfNoField(TypeHasTime(m_eType), L"GetMinute");
    return m_nMinute;
}

int CDateTime::GetSecond() const
{
    Throw_IfNoField(TypeHasTime(m_eType), L"GetSecond");
    return m_nSecond;
}

uint64_t CDateTime::GetFraction() const
{
    Throw_IfNoField(TypeHasTime(m_eType), L"GetFraction");
    return m_nFraction;
}

int CDateTime::GetTimezoneOffset() const
{
    if (!m_bHasTimezone) {
        throw CVxInvalidStateException(FormatString(kMsgNoZone, L"GetTimezoneOffset"));
    }
    return m_nTimezone;
}

namespace {
void Throw_IfBadOffset(int offsetMinutes)
{
    if (offsetMinutes < -CDateTime::MaxTimezoneMinutes ||
        offsetMinutes > CDateTime::MaxTimezoneMinutes) {
        throw CVxInvalidParamException(
            FormatString(L"The time zone offset %d is outside -840 to 840 minutes", offsetMinutes));
    }
}
} // namespace

void CDateTime::SetTimezone(int offsetMinutes)
{
    Throw_IfBadOffset(offsetMinutes);
    m_bHasTimezone = true;
    m_nTimezone = static_cast<int16_t>(offsetMinutes);
}

void CDateTime::ClearTimezone()
{
    m_bHasTimezone = false;
    m_nTimezone = 0;
}

CDateTime CDateTime::ToTimezone(int offsetMinutes) const
{
    Throw_IfNoField(TypeHasTime(m_eType), L"ToTimezone");
    if (!m_bHasTimezone) {
        throw CVxInvalidStateException(FormatString(kMsgNoZone, L"ToTimezone"));
    }
    Throw_IfBadOffset(offsetMinutes);
    const Instant instant = GetInstant();
    const int64_t local = instant.seconds + int64_t{offsetMinutes} * 60;
    const int64_t days = FloorDiv<int64_t>(local, kSecondsPerDay);
    if (m_eType == dt_dateTime && (days < kMinDay || days > kMaxDay)) {
        throw CVxOverFlowException(kMsgYearOverflow);
    }
    CDateTime result = *this;
    result.SetFromDays(days, FloorMod<int64_t>(local, kSecondsPerDay), m_nFraction);
    result.m_nTimezone = static_cast<int16_t>(offsetMinutes);
    return result;
}

bool CDateTime::HasTime() const
{
    return TypeHasTime(m_eType);
}

CDateTime::Instant CDateTime::GetInstant() const
{
    int64_t year = AstronomicalYear(m_nYear);
    int month = m_nMonth;
    int day = m_nDay;
    switch (m_eType) {
    case dt_time:
        year = kReferenceYear;
        month = 12;
        day = 31;
        break;
    case dt_gMonthDay:
        year = kReferenceYear;
        break;
    case dt_gYearMonth:
        day = 1;
        break;
    case dt_dateTime:
    case dt_date:
        break;
    }
    int64_t seconds = DaysFromCivil<int64_t>(year, month, day) * kSecondsPerDay;
    if (HasTime()) {
        seconds += m_nHour * 3600 + m_nMinute * 60 + m_nSecond;
    }
    if (m_bHasTimezone) {
        seconds -= int64_t{m_nTimezone} * 60;
    }
    return {seconds, HasTime() ? m_nFraction : 0};
}

void CDateTime::SetFromDays(int64_t days, int64_t secondOfDay, uint64_t fraction)
{
    const detail::CivilDate date = detail::CivilFromDays(days);
    m_nYear = 1;
    m_nMonth = 1;
    m_nDay = 1;
    m_nHour = 0;
    m_nMinute = 0;
    m_nSecond = 0;
    m_nFraction = 0;
    if (TypeHasYear(m_eType)) {
        m_nYear = static_cast<int32_t>(LexicalYear(date.year));
    }
    if (TypeHasMonth(m_eType)) {
        m_nMonth = static_cast<uint8_t>(date.month);
    }
    if (TypeHasDay(m_eType)) {
        m_nDay = static_cast<uint8_t>(date.day);
    }
    if (TypeHasTime(m_eType)) {
        m_nHour = static_cast<uint8_t>(secondOfDay / 3600);
        m_nMinute = static_cast<uint8_t>(secondOfDay / 60 % 60);
        m_nSecond = static_cast<uint8_t>(secondOfDay % 60);
        m_nFraction = fraction;
    }
}

namespace {
int CompareInstants(int64_t aSeconds, uint64_t aFraction, int64_t bSeconds, uint64_t bFraction)
{
    if (aSeconds != bSeconds) {
        return aSeconds < bSeconds ? -1 : 1;
    }
    if (aFraction != bFraction) {
        return aFraction < bFraction ? -1 : 1;
    }
    return 0;
}

std::partial_ordering ToOrdering(int c)
{
    return c < 0 ? std::partial_ordering::less
                 : (c > 0 ? std::partial_ordering::greater : std::partial_ordering::equivalent);
}
} // namespace

int CDateTime::CompareTo(const CDateTime& other) const
{
    if (m_eType != other.m_eType) {
        throw CVxInvalidParamException(
            FormatString(L"Can not compare a %s with a %s", GetTypeName(), other.GetTypeName()));
    }
    const Instant a = GetInstant();
    const Instant b = other.GetInstant();
    if (const int c = CompareInstants(a.seconds, a.fraction, b.seconds, b.fraction)) {
        return c;
    }
    if (m_bHasTimezone != other.m_bHasTimezone) {
        return m_bHasTimezone ? 1 : -1;
    }
    return 0;
}

std::partial_ordering CDateTime::ComparePartial(const CDateTime& other) const
{
    if (m_eType != other.m_eType) {
        return std::partial_ordering::unordered;
    }
    const Instant a = GetInstant();
    const Instant b = other.GetInstant();
    if (m_bHasTimezone == other.m_bHasTimezone) {
        return ToOrdering(CompareInstants(a.seconds, a.fraction, b.seconds, b.fraction));
    }
    // The side without a zone may be anywhere from -14:00 to +14:00; only a
    // distance larger than that decides.
    constexpr int64_t kWindow = int64_t{MaxTimezoneMinutes} * 60;
    if (CompareInstants(a.seconds + kWindow, a.fraction, b.seconds, b.fraction) < 0) {
        return std::partial_ordering::less;
    }
    if (CompareInstants(a.seconds - kWindow, a.fraction, b.seconds, b.fraction) > 0) {
        return std::partial_ordering::greater;
    }
    return std::partial_ordering::unordered;
}

CDateTime& CDateTime::operator+=(const CDateTimeSpan& span)
{
    constexpr Int128 kScale = FractionScale;
    constexpr Int128 kDay = kSecondsPerDay;
    const int sign = span.IsNegative() ? -1 : 1;
    const Int128 spanMonths = sign * (Int128{span.GetYears()} * 12 + span.GetMonths());
    const Int128 spanSeconds = Int128{span.GetDays()} * kDay + Int128{span.GetHours()} * 3600 +
                               Int128{span.GetMinutes()} * 60 + span.GetSeconds();
    const Int128 spanUnits = sign * (spanSeconds * kScale + span.GetFraction());

    const Int128 timeOfDay = HasTime() ? Int128{m_nHour} * 3600 + m_nMinute * 60 + m_nSecond : 0;
    const Int128 fraction = HasTime() ? m_nFraction : 0;

    if (m_eType == dt_time) {
        // A time has no date to carry into: it wraps around midnight.
        const Int128 units = FloorMod(timeOfDay * kScale + fraction + spanUnits, kDay * kScale);
        SetFromDays(0, static_cast<int64_t>(units / kScale), static_cast<uint64_t>(units % kScale));
        return *this;
    }

    // Months first, with the day pinned into the resulting month.
    Int128 year = AstronomicalYear(m_nYear);
    int day = m_nDay;
    if (m_eType == dt_gMonthDay) {
        year = kReferenceYear;
    } else if (m_eType == dt_gYearMonth) {
        day = 1;
    }
    Int128 monthIndex = year * 12 + (m_nMonth - 1) + spanMonths;
    if (m_eType == dt_gMonthDay) {
        // Only the month and day are kept, and the calendar repeats every
        // 400 years, so stay within one cycle from the reference year.
        monthIndex = kReferenceYear * 12 + FloorMod<Int128>(monthIndex, kMonthsPer400Years);
    }
    const Int128 newYear = FloorDiv<Int128>(monthIndex, 12);
    const int newMonth = static_cast<int>(FloorMod<Int128>(monthIndex, 12)) + 1;
    // The day and time part moves in the same direction as the months, so a
    // year already out of range cannot come back.
    if (newYear < kMinAstronomicalYear || newYear > kMaxAstronomicalYear) {
        throw CVxOverFlowException(kMsgYearOverflow);
    }
    day = std::min(day, DaysInMonth(newYear, newMonth));

    // Then the days and the time, as one count of 10^-18 s.
    const Int128 days = DaysFromCivil<Int128>(newYear, newMonth, day);
    const Int128 units = (days * kDay + timeOfDay) * kScale + fraction + spanUnits;
    const Int128 seconds = FloorDiv(units, kScale);
    Int128 resultDays = FloorDiv(seconds, kDay);
    if (m_eType == dt_gMonthDay) {
        resultDays = FloorMod<Int128>(resultDays, kDaysPer400Years);
    } else if (resultDays < kMinDay || resultDays > kMaxDay) {
        throw CVxOverFlowException(kMsgYearOverflow);
    }
    SetFromDays(static_cast<int64_t>(resultDays), static_cast<int64_t>(FloorMod(seconds, kDay)),
                static_cast<uint64_t>(FloorMod(units, kScale)));
    return *this;
}

CDateTime& CDateTime::operator-=(const CDateTimeSpan& span)
{
    return *this += -span;
}

CDateTime CDateTime::operator+(const CDateTimeSpan& span) const
{
    CDateTime result = *this;
    result += span;
    return result;
}

CDateTime CDateTime::operator-(const CDateTimeSpan& span) const
{
    CDateTime result = *this;
    result -= span;
    return result;
}

CDateTimeSpan CDateTime::operator-(const CDateTime& other) const
{
    if (m_eType != other.m_eType) {
        throw CVxInvalidParamException(
            FormatString(L"Can not subtract a %s from a %s", other.GetTypeName(), GetTypeName()));
    }
    const Instant a = GetInstant();
    const Instant b = other.GetInstant();
    const Int128 difference = (Int128{a.seconds} * FractionScale + a.fraction) -
                              (Int128{b.seconds} * FractionScale + b.fraction);
    const bool negative = difference < 0;
    const Int128 magnitude = negative ? -difference : difference;
    const int64_t seconds = static_cast<int64_t>(magnitude / FractionScale);
    return CDateTimeSpan(negative, 0, 0, seconds / kSecondsPerDay, seconds / 3600 % 24,
                         seconds / 60 % 60, seconds % 60,
                         static_cast<uint64_t>(magnitude % FractionScale));
}

namespace {
// Splits a count of nanoseconds since 1970 into seconds and 10^-18 s.
void SplitNanoseconds(std::chrono::system_clock::time_point point, int64_t& seconds,
                      uint64_t& fraction)
{
    const int64_t ns =
        std::chrono::duration_cast<std::chrono::nanoseconds>(point.time_since_epoch()).count();
    seconds = FloorDiv<int64_t>(ns, 1000000000);
    fraction = static_cast<uint64_t>(FloorMod<int64_t>(ns, 1000000000)) * 1000000000ULL;
}
} // namespace

CDateTime CDateTime::FromTimePoint(std::chrono::system_clock::time_point point, DateTimeType type)
{
    Throw_IfUnknownType(type);
    int64_t seconds = 0;
    uint64_t fraction = 0;
    SplitNanoseconds(point, seconds, fraction);
    CDateTime value;
    value.m_eType = type;
    value.SetFromDays(FloorDiv<int64_t>(seconds, kSecondsPerDay),
                      FloorMod<int64_t>(seconds, kSecondsPerDay), fraction);
    value.m_bHasTimezone = true;
    value.m_nTimezone = 0;
    return value;
}

CDateTime CDateTime::UtcNow(DateTimeType type)
{
    return FromTimePoint(std::chrono::system_clock::now(), type);
}

CDateTime CDateTime::Now(DateTimeType type, bool withTimezone)
{
    Throw_IfUnknownType(type);
    int64_t seconds = 0;
    uint64_t fraction = 0;
    SplitNanoseconds(std::chrono::system_clock::now(), seconds, fraction);
    const std::time_t clock = static_cast<std::time_t>(seconds);
    std::tm local{};
    if (localtime_r(&clock, &local) == nullptr) {
        throw CVxException(L"Failed to read the local time");
    }
    // A leap second reported by the C library is folded into the second
    // before it: XML Schema has no second 60.
    const int second = std::min(local.tm_sec, 59);
    CDateTime value;
    value.m_eType = type;
    value.SetFromDays(
        DaysFromCivil<int64_t>(int64_t{local.tm_year} + 1900, local.tm_mon + 1, local.tm_mday),
        local.tm_hour * 3600 + local.tm_min * 60 + second, fraction);
    const long offset = local.tm_gmtoff / 60;
    if (withTimezone && offset >= -MaxTimezoneMinutes && offset <= MaxTimezoneMinutes) {
        value.m_bHasTimezone = true;
        value.m_nTimezone = static_cast<int16_t>(offset);
    }
    return value;
}

} // namespace VxXmlLib16
