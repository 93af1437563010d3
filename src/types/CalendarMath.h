// Calendar arithmetic and lexical helpers shared by CDateTime and CDateTimeSpan.
//
// Internally every calendar computation uses the proleptic Gregorian calendar
// with astronomical year numbering (year 0 exists and is a leap year). The
// lexical forms of XML Schema 1.0 have no year 0000: the year written -0001
// is astronomical year 0, -0002 is astronomical -1, and so on. The two
// conversion functions below are the only place that knows about the gap.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace VxXmlLib16::detail {

// Wide enough for instants in 10^-18 s over a billion years, and for the
// day counts of the largest durations.
__extension__ typedef __int128 Int128;

inline constexpr uint64_t kFractionScale = 1000000000000000000ULL; // 10^18
inline constexpr int kFractionDigits = 18;
inline constexpr int64_t kSecondsPerDay = 86400;

inline constexpr int64_t AstronomicalYear(int64_t lexicalYear)
{
    return lexicalYear < 0 ? lexicalYear + 1 : lexicalYear;
}

inline constexpr int64_t LexicalYear(int64_t astronomicalYear)
{
    return astronomicalYear <= 0 ? astronomicalYear - 1 : astronomicalYear;
}

template <typename T> constexpr T FloorDiv(T a, T b)
{
    T q = a / b;
    return (a % b != 0 && ((a < 0) != (b < 0))) ? q - 1 : q;
}

template <typename T> constexpr T FloorMod(T a, T b)
{
    return a - FloorDiv(a, b) * b;
}

template <typename T> constexpr bool IsLeapYear(T astronomicalYear)
{
    return astronomicalYear % 4 == 0 &&
           (astronomicalYear % 100 != 0 || astronomicalYear % 400 == 0);
}

template <typename T> constexpr int DaysInMonth(T astronomicalYear, int month)
{
    constexpr int kDays[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeapYear(astronomicalYear) ? 29 : kDays[month - 1];
}

// Days from 1970-01-01 to the given date (negative before it). Works in whole
// 400-year eras so that it is exact for any year T can hold.
template <typename T> constexpr T DaysFromCivil(T year, int month, int day)
{
    year -= month <= 2 ? 1 : 0;
    const T era = FloorDiv<T>(year, 400);
    const T yoe = year - era * 400;                                         // [0, 399]
    const T doy = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1; // [0, 365]
    const T doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;                    // [0, 146096]
    return era * 146097 + doe - 719468;
}

struct CivilDate
{
    int64_t year; // astronomical
    int month;
    int day;
};

// The inverse of DaysFromCivil.
constexpr CivilDate CivilFromDays(int64_t days)
{
    days += 719468;
    const int64_t era = FloorDiv<int64_t>(days, 146097);
    const int64_t doe = days - era * 146097;                                   // [0, 146096]
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365; // [0, 399]
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);               // [0, 365]
    const int64_t mp = (5 * doy + 2) / 153;                                    // [0, 11]
    const int day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    const int month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    return {yoe + era * 400 + (month <= 2 ? 1 : 0), month, day};
}

inline bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

// Reads the digits of a fraction (after the point) starting at pos. Keeps the
// first 18 digits, scaled to units of 10^-18; later digits are dropped.
// Sets anyNonZero when any digit, kept or dropped, is not 0. Returns the
// number of digits consumed.
inline size_t ParseFractionDigits(std::wstring_view text, size_t pos, uint64_t& fraction,
                                  bool& anyNonZero)
{
    fraction = 0;
    anyNonZero = false;
    size_t count = 0;
    while (pos + count < text.size() && IsDigit(text[pos + count])) {
        const unsigned digit = static_cast<unsigned>(text[pos + count] - L'0');
        if (count < static_cast<size_t>(kFractionDigits)) {
            fraction = fraction * 10 + digit;
        }
        anyNonZero = anyNonZero || digit != 0;
        ++count;
    }
    for (size_t i = count; i < static_cast<size_t>(kFractionDigits); ++i) {
        fraction *= 10;
    }
    return count;
}

// A fixed buffer for building the short texts of these values; formatting
// into it and copying once is much cheaper than growing a wide string one
// character at a time. Large enough for the longest duration text (about 140
// characters).
class TextBuilder
{
public:
    TextBuilder& operator+=(wchar_t c)
    {
        m_text[m_length++] = c;
        return *this;
    }
    TextBuilder& operator+=(const wchar_t* text)
    {
        while (*text) {
            m_text[m_length++] = *text++;
        }
        return *this;
    }
    void append(const wchar_t* text, size_t count)
    {
        for (size_t i = 0; i < count; ++i) {
            m_text[m_length++] = text[i];
        }
    }
    std::wstring str() const { return std::wstring(m_text, m_length); }
    void AppendTo(std::wstring& out) const { out.append(m_text, m_length); }

private:
    wchar_t m_text[192];
    size_t m_length = 0;
};

// Appends ".ddd" for a non-zero fraction, without trailing zeros.
template <typename Out> void AppendFraction(Out& out, uint64_t fraction)
{
    if (fraction == 0) {
        return;
    }
    wchar_t digits[kFractionDigits];
    for (int i = kFractionDigits - 1; i >= 0; --i) {
        digits[i] = static_cast<wchar_t>(L'0' + fraction % 10);
        fraction /= 10;
    }
    int length = kFractionDigits;
    while (digits[length - 1] == L'0') {
        --length;
    }
    out += L'.';
    out.append(digits, static_cast<size_t>(length));
}

// Appends value in decimal, left-padded with zeros to at least minWidth digits.
template <typename Out> void AppendPadded(Out& out, uint64_t value, int minWidth)
{
    wchar_t digits[24];
    int length = 0;
    do {
        digits[length++] = static_cast<wchar_t>(L'0' + value % 10);
        value /= 10;
    } while (value != 0);
    for (int i = length; i < minWidth; ++i) {
        out += L'0';
    }
    while (length > 0) {
        out += digits[--length];
    }
}

// AppendPadded, with the fields of a date or time (two digits, and a year of
// four) written straight: small enough to be inlined where the width is known.
template <typename Out>
[[gnu::always_inline]] inline void AppendUnsigned(Out& out, uint64_t value, int minWidth = 1)
{
    if (minWidth == 2 && value < 100) {
        out += static_cast<wchar_t>(L'0' + value / 10);
        out += static_cast<wchar_t>(L'0' + value % 10);
    } else if (minWidth == 4 && value < 10000) {
        out += static_cast<wchar_t>(L'0' + value / 1000);
        out += static_cast<wchar_t>(L'0' + value / 100 % 10);
        out += static_cast<wchar_t>(L'0' + value / 10 % 10);
        out += static_cast<wchar_t>(L'0' + value % 10);
    } else {
        AppendPadded(out, value, minWidth);
    }
}

} // namespace VxXmlLib16::detail
