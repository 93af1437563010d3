// The facet checks of CXmlObjectBase and the record of facets they read.

#include "core/ParsedFacets.h"
#include "core/XsdPattern.h"

#include <cinttypes>
#include <limits>
#include <vxxml/BigInteger.h>
#include <vxxml/BinaryData.h>
#include <vxxml/Conversions.h>
#include <vxxml/DateTime.h>
#include <vxxml/DateTimeSpan.h>
#include <vxxml/Decimal.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/PrimitiveRestrictions.h>
#include <vxxml/XmlObjectBase.h>

namespace VxXmlLib16::detail {

CParsedFacets::~CParsedFacets()
{
    for (auto& slot : m_bounds) {
        delete slot.load(std::memory_order_acquire);
    }
    delete m_pPattern.load(std::memory_order_acquire);
}

const CXsdPattern& CParsedFacets::Pattern(const VxXmlLib16Data::CPrimitiveRestrictions& r)
{
    // The process-wide cache compiles each pattern text once (and remembers
    // the error of one that fails); keeping its answer here saves the lookup
    // by text on every check.
    return **PublishOnce(m_pPattern, [&] {
        return std::make_unique<std::shared_ptr<const CXsdPattern>>(
            CXsdPattern::Get(r.GetPattern()));
    });
}

} // namespace VxXmlLib16::detail

namespace VxXmlLib16Data {

namespace {
const wchar_t* OrEmpty(const wchar_t* s)
{
    return s ? s : L"";
}
} // namespace

CPrimitiveRestrictions::CPrimitiveRestrictions()
    : m_lMinLength(-1), m_lMaxLength(-1), m_lLength(-1), m_lTotalDigits(-1), m_lFractionDigits(-1)
{
}

CPrimitiveRestrictions::CPrimitiveRestrictions(const wchar_t* pattern, int32_t minLength,
                                               int32_t maxLength, const wchar_t* minInclusive,
                                               const wchar_t* maxInclusive,
                                               const wchar_t* minExclusive,
                                               const wchar_t* maxExclusive, int32_t length,
                                               int32_t totalDigits, int32_t fractionDigits)
    : m_strPattern(OrEmpty(pattern)), m_lMinLength(minLength), m_lMaxLength(maxLength),
      m_strMinInclusive(OrEmpty(minInclusive)), m_strMaxInclusive(OrEmpty(maxInclusive)),
      m_strMinExclusive(OrEmpty(minExclusive)), m_strMaxExclusive(OrEmpty(maxExclusive)),
      m_lLength(length), m_lTotalDigits(totalDigits), m_lFractionDigits(fractionDigits)
{
    NoteFacetKinds();
}

CPrimitiveRestrictions::CPrimitiveRestrictions(const CPrimitiveRestrictions& other)
    : m_strPattern(other.m_strPattern), m_lMinLength(other.m_lMinLength),
      m_lMaxLength(other.m_lMaxLength), m_strMinInclusive(other.m_strMinInclusive),
      m_strMaxInclusive(other.m_strMaxInclusive), m_strMinExclusive(other.m_strMinExclusive),
      m_strMaxExclusive(other.m_strMaxExclusive), m_lLength(other.m_lLength),
      m_lTotalDigits(other.m_lTotalDigits), m_lFractionDigits(other.m_lFractionDigits),
      m_facetKinds(other.m_facetKinds)
{
}

CPrimitiveRestrictions& CPrimitiveRestrictions::operator=(const CPrimitiveRestrictions& other)
{
    if (this != &other) {
        m_strPattern = other.m_strPattern;
        m_lMinLength = other.m_lMinLength;
        m_lMaxLength = other.m_lMaxLength;
        m_strMinInclusive = other.m_strMinInclusive;
        m_strMaxInclusive = other.m_strMaxInclusive;
        m_strMinExclusive = other.m_strMinExclusive;
        m_strMaxExclusive = other.m_strMaxExclusive;
        m_lLength = other.m_lLength;
        m_lTotalDigits = other.m_lTotalDigits;
        m_lFractionDigits = other.m_lFractionDigits;
        m_facetKinds = other.m_facetKinds;
        // What was parsed from the old facets no longer applies.
        delete m_pParsed.exchange(nullptr, std::memory_order_acq_rel);
    }
    return *this;
}

void CPrimitiveRestrictions::NoteFacetKinds()
{
    using Kind = VxXmlLib16::detail::CParsedFacets;
    m_facetKinds = 0;
    if (!m_strPattern.empty()) {
        m_facetKinds |= Kind::kPattern;
    }
    if (m_lMinLength > -1 || m_lMaxLength > -1 || m_lLength > -1) {
        m_facetKinds |= Kind::kLengths;
    }
    if (!m_strMinInclusive.empty() || !m_strMaxInclusive.empty() || !m_strMinExclusive.empty() ||
        !m_strMaxExclusive.empty()) {
        m_facetKinds |= Kind::kBounds;
    }
    if (m_lTotalDigits > -1) {
        m_facetKinds |= Kind::kTotalDigits;
    }
    if (m_lFractionDigits > -1) {
        m_facetKinds |= Kind::kFractionDigits;
    }
}

CPrimitiveRestrictions::~CPrimitiveRestrictions()
{
    delete m_pParsed.load(std::memory_order_acquire);
}

} // namespace VxXmlLib16Data

