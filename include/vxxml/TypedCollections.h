// The typed collections of primitive values: one class per XML Schema kind
// (Ci4Col holds xs:int values, CstringCol strings, CdateCol dates, ...).
#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>
#include <vxxml/BigInteger.h>
#include <vxxml/BinaryData.h>
#include <vxxml/DateTime.h>
#include <vxxml/DateTimeSpan.h>
#include <vxxml/Decimal.h>
#include <vxxml/Export.h>
#include <vxxml/XmlTypeCollection.h>

namespace VxXmlLib16 {

// The shared implementation of every typed collection: a vector of V, whose
// items are written and read with the conversions of kind K. The public
// classes below (Ci4Col, ...) are thin names for its instances.
//
// Adding (AddAt; Add appends):
//   1. the add event fires with the address of the value;
//   2. an index outside 0..count throws CVxInvalidParamException
//      "Index out of range";
//   3. the value is checked against the facets (and, for the date
//      collections, its kind), naming the collection's element name;
//   4. the value is stored, then add-complete (with the same address) and
//      change fire.
// A refusal in steps 2 or 3 leaves the collection unchanged.
//
// Removing (Remove): the remove event fires with the index; an index
// outside 0..count-1 throws "Index %d is out of range, use 0 - %d" (the
// index and the count: the upper figure is one too high, and callers rely
// on the text); the item is erased; remove-complete fires with 0 (whatever
// the index was: listeners written against this library expect it), then
// change. Clear() fires one change event when it removed anything.
//
// Item and the iterators give read-only access: a value can only enter the
// collection through AddAt, which checks it.
//
// K is ItemType_Invalid only for the date family, whose concrete classes
// give the kind at run time (see CdatetimeBaseCol).
template <class V, ItemType K> class VXXML_API CXmlTypedCollection : public CXmlTypeCollection
{
public:
    using Value = V;
    // Numbers travel by value, class values by reference.
    using Param = std::conditional_t<std::is_arithmetic_v<V>, V, const V&>;
    using const_iterator = typename std::vector<V>::const_iterator;

    // The arguments of CXmlTypeCollection without the kind. Strings keep
    // their whitespace unless told otherwise; every other kind collapses it.
    CXmlTypedCollection(const wchar_t* elementName, const wchar_t* namespaceUri,
                        int32_t minOccurs = 0, int32_t maxOccurs = -1,
                        const wchar_t* pattern = nullptr, int32_t minLength = -1,
                        int32_t maxLength = -1, const wchar_t* minInclusive = nullptr,
                        const wchar_t* maxInclusive = nullptr,
                        const wchar_t* minExclusive = nullptr,
                        const wchar_t* maxExclusive = nullptr, int32_t length = -1,
                        int32_t totalDigits = -1, int32_t fractionDigits = -1,
                        CWhitespaceUtils::WhitespaceRule whitespaceRule =
                            K == ItemType_string ? CWhitespaceUtils::WhitespaceRule_Preserve
                                                 : CWhitespaceUtils::WhitespaceRule_Collapse,
                        const wchar_t* format = nullptr) requires(K != ItemType_Invalid);
    ~CXmlTypedCollection() override;

    void Add(Param value) { AddAt(GetCount(), value); }
    void AddAt(int index, Param value);
    // Throws "Index %d is out of range, use 0 - %d" outside 0..count-1.
    V Item(int index) const;

    int32_t GetCount() const override { return static_cast<int32_t>(m_items.size()); }
    void Clear() override;
    void Remove(int index) override;

    const_iterator begin() const { return m_items.begin(); }
    const_iterator end() const { return m_items.end(); }

protected:
    CXmlTypedCollection(const wchar_t* className, ItemType itemType, const wchar_t* elementName,
                        const wchar_t* namespaceUri, int32_t minOccurs, int32_t maxOccurs,
                        const VxXmlLib16Data::CPrimitiveRestrictions& restrictions,
                        CWhitespaceUtils::WhitespaceRule whitespaceRule, const wchar_t* format);

    void AddFromString(const std::wstring& text) override;
    std::wstring ItemToString(int index) const override;
    // Throws when the value may not enter the collection (step 3 above).
    void CheckValue(Param value) const;

    std::vector<V> m_items;
};

extern template class CXmlTypedCollection<int8_t, ItemType_i1>;
extern template class CXmlTypedCollection<int16_t, ItemType_i2>;
extern template class CXmlTypedCollection<int32_t, ItemType_i4>;
extern template class CXmlTypedCollection<int64_t, ItemType_i8>;
extern template class CXmlTypedCollection<uint8_t, ItemType_ui1>;
extern template class CXmlTypedCollection<uint16_t, ItemType_ui2>;
extern template class CXmlTypedCollection<uint32_t, ItemType_ui4>;
extern template class CXmlTypedCollection<uint64_t, ItemType_ui8>;
extern template class CXmlTypedCollection<float, ItemType_r4>;
extern template class CXmlTypedCollection<double, ItemType_r8>;
extern template class CXmlTypedCollection<bool, ItemType_boolean>;
extern template class CXmlTypedCollection<std::wstring, ItemType_string>;
extern template class CXmlTypedCollection<CDecimal, ItemType_decimal>;
extern template class CXmlTypedCollection<CBigInteger, ItemType_integer>;
extern template class CXmlTypedCollection<CDateTimeSpan, ItemType_duration>;
extern template class CXmlTypedCollection<CBinaryData, ItemType_base64Binary>;
extern template class CXmlTypedCollection<CBinaryData, ItemType_hexBinary>;
extern template class CXmlTypedCollection<uint16_t, ItemType_year>;
extern template class CXmlTypedCollection<uint8_t, ItemType_month>;
extern template class CXmlTypedCollection<uint8_t, ItemType_day>;
extern template class CXmlTypedCollection<CDateTime, ItemType_Invalid>;

class VXXML_API Ci1Col : public CXmlTypedCollection<int8_t, ItemType_i1>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~Ci1Col() override;
};

