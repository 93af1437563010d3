// For generated code only: applications never use this header directly.
// The XML Schema facets of one primitive member, as generated code records
// them for its element and attribute metadata.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vxxml/Export.h>

namespace VxXmlLib16::detail {
class CParsedFacets;
} // namespace VxXmlLib16::detail

namespace VxXmlLib16Data {

// Facets of a simple type. Text facets are empty and number facets -1 when
// the schema does not set them. The bounds stay in their lexical form so that
// one record serves every value type; the checks of CXmlObjectBase convert
// them with the value type's own conversion the first time a value of that
// type is checked and keep the result (and the compiled pattern) inside the
// record. That cache is built safely when several threads check at once, so
// one record may be shared by every thread, as generated metadata is. A copy
// starts with an empty cache of its own; assigning to a record drops its
// cache (assignment, like any change, must not race with checks).
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

    // Whether no facet at all is set: every value passes.
    bool IsEmpty() const { return m_facetKinds == 0; }

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
    // Which groups of facets are set (bits of CParsedFacets::Kind), worked
    // out whenever the facets are set: a check skips, with one test, every
    // group that does not apply, and most records have no facet at all.
    uint8_t m_facetKinds = 0;
    void NoteFacetKinds();

    // The facets in the form the checks use, made on first use.
    friend class VxXmlLib16::detail::CParsedFacets;
    mutable std::atomic<VxXmlLib16::detail::CParsedFacets*> m_pParsed{nullptr};
};

} // namespace VxXmlLib16Data
