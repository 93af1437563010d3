// Exact unbounded decimal number: the value of xs:decimal.
//
// A value is an integer part (which carries the sign of the whole value, even
// when it is zero, as in -0.5), a non-negative fraction part and a fraction
// divider: the number of decimal places the fraction part is scaled by.
// So 12.034 is 12 + 34 / 10^3 and -0.5 is -(0 + 5 / 10^1). A whole number
// has a zero fraction part and a divider of 1.
//
// Parsing keeps the places as written ("1.50" prints back as "1.50");
// arithmetic results drop trailing zero places.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vxxml/BigInteger.h>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

class VXXML_API CDecimal
{
public:
    CDecimal();
    CDecimal(int value);
    CDecimal(long value);
    CDecimal(long long value);
    CDecimal(unsigned int value);
    CDecimal(unsigned long value);
    CDecimal(unsigned long long value);
    // The shortest decimal text that reads back as the same double, so 0.1
    // gives exactly 0.1. NaN and the infinities throw CVxInvalidValueException.
    CDecimal(double value);
    // Reads a decimal: optional blanks, an optional sign, digits with an
    // optional point ("1.", ".5" and "1.5" are all fine), an optional
    // exponent ("1.7E+308", "25e-3") of at most kMaxExponent in size, then
    // optional blanks. Anything else, including an empty text or a null
    // pointer, throws CVxInvalidValueException quoting the text.
    CDecimal(const wchar_t* text);
    CDecimal(const wchar_t* text, size_t length);
    CDecimal(const CBigInteger& value);
    CDecimal(const CDecimal& other) = default;
    CDecimal(CDecimal&& other) noexcept = default;
    CDecimal& operator=(const CDecimal& other) = default;
    CDecimal& operator=(CDecimal&& other) noexcept = default;
    virtual ~CDecimal();

    // Largest exponent magnitude the parser accepts. It bounds the digits a
    // short text can ask for: "1E999999999" is refused rather than
    // allocating a billion digits.
    static constexpr int32_t kMaxExponent = 10000;

    // Every fraction digit the value holds; no point for a whole number.
    std::wstring ToString() const;
    // Appends ToString()'s text to out: for callers that format many values
    // into one buffer instead of making a string per value.
    void AppendTo(std::wstring& out) const;
    // Rounded half away from zero to the given number of places (0 or less
    // means none, without a point), padded with zeros to exactly that many
    // places: 1.005 gives "1.01", -1.005 gives "-1.01", 2 gives "2.00". A
    // value that rounds to zero is written without a minus sign.
    std::wstring ToString(int decimalPlaces) const;

    CDecimal operator+(const CDecimal& other) const;
    CDecimal operator-(const CDecimal& other) const;
    CDecimal operator*(const CDecimal& other) const;
    // Keeps at most GetMaxDecimalPlaces() places, the rest is cut off
    // (truncated toward zero). A zero divisor throws CVxInvalidValueException.
    CDecimal operator/(const CDecimal& other) const;
    CDecimal& operator+=(const CDecimal& other);
    CDecimal& operator-=(const CDecimal& other);
    CDecimal& operator*=(const CDecimal& other);
    CDecimal& operator/=(const CDecimal& other);
    CDecimal& operator++();
    CDecimal operator++(int);
    CDecimal& operator--();
    CDecimal operator--(int);

    CDecimal& Negate();
    CDecimal GetNegative() const;

    bool operator==(const CDecimal& other) const;
    bool operator!=(const CDecimal& other) const;
    bool operator<(const CDecimal& other) const;
    bool operator<=(const CDecimal& other) const;
    bool operator>(const CDecimal& other) const;
    bool operator>=(const CDecimal& other) const;
    // Negative, zero or positive as this value is below, equal to or above
    // other: one comparison where a pair of the operators above makes two.
    int CompareTo(const CDecimal& other) const { return CompareValues(*this, other); }

    // Checked conversions; the fraction is truncated toward zero. Outside
    // CBigInteger::MIN_LONG..MAX_LONG (resp. the LONGLONG and DOUBLE bounds)
    // they throw CVxOverFlowException.
    int32_t ToLong() const;
    int64_t ToLongLong() const;
    // The nearest double (correctly rounded).
    double ToDouble() const;
    // The integer part, truncated toward zero (so -0.5 gives 0).
    CBigInteger ToBigInteger() const;
    // The stored parts. The integer part carries the sign of the whole value
    // (for -0.5 it is a zero with a negative sign, which compares equal to 0);
    // the fraction part is never negative.
    CBigInteger GetIntegerPart() const { return m_biInteger; }
    CBigInteger GetFractionPart() const { return m_biFraction; }
    int32_t GetFractionDivider() const { return m_lDivider; }

    // -1, 0 or +1.
    int Signum() const;
    bool IsZero() const { return m_biInteger.IsZero() && m_biFraction.IsZero(); }
    // Digit counts as XML Schema's totalDigits and fractionDigits facets see
    // them: on the absolute value, without leading zeros of the integer part
    // and without trailing zeros of the fraction. 12.340 has 2 integer digits
    // and 2 fraction digits; 0.05 has 1 integer digit (the 0) and 2 fraction
    // digits; 7 has 1 and 0.
    int32_t GetIntegerDigitCount() const { return m_biInteger.GetDigitCount(); }
    int32_t GetFractionDigitCount() const;

    // The places kept by division; shared by all values and threads.
    static int GetMaxDecimalPlaces();
    static void SetMaxDecimalPlaces(int places);

private:
    friend class CBigInteger;

    CDecimal(CBigInteger integerPart, CBigInteger fractionPart, int32_t divider);

    void Parse(const wchar_t* text, size_t length);
    // Brings both values to the larger of their dividers.
    static void Normalize(CDecimal& a, CDecimal& b);
    // Rescales the fraction to the given divider (not below the current one
    // unless only zeros are dropped).
    void ChangeFractionalDivider(int32_t divider);
    // Drops trailing zero places; a whole number ends with divider 1.
    void Rationalise();
    // |value| * 10^divider as one digit vector; the divider must be at least
    // the value's own.
    void GetScaled(int32_t divider, CBigInteger::Digits& out) const;
    // Sets the value from sign * scaled / 10^divider, then rationalises.
    void SetScaled(int32_t sign, CBigInteger::Digits& scaled, int32_t divider);
    // this /= other for a non-zero other, keeping GetMaxDecimalPlaces() places.
    void DivideBy(const CDecimal& other);
    // Three-way comparison of the values.
    static int CompareValues(const CDecimal& a, const CDecimal& b);
    // Three-way comparison with an integer, without building a decimal.
    int CompareWith(const CBigInteger& value) const;
    int32_t Sign() const { return m_biInteger.m_lSign; }

    CBigInteger m_biInteger;
    CBigInteger m_biFraction;
    int32_t m_lDivider = 1;

    static std::atomic<int> m_maxDivider;
};

} // namespace VxXmlLib16