class VXXML_API Ci2Col : public CXmlTypedCollection<int16_t, ItemType_i2>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~Ci2Col() override;
};

class VXXML_API Ci4Col : public CXmlTypedCollection<int32_t, ItemType_i4>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~Ci4Col() override;
};

class VXXML_API Ci8Col : public CXmlTypedCollection<int64_t, ItemType_i8>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~Ci8Col() override;
};

class VXXML_API Cui1Col : public CXmlTypedCollection<uint8_t, ItemType_ui1>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~Cui1Col() override;
};

class VXXML_API Cui2Col : public CXmlTypedCollection<uint16_t, ItemType_ui2>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~Cui2Col() override;
};

class VXXML_API Cui4Col : public CXmlTypedCollection<uint32_t, ItemType_ui4>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~Cui4Col() override;
};

class VXXML_API Cui8Col : public CXmlTypedCollection<uint64_t, ItemType_ui8>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~Cui8Col() override;
};

class VXXML_API Cr4Col : public CXmlTypedCollection<float, ItemType_r4>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~Cr4Col() override;
};

class VXXML_API Cr8Col : public CXmlTypedCollection<double, ItemType_r8>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~Cr8Col() override;
};

class VXXML_API CbooleanCol : public CXmlTypedCollection<bool, ItemType_boolean>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~CbooleanCol() override;
};

class VXXML_API CstringCol : public CXmlTypedCollection<std::wstring, ItemType_string>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~CstringCol() override;
};

class VXXML_API CdecimalCol : public CXmlTypedCollection<CDecimal, ItemType_decimal>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~CdecimalCol() override;
};

class VXXML_API CintegerCol : public CXmlTypedCollection<CBigInteger, ItemType_integer>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~CintegerCol() override;
};

class VXXML_API CdurationCol : public CXmlTypedCollection<CDateTimeSpan, ItemType_duration>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~CdurationCol() override;
};

class VXXML_API Cbase64BinaryCol : public CXmlTypedCollection<CBinaryData, ItemType_base64Binary>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~Cbase64BinaryCol() override;
};

class VXXML_API ChexBinaryCol : public CXmlTypedCollection<CBinaryData, ItemType_hexBinary>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~ChexBinaryCol() override;
};

class VXXML_API CyearCol : public CXmlTypedCollection<uint16_t, ItemType_year>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~CyearCol() override;
};

class VXXML_API CmonthCol : public CXmlTypedCollection<uint8_t, ItemType_month>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~CmonthCol() override;
};

class VXXML_API CdayCol : public CXmlTypedCollection<uint8_t, ItemType_day>
{
public:
    using CXmlTypedCollection::CXmlTypedCollection;
    ~CdayCol() override;
};

// The base of the five date and time collections: CDateTime items whose
// kind must be the collection's. Adding a value of another kind throws
// CVxInvalidParamException "Dates added to this collection must be of type
// <kind>" (dt_date, dt_dateTime, ...), after the add event, like a facet.
class VXXML_API CdatetimeBaseCol : public CXmlTypedCollection<CDateTime, ItemType_Invalid>
{
public:
    ~CdatetimeBaseCol() override;

    virtual void Add(const CDateTime& value);
    virtual CDateTime Item(int index) const;
    // The kind every item must have.
    DateTimeType GetDateTimeType() const;

protected:
    // itemType is one of ItemType_date, _datetime, _time, _yearMonth and
    // _monthDay.
    CdatetimeBaseCol(const wchar_t* className, ItemType itemType, const wchar_t* elementName,
                     const wchar_t* namespaceUri, int32_t minOccurs, int32_t maxOccurs,
                     const VxXmlLib16Data::CPrimitiveRestrictions& restrictions,
                     CWhitespaceUtils::WhitespaceRule whitespaceRule, const wchar_t* format);
};

