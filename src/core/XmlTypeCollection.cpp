#include <vxxml/Exceptions.h>
#include <vxxml/XmlElement.h>
#include <vxxml/XmlTypeCollection.h>
#include <vxxml/XmlWriter.h>

namespace VxXmlLib16 {

CXmlTypeCollection::CXmlTypeCollection(
    ItemType itemType, const wchar_t* elementName, const wchar_t* namespaceUri, int32_t minOccurs,
    int32_t maxOccurs, const wchar_t* pattern, int32_t minLength, int32_t maxLength,
    const wchar_t* minInclusive, const wchar_t* maxInclusive, const wchar_t* minExclusive,
    const wchar_t* maxExclusive, int32_t length, int32_t totalDigits, int32_t fractionDigits,
    CWhitespaceUtils::WhitespaceRule whitespaceRule, const wchar_t* format)
    : CXmlTypeCollection(
          L"CXmlTypeCollection", itemType, elementName, namespaceUri, minOccurs, maxOccurs,
          VxXmlLib16Data::CPrimitiveRestrictions(pattern, minLength, maxLength, minInclusive,
                                                 maxInclusive, minExclusive, maxExclusive, length,
                                                 totalDigits, fractionDigits),
          whitespaceRule, format)
{
}

CXmlTypeCollection::CXmlTypeCollection(const wchar_t* className, ItemType itemType,
                                       const wchar_t* elementName, const wchar_t* namespaceUri,
                                       int32_t minOccurs, int32_t maxOccurs,
                                       const VxXmlLib16Data::CPrimitiveRestrictions& restrictions,
                                       CWhitespaceUtils::WhitespaceRule whitespaceRule,
                                       const wchar_t* format)
    : CXmlCollectionBase(elementName, namespaceUri, minOccurs, maxOccurs),
      CInstanceMonitor(className), m_restrictions(restrictions), m_eItemType(itemType),
      m_strFormat(format ? format : L""), m_eWhitespaceRule(whitespaceRule)
{
}

CXmlTypeCollection::~CXmlTypeCollection() = default;

void CXmlTypeCollection::ToXml_Int(CXmlWriter* writer, bool, const wchar_t*,
                                   const CSerializationContext& context, bool) const
{
    ValidateCount(context);
    const int32_t count = GetCount();
    for (int i = 0; i < count; ++i) {
        const std::wstring text = ItemToString(i);
        writer->WriteSimpleElement(GetElementName(), m_strNamespace, text, m_eItemType, false);
    }
}

CXmlElement* CXmlTypeCollection::FromXml_Int(CXmlElement*, CXmlElement* cursor,
                                             const CSerializationContext& context, bool)
{
    while (cursor && DoesElementNameMatch(context, cursor, GetElementName().c_str(),
                                          m_strNamespace.c_str())) {
        try {
            AddFromString(cursor->GetText());
        } catch (const CVxException& e) {
            // The item element is the innermost location the reader knows;
            // a path that is already set came from deeper and is kept.
            if (!e.GetPath().empty()) {
                throw;
            }
            throw CVxValidationException(L"Failed to process the element.", cursor->GetXPath(), e);
        }
        cursor = cursor->GetNextSiblingElement();
    }
    return cursor;
}

void CXmlTypeCollection::ThrowInsertIndexOutOfRange()
{
    throw CVxInvalidParamException(L"Index out of range");
}

} // namespace VxXmlLib16
