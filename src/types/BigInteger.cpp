#include "types/NumberErrors.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <cwchar>
#include <vector>
#include <vxxml/BigInteger.h>
#include <vxxml/Decimal.h>
#include <vxxml/Exceptions.h>

namespace VxXmlLib16 {

namespace {

using Digits = CBigInteger::Digits;

// The characters a plain integer text may hold; anything else sends the text
// through the decimal reader.
bool IsIntegerTextChar(wchar_t c)
{
    return (c >= L'0' && c <= L'9') || c == L'-' || c == L'+' || c == L' ' || c == L'\n' ||
           c == L'\r' || c == L'\t';
}

bool IsDigit(wchar_t c)
{
    return c >= L'0' && c <= L'9';
}

// Magnitude of a signed 64-bit value without overflowing on the minimum.
uint64_t Magnitude(long long value)
{
    return value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
}

// The magnitude as an unsigned 64-bit number, or false when it does not fit.
bool ToUInt64(const Digits& digits, uint64_t& out)
{
    if (digits.size() > 20) {
        return false;
    }
    uint64_t value = 0;
    for (size_t i = digits.size(); i-- > 0;) {
        const uint64_t digit = static_cast<uint64_t>(digits[i]);
        if (value > (UINT64_MAX - digit) / 10) {
            return false;
        }
        value = value * 10 + digit;
    }
    out = value;
    return true;
}

} // namespace

// ---------------------------------------------------------------------------
// Constants. They are built from text on purpose: the decimal reader is the
// one authority on what the texts mean.

const CBigInteger CBigInteger::MAX_LONG(L"2147483647");
const CBigInteger CBigInteger::MIN_LONG(L"-2147483648");
const CBigInteger CBigInteger::MAX_LONGLONG(L"9223372036854775807");
const CBigInteger CBigInteger::MIN_LONGLONG(L"-9223372036854775808");
const CBigInteger CBigInteger::MAX_DOUBLE(CDecimal(L"1.7E+308"));
const CBigInteger CBigInteger::MIN_DOUBLE(CDecimal(L"-1.7E+308"));

// ---------------------------------------------------------------------------
// Construction

CBigInteger::CBigInteger() : m_vecDigits(1, 0) {}

CBigInteger::CBigInteger(int value) : CBigInteger(static_cast<long long>(value)) {}

CBigInteger::CBigInteger(long value) : CBigInteger(static_cast<long long>(value)) {}

CBigInteger::CBigInteger(long long value) : m_lSign(value < 0 ? -1 : 1)
{
    BuildDWORDLONG(m_vecDigits, Magnitude(value));
}

CBigInteger::CBigInteger(unsigned int value)
{
    Build(m_vecDigits, value);
}

CBigInteger::CBigInteger(unsigned long value)
{
    BuildDWORDLONG(m_vecDigits, value);
}

CBigInteger::CBigInteger(unsigned long long value)
{
    BuildDWORDLONG(m_vecDigits, value);
}

CBigInteger::CBigInteger(double value)
{
    m_lSign = BuildDouble(m_vecDigits, value);
    Normalize();
}

CBigInteger::CBigInteger(const wchar_t* text)
{
    Parse(text);
}

CBigInteger::CBigInteger(const CDecimal& value) : CBigInteger(value.m_biInteger)
{
    Normalize();
}

CBigInteger::~CBigInteger() = default;

// ---------------------------------------------------------------------------
// Text

void CBigInteger::Parse(const wchar_t* text)
{
    Parse(text, text ? std::wcslen(text) : 0);
}

void CBigInteger::Parse(const wchar_t* text, size_t length)
{
    if (text == nullptr) {
        length = 0;
    }
    const wchar_t* first = text;
    const wchar_t* last = text + length;
    if (!std::all_of(first, last, IsIntegerTextChar)) {
        const CDecimal value(text, length);
        *this = value.m_biInteger;
        Normalize();
        return;
    }
    while (last != first && last[-1] == L' ') {
        --last;
    }
    while (first != last && *first == L' ') {
        ++first;
    }
    m_lSign = 1;
    if (first != last && *first == L'-') {
        m_lSign = -1;
        ++first;
    }
    Build(m_vecDigits, first, last);
    Normalize();
}

std::wstring CBigInteger::ToString() const
{
    std::wstring out;
    AppendTo(out);
    return out;
}

void CBigInteger::AppendTo(std::wstring& out) const
{
    const bool negative = m_lSign < 0 && !IsZero();
    const size_t start = out.size();
    out.resize(start + m_vecDigits.size() + (negative ? 1 : 0), L'-');
    wchar_t* pos = out.data() + start + (negative ? 1 : 0);
    for (auto it = m_vecDigits.rbegin(); it != m_vecDigits.rend(); ++it) {
        *pos++ = static_cast<wchar_t>(L'0' + *it);
    }
}

// ---------------------------------------------------------------------------
// Digit-vector primitives

void CBigInteger::Build(Digits& out, uint32_t value)
{
    BuildDWORDLONG(out, value);
}

void CBigInteger::Build(Digits& out, const wchar_t* first, const wchar_t* last)
{
    const wchar_t* start = last;
    while (start != first && IsDigit(start[-1])) {
        --start;
    }
    // Skip most significant zeros before sizing, so "000...1" costs one digit.
    while (start != last && *start == L'0') {
        ++start;
    }
    out.resize(static_cast<size_t>(last - start));
    auto pos = out.begin();
    for (const wchar_t* p = last; p != start;) {
        *pos++ = static_cast<wchar_t>(*--p - L'0');
    }
    if (out.empty()) {
        out.push_back(0);
    }
}

void CBigInteger::BuildDWORDLONG(Digits& out, uint64_t value)
{
    out.clear();
    do {
        out.push_back(static_cast<wchar_t>(value % 10));
        value /= 10;
    } while (value != 0);
}

int32_t CBigInteger::BuildDouble(Digits& out, double value)
{
    if (!std::isfinite(value)) {
        detail::ThrowNotFinite(value);
    }
    // The shortest round-trip text gives the digits a reader of the number
    // expects, and the same ones CDecimal(double) keeps.
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    wchar_t wide[64];
    const size_t length = static_cast<size_t>(result.ptr - buffer);
    std::copy(buffer, result.ptr, wide);
    const CDecimal parsed(wide, length);
    out = parsed.m_biInteger.m_vecDigits;
    return parsed.Sign();
}

void CBigInteger::Clean(Digits& digits)
{
    size_t size = digits.size();
    while (size > 1 && digits[size - 1] == 0) {
        --size;
    }
    digits.resize(size);
    if (digits.empty()) {
        digits.push_back(0);
    }
}

int CBigInteger::Compare(const Digits& a, const Digits& b)
{
    const int32_t la = Position(a);
    const int32_t lb = Position(b);
    if (la != lb) {
        return la < lb ? -1 : 1;
    }
    for (size_t i = a.size(); i-- > 0;) {
        if (a[i] != b[i]) {
            return a[i] < b[i] ? -1 : 1;
        }
    }
    return 0;
}

int32_t CBigInteger::Position(const Digits& digits)
{
    return digits.empty() ? 1 : static_cast<int32_t>(digits.size());
}

void CBigInteger::Add(Digits& a, const Digits& b)
{
    if (a.size() < b.size()) {
        a.resize(b.size(), 0);
    }
    wchar_t carry = 0;
    size_t i = 0;
    for (; i < b.size(); ++i) {
        wchar_t sum = static_cast<wchar_t>(a[i] + b[i] + carry);
        carry = sum >= 10;
        a[i] = carry ? static_cast<wchar_t>(sum - 10) : sum;
    }
    for (; carry && i < a.size(); ++i) {
        if (a[i] == 9) {
            a[i] = 0;
        } else {
            ++a[i];
            carry = 0;
        }
    }
    if (carry) {
        a.push_back(1);
    }
}

void CBigInteger::Subtract(Digits& a, const Digits& b)
{
    wchar_t borrow = 0;
    size_t i = 0;
    for (; i < b.size(); ++i) {
        wchar_t diff = static_cast<wchar_t>(a[i] - b[i] - borrow);
        borrow = diff < 0;
        a[i] = borrow ? static_cast<wchar_t>(diff + 10) : diff;
    }
    for (; borrow && i < a.size(); ++i) {
        if (a[i] == 0) {
            a[i] = 9;
        } else {
            --a[i];
            borrow = 0;
        }
    }
    Clean(a);
}

void CBigInteger::Multiply(const Digits& a, const Digits& b, Digits& out)
{
    // Multiplying in blocks of nine digits (base 10^9) does the schoolbook
    // product with 81 times fewer inner steps than digit by digit.
    constexpr uint32_t kBase = 1000000000;
    auto toLimbs = [](const Digits& d) {
        std::vector<uint32_t> limbs((d.size() + 8) / 9, 0);
        for (size_t i = d.size(); i-- > 0;) {
            uint32_t& limb = limbs[i / 9];
            limb = limb * 10 + static_cast<uint32_t>(d[i]);
        }
        return limbs;
    };
    const std::vector<uint32_t> la = toLimbs(a);
    const std::vector<uint32_t> lb = toLimbs(b);
    std::vector<uint64_t> acc(la.size() + lb.size() + 1, 0);
    for (size_t i = 0; i < la.size(); ++i) {
        if (la[i] == 0) {
            continue;
        }
        uint64_t carry = 0;
        size_t j = 0;
        for (; j < lb.size(); ++j) {
            const uint64_t cur = acc[i + j] + static_cast<uint64_t>(la[i]) * lb[j] + carry;
            acc[i + j] = cur % kBase;
            carry = cur / kBase;
        }
        for (size_t k = i + j; carry != 0; ++k) {
            const uint64_t cur = acc[k] + carry;
            acc[k] = cur % kBase;
            carry = cur / kBase;
        }
    }
    out.assign(acc.size() * 9, 0);
    for (size_t i = 0; i < acc.size(); ++i) {
        uint64_t limb = acc[i];
        for (size_t k = 0; k < 9 && limb != 0; ++k) {
            out[i * 9 + k] = static_cast<wchar_t>(limb % 10);
            limb /= 10;
        }
    }
    Clean(out);
}

void CBigInteger::Multiply(Digits& a, wchar_t digit)
{
    if (digit == 0) {
        a.assign(1, 0);
        return;
    }
    int carry = 0;
    for (wchar_t& d : a) {
        const int product = d * digit + carry;
        d = static_cast<wchar_t>(product % 10);
        carry = product / 10;
    }
    if (carry) {
        a.push_back(static_cast<wchar_t>(carry));
    }
    Clean(a);
}

void CBigInteger::Divide(const Digits& a, const Digits& b, Digits& quotient, Digits& remainder)
{
    if (Compare(a, b) < 0) {
        quotient.assign(1, 0);
        remainder = a;
        Clean(remainder);
        return;
    }
    const size_t lb = static_cast<size_t>(Position(b));
    if (lb == 1) {
        // One-digit divisor: plain short division.
        const int divisor = b[0];
        quotient.assign(a.size(), 0);
        int rest = 0;
        for (size_t i = a.size(); i-- > 0;) {
            const int cur = rest * 10 + a[i];
            quotient[i] = static_cast<wchar_t>(cur / divisor);
            rest = cur % divisor;
        }
        Clean(quotient);
        remainder.assign(1, static_cast<wchar_t>(rest));
        return;
    }
    // Long division. Each quotient digit is estimated from the leading digits
    // of the running remainder and the divisor (off by at most one or two),
    // then corrected, so each step costs a few passes over the divisor.
    uint64_t bTop = 0;
    for (size_t k = 0; k < std::min<size_t>(lb, 15); ++k) {
        bTop = bTop * 10 + static_cast<uint64_t>(b[lb - 1 - k]);
    }
    const size_t topDigits = std::min<size_t>(lb, 15);
    quotient.assign(a.size(), 0);
    remainder.clear();
    remainder.reserve(lb + 1);
    Digits scaled;
    scaled.reserve(lb + 1);
    for (size_t i = a.size(); i-- > 0;) {
        // remainder = remainder * 10 + a[i]
        if (remainder.size() == 1 && remainder[0] == 0) {
            remainder[0] = a[i];
        } else {
            remainder.insert(remainder.begin(), a[i]);
        }
        if (Compare(remainder, b) < 0) {
            continue;
        }
        // The remainder has lb or lb + 1 digits here. Take as many leading
        // digits as were taken of the divisor, aligned to the same power.
        const size_t lr = remainder.size();
        uint64_t rTop = 0;
        const size_t take = topDigits + (lr - lb);
        for (size_t k = 0; k < take; ++k) {
            rTop = rTop * 10 + static_cast<uint64_t>(remainder[lr - 1 - k]);
        }
        uint64_t q = rTop / bTop;
        if (q > 9) {
            q = 9;
        }
        // The estimate is never too small; step down while it is too large.
        for (;;) {
            scaled = b;
            Multiply(scaled, static_cast<wchar_t>(q));
            if (Compare(scaled, remainder) <= 0) {
                break;
            }
            --q;
        }
        Subtract(remainder, scaled);
        quotient[i] = static_cast<wchar_t>(q);
    }
    Clean(quotient);
    Clean(remainder);
}

void CBigInteger::Pow10(Digits& out, unsigned power)
{
    out.assign(static_cast<size_t>(power) + 1, 0);
    out.back() = 1;
}

void CBigInteger::ShiftLeft(Digits& a, size_t count)
{
    if (count == 0 || (a.size() == 1 && a[0] == 0)) {
        return;
    }
    a.insert(a.begin(), count, 0);
}

void CBigInteger::Normalize() noexcept
{
    if (IsZero()) {
        m_lSign = 1;
    }
}

// ---------------------------------------------------------------------------
// Arithmetic

CBigInteger& CBigInteger::operator+=(const CBigInteger& other)
{
    if (m_lSign == other.m_lSign) {
        Add(m_vecDigits, other.m_vecDigits);
    } else if (Compare(m_vecDigits, other.m_vecDigits) >= 0) {
        Subtract(m_vecDigits, other.m_vecDigits);
    } else {
        Digits result = other.m_vecDigits;
        Subtract(result, m_vecDigits);
        m_vecDigits.swap(result);
        m_lSign = other.m_lSign;
    }
    Normalize();
    return *this;
}

CBigInteger& CBigInteger::operator-=(const CBigInteger& other)
{
    if (&other == this) {
        *this = CBigInteger();
        return *this;
    }
    m_lSign = -m_lSign;
    *this += other;
    m_lSign = -m_lSign;
    Normalize();
    return *this;
}

CBigInteger& CBigInteger::operator*=(const CBigInteger& other)
{
    Digits product;
    Multiply(m_vecDigits, other.m_vecDigits, product);
    m_vecDigits.swap(product);
    m_lSign *= other.m_lSign;
    Normalize();
    return *this;
}

CBigInteger& CBigInteger::operator/=(const CBigInteger& other)
{
    if (other.IsZero()) {
        detail::ThrowDivideAssignOverflow();
    }
    Digits quotient, remainder;
    Divide(m_vecDigits, other.m_vecDigits, quotient, remainder);
    m_vecDigits.swap(quotient);
    m_lSign *= other.m_lSign;
    Normalize();
    return *this;
}

CBigInteger& CBigInteger::operator%=(const CBigInteger& other)
{
    if (other.IsZero()) {
        throw CVxInvalidValueException(L"ERROR: Overflow in operator%=.");
    }
    Digits quotient, remainder;
    Divide(m_vecDigits, other.m_vecDigits, quotient, remainder);
    m_vecDigits.swap(remainder);
    Normalize();
    return *this;
}

CBigInteger CBigInteger::operator+(const CBigInteger& other) const
{
    CBigInteger result(*this);
    result += other;
    return result;
}

CBigInteger CBigInteger::operator-(const CBigInteger& other) const
{
    CBigInteger result(*this);
    result -= other;
    return result;
}

CBigInteger CBigInteger::operator*(const CBigInteger& other) const
{
    CBigInteger result;
    Multiply(m_vecDigits, other.m_vecDigits, result.m_vecDigits);
    result.m_lSign = m_lSign * other.m_lSign;
    result.Normalize();
    return result;
}

CBigInteger CBigInteger::operator/(const CBigInteger& other) const
{
    if (other.IsZero()) {
        detail::ThrowDivideOverflow();
    }
    CBigInteger result;
    Digits remainder;
    Divide(m_vecDigits, other.m_vecDigits, result.m_vecDigits, remainder);
    result.m_lSign = m_lSign * other.m_lSign;
    result.Normalize();
    return result;
}

CBigInteger CBigInteger::operator%(const CBigInteger& other) const
{
    if (other.IsZero()) {
        throw CVxInvalidValueException(L"ERROR: Overflow in operator%.");
    }
    CBigInteger result;
    Digits quotient;
    Divide(m_vecDigits, other.m_vecDigits, quotient, result.m_vecDigits);
    result.m_lSign = m_lSign;
    result.Normalize();
    return result;
}

CBigInteger& CBigInteger::operator-()
{
    return Negate();
}

CBigInteger& CBigInteger::Negate()
{
    m_lSign = -m_lSign;
    Normalize();
    return *this;
}

CBigInteger& CBigInteger::Abs()
{
    m_lSign = 1;
    return *this;
}

CBigInteger CBigInteger::GetAbs() const
{
    CBigInteger result(*this);
    return result.Abs();
}

CBigInteger CBigInteger::GetNegative() const
{
    CBigInteger result(*this);
    return result.Negate();
}

CBigInteger CBigInteger::SquareRoot() const
{
    if (Signum() < 0) {
        throw CVxInvalidValueException(L"ERROR: Negative Number in function SquareRoot().");
    }
    if (Compare(m_vecDigits, Digits{4}) < 0) {
        // 0 -> 0, 1..3 -> 1
        return CBigInteger(IsZero() ? 0 : 1);
    }
    // Newton's iteration from a start at or above the root decreases
    // monotonically to floor(sqrt(n)).
    Digits x;
    Pow10(x, static_cast<unsigned>((m_vecDigits.size() + 1) / 2));
    Digits q, r;
    for (;;) {
        Divide(m_vecDigits, x, q, r);
        Add(q, x);
        // next = (x + n / x) / 2
        Digits next, rest;
        Divide(q, Digits{2}, next, rest);
        if (Compare(next, x) >= 0) {
            break;
        }
        x.swap(next);
    }
    CBigInteger result;
    result.m_vecDigits.swap(x);
    return result;
}

CBigInteger CBigInteger::Pow10(unsigned power)
{
    CBigInteger result;
    Pow10(result.m_vecDigits, power);
    return result;
}

// ---------------------------------------------------------------------------
// Comparison

int CBigInteger::Signum() const
{
    return IsZero() ? 0 : m_lSign;
}

namespace {

// Three-way comparison of two signed values given their signums and the
// magnitude comparison.
int SignedCompare(int signA, int signB, int magnitude)
{
    if (signA != signB) {
        return signA < signB ? -1 : 1;
    }
    return signA < 0 ? -magnitude : magnitude;
}

} // namespace

bool CBigInteger::operator==(const CBigInteger& other) const
{
    return Signum() == other.Signum() && Compare(m_vecDigits, other.m_vecDigits) == 0;
}

bool CBigInteger::operator!=(const CBigInteger& other) const
{
    return !(*this == other);
}

bool CBigInteger::operator<(const CBigInteger& other) const
{
    return SignedCompare(Signum(), other.Signum(), Compare(m_vecDigits, other.m_vecDigits)) < 0;
}

bool CBigInteger::operator<=(const CBigInteger& other) const
{
    return !(other < *this);
}

bool CBigInteger::operator>(const CBigInteger& other) const
{
    return other < *this;
}

bool CBigInteger::operator>=(const CBigInteger& other) const
{
    return !(*this < other);
}

// ---------------------------------------------------------------------------
// Conversions

CBigInteger::operator int() const
{
    uint64_t magnitude = 0;
    const bool fits = ToUInt64(m_vecDigits, magnitude) &&
                      magnitude <= (Signum() < 0 ? 2147483648ULL : 2147483647ULL);
    if (!fits) {
        throw CVxOverFlowException(L"The BigInteger value is too large to fit into an int");
    }
    return Signum() < 0 ? static_cast<int>(-static_cast<long long>(magnitude))
                        : static_cast<int>(magnitude);
}

CBigInteger::operator long long() const
{
    uint64_t magnitude = 0;
    const bool fits = ToUInt64(m_vecDigits, magnitude) &&
                      magnitude <= (Signum() < 0 ? 9223372036854775808ULL : 9223372036854775807ULL);
    if (!fits) {
        throw CVxOverFlowException(L"The BigInteger value is too large to fit into a long long");
    }
    if (Signum() < 0) {
        // -magnitude, written so that the minimum does not overflow.
        return magnitude == 9223372036854775808ULL ? INT64_MIN : -static_cast<long long>(magnitude);
    }
    return static_cast<long long>(magnitude);
}

} // namespace VxXmlLib16
