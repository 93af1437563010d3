#include "types/CalendarMath.h"

#include <cstdint>
#include <limits>
#include <vxxml/DateTimeSpan.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

namespace VxXmlLib16 {

using detail::DaysFromCivil;
using detail::FloorDiv;
using detail::FloorMod;
using detail::Int128;
using detail::kSecondsPerDay;

namespace {

// Texts used at more than one throw site.

constexpr const wchar_t* kReasonForm = L"expected [-]PnYnMnDTnHnMnS";
constexpr const wchar_t* kReasonTooLarge =
    L"the month part or the second part does not fit in 64 bits";

constexpr Int128 kScale = CDateTimeSpan::FractionScale;
constexpr Int128 kInt64Max = std::numeric_limits<int64_t>::max();

// The instants from which XML Schema measures durations to order them, in
// the sequence in which CompareTo consults them.
struct Reference
{
    int64_t year;
    int month;
};
constexpr Reference kReferences[] = {{1696, 9}, {1697, 2}, {1903, 3}, {1903, 7}};

// A point on the time line as whole seconds (floor) and 10^-18 s.
struct Point
{
    Int128 seconds;
    uint64_t fraction;

    int Compare(const Point& other) const
    {
        if (seconds != other.seconds) {
            return seconds < other.seconds ? -1 : 1;
        }
        if (fraction != other.fraction) {
            return fraction < other.fraction ? -1 : 1;
        }
        return 0;
    }
};

std::partial_ordering ToOrdering(int c)
{
    return c < 0 ? std::partial_ordering::less
                 : (c > 0 ? std::partial_ordering::greater : std::partial_ordering::equivalent);
}

const wchar_t* CheckFields(int64_t years, int64_t months, int64_t days, int64_t hours,
                           int64_t minutes, int64_t seconds, uint64_t fraction)
{
    if (years < 0 || months < 0 || days < 0 || hours < 0 || minutes < 0 || seconds < 0) {
        return L"a field is negative";
    }
    if (fraction >= CDateTimeSpan::FractionScale) {
        return L"the fraction must be below 10^18";
    }
    const Int128 monthPart = Int128{years} * 12 + months;
    const Int128 secondPart =
        Int128{days} * kSecondsPerDay + Int128{hours} * 3600 + Int128{minutes} * 60 + seconds;
    if (monthPart > kInt64Max || secondPart > kInt64Max) {
        return kReasonTooLarge;
    }
    return nullptr;
}

} // namespace

CDateTimeSpan::CDateTimeSpan() = default;

CDateTimeSpan::CDateTimeSpan(bool negative, int64_t years, int64_t months, int64_t days,
                             int64_t hours, int64_t minutes, int64_t seconds, uint64_t fraction)
{
    if (const wchar_t* reason =
            CheckFields(years, months, days, hours, minutes, seconds, fraction)) {
        throw CVxInvalidParamException(FormatString(L"Can not make a duration: %s", reason));
    }
    m_nYears = years;
    m_nMonths = months;
    m_nDays = days;
    m_nHours = hours;
    m_nMinutes = minutes;
    m_nSeconds = seconds;
    m_nFraction = fraction;
    m_bNegative = negative && !IsZero();
}

CDateTimeSpan CDateTimeSpan::FromString(std::wstring_view text)
{
    const auto fail = [&](const wchar_t* reason) {
        const std::wstring quoted(text);
        throw CVxInvalidValueException(FormatString(
            L"The value [%s] can not be converted to a duration: %s", quoted.c_str(), reason));
    };

    size_t pos = 0;
    const auto accept = [&](wchar_t c) {
        if (pos < text.size() && text[pos] == c) {
            ++pos;
            return true;
        }
        return false;
    };

    const bool negative = accept(L'-');
    if (!accept(L'P')) {
        fail(kReasonForm);
    }
    // Fields in the order of their designators: Y M D (before T), H M S (after).
    constexpr wchar_t kDesignators[] = {L'Y', L'M', L'D', L'H', L'M', L'S'};
    int64_t fields[6] = {};
    uint64_t fraction = 0;
    int next = 0;
    bool inTime = false;
    bool anyField = false;
    bool anyTimeField = false;
    bool tooLarge = false;
    while (pos < text.size()) {
        if (accept(L'T')) {
            if (inTime) {
                fail(kReasonForm);
            }
            inTime = true;
            next = 3;
            continue;
        }
        const size_t start = pos;
        int64_t value = 0;
        while (pos < text.size() && detail::IsDigit(text[pos])) {
            const int digit = text[pos] - L'0';
            if (value > (std::numeric_limits<int64_t>::max() - digit) / 10) {
                tooLarge = true;
            } else {
                value = value * 10 + digit;
            }
            ++pos;
        }
        const size_t integerDigits = pos - start;
        bool hasPoint = false;
        size_t fractionDigits = 0;
        uint64_t fieldFraction = 0;
        if (accept(L'.')) {
            hasPoint = true;
            bool anyNonZero = false;
            fractionDigits = detail::ParseFractionDigits(text, pos, fieldFraction, anyNonZero);
            pos += fractionDigits;
        }
        if ((integerDigits == 0 && fractionDigits == 0) || pos >= text.size()) {
            fail(kReasonForm);
        }
        const wchar_t designator = text[pos++];
        int index = next;
        const int last = inTime ? 5 : 2;
        while (index <= last && kDesignators[index] != designator) {
            ++index;
        }
        // Only the seconds may have a fraction.
        if (index > last || (hasPoint && index != 5)) {
            fail(kReasonForm);
        }
        fields[index] = value;
        if (index == 5) {
            fraction = fieldFraction;
        }
        next = index + 1;
        anyField = true;
        anyTimeField = anyTimeField || inTime;
    }
    if (!anyField || (inTime && !anyTimeField)) {
        fail(kReasonForm);
    }
    if (tooLarge ||
        CheckFields(fields[0], fields[1], fields[2], fields[3], fields[4], fields[5], fraction)) {
        fail(kReasonTooLarge);
    }
    return CDateTimeSpan(negative, fields[0], fields[1], fields[2], fields[3], fields[4], fields[5],
                         fraction);
}

std::wstring CDateTimeSpan::ToString() const
{
    if (IsZero()) {
        return L"PT0S";
    }
    detail::TextBuilder out;
    out += m_bNegative ? L"-P" : L"P";
    const auto field = [&out](int64_t value, wchar_t designator) {
        if (value != 0) {
            detail::AppendUnsigned(out, static_cast<uint64_t>(value));
            out += designator;
        }
    };
    field(m_nYears, L'Y');
    field(m_nMonths, L'M');
    field(m_nDays, L'D');
    if (m_nHours != 0 || m_nMinutes != 0 || m_nSeconds != 0 || m_nFraction != 0) {
        out += L'T';
        field(m_nHours, L'H');
        field(m_nMinutes, L'M');
        if (m_nSeconds != 0 || m_nFraction != 0) {
            detail::AppendUnsigned(out, static_cast<uint64_t>(m_nSeconds));
            detail::AppendFraction(out, m_nFraction);
            out += L'S';
        }
    }
    return out.str();
}

bool CDateTimeSpan::IsZero() const
{
    return m_nYears == 0 && m_nMonths == 0 && m_nDays == 0 && m_nHours == 0 && m_nMinutes == 0 &&
           m_nSeconds == 0 && m_nFraction == 0;
}

int64_t CDateTimeSpan::GetTotalMonths() const
{
    const int64_t months = m_nYears * 12 + m_nMonths;
    return m_bNegative ? -months : months;
}

int64_t CDateTimeSpan::GetTotalSeconds() const
{
    const int64_t seconds =
        m_nDays * kSecondsPerDay + m_nHours * 3600 + m_nMinutes * 60 + m_nSeconds;
    return m_bNegative ? -seconds : seconds;
}

namespace {

// The day and time part as a signed count of 10^-18 s.
Int128 SignedUnits(const CDateTimeSpan& span)
{
    const Int128 units = Int128{span.GetTotalSeconds()} * kScale +
                         (span.IsNegative() ? -Int128{span.GetFraction()} : span.GetFraction());
    return units;
}

// Where the span ends when it starts at the first instant of the reference
// month, as seconds from that instant.
Point AtReference(const CDateTimeSpan& span, const Reference& reference)
{
    const Int128 monthIndex =
        Int128{reference.year} * 12 + (reference.month - 1) + span.GetTotalMonths();
    const Int128 days =
        DaysFromCivil<Int128>(FloorDiv<Int128>(monthIndex, 12),
                              static_cast<int>(FloorMod<Int128>(monthIndex, 12)) + 1, 1) -
        DaysFromCivil<Int128>(reference.year, reference.month, 1);
    const Int128 units = SignedUnits(span);
    return {days * kSecondsPerDay + FloorDiv(units, kScale),
            static_cast<uint64_t>(FloorMod(units, kScale))};
}

int CompareUnits(const CDateTimeSpan& a, const CDateTimeSpan& b)
{
    const Int128 x = SignedUnits(a);
    const Int128 y = SignedUnits(b);
    return x < y ? -1 : (x > y ? 1 : 0);
}

CDateTimeSpan FromTotals(Int128 months, Int128 units)
{
    if ((months > 0 && units < 0) || (months < 0 && units > 0)) {
        throw CVxInvalidParamException(L"The result has a month part and a day and time part of "
                                       L"opposite signs, which no duration "
                                       L"can hold");
    }
    const bool negative = months < 0 || units < 0;
    if (negative) {
        months = -months;
        units = -units;
    }
    const Int128 seconds = units / kScale;
    if (months > kInt64Max || seconds > kInt64Max) {
        throw CVxOverFlowException(
            L"The result is too large: its month part or its second part does not fit in 64 bits");
    }
    const int64_t m = static_cast<int64_t>(months);
    const int64_t s = static_cast<int64_t>(seconds);
    return CDateTimeSpan(negative, m / 12, m % 12, s / kSecondsPerDay, s / 3600 % 24, s / 60 % 60,
                         s % 60, static_cast<uint64_t>(units % kScale));
}

} // namespace

CDateTimeSpan CDateTimeSpan::Normalized() const
{
    return FromTotals(GetTotalMonths(), SignedUnits(*this));
}

int CDateTimeSpan::CompareTo(const CDateTimeSpan& other) const
{
    const int64_t months = GetTotalMonths();
    const int64_t otherMonths = other.GetTotalMonths();
    if (months == otherMonths) {
        return CompareUnits(*this, other);
    }
    for (const Reference& reference : kReferences) {
        if (const int c = AtReference(*this, reference).Compare(AtReference(other, reference))) {
            return c;
        }
    }
    return months < otherMonths ? -1 : 1;
}

std::partial_ordering CDateTimeSpan::ComparePartial(const CDateTimeSpan& other) const
{
    if (GetTotalMonths() == other.GetTotalMonths()) {
        return ToOrdering(CompareUnits(*this, other));
    }
    int less = 0;
    int greater = 0;
    for (const Reference& reference : kReferences) {
        const int c = AtReference(*this, reference).Compare(AtReference(other, reference));
        less += c < 0 ? 1 : 0;
        greater += c > 0 ? 1 : 0;
    }
    if (less == 4) {
        return std::partial_ordering::less;
    }
    if (greater == 4) {
        return std::partial_ordering::greater;
    }
    return std::partial_ordering::unordered;
}

CDateTimeSpan CDateTimeSpan::operator-() const
{
    CDateTimeSpan result = *this;
    result.m_bNegative = !m_bNegative && !IsZero();
    return result;
}

CDateTimeSpan CDateTimeSpan::operator+(const CDateTimeSpan& other) const
{
    return FromTotals(Int128{GetTotalMonths()} + other.GetTotalMonths(),
                      SignedUnits(*this) + SignedUnits(other));
}

CDateTimeSpan CDateTimeSpan::operator-(const CDateTimeSpan& other) const
{
    return FromTotals(Int128{GetTotalMonths()} - other.GetTotalMonths(),
                      SignedUnits(*this) - SignedUnits(other));
}

} // namespace VxXmlLib16
