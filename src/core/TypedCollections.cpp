#include <vxxml/Conversions.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/TypedCollections.h>

namespace VxXmlLib16 {
namespace {

using Rule = CWhitespaceUtils::WhitespaceRule;
using Restrictions = VxXmlLib16Data::CPrimitiveRestrictions;

// The facet checks are protected statics of the object base; this opens them
// to the conversion table below. It is never instantiated.
struct Facets : CXmlObjectBase
{
    using CXmlObjectBase::Throw_IfInvalid_base64Binary;
    using CXmlObjectBase::Throw_IfInvalid_boolean;
    using CXmlObjectBase::Throw_IfInvalid_date;
    using CXmlObjectBase::Throw_IfInvalid_datetime;
    using CXmlObjectBase::Throw_IfInvalid_day;
    using CXmlObjectBase::Throw_IfInvalid_decimal;
    using CXmlObjectBase::Throw_IfInvalid_duration;
    using CXmlObjectBase::Throw_IfInvalid_hexBinary;
    using CXmlObjectBase::Throw_IfInvalid_i1;
    using CXmlObjectBase::Throw_IfInvalid_i2;
    using CXmlObjectBase::Throw_IfInvalid_i4;
    using CXmlObjectBase::Throw_IfInvalid_i8;
    using CXmlObjectBase::Throw_IfInvalid_integer;
    using CXmlObjectBase::Throw_IfInvalid_month;
    using CXmlObjectBase::Throw_IfInvalid_monthDay;
    using CXmlObjectBase::Throw_IfInvalid_r4;
    using CXmlObjectBase::Throw_IfInvalid_r8;
    using CXmlObjectBase::Throw_IfInvalid_string;
    using CXmlObjectBase::Throw_IfInvalid_time;
    using CXmlObjectBase::Throw_IfInvalid_ui1;
    using CXmlObjectBase::Throw_IfInvalid_ui2;
    using CXmlObjectBase::Throw_IfInvalid_ui4;
    using CXmlObjectBase::Throw_IfInvalid_ui8;
    using CXmlObjectBase::Throw_IfInvalid_year;
    using CXmlObjectBase::Throw_IfInvalid_yearMonth;
};

// One row per kind: how a text becomes a value, how a value becomes text,
// and which facet check guards it.
template <auto FromText, auto ToText, auto Check> struct Row
{
    template <class V> static V From(const std::wstring& text, Rule rule, const CXmlTypeCollection&)
    {
        return FromText(text, rule);
    }
    template <class V> static std::wstring To(const V& value, const CXmlTypeCollection&)
    {
        return ToText(value);
    }
    template <class V>
    static void Validate(const wchar_t* name, const V& value, const CXmlTypeCollection& col)
    {
        Check(name, value, col.GetRestrictions());
    }
};

// Reals and decimals are written with the collection's format when it has one.
template <auto FromText, auto ToText, auto Check> struct FormattedRow : Row<FromText, ToText, Check>
{
    template <class V> static std::wstring To(const V& value, const CXmlTypeCollection& col)
    {
        return ToText(value, col.GetFormat());
    }
};

using C = CConversions;
std::wstring DecimalToText(const CDecimal& value, const std::wstring& format)
{
    return C::decimalToString(value, format);
}

template <ItemType K> struct Kind;
// clang-format off
template <> struct Kind<ItemType_i1> : Row<&C::i1FromString, &C::i1ToString, &Facets::Throw_IfInvalid_i1> {};
template <> struct Kind<ItemType_i2> : Row<&C::i2FromString, &C::i2ToString, &Facets::Throw_IfInvalid_i2> {};
template <> struct Kind<ItemType_i4> : Row<&C::i4FromString, &C::i4ToString, &Facets::Throw_IfInvalid_i4> {};
template <> struct Kind<ItemType_i8> : Row<&C::i8FromString, &C::i8ToString, &Facets::Throw_IfInvalid_i8> {};
template <> struct Kind<ItemType_ui1> : Row<&C::ui1FromString, &C::ui1ToString, &Facets::Throw_IfInvalid_ui1> {};
template <> struct Kind<ItemType_ui2> : Row<&C::ui2FromString, &C::ui2ToString, &Facets::Throw_IfInvalid_ui2> {};
template <> struct Kind<ItemType_ui4> : Row<&C::ui4FromString, &C::ui4ToString, &Facets::Throw_IfInvalid_ui4> {};
template <> struct Kind<ItemType_ui8> : Row<&C::ui8FromString, &C::ui8ToString, &Facets::Throw_IfInvalid_ui8> {};
template <> struct Kind<ItemType_r4> : FormattedRow<&C::r4FromString, &C::r4ToString, &Facets::Throw_IfInvalid_r4> {};
template <> struct Kind<ItemType_r8> : FormattedRow<&C::r8FromString, &C::r8ToString, &Facets::Throw_IfInvalid_r8> {};
template <> struct Kind<ItemType_boolean> : Row<&C::booleanFromString, &C::booleanToString, &Facets::Throw_IfInvalid_boolean> {};
template <> struct Kind<ItemType_string> : Row<&C::stringFromString, &C::stringToString, &Facets::Throw_IfInvalid_string> {};
template <> struct Kind<ItemType_decimal> : FormattedRow<&C::decimalFromString, &DecimalToText, &Facets::Throw_IfInvalid_decimal> {};
template <> struct Kind<ItemType_integer> : Row<&C::integerFromString, &C::integerToString, &Facets::Throw_IfInvalid_integer> {};
template <> struct Kind<ItemType_duration> : Row<&C::durationFromString, &C::durationToString, &Facets::Throw_IfInvalid_duration> {};
template <> struct Kind<ItemType_base64Binary> : Row<&C::base64BinaryFromString, &C::base64BinaryToString, &Facets::Throw_IfInvalid_base64Binary> {};
template <> struct Kind<ItemType_hexBinary> : Row<&C::hexBinaryFromString, &C::hexBinaryToString, &Facets::Throw_IfInvalid_hexBinary> {};
template <> struct Kind<ItemType_year> : Row<&C::yearFromString, &C::yearToString, &Facets::Throw_IfInvalid_year> {};
template <> struct Kind<ItemType_month> : Row<&C::monthFromString, &C::monthToString, &Facets::Throw_IfInvalid_month> {};
template <> struct Kind<ItemType_day> : Row<&C::dayFromString, &C::dayToString, &Facets::Throw_IfInvalid_day> {};
// clang-format on

// The date family decides at run time, from the collection's item type.
struct DateKindRow
{
    CDateTime (*from)(const std::wstring&, Rule);
    std::wstring (*to)(const CDateTime&);
    void (*check)(const wchar_t*, const CDateTime&, const Restrictions&);
    DateTimeType kind;
};

const DateKindRow& DateRowOf(ItemType type)
{
    static const DateKindRow date{&C::dateFromString, &C::dateToString,
                                  &Facets::Throw_IfInvalid_date, dt_date};
    static const DateKindRow datetime{&C::datetimeFromString, &C::datetimeToString,
                                      &Facets::Throw_IfInvalid_datetime, dt_dateTime};
    static const DateKindRow time{&C::timeFromString, &C::timeToString,
                                  &Facets::Throw_IfInvalid_time, dt_time};
    static const DateKindRow yearMonth{&C::yearMonthFromString, &C::yearMonthToString,
                                       &Facets::Throw_IfInvalid_yearMonth, dt_gYearMonth};
    static const DateKindRow monthDay{&C::monthDayFromString, &C::monthDayToString,
                                      &Facets::Throw_IfInvalid_monthDay, dt_gMonthDay};
    switch (type) {
    case ItemType_date:
        return date;
    case ItemType_datetime:
        return datetime;
    case ItemType_time:
        return time;
    case ItemType_yearMonth:
        return yearMonth;
    case ItemType_monthDay:
        return monthDay;
    default:
        throw CVxInvalidParamException(
            FormatString(L"Item type %d is not a date or time kind", static_cast<int>(type)));
    }
}

template <> struct Kind<ItemType_Invalid>
{
    template <class V>
    static V From(const std::wstring& text, Rule rule, const CXmlTypeCollection& col)
    {
        return DateRowOf(col.GetItemType()).from(text, rule);
    }
    template <class V> static std::wstring To(const V& value, const CXmlTypeCollection& col)
    {
        return DateRowOf(col.GetItemType()).to(value);
    }
    template <class V>
    static void Validate(const wchar_t* name, const V& value, const CXmlTypeCollection& col)
    {
        const DateKindRow& row = DateRowOf(col.GetItemType());
        if (value.GetType() != row.kind) {
            throw CVxInvalidParamException(
                FormatString(L"Dates added to this collection must be of type %s",
                             CDateTime::GetTypeName(row.kind)));
        }
        row.check(name, value, col.GetRestrictions());
    }
};

const wchar_t* ClassNameOf(ItemType type)
{
    switch (type) {
    case ItemType_i1:
        return L"Ci1Col";
    case ItemType_i2:
        return L"Ci2Col";
    case ItemType_i4:
        return L"Ci4Col";
    case ItemType_i8:
        return L"Ci8Col";
    case ItemType_ui1:
        return L"Cui1Col";
    case ItemType_ui2:
        return L"Cui2Col";
    case ItemType_ui4:
        return L"Cui4Col";
    case ItemType_ui8:
        return L"Cui8Col";
    case ItemType_r4:
        return L"Cr4Col";
    case ItemType_r8:
        return L"Cr8Col";
    case ItemType_boolean:
        return L"CbooleanCol";
    case ItemType_string:
        return L"CstringCol";
    case ItemType_decimal:
        return L"CdecimalCol";
    case ItemType_integer:
        return L"CintegerCol";
    case ItemType_duration:
        return L"CdurationCol";
    case ItemType_base64Binary:
        return L"Cbase64BinaryCol";
    case ItemType_hexBinary:
        return L"ChexBinaryCol";
    case ItemType_year:
        return L"CyearCol";
    case ItemType_month:
        return L"CmonthCol";
    case ItemType_day:
        return L"CdayCol";
    default:
        return L"CXmlTypedCollection";
    }
}

} // namespace

template <class V, ItemType K>
CXmlTypedCollection<V, K>::CXmlTypedCollection(
    const wchar_t* elementName, const wchar_t* namespaceUri, int32_t minOccurs, int32_t maxOccurs,
    const wchar_t* pattern, int32_t minLength, int32_t maxLength, const wchar_t* minInclusive,
    const wchar_t* maxInclusive, const wchar_t* minExclusive, const wchar_t* maxExclusive,
    int32_t length, int32_t totalDigits, int32_t fractionDigits,
    CWhitespaceUtils::WhitespaceRule whitespaceRule,
    const wchar_t* format) requires(K != ItemType_Invalid)
    : CXmlTypedCollection(ClassNameOf(K), K, elementName, namespaceUri, minOccurs, maxOccurs,
                          Restrictions(pattern, minLength, maxLength, minInclusive, maxInclusive,
                                       minExclusive, maxExclusive, length, totalDigits,
                                       fractionDigits),
                          whitespaceRule, format)
{
}

template <class V, ItemType K>
CXmlTypedCollection<V, K>::CXmlTypedCollection(const wchar_t* className, ItemType itemType,
                                               const wchar_t* elementName,
                                               const wchar_t* namespaceUri, int32_t minOccurs,
                                               int32_t maxOccurs, const Restrictions& restrictions,
                                               CWhitespaceUtils::WhitespaceRule whitespaceRule,
                                               const wchar_t* format)
    : CXmlTypeCollection(className, itemType, elementName, namespaceUri, minOccurs, maxOccurs,
                         restrictions, whitespaceRule, format)
{
}

template <class V, ItemType K> CXmlTypedCollection<V, K>::~CXmlTypedCollection() = default;

template <class V, ItemType K> void CXmlTypedCollection<V, K>::AddAt(int index, Param value)
{
    // Listeners are told through a pointer; the value itself is not changed.
    void* item = const_cast<V*>(&value);
    FireOnCollectionAdd(item);
    if (index < 0 || index > GetCount()) {
        ThrowInsertIndexOutOfRange();
    }
    CheckValue(value);
    m_items.insert(m_items.begin() + index, value);
    FireOnCollectionAddComplete(item);
    FireOnCollectionChange();
}

template <class V, ItemType K> V CXmlTypedCollection<V, K>::Item(int index) const
{
    if (index < 0 || index >= GetCount()) {
        ThrowIndexOutOfRange(index);
    }
    return m_items[static_cast<size_t>(index)];
}

template <class V, ItemType K> void CXmlTypedCollection<V, K>::Clear()
{
    if (m_items.empty()) {
        return;
    }
    m_items.clear();
    FireOnCollectionChange();
}

template <class V, ItemType K> void CXmlTypedCollection<V, K>::Remove(int index)
{
    FireOnCollectionRemove(index);
    if (index < 0 || index >= GetCount()) {
        ThrowIndexOutOfRange(index);
    }
    m_items.erase(m_items.begin() + index);
    FireOnCollectionRemoveComplete(0);
    FireOnCollectionChange();
}

template <class V, ItemType K>
void CXmlTypedCollection<V, K>::AddFromString(const std::wstring& text)
{
    Add(Kind<K>::template From<V>(text, GetWhitespaceRule(), *this));
}

template <class V, ItemType K> std::wstring CXmlTypedCollection<V, K>::ItemToString(int index) const
{
    return Kind<K>::To(m_items[static_cast<size_t>(index)], *this);
}

template <class V, ItemType K> void CXmlTypedCollection<V, K>::CheckValue(Param value) const
{
    Kind<K>::Validate(GetElementName().c_str(), value, *this);
}

template class CXmlTypedCollection<int8_t, ItemType_i1>;
template class CXmlTypedCollection<int16_t, ItemType_i2>;
template class CXmlTypedCollection<int32_t, ItemType_i4>;
template class CXmlTypedCollection<int64_t, ItemType_i8>;
template class CXmlTypedCollection<uint8_t, ItemType_ui1>;
template class CXmlTypedCollection<uint16_t, ItemType_ui2>;
template class CXmlTypedCollection<uint32_t, ItemType_ui4>;
template class CXmlTypedCollection<uint64_t, ItemType_ui8>;
template class CXmlTypedCollection<float, ItemType_r4>;
template class CXmlTypedCollection<double, ItemType_r8>;
template class CXmlTypedCollection<bool, ItemType_boolean>;
template class CXmlTypedCollection<std::wstring, ItemType_string>;
template class CXmlTypedCollection<CDecimal, ItemType_decimal>;
template class CXmlTypedCollection<CBigInteger, ItemType_integer>;
template class CXmlTypedCollection<CDateTimeSpan, ItemType_duration>;
template class CXmlTypedCollection<CBinaryData, ItemType_base64Binary>;
template class CXmlTypedCollection<CBinaryData, ItemType_hexBinary>;
template class CXmlTypedCollection<uint16_t, ItemType_year>;
template class CXmlTypedCollection<uint8_t, ItemType_month>;
template class CXmlTypedCollection<uint8_t, ItemType_day>;
template class CXmlTypedCollection<CDateTime, ItemType_Invalid>;

Ci1Col::~Ci1Col() = default;
Ci2Col::~Ci2Col() = default;
Ci4Col::~Ci4Col() = default;
Ci8Col::~Ci8Col() = default;
Cui1Col::~Cui1Col() = default;
Cui2Col::~Cui2Col() = default;
Cui4Col::~Cui4Col() = default;
Cui8Col::~Cui8Col() = default;
Cr4Col::~Cr4Col() = default;
Cr8Col::~Cr8Col() = default;
CbooleanCol::~CbooleanCol() = default;
CstringCol::~CstringCol() = default;
CdecimalCol::~CdecimalCol() = default;
CintegerCol::~CintegerCol() = default;
CdurationCol::~CdurationCol() = default;
Cbase64BinaryCol::~Cbase64BinaryCol() = default;
ChexBinaryCol::~ChexBinaryCol() = default;
CyearCol::~CyearCol() = default;
CmonthCol::~CmonthCol() = default;
CdayCol::~CdayCol() = default;

CdatetimeBaseCol::CdatetimeBaseCol(const wchar_t* className, ItemType itemType,
                                   const wchar_t* elementName, const wchar_t* namespaceUri,
                                   int32_t minOccurs, int32_t maxOccurs,
                                   const Restrictions& restrictions,
                                   CWhitespaceUtils::WhitespaceRule whitespaceRule,
                                   const wchar_t* format)
    : CXmlTypedCollection(className, itemType, elementName, namespaceUri, minOccurs, maxOccurs,
                          restrictions, whitespaceRule, format)
{
    DateRowOf(itemType); // refuses a kind that is not a date or time
}

CdatetimeBaseCol::~CdatetimeBaseCol() = default;

void CdatetimeBaseCol::Add(const CDateTime& value)
{
    AddAt(GetCount(), value);
}

CDateTime CdatetimeBaseCol::Item(int index) const
{
    return CXmlTypedCollection::Item(index);
}

DateTimeType CdatetimeBaseCol::GetDateTimeType() const
{
    return DateRowOf(GetItemType()).kind;
}

CdateCol::CdateCol(const wchar_t* elementName, const wchar_t* namespaceUri, int32_t minOccurs,
                   int32_t maxOccurs, const wchar_t* pattern, int32_t minLength, int32_t maxLength,
                   const wchar_t* minInclusive, const wchar_t* maxInclusive,
                   const wchar_t* minExclusive, const wchar_t* maxExclusive, int32_t length,
                   int32_t totalDigits, int32_t fractionDigits,
                   CWhitespaceUtils::WhitespaceRule whitespaceRule, const wchar_t* format)
    : CdatetimeBaseCol(L"CdateCol", ItemType_date, elementName, namespaceUri, minOccurs, maxOccurs,
                       Restrictions(pattern, minLength, maxLength, minInclusive, maxInclusive,
                                    minExclusive, maxExclusive, length, totalDigits,
                                    fractionDigits),
                       whitespaceRule, format)
{
}

CdateCol::~CdateCol() = default;

CdatetimeCol::CdatetimeCol(const wchar_t* elementName, const wchar_t* namespaceUri,
                           int32_t minOccurs, int32_t maxOccurs, const wchar_t* pattern,
                           int32_t minLength, int32_t maxLength, const wchar_t* minInclusive,
                           const wchar_t* maxInclusive, const wchar_t* minExclusive,
                           const wchar_t* maxExclusive, int32_t length, int32_t totalDigits,
                           int32_t fractionDigits, CWhitespaceUtils::WhitespaceRule whitespaceRule,
                           const wchar_t* format)
    : CdatetimeBaseCol(
          L"CdatetimeCol", ItemType_datetime, elementName, namespaceUri, minOccurs, maxOccurs,
          Restrictions(pattern, minLength, maxLength, minInclusive, maxInclusive, minExclusive,
                       maxExclusive, length, totalDigits, fractionDigits),
          whitespaceRule, format)
{
}

CdatetimeCol::~CdatetimeCol() = default;

CtimeCol::CtimeCol(const wchar_t* elementName, const wchar_t* namespaceUri, int32_t minOccurs,
                   int32_t maxOccurs, const wchar_t* pattern, int32_t minLength, int32_t maxLength,
                   const wchar_t* minInclusive, const wchar_t* maxInclusive,
                   const wchar_t* minExclusive, const wchar_t* maxExclusive, int32_t length,
                   int32_t totalDigits, int32_t fractionDigits,
                   CWhitespaceUtils::WhitespaceRule whitespaceRule, const wchar_t* format)
    : CdatetimeBaseCol(L"CtimeCol", ItemType_time, elementName, namespaceUri, minOccurs, maxOccurs,
                       Restrictions(pattern, minLength, maxLength, minInclusive, maxInclusive,
                                    minExclusive, maxExclusive, length, totalDigits,
                                    fractionDigits),
                       whitespaceRule, format)
{
}

CtimeCol::~CtimeCol() = default;

CyearMonthCol::CyearMonthCol(const wchar_t* elementName, const wchar_t* namespaceUri,
                             int32_t minOccurs, int32_t maxOccurs, const wchar_t* pattern,
                             int32_t minLength, int32_t maxLength, const wchar_t* minInclusive,
                             const wchar_t* maxInclusive, const wchar_t* minExclusive,
                             const wchar_t* maxExclusive, int32_t length, int32_t totalDigits,
                             int32_t fractionDigits,
                             CWhitespaceUtils::WhitespaceRule whitespaceRule, const wchar_t* format)
    : CdatetimeBaseCol(
          L"CyearMonthCol", ItemType_yearMonth, elementName, namespaceUri, minOccurs, maxOccurs,
          Restrictions(pattern, minLength, maxLength, minInclusive, maxInclusive, minExclusive,
                       maxExclusive, length, totalDigits, fractionDigits),
          whitespaceRule, format)
{
}

CyearMonthCol::~CyearMonthCol() = default;

CmonthDayCol::CmonthDayCol(const wchar_t* elementName, const wchar_t* namespaceUri,
                           int32_t minOccurs, int32_t maxOccurs, const wchar_t* pattern,
                           int32_t minLength, int32_t maxLength, const wchar_t* minInclusive,
                           const wchar_t* maxInclusive, const wchar_t* minExclusive,
                           const wchar_t* maxExclusive, int32_t length, int32_t totalDigits,
                           int32_t fractionDigits, CWhitespaceUtils::WhitespaceRule whitespaceRule,
                           const wchar_t* format)
    : CdatetimeBaseCol(
          L"CmonthDayCol", ItemType_monthDay, elementName, namespaceUri, minOccurs, maxOccurs,
          Restrictions(pattern, minLength, maxLength, minInclusive, maxInclusive, minExclusive,
                       maxExclusive, length, totalDigits, fractionDigits),
          whitespaceRule, format)
{
}

CmonthDayCol::~CmonthDayCol() = default;

} // namespace VxXmlLib16
