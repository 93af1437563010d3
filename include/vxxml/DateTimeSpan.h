// CDateTimeSpan: the xs:duration value of XML Schema.
#pragma once

#include <compare>
#include <cstdint>
#include <string>
#include <string_view>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

// A signed duration in the six fields of its lexical form
// [-]PnYnMnDTnHnMnS. The fields are kept as they were given, so "PT90M"
// reads back as "PT90M", not "PT1H30M"; Normalized() gives the canonical
// spelling.
//
// Limits: every field is a non-negative whole number, the month part
// (years * 12 + months) and the second part (days * 86400 + hours * 3600 +
// minutes * 60 + seconds) must each fit in a signed 64-bit integer.
// Fractions of a second are kept to 18 digits (units of 10^-18 s, see
// GetFraction); digits beyond the 18th are dropped.
//
// Value and order: two durations are equal when their month parts and their
// second parts are equal, as XML Schema 1.1 defines it (so "PT24H" == "P1D",
// but "P1M" != "P30D").
// XML Schema orders durations by adding them to four reference instants
// (1696-09-01, 1697-02-01, 1903-03-01 and 1903-07-01, all UTC) and leaves
// the order undetermined when the four disagree (P1M against P30D).
// ComparePartial() gives exactly that relation. CompareTo() and the
// relational operators need a total order and extend it: the reference
// instants are tried in that sequence and the first one at which the two
// durations differ decides; when all four agree in equality the month parts
// decide. So CompareTo always agrees with XML Schema where XML Schema
// decides.
class VXXML_API CDateTimeSpan
{
public:
    static constexpr int FractionDigits = 18;
    static constexpr uint64_t FractionScale = 1000000000000000000ULL;

    // The zero duration, "PT0S".
    CDateTimeSpan();
    // From the fields of the lexical form; fraction is in units of 10^-18 s
    // and must be below FractionScale. A zero duration is never negative.
    // Throws CVxInvalidParamException for a negative field, a fraction out of
    // range or a month or second part too large.
    CDateTimeSpan(bool negative, int64_t years, int64_t months, int64_t days, int64_t hours,
                  int64_t minutes, int64_t seconds, uint64_t fraction = 0);

    // Parses the xs:duration lexical form exactly (no surrounding
    // whitespace). Throws CVxInvalidValueException quoting the text.
    static CDateTimeSpan FromString(std::wstring_view text);
    // The lexical form with zero fields left out ("P1Y2DT0.5S", "PT0S").
    std::wstring ToString() const;

    bool IsNegative() const { return m_bNegative; }
    bool IsZero() const;
    int64_t GetYears() const { return m_nYears; }
    int64_t GetMonths() const { return m_nMonths; }
    int64_t GetDays() const { return m_nDays; }
    int64_t GetHours() const { return m_nHours; }
    int64_t GetMinutes() const { return m_nMinutes; }
    int64_t GetSeconds() const { return m_nSeconds; }
    // Fractional second in units of 10^-18 s (0 to FractionScale - 1).
    uint64_t GetFraction() const { return m_nFraction; }

    // years * 12 + months, negative for a negative duration.
    int64_t GetTotalMonths() const;
    // The whole seconds of the day and time fields (days * 86400 + ...),
    // negative for a negative duration; the fraction is not included.
    int64_t GetTotalSeconds() const;

    // The same value in canonical fields: months below 12, hours below 24,
    // minutes and seconds below 60.
    CDateTimeSpan Normalized() const;

    // Negative, zero or positive; a total order (see the class comment).
    int CompareTo(const CDateTimeSpan& other) const;
    // XML Schema's own order: unordered when the reference instants disagree.
    std::partial_ordering ComparePartial(const CDateTimeSpan& other) const;

    bool operator==(const CDateTimeSpan& other) const { return CompareTo(other) == 0; }
    std::weak_ordering operator<=>(const CDateTimeSpan& other) const
    {
        const int c = CompareTo(other);
        return c < 0 ? std::weak_ordering::less
                     : (c > 0 ? std::weak_ordering::greater : std::weak_ordering::equivalent);
    }

    CDateTimeSpan operator-() const;
    // The sum and difference in canonical fields. Throws
    // CVxInvalidParamException when the result would have a month part and a
    // second part of opposite signs (P1M + -P1D), which no duration can hold,
    // and CVxOverFlowException when a part no longer fits.
    CDateTimeSpan operator+(const CDateTimeSpan& other) const;
    CDateTimeSpan operator-(const CDateTimeSpan& other) const;

private:
    bool m_bNegative = false;
    int64_t m_nYears = 0;
    int64_t m_nMonths = 0;
    int64_t m_nDays = 0;
    int64_t m_nHours = 0;
    int64_t m_nMinutes = 0;
    int64_t m_nSeconds = 0;
    uint64_t m_nFraction = 0;
};

} // namespace VxXmlLib16