class VXXML_API CdateCol : public CdatetimeBaseCol
{
public:
    // The arguments of every typed collection; items must be of kind dt_date.
    CdateCol(
        const wchar_t* elementName, const wchar_t* namespaceUri, int32_t minOccurs = 0,
        int32_t maxOccurs = -1, const wchar_t* pattern = nullptr, int32_t minLength = -1,
        int32_t maxLength = -1, const wchar_t* minInclusive = nullptr,
        const wchar_t* maxInclusive = nullptr, const wchar_t* minExclusive = nullptr,
        const wchar_t* maxExclusive = nullptr, int32_t length = -1, int32_t totalDigits = -1,
        int32_t fractionDigits = -1,
        CWhitespaceUtils::WhitespaceRule whitespaceRule = CWhitespaceUtils::WhitespaceRule_Collapse,
        const wchar_t* format = nullptr);
    ~CdateCol() override;
};

class VXXML_API CdatetimeCol : public CdatetimeBaseCol
{
public:
    // The arguments of every typed collection; items must be of kind dt_dateTime.
    CdatetimeCol(
        const wchar_t* elementName, const wchar_t* namespaceUri, int32_t minOccurs = 0,
        int32_t maxOccurs = -1, const wchar_t* pattern = nullptr, int32_t minLength = -1,
        int32_t maxLength = -1, const wchar_t* minInclusive = nullptr,
        const wchar_t* maxInclusive = nullptr, const wchar_t* minExclusive = nullptr,
        const wchar_t* maxExclusive = nullptr, int32_t length = -1, int32_t totalDigits = -1,
        int32_t fractionDigits = -1,
        CWhitespaceUtils::WhitespaceRule whitespaceRule = CWhitespaceUtils::WhitespaceRule_Collapse,
        const wchar_t* format = nullptr);
    ~CdatetimeCol() override;
};

class VXXML_API CtimeCol : public CdatetimeBaseCol
{
public:
    // The arguments of every typed collection; items must be of kind dt_time.
    CtimeCol(
        const wchar_t* elementName, const wchar_t* namespaceUri, int32_t minOccurs = 0,
        int32_t maxOccurs = -1, const wchar_t* pattern = nullptr, int32_t minLength = -1,
        int32_t maxLength = -1, const wchar_t* minInclusive = nullptr,
        const wchar_t* maxInclusive = nullptr, const wchar_t* minExclusive = nullptr,
        const wchar_t* maxExclusive = nullptr, int32_t length = -1, int32_t totalDigits = -1,
        int32_t fractionDigits = -1,
        CWhitespaceUtils::WhitespaceRule whitespaceRule = CWhitespaceUtils::WhitespaceRule_Collapse,
        const wchar_t* format = nullptr);
    ~CtimeCol() override;
};

class VXXML_API CyearMonthCol : public CdatetimeBaseCol
{
public:
    // The arguments of every typed collection; items must be of kind dt_gYearMonth.
    CyearMonthCol(
        const wchar_t* elementName, const wchar_t* namespaceUri, int32_t minOccurs = 0,
        int32_t maxOccurs = -1, const wchar_t* pattern = nullptr, int32_t minLength = -1,
        int32_t maxLength = -1, const wchar_t* minInclusive = nullptr,
        const wchar_t* maxInclusive = nullptr, const wchar_t* minExclusive = nullptr,
        const wchar_t* maxExclusive = nullptr, int32_t length = -1, int32_t totalDigits = -1,
        int32_t fractionDigits = -1,
        CWhitespaceUtils::WhitespaceRule whitespaceRule = CWhitespaceUtils::WhitespaceRule_Collapse,
        const wchar_t* format = nullptr);
    ~CyearMonthCol() override;
};

class VXXML_API CmonthDayCol : public CdatetimeBaseCol
{
public:
    // The arguments of every typed collection; items must be of kind dt_gMonthDay.
    CmonthDayCol(
        const wchar_t* elementName, const wchar_t* namespaceUri, int32_t minOccurs = 0,
        int32_t maxOccurs = -1, const wchar_t* pattern = nullptr, int32_t minLength = -1,
        int32_t maxLength = -1, const wchar_t* minInclusive = nullptr,
        const wchar_t* maxInclusive = nullptr, const wchar_t* minExclusive = nullptr,
        const wchar_t* maxExclusive = nullptr, int32_t length = -1, int32_t totalDigits = -1,
        int32_t fractionDigits = -1,
        CWhitespaceUtils::WhitespaceRule whitespaceRule = CWhitespaceUtils::WhitespaceRule_Collapse,
        const wchar_t* format = nullptr);
    ~CmonthDayCol() override;
};

} // namespace VxXmlLib16