namespace VxXmlLib16 {
namespace {

using VxXmlLib16Data::CPrimitiveRestrictions;
constexpr auto kCollapse = CWhitespaceUtils::WhitespaceRule_Collapse;

using detail::CParsedBounds;
using detail::CParsedFacets;

// The four bound facets, in the order every check applies them. compare(a, b)
// is negative, zero or positive as a is below, equal to or above b; convert
// reads a bound of kind (once per record and kind: the result is kept).
// NaN-like values that compare false everywhere fail.
template <class T, class Convert, class Compare>
bool WithinBounds(const T& value, const CPrimitiveRestrictions& r, ItemType kind, Convert convert,
                  Compare compare)
{
    if ((CParsedFacets::Kinds(r) & CParsedFacets::kBounds) == 0) {
        return true;
    }
    const CParsedBounds<T>& bounds = CParsedFacets::Of(r).Bounds<T>(r, kind, convert);
    using Which = typename CParsedBounds<T>::Which;
    const auto order = [&](Which which) {
        if (const T* bound = bounds.Get(which)) {
            return compare(value, *bound);
        }
        // Throws the conversion's exception, as it did when the bound was read.
        return compare(value, convert(CParsedBounds<T>::Text(r, which)));
    };
    if (bounds.IsPresent(CParsedBounds<T>::MinInclusive) &&
        !(order(CParsedBounds<T>::MinInclusive) >= 0)) {
        return false;
    }
    if (bounds.IsPresent(CParsedBounds<T>::MaxInclusive) &&
        !(order(CParsedBounds<T>::MaxInclusive) <= 0)) {
        return false;
    }
    if (bounds.IsPresent(CParsedBounds<T>::MinExclusive) &&
        !(order(CParsedBounds<T>::MinExclusive) > 0)) {
        return false;
    }
    if (bounds.IsPresent(CParsedBounds<T>::MaxExclusive) &&
        !(order(CParsedBounds<T>::MaxExclusive) < 0)) {
        return false;
    }
    return true;
}

// Three-way comparison for the built-in numbers: -1, 0, 1, or NaN when the
// two are unordered (a NaN value or bound). NaN compares false with 0 under
// every operator, so a NaN fails whichever bound is set.
struct NumberOrder
{
    template <class T> double operator()(T a, T b) const
    {
        if (a < b) {
            return -1;
        }
        if (a > b) {
            return 1;
        }
        if (a == b) {
            return 0;
        }
        return std::numeric_limits<double>::quiet_NaN();
    }
};

struct CompareToOrder
{
    template <class T> int operator()(const T& a, const T& b) const { return a.CompareTo(b); }
};

struct OperatorOrder
{
    template <class T> int operator()(const T& a, const T& b) const
    {
        return a < b ? -1 : (a > b ? 1 : 0);
    }
};

const wchar_t* NameOf(const wchar_t* name)
{
    return name ? name : L"";
}

[[noreturn]] void ThrowInvalid(const wchar_t* name, int64_t value)
{
    // A 64-bit argument keeps the unsigned 32-bit kind from printing as a
    // negative number; the text is the one of "[%d]".
    throw CVxException(FormatString(L"Invalid Value for %s [%" PRId64 "]", NameOf(name), value));
}

[[noreturn]] void ThrowInvalid(const wchar_t* name, const std::wstring& text)
{
    throw CVxException(FormatString(L"Invalid Value for %s [%s].", NameOf(name), text.c_str()));
}

[[noreturn]] void ThrowInvalidReal(const wchar_t* name, double value)
{
    throw CVxException(FormatString(L"Invalid Value for %s [%f]", NameOf(name), value));
}

bool TotalDigitsOk(const std::wstring& lexical, const CPrimitiveRestrictions& r)
{
    return r.GetTotalDigits() <= -1 ||
           static_cast<int64_t>(lexical.size()) <= static_cast<int64_t>(r.GetTotalDigits());
}

// The length of an integer's lexical form (digits, and the minus sign), as
// TotalDigitsOk counts it, without building the text.
template <class T> int64_t LexicalLength(T value)
{
    using U = std::make_unsigned_t<T>;
    int64_t length = 1;
    U magnitude = static_cast<U>(value);
    if (value < 0) {
        magnitude = static_cast<U>(U(0) - magnitude);
        ++length;
    }
    while (magnitude >= 10) {
        magnitude = static_cast<U>(magnitude / 10);
        ++length;
    }
    return length;
}

// Lengths in characters or bytes: minLength, maxLength, length.
bool LengthOk(size_t n, const CPrimitiveRestrictions& r)
{
    if ((CParsedFacets::Kinds(r) & CParsedFacets::kLengths) == 0) {
        return true;
    }
    const auto count = static_cast<int64_t>(n);
    if (r.GetMinLength() > -1 && count < r.GetMinLength()) {
        return false;
    }
    if (r.GetMaxLength() > -1 && count > r.GetMaxLength()) {
        return false;
    }
    if (r.GetLength() > -1 && count != r.GetLength()) {
        return false;
    }
    return true;
}

// The integer kinds differ only in type and conversion functions.
template <class T, class FromString, class ToString>
void CheckInteger(const wchar_t* name, ItemType kind, T value, const CPrimitiveRestrictions& r,
                  FromString fromString, ToString toString, bool messageAsText)
{
    const bool ok =
        WithinBounds(
            value, r, kind, [&](const std::wstring& t) { return fromString(t, kCollapse); },
            OperatorOrder()) &&
        (r.GetTotalDigits() <= -1 || LexicalLength(value) <= r.GetTotalDigits());
    if (!ok) {
        if (messageAsText) {
            ThrowInvalid(name, toString(value));
        }
        ThrowInvalid(name, static_cast<int64_t>(value));
    }
}

template <class T, class FromString>
void CheckReal(const wchar_t* name, ItemType kind, T value, const CPrimitiveRestrictions& r,
               FromString fromString)
{
    if (!WithinBounds(
            value, r, kind, [&](const std::wstring& t) { return fromString(t, kCollapse); },
            NumberOrder())) {
        ThrowInvalidReal(name, static_cast<double>(value));
    }
}

template <class T, class FromString>
void CheckCalendarNumber(const wchar_t* name, ItemType kind, T value,
                         const CPrimitiveRestrictions& r, FromString fromString)
{
    if (!WithinBounds(
            value, r, kind, [&](const std::wstring& t) { return fromString(t, kCollapse); },
            OperatorOrder())) {
        ThrowInvalid(name, static_cast<int64_t>(value));
    }
}

template <class T, class FromString>
void CheckOrdered(const wchar_t* name, ItemType kind, const T& value,
                  const CPrimitiveRestrictions& r, FromString fromString)
{
    if (!WithinBounds(
            value, r, kind, [&](const std::wstring& t) { return fromString(t, kCollapse); },
            CompareToOrder())) {
        ThrowInvalid(name, value.ToString());
    }
}

void CheckBinary(const wchar_t* name, const CBinaryData& value, const CPrimitiveRestrictions& r,
                 std::wstring (CBinaryData::*toString)() const)
{
    if (!LengthOk(value.GetLength(), r)) {
        ThrowInvalid(name, (value.*toString)());
    }
}

} // namespace

void CXmlObjectBase::Throw_IfInvalid_i1(const wchar_t* name, int8_t value, const Restrictions& r)
{
    CheckInteger(name, ItemType_i1, value, r, CConversions::i1FromString, CConversions::i1ToString,
                 false);
}

void CXmlObjectBase::Throw_IfInvalid_i2(const wchar_t* name, int16_t value, const Restrictions& r)
{
    CheckInteger(name, ItemType_i2, value, r, CConversions::i2FromString, CConversions::i2ToString,
                 false);
}

void CXmlObjectBase::Throw_IfInvalid_i4(const wchar_t* name, int32_t value, const Restrictions& r)
{
    CheckInteger(name, ItemType_i4, value, r, CConversions::i4FromString, CConversions::i4ToString,
                 false);
}

void CXmlObjectBase::Throw_IfInvalid_i8(const wchar_t* name, int64_t value, const Restrictions& r)
{
    CheckInteger(name, ItemType_i8, value, r, CConversions::i8FromString, CConversions::i8ToString,
                 true);
}

void CXmlObjectBase::Throw_IfInvalid_ui1(const wchar_t* name, uint8_t value, const Restrictions& r)
{
    CheckInteger(name, ItemType_ui1, value, r, CConversions::ui1FromString,
                 CConversions::ui1ToString, false);
}

void CXmlObjectBase::Throw_IfInvalid_ui2(const wchar_t* name, uint16_t value, const Restrictions& r)
{
    CheckInteger(name, ItemType_ui2, value, r, CConversions::ui2FromString,
                 CConversions::ui2ToString, false);
}

void CXmlObjectBase::Throw_IfInvalid_ui4(const wchar_t* name, uint32_t value, const Restrictions& r)
{
    CheckInteger(name, ItemType_ui4, value, r, CConversions::ui4FromString,
                 CConversions::ui4ToString, false);
}

void CXmlObjectBase::Throw_IfInvalid_ui8(const wchar_t* name, uint64_t value, const Restrictions& r)
{
    CheckInteger(name, ItemType_ui8, value, r, CConversions::ui8FromString,
                 CConversions::ui8ToString, true);
}

void CXmlObjectBase::Throw_IfInvalid_r4(const wchar_t* name, float value, const Restrictions& r)
{
    CheckReal(name, ItemType_r4, value, r, CConversions::r4FromString);
}

void CXmlObjectBase::Throw_IfInvalid_r8(const wchar_t* name, double value, const Restrictions& r)
{
    CheckReal(name, ItemType_r8, value, r, CConversions::r8FromString);
}

void CXmlObjectBase::Throw_IfInvalid_year(const wchar_t* name, uint16_t value,
                                          const Restrictions& r)
{
    CheckCalendarNumber(name, ItemType_year, value, r, CConversions::yearFromString);
}

void CXmlObjectBase::Throw_IfInvalid_month(const wchar_t* name, uint8_t value,
                                           const Restrictions& r)
{
    CheckCalendarNumber(name, ItemType_month, value, r, CConversions::monthFromString);
}

void CXmlObjectBase::Throw_IfInvalid_day(const wchar_t* name, uint8_t value, const Restrictions& r)
{
    CheckCalendarNumber(name, ItemType_day, value, r, CConversions::dayFromString);
}

void CXmlObjectBase::Throw_IfInvalid_date(const wchar_t* name, const CDateTime& value,
                                          const Restrictions& r)
{
    CheckOrdered(name, ItemType_date, value, r, CConversions::dateFromString);
}

void CXmlObjectBase::Throw_IfInvalid_datetime(const wchar_t* name, const CDateTime& value,
                                              const Restrictions& r)
{
    CheckOrdered(name, ItemType_datetime, value, r, CConversions::datetimeFromString);
}

void CXmlObjectBase::Throw_IfInvalid_time(const wchar_t* name, const CDateTime& value,
                                          const Restrictions& r)
{
    CheckOrdered(name, ItemType_time, value, r, CConversions::timeFromString);
}

void CXmlObjectBase::Throw_IfInvalid_yearMonth(const wchar_t* name, const CDateTime& value,
                                               const Restrictions& r)
{
    CheckOrdered(name, ItemType_yearMonth, value, r, CConversions::yearMonthFromString);
}

void CXmlObjectBase::Throw_IfInvalid_monthDay(const wchar_t* name, const CDateTime& value,
                                              const Restrictions& r)
{
    CheckOrdered(name, ItemType_monthDay, value, r, CConversions::monthDayFromString);
}

void CXmlObjectBase::Throw_IfInvalid_duration(const wchar_t* name, const CDateTimeSpan& value,
                                              const Restrictions& r)
{
    CheckOrdered(name, ItemType_duration, value, r, CConversions::durationFromString);
}

void CXmlObjectBase::Throw_IfInvalid_decimal(const wchar_t* name, const CDecimal& value,
                                             const Restrictions& r)
{
    bool ok = WithinBounds(
        value, r, ItemType_decimal,
        [](const std::wstring& t) { return CConversions::decimalFromString(t, kCollapse); },
        CompareToOrder());
    // Digits of the absolute value: leading zeros of the integer part and
    // trailing zeros of the fraction do not count (0.50 has 1 + 1 digits).
    if (ok && (r.GetTotalDigits() > -1 || r.GetFractionDigits() > -1)) {
        const int64_t fractionDigits = value.GetFractionDigitCount();
        if (r.GetTotalDigits() > -1) {
            ok = value.GetIntegerDigitCount() + fractionDigits <= r.GetTotalDigits();
        }
        if (ok && r.GetFractionDigits() > -1) {
            ok = fractionDigits <= r.GetFractionDigits();
        }
    }
    if (!ok) {
        ThrowInvalid(name, value.ToString());
    }
}

void CXmlObjectBase::Throw_IfInvalid_integer(const wchar_t* name, const CBigInteger& value,
                                             const Restrictions& r)
{
    const bool ok =
        WithinBounds(
            value, r, ItemType_integer,
            [](const std::wstring& t) { return CConversions::integerFromString(t, kCollapse); },
            OperatorOrder()) &&
        (r.GetTotalDigits() <= -1 || TotalDigitsOk(CConversions::integerToString(value), r));
    if (!ok) {
        ThrowInvalid(name, CConversions::integerToString(value));
    }
}

void CXmlObjectBase::Throw_IfInvalid_hexBinary(const wchar_t* name, const CBinaryData& value,
                                               const Restrictions& r)
{
    CheckBinary(name, value, r, &CBinaryData::GetAsHexString);
}

void CXmlObjectBase::Throw_IfInvalid_base64Binary(const wchar_t* name, const CBinaryData& value,
                                                  const Restrictions& r)
{
    CheckBinary(name, value, r, &CBinaryData::GetAsBase64);
}

void CXmlObjectBase::Throw_IfInvalid_boolean(const wchar_t*, bool, const Restrictions&) {}

void CXmlObjectBase::Throw_IfInvalid_string(const wchar_t* name, const std::wstring& value,
                                            const Restrictions& r)
{
    const uint8_t kinds = CParsedFacets::Kinds(r);
    if ((kinds & (CParsedFacets::kLengths | CParsedFacets::kPattern)) == 0) {
        return;
    }
    bool ok = LengthOk(value.size(), r);
    if (ok && (kinds & CParsedFacets::kPattern) != 0) {
        try {
            ok = CParsedFacets::Of(r).Pattern(r).Matches(value);
        } catch (const CVxException& e) {
            throw CVxException(FormatString(L"%s\nInvalid Value for %s [%s].",
                                            e.GetFullMessage().c_str(), NameOf(name),
                                            value.c_str()));
        }
    }
    if (!ok) {
        ThrowInvalid(name, value);
    }
}

void CXmlObjectBase::Throw_IfInvalid_char(const wchar_t* name, wchar_t value, const Restrictions& r)
{
    Throw_IfInvalid_string(name, std::wstring(1, value), r);
}

} // namespace VxXmlLib16
