// Unbounded signed integer kept as decimal digits: the value of xs:integer.
//
// The value is stored as one decimal digit per element, least significant
// first, so that a number read from a document can be written back digit for
// digit without any binary round trip. The arithmetic is schoolbook base-10;
// it is exact at any size, and its cost grows with the square of the number
// of digits for multiplication, division and square root.
#pragma once

#include <cstdint>
#include <string>
#include <vxxml/DigitVector.h>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

class CDecimal;

class VXXML_API CBigInteger
{
public:
    // One element per decimal digit, numeric value 0..9 (not '0'..'9'),
    // least significant digit first. Short numbers need no heap block.
    using Digits = CDigitVector;

    CBigInteger();
    // Every built-in integer type has its own constructor so that a literal of
    // any of them converts without ambiguity.
    CBigInteger(int value);
    CBigInteger(long value);
    CBigInteger(long long value);
    CBigInteger(unsigned int value);
    CBigInteger(unsigned long value);
    CBigInteger(unsigned long long value);
    // The integer part of the value (truncated toward zero). The double is read
    // through its shortest round-trip text, so 1e20 gives exactly
    // 100000000000000000000. NaN and the infinities throw
    // CVxInvalidValueException.
    explicit CBigInteger(double value);
    // Parses the text (see Parse). A null pointer gives zero.
    CBigInteger(const wchar_t* text);
    // The integer part of a decimal, truncated toward zero.
    explicit CBigInteger(const CDecimal& value);
    CBigInteger(const CBigInteger& other) = default;
    CBigInteger(CBigInteger&& other) noexcept = default;
    CBigInteger& operator=(const CBigInteger& other) = default;
    CBigInteger& operator=(CBigInteger&& other) noexcept = default;
    virtual ~CBigInteger();

    // Replaces the value with the integer read from the text. The reader is
    // deliberately lenient, and these quirks are relied upon:
    //  - text holding anything but '-', '+', blanks and digits is read as a
    //    decimal and its integer part kept ("12.9" gives 12, "1E3" gives
    //    1000); text that is not a decimal either throws
    //    CVxInvalidValueException;
    //  - blank text gives 0; spaces around the number are ignored;
    //  - a leading '-' makes the value negative, then digits are taken from
    //    the end of the text backwards up to the first non-digit, and whatever
    //    stands before it is ignored: "+12" gives 12, "1 2" and "1-2" give 2.
    void Parse(const wchar_t* text);
    void Parse(const wchar_t* text, size_t length);
    // Decimal digits with a leading '-' for a negative value.
    std::wstring ToString() const;
    // Appends ToString()'s text to out.
    void AppendTo(std::wstring& out) const;

    CBigInteger operator+(const CBigInteger& other) const;
    CBigInteger operator-(const CBigInteger& other) const;
    CBigInteger operator*(const CBigInteger& other) const;
    // Division truncates toward zero and the remainder takes the sign of the
    // dividend, as for the built-in integers: (a / b) * b + a % b == a.
    // A zero divisor throws CVxInvalidValueException.
    CBigInteger operator/(const CBigInteger& other) const;
    CBigInteger operator%(const CBigInteger& other) const;
    CBigInteger& operator+=(const CBigInteger& other);
    CBigInteger& operator-=(const CBigInteger& other);
    CBigInteger& operator*=(const CBigInteger& other);
    CBigInteger& operator/=(const CBigInteger& other);
    CBigInteger& operator%=(const CBigInteger& other);
    // Beware: negates this value in place and returns it (it does not make a
    // negated copy; use GetNegative for that).
    CBigInteger& operator-();

    CBigInteger& Negate();
    CBigInteger& Abs();
    CBigInteger GetAbs() const;
    CBigInteger GetNegative() const;
    // The integer square root (rounded down). A negative value throws
    // CVxInvalidValueException.
    CBigInteger SquareRoot() const;
    // Ten to the given power.
    static CBigInteger Pow10(unsigned power);

    bool operator==(const CBigInteger& other) const;
    bool operator!=(const CBigInteger& other) const;
    bool operator<(const CBigInteger& other) const;
    bool operator<=(const CBigInteger& other) const;
    bool operator>(const CBigInteger& other) const;
    bool operator>=(const CBigInteger& other) const;

    // Checked: a value outside the target type throws CVxOverFlowException.
    // Explicit, so that mixed expressions such as (b == 0) stay unambiguous.
    explicit operator int() const;
    explicit operator long long() const;

    // -1 for a negative value, 0 for zero, +1 for a positive value.
    int Signum() const;
    bool IsZero() const { return m_vecDigits.size() == 1 && m_vecDigits[0] == 0; }
    // The number of significant decimal digits (1 for zero).
    int32_t GetDigitCount() const { return Position(m_vecDigits); }

    static const CBigInteger MAX_LONG;
    static const CBigInteger MIN_LONG;
    static const CBigInteger MAX_LONGLONG;
    static const CBigInteger MIN_LONGLONG;
    // The integer parts of the decimals 1.7E+308 and -1.7E+308.
    static const CBigInteger MAX_DOUBLE;
    static const CBigInteger MIN_DOUBLE;

protected:
    // Digit-vector primitives. They work on magnitudes only; the sign is the
    // caller's business.

    // The digits of an unsigned number.
    static void Build(Digits& out, uint32_t value);
    // The digits found by reading [first, last) backwards up to the first
    // character that is not a decimal digit, then cleaned.
    static void Build(Digits& out, const wchar_t* first, const wchar_t* last);
    static void BuildDWORDLONG(Digits& out, uint64_t value);
    // The magnitude of the integer part of a finite double; returns its sign.
    static int32_t BuildDouble(Digits& out, double value);
    // Removes most significant zeros; an empty vector becomes the single 0.
    static void Clean(Digits& digits);
    // Compares magnitudes: -1, 0 or +1.
    static int Compare(const Digits& a, const Digits& b);
    // The number of digits, 1 for an empty vector.
    static int32_t Position(const Digits& digits);
    // a += b.
    static void Add(Digits& a, const Digits& b);
    // a -= b; requires a >= b.
    static void Subtract(Digits& a, const Digits& b);
    // out = a * b (out must not be a or b).
    static void Multiply(const Digits& a, const Digits& b, Digits& out);
    // a *= digit, digit in 0..9.
    static void Multiply(Digits& a, wchar_t digit);
    // quotient = a / b, remainder = a % b; b must not be zero and neither
    // output may be an input.
    static void Divide(const Digits& a, const Digits& b, Digits& quotient, Digits& remainder);
    // out = 10^power.
    static void Pow10(Digits& out, unsigned power);
    // a *= 10^count.
    static void ShiftLeft(Digits& a, size_t count);

private:
    friend class CDecimal;
    // An integer with no digits yet, for code that fills them in at once;
    // it saves allocating the zero digit that is about to be replaced.
    struct NoDigits
    {
    };
    explicit CBigInteger(NoDigits) noexcept {}
    // Makes zero positive after an operation.
    void Normalize() noexcept;

    int32_t m_lSign = 1;
    Digits m_vecDigits;
};

} // namespace VxXmlLib16
