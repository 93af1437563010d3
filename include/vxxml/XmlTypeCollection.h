// The base of the collections of primitive values (Ci4Col, CstringCol, ...).
#pragma once

#include <cstdint>
#include <string>
#include <vxxml/Export.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/ItemType.h>
#include <vxxml/PrimitiveRestrictions.h>
#include <vxxml/WhitespaceUtils.h>
#include <vxxml/XmlCollectionBase.h>

namespace VxXmlLib16 {

// A collection of primitive values of one kind, each written as an element
// of the collection's name and namespace holding the value's text. Every
// item must pass the facets given at construction: adding a value that
// breaks one throws and leaves the collection unchanged.
//
// The item storage and the value conversions live in the typed collections
// (see TypedCollections.h); this class holds what they share.
class VXXML_API CXmlTypeCollection : public CXmlCollectionBase, public CInstanceMonitor
{
public:
    // The kind, the items' element name and namespace, the bounds (maxOccurs
    // -1 is unbounded), then the facets (texts may be null, numbers -1 when
    // absent), the whitespace rule applied to each text read, and the format
    // used when writing r4, r8 and decimal items (null or empty: the
    // canonical form).
    CXmlTypeCollection(ItemType itemType, const wchar_t* elementName, const wchar_t* namespaceUri,
                       int32_t minOccurs, int32_t maxOccurs, const wchar_t* pattern,
                       int32_t minLength, int32_t maxLength, const wchar_t* minInclusive,
                       const wchar_t* maxInclusive, const wchar_t* minExclusive,
                       const wchar_t* maxExclusive, int32_t length, int32_t totalDigits,
                       int32_t fractionDigits, CWhitespaceUtils::WhitespaceRule whitespaceRule,
                       const wchar_t* format);
    ~CXmlTypeCollection() override;

    ItemType GetItemType() const { return m_eItemType; }
    const VxXmlLib16Data::CPrimitiveRestrictions& GetRestrictions() const { return m_restrictions; }
    CWhitespaceUtils::WhitespaceRule GetWhitespaceRule() const { return m_eWhitespaceRule; }
    const std::wstring& GetFormat() const { return m_strFormat; }

    // Validates the count, then writes one element per item, in order; an
    // empty collection writes nothing.
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const wchar_t* namespaceUri,
                   const CSerializationContext& context, bool isOptional) const override;
    // Adds the text of each consecutive sibling from cursor on whose name
    // matches the collection's, and returns the first one that does not (or
    // null). A text that does not convert, or a value that breaks a facet,
    // fails with the item element's path; the items read before it stay.
    CXmlElement* FromXml_Int(CXmlElement* parent, CXmlElement* cursor,
                             const CSerializationContext& context, bool isOptional) override;

protected:
    CXmlTypeCollection(const wchar_t* className, ItemType itemType, const wchar_t* elementName,
                       const wchar_t* namespaceUri, int32_t minOccurs, int32_t maxOccurs,
                       const VxXmlLib16Data::CPrimitiveRestrictions& restrictions,
                       CWhitespaceUtils::WhitespaceRule whitespaceRule, const wchar_t* format);

    // Converts one element text with the collection's whitespace rule and
    // adds the value (facets are checked as for any other add).
    virtual void AddFromString(const std::wstring& text) = 0;
    // The lexical form of the item at index (0 <= index < count).
    virtual std::wstring ItemToString(int index) const = 0;

    // The "Index out of range" failure of an insertion.
    [[noreturn]] static void ThrowInsertIndexOutOfRange();

private:
    VxXmlLib16Data::CPrimitiveRestrictions m_restrictions;
    ItemType m_eItemType;
    std::wstring m_strFormat;
    CWhitespaceUtils::WhitespaceRule m_eWhitespaceRule;
};

} // namespace VxXmlLib16
