// The XML Schema facets of one primitive member, as generated code records
// them for its element and attribute metadata.
#pragma once

#include <cstdint>
#include <string>
#include <vxxml/Export.h>

namespace VxXmlLib16Data {

// Facets of a simple type. Text facets are empty and number facets -1 when
// the schema does not set them. The bounds stay in their lexical form so that
// one record serves every value type; the checks of CXmlObjectBase convert
// them with the value type's own conversion each time they are used.
class VXXML_API CPrimitiveRestrictions
{
public:
    // No facet set.
    CPrimitiveRestrictions();
    // The facets in field order; a null text is taken as empty (absent).
    CPrimitiveRestrictions(const wchar_t* pattern, int32_t minLength, int32_t maxLength,
                           const wchar_t* minInclusive, const wchar_t* maxInclusive,
                           const wchar_t* minExclusive, const wchar_t* maxExclusive, int32_t length,
                           int32_t totalDigits, int32_t fractionDigits);
    CPrimitiveRestrictions(const CPrimitiveRestrictions& other);
    CPrimitiveRestrictions& operator=(const CPrimitiveRestrictions& other);
    virtual ~CPrimitiveRestrictions();

    // xs:pattern, in XML Schema's regular-expression syntax.
    const std::wstring& GetPattern() const { return m_strPattern; }
    // xs:minLength and xs:maxLength: characters of a string, bytes of
    // binary data.
    int32_t GetMinLength() const { return m_lMinLength; }
    int32_t GetMaxLength() const { return m_lMaxLength; }
    const std::wstring& GetMinInclusive() const { return m_strMinInclusive; }
    const std::wstring& GetMaxInclusive() const { return m_strMaxInclusive; }
    const std::wstring& GetMinExclusive() const { return m_strMinExclusive; }
    const std::wstring& GetMaxExclusive() const { return m_strMaxExclusive; }
    int32_t GetLength() const { return m_lLength; }
    int32_t GetTotalDigits() const { return m_lTotalDigits; }
    int32_t GetFractionDigits() const { return m_lFractionDigits; }

private:
    std::wstring m_strPattern;
    int32_t m_lMinLength;
    int32_t m_lMaxLength;
    std::wstring m_strMinInclusive;
    std::wstring m_strMaxInclusive;
    std::wstring m_strMinExclusive;
    std::wstring m_strMaxExclusive;
    int32_t m_lLength;
    int32_t m_lTotalDigits;
    int32_t m_lFractionDigits;
};

} // namespace VxXmlLib16Data
