#include "types/NumberErrors.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <cwchar>
#include <vxxml/Decimal.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

namespace VxXmlLib16 {

namespace {

using Digits = CBigInteger::Digits;

// "The value [<text>] can not be converted to a decimal", with a reason
// appended when there is more to say than "malformed". Long texts are cut in
// the message so that a multi-megabyte input does not make a multi-megabyte
// message.
std::wstring BadDecimal(const wchar_t* text, size_t length, const wchar_t* reason = nullptr)
{
    constexpr size_t kQuoted = 64;
    std::wstring quoted = text ? std::wstring(text, std::min(length, kQuoted)) : std::wstring();
    if (text && length > kQuoted) {
        quoted += L"...";
    }
    std::wstring message =
        FormatString(L"The value [%s] can not be converted to a decimal", quoted.c_str());
    if (reason) {
        message += L": ";
        message += reason;
    }
    return message;
}

bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

bool IsBlank(wchar_t c)
{
    return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
}

// The k-th digit after the point (0 is the tenths) of a fraction part with
// the given divider.
wchar_t FractionDigit(const Digits& fraction, int32_t divider, int32_t k)
{
    const size_t index = static_cast<size_t>(divider - 1 - k);
    return index < fraction.size() ? fraction[index] : wchar_t(0);
}

} // namespace

std::atomic<int> CDecimal::m_maxDivider{30};

// ---------------------------------------------------------------------------
// Construction

CDecimal::CDecimal() = default;

CDecimal::CDecimal(int value) : m_biInteger(value) {}

CDecimal::CDecimal(long value) : m_biInteger(value) {}

CDecimal::CDecimal(long long value) : m_biInteger(value) {}

CDecimal::CDecimal(unsigned int value) : m_biInteger(value) {}

CDecimal::CDecimal(unsigned long value) : m_biInteger(value) {}

CDecimal::CDecimal(unsigned long long value) : m_biInteger(value) {}

CDecimal::CDecimal(double value)
    : m_biInteger(CBigInteger::NoDigits{}), m_biFraction(CBigInteger::NoDigits{})
{
    if (!std::isfinite(value)) {
        detail::ThrowNotFinite(value);
    }
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    wchar_t wide[64];
    std::copy(buffer, result.ptr, wide);
    Parse(wide, static_cast<size_t>(result.ptr - buffer));
}

CDecimal::CDecimal(const wchar_t* text)
    : m_biInteger(CBigInteger::NoDigits{}), m_biFraction(CBigInteger::NoDigits{})
{
    Parse(text, text ? std::wcslen(text) : 0);
}

CDecimal::CDecimal(const wchar_t* text, size_t length)
    : m_biInteger(CBigInteger::NoDigits{}), m_biFraction(CBigInteger::NoDigits{})
{
    Parse(text, length);
}

CDecimal::CDecimal(const CBigInteger& value) : m_biInteger(value)
{
    m_biInteger.Normalize();
}

CDecimal::CDecimal(CBigInteger integerPart, CBigInteger fractionPart, int32_t divider)
    : m_biInteger(std::move(integerPart)), m_biFraction(std::move(fractionPart)),
      m_lDivider(divider)
{
}

CDecimal::~CDecimal() = default;

// ---------------------------------------------------------------------------
// Text

void CDecimal::Parse(const wchar_t* text, size_t length)
{
    if (text == nullptr) {
        throw CVxInvalidValueException(BadDecimal(nullptr, 0));
    }
    auto fail = [&](const wchar_t* reason = nullptr) {
        throw CVxInvalidValueException(BadDecimal(text, length, reason));
    };
    const wchar_t* p = text;
    const wchar_t* end = text + length;
    while (p != end && IsBlank(*p)) {
        ++p;
    }
    while (end != p && IsBlank(end[-1])) {
        --end;
    }
    bool negative = false;
    if (p != end && (*p == L'-' || *p == L'+')) {
        negative = *p++ == L'-';
    }
    const wchar_t* intBegin = p;
    while (p != end && IsDigit(*p)) {
        ++p;
    }
    const wchar_t* intEnd = p;
    const wchar_t* fracBegin = p;
    const wchar_t* fracEnd = p;
    if (p != end && *p == L'.') {
        fracBegin = ++p;
        while (p != end && IsDigit(*p)) {
            ++p;
        }
        fracEnd = p;
    }
    const size_t intCount = static_cast<size_t>(intEnd - intBegin);
    const size_t fracCount = static_cast<size_t>(fracEnd - fracBegin);
    if (intCount + fracCount == 0) {
        fail();
    }
    int64_t exponent = 0;
    if (p != end && (*p == L'e' || *p == L'E')) {
        ++p;
        bool negativeExponent = false;
        if (p != end && (*p == L'-' || *p == L'+')) {
            negativeExponent = *p++ == L'-';
        }
        if (p == end || !IsDigit(*p)) {
            fail();
        }
        for (; p != end && IsDigit(*p); ++p) {
            // Stop growing once past the limit; the digits are still consumed.
            if (exponent <= kMaxExponent) {
                exponent = exponent * 10 + (*p - L'0');
            }
        }
        if (exponent > kMaxExponent) {
            fail(L"the exponent is out of range");
        }
        if (negativeExponent) {
            exponent = -exponent;
        }
    }
    if (p != end) {
        fail();
    }

    // The digits of the mantissa, integer then fraction, form one sequence;
    // the exponent moves the point within (or beyond) it.
    const int64_t total = static_cast<int64_t>(intCount + fracCount);
    auto digitAt = [&](int64_t k) -> wchar_t {
        const size_t i = static_cast<size_t>(k);
        return static_cast<wchar_t>((i < intCount ? intBegin[i] : fracBegin[i - intCount]) - L'0');
    };
    const int64_t point = static_cast<int64_t>(intCount) + exponent;
    const int64_t divider = total - point;
    if (divider > INT32_MAX) {
        fail(L"it has too many decimal places");
    }

    // Integer part: sequence [0, min(point, total)), then point - total zeros.
    Digits& whole = m_biInteger.m_vecDigits;
    const int64_t wholeEnd = std::clamp<int64_t>(point, 0, total);
    int64_t first = 0;
    while (first < wholeEnd && digitAt(first) == 0) {
        ++first;
    }
    if (first == wholeEnd) {
        whole.assign(1, 0);
    } else {
        const int64_t zeros = point > total ? point - total : 0;
        whole.assign(static_cast<size_t>(zeros + (wholeEnd - first)), 0);
        auto out = whole.begin() + zeros;
        for (int64_t k = wholeEnd; k-- > first;) {
            *out++ = digitAt(k);
        }
    }

    // Fraction part: sequence [max(point, 0), total) as an integer.
    Digits& fraction = m_biFraction.m_vecDigits;
    int64_t fracFirst = std::max<int64_t>(point, 0);
    while (fracFirst < total && digitAt(fracFirst) == 0) {
        ++fracFirst;
    }
    if (fracFirst >= total) {
        fraction.assign(1, 0);
    } else {
        fraction.resize(static_cast<size_t>(total - fracFirst));
        auto out = fraction.begin();
        for (int64_t k = total; k-- > fracFirst;) {
            *out++ = digitAt(k);
        }
    }
    // Places as written ("1.50" keeps two); a whole number has divider 1.
    m_lDivider = divider > 0 ? static_cast<int32_t>(divider) : 1;
    m_biInteger.m_lSign = negative && !IsZero() ? -1 : 1;
    m_biFraction.m_lSign = 1;
}

std::wstring CDecimal::ToString() const
{
    std::wstring out;
    AppendTo(out);
    return out;
}

void CDecimal::AppendTo(std::wstring& out) const
{
    if (m_biFraction.IsZero()) {
        // The integer part carries the sign, and a zero value is never negative.
        m_biInteger.AppendTo(out);
        return;
    }
    const bool negative = Signum() < 0;
    const Digits& whole = m_biInteger.m_vecDigits;
    const size_t start = out.size();
    out.resize(start + (negative ? 1 : 0) + whole.size() + 1 + static_cast<size_t>(m_lDivider),
               L'0');
    wchar_t* pos = out.data() + start;
    if (negative) {
        *pos++ = L'-';
    }
    for (auto it = whole.rbegin(); it != whole.rend(); ++it) {
        *pos++ = static_cast<wchar_t>(L'0' + *it);
    }
    *pos++ = L'.';
    // Fraction digits right-aligned in the divider's width; the zeros to
    // their left are already there.
    wchar_t* last = out.data() + out.size();
    for (wchar_t digit : m_biFraction.m_vecDigits) {
        *--last = static_cast<wchar_t>(L'0' + digit);
    }
}

std::wstring CDecimal::ToString(int decimalPlaces) const
{
    const int32_t places = std::max(decimalPlaces, 0);
    const bool negative = Signum() < 0;
    const Digits& whole = m_biInteger.m_vecDigits;
    const Digits& fraction = m_biFraction.m_vecDigits;
    const int32_t divider = m_biFraction.IsZero() ? 0 : m_lDivider;

    std::wstring out;
    out.reserve(2 + whole.size() + 1 + static_cast<size_t>(places));
    if (negative) {
        out += L'-';
    }
    const size_t firstDigit = out.size();
    for (auto it = whole.rbegin(); it != whole.rend(); ++it) {
        out += static_cast<wchar_t>(L'0' + *it);
    }
    if (places > 0) {
        out += L'.';
        for (int32_t k = 0; k < places; ++k) {
            out += static_cast<wchar_t>(L'0' + FractionDigit(fraction, divider, k));
        }
    }
    // Adding 5 one place beyond the last printed one and cutting off is the
    // same as rounding the magnitude up exactly when that digit is 5 or more.
    if (divider > places && FractionDigit(fraction, divider, places) >= 5) {
        size_t i = out.size();
        bool carry = true;
        while (carry && i-- > firstDigit) {
            wchar_t& c = out[i];
            if (c == L'.') {
                continue;
            }
            if (c == L'9') {
                c = L'0';
            } else {
                ++c;
                carry = false;
            }
        }
        if (carry) {
            out.insert(out.begin() + static_cast<std::ptrdiff_t>(firstDigit), L'1');
        }
    }
    if (negative && out.find_first_not_of(L"-0.") == std::wstring::npos) {
        out.erase(0, 1);
    }
    return out;
}

// ---------------------------------------------------------------------------
// Scaling

void CDecimal::Normalize(CDecimal& a, CDecimal& b)
{
    const int32_t divider = std::max(a.m_lDivider, b.m_lDivider);
    a.ChangeFractionalDivider(divider);
    b.ChangeFractionalDivider(divider);
}

void CDecimal::ChangeFractionalDivider(int32_t divider)
{
    divider = std::max(divider, 1);
    Digits& fraction = m_biFraction.m_vecDigits;
    if (divider > m_lDivider) {
        CBigInteger::ShiftLeft(fraction, static_cast<size_t>(divider - m_lDivider));
    } else if (divider < m_lDivider) {
        const size_t drop = std::min(static_cast<size_t>(m_lDivider - divider), fraction.size());
        fraction.erase(fraction.begin(), fraction.begin() + static_cast<std::ptrdiff_t>(drop));
        CBigInteger::Clean(fraction);
    }
    m_lDivider = divider;
}

void CDecimal::Rationalise()
{
    Digits& fraction = m_biFraction.m_vecDigits;
    if (m_biFraction.IsZero()) {
        m_lDivider = 1;
        return;
    }
    size_t zeros = 0;
    while (fraction[zeros] == 0) {
        ++zeros;
    }
    fraction.erase(fraction.begin(), fraction.begin() + static_cast<std::ptrdiff_t>(zeros));
    m_lDivider -= static_cast<int32_t>(zeros);
}

void CDecimal::GetScaled(int32_t divider, Digits& out) const
{
    const Digits& whole = m_biInteger.m_vecDigits;
    const Digits& fraction = m_biFraction.m_vecDigits;
    const size_t places = static_cast<size_t>(divider);
    const size_t shift = places - static_cast<size_t>(m_lDivider);
    out.assign(places + whole.size(), 0);
    std::copy(fraction.begin(), fraction.end(), out.begin() + static_cast<std::ptrdiff_t>(shift));
    std::copy(whole.begin(), whole.end(), out.begin() + static_cast<std::ptrdiff_t>(places));
    CBigInteger::Clean(out);
}

void CDecimal::SetScaled(int32_t sign, Digits& scaled, int32_t divider)
{
    const size_t places = static_cast<size_t>(std::max(divider, 0));
    Digits& fraction = m_biFraction.m_vecDigits;
    Digits& whole = m_biInteger.m_vecDigits;
    const size_t split = std::min(places, scaled.size());
    fraction.assign(scaled.begin(), scaled.begin() + static_cast<std::ptrdiff_t>(split));
    CBigInteger::Clean(fraction);
    whole.assign(scaled.begin() + static_cast<std::ptrdiff_t>(split), scaled.end());
    CBigInteger::Clean(whole);
    m_lDivider = std::max(divider, 1);
    m_biFraction.m_lSign = 1;
    m_biInteger.m_lSign = sign < 0 && !IsZero() ? -1 : 1;
    Rationalise();
}

// ---------------------------------------------------------------------------
// Arithmetic

CDecimal& CDecimal::operator+=(const CDecimal& other)
{
    CDecimal rhs(other);
    Normalize(*this, rhs);
    const int32_t divider = m_lDivider;
    Digits a, b;
    GetScaled(divider, a);
    rhs.GetScaled(divider, b);
    int32_t sign = Sign();
    if (Sign() == rhs.Sign()) {
        CBigInteger::Add(a, b);
    } else if (CBigInteger::Compare(a, b) >= 0) {
        CBigInteger::Subtract(a, b);
    } else {
        CBigInteger::Subtract(b, a);
        a.swap(b);
        sign = rhs.Sign();
    }
    SetScaled(sign, a, divider);
    return *this;
}

CDecimal& CDecimal::operator-=(const CDecimal& other)
{
    return *this += other.GetNegative();
}

CDecimal& CDecimal::operator*=(const CDecimal& other)
{
    const int64_t divider = static_cast<int64_t>(m_lDivider) + other.m_lDivider;
    if (divider > INT32_MAX) {
        throw CVxOverFlowException(
            L"The Decimal result has more decimal places than can be counted");
    }
    Digits a, b, product;
    GetScaled(m_lDivider, a);
    other.GetScaled(other.m_lDivider, b);
    CBigInteger::Multiply(a, b, product);
    SetScaled(Sign() * other.Sign(), product, static_cast<int32_t>(divider));
    return *this;
}

CDecimal CDecimal::operator/(const CDecimal& other) const
{
    if (other.IsZero()) {
        detail::ThrowDivideOverflow();
    }
    CDecimal result(*this);
    result.DivideBy(other);
    return result;
}

CDecimal& CDecimal::operator/=(const CDecimal& other)
{
    if (other.IsZero()) {
        detail::ThrowDivideAssignOverflow();
    }
    DivideBy(other);
    return *this;
}

void CDecimal::DivideBy(const CDecimal& other)
{
    // a / 10^da / (b / 10^db) * 10^places = a * 10^(db + places) / (b * 10^da)
    const int32_t places = std::max(m_maxDivider.load(std::memory_order_relaxed), 0);
    Digits numerator, denominator, quotient, remainder;
    GetScaled(m_lDivider, numerator);
    other.GetScaled(other.m_lDivider, denominator);
    CBigInteger::ShiftLeft(numerator,
                           static_cast<size_t>(other.m_lDivider) + static_cast<size_t>(places));
    CBigInteger::ShiftLeft(denominator, static_cast<size_t>(m_lDivider));
    CBigInteger::Divide(numerator, denominator, quotient, remainder);
    SetScaled(Sign() * other.Sign(), quotient, places);
}

CDecimal CDecimal::operator+(const CDecimal& other) const
{
    CDecimal result(*this);
    result += other;
    return result;
}

CDecimal CDecimal::operator-(const CDecimal& other) const
{
    CDecimal result(*this);
    result -= other;
    return result;
}

CDecimal CDecimal::operator*(const CDecimal& other) const
{
    CDecimal result(*this);
    result *= other;
    return result;
}

CDecimal& CDecimal::operator++()
{
    return *this += CDecimal(1);
}

CDecimal CDecimal::operator++(int)
{
    CDecimal before(*this);
    *this += CDecimal(1);
    return before;
}

CDecimal& CDecimal::operator--()
{
    return *this -= CDecimal(1);
}

CDecimal CDecimal::operator--(int)
{
    CDecimal before(*this);
    *this -= CDecimal(1);
    return before;
}

CDecimal& CDecimal::Negate()
{
    if (!IsZero()) {
        m_biInteger.m_lSign = -m_biInteger.m_lSign;
    }
    return *this;
}

CDecimal CDecimal::GetNegative() const
{
    CDecimal result(*this);
    return result.Negate();
}

// ---------------------------------------------------------------------------
// Comparison

int CDecimal::Signum() const
{
    return IsZero() ? 0 : Sign();
}

int CDecimal::CompareValues(const CDecimal& a, const CDecimal& b)
{
    const int sa = a.Signum();
    const int sb = b.Signum();
    if (sa != sb) {
        return sa < sb ? -1 : 1;
    }
    int magnitude = CBigInteger::Compare(a.m_biInteger.m_vecDigits, b.m_biInteger.m_vecDigits);
    if (magnitude == 0) {
        // Walk the places from the tenths down; the shorter fraction reads as
        // padded with zeros.
        const Digits& fa = a.m_biFraction.m_vecDigits;
        const Digits& fb = b.m_biFraction.m_vecDigits;
        const int32_t places = std::max(a.m_lDivider, b.m_lDivider);
        for (int32_t k = 0; k < places && magnitude == 0; ++k) {
            const wchar_t da = FractionDigit(fa, a.m_lDivider, k);
            const wchar_t db = FractionDigit(fb, b.m_lDivider, k);
            if (da != db) {
                magnitude = da < db ? -1 : 1;
            }
        }
    }
    return sa < 0 ? -magnitude : magnitude;
}

int CDecimal::CompareWith(const CBigInteger& value) const
{
    const int sa = Signum();
    const int sb = value.Signum();
    if (sa != sb) {
        return sa < sb ? -1 : 1;
    }
    int magnitude = CBigInteger::Compare(m_biInteger.m_vecDigits, value.m_vecDigits);
    if (magnitude == 0 && !m_biFraction.IsZero()) {
        magnitude = 1;
    }
    return sa < 0 ? -magnitude : magnitude;
}

bool CDecimal::operator==(const CDecimal& other) const
{
    return CompareValues(*this, other) == 0;
}

bool CDecimal::operator!=(const CDecimal& other) const
{
    return CompareValues(*this, other) != 0;
}

bool CDecimal::operator<(const CDecimal& other) const
{
    return CompareValues(*this, other) < 0;
}

bool CDecimal::operator<=(const CDecimal& other) const
{
    return CompareValues(*this, other) <= 0;
}

bool CDecimal::operator>(const CDecimal& other) const
{
    return CompareValues(*this, other) > 0;
}

bool CDecimal::operator>=(const CDecimal& other) const
{
    return CompareValues(*this, other) >= 0;
}

// ---------------------------------------------------------------------------
// Conversions

int32_t CDecimal::ToLong() const
{
    if (CompareWith(CBigInteger::MIN_LONG) < 0 || CompareWith(CBigInteger::MAX_LONG) > 0) {
        throw CVxOverFlowException(L"The Decimal value if to large to fit into a LONG");
    }
    return static_cast<int32_t>(static_cast<long long>(ToBigInteger()));
}

int64_t CDecimal::ToLongLong() const
{
    if (CompareWith(CBigInteger::MIN_LONGLONG) < 0 || CompareWith(CBigInteger::MAX_LONGLONG) > 0) {
        throw CVxOverFlowException(L"The Decimal value if to large to fit into a LONGLONG");
    }
    return static_cast<long long>(ToBigInteger());
}

double CDecimal::ToDouble() const
{
    if (CompareWith(CBigInteger::MIN_DOUBLE) < 0 || CompareWith(CBigInteger::MAX_DOUBLE) > 0) {
        throw CVxOverFlowException(L"The Decimal value if to large to fit into a Double");
    }
    // The text form read back by from_chars is correctly rounded, which no
    // digit-by-digit accumulation in double arithmetic would be.
    const std::wstring text = ToString();
    std::string narrow(text.begin(), text.end());
    double value = 0;
    const auto result = std::from_chars(narrow.data(), narrow.data() + narrow.size(), value);
    if (result.ec == std::errc::result_out_of_range) {
        // Only underflow is possible within the bounds checked above.
        return Signum() < 0 ? -0.0 : 0.0;
    }
    return value;
}

CBigInteger CDecimal::ToBigInteger() const
{
    return CBigInteger(*this);
}

int32_t CDecimal::GetFractionDigitCount() const
{
    if (m_biFraction.IsZero()) {
        return 0;
    }
    const Digits& fraction = m_biFraction.m_vecDigits;
    int32_t zeros = 0;
    while (fraction[static_cast<size_t>(zeros)] == 0) {
        ++zeros;
    }
    return m_lDivider - zeros;
}

int CDecimal::GetMaxDecimalPlaces()
{
    return m_maxDivider.load(std::memory_order_relaxed);
}

void CDecimal::SetMaxDecimalPlaces(int places)
{
    m_maxDivider.store(places, std::memory_order_relaxed);
}

} // namespace VxXmlLib16
