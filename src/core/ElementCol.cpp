#include <vxxml/Element.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/XmlElement.h>

namespace VxXmlLib16 {
namespace {

const wchar_t* OrEmpty(const wchar_t* s)
{
    return s ? s : L"";
}

} // namespace

CElementCol::CElementCol(const wchar_t* namespaceUri, const wchar_t* restriction,
                         const wchar_t* targetNamespace, int minOccurs, int maxOccurs)
    : CXmlClassCollection(L"CElementCol", L"", namespaceUri, minOccurs, maxOccurs),
      m_strRestriction(OrEmpty(restriction)), m_strTargetNamespace(OrEmpty(targetNamespace))
{
}

CElementCol::CElementCol(const CElementCol& other)
    : CXmlClassCollection(L"CElementCol", other.GetElementName().c_str(),
                          other.GetNamespace().c_str(), other.GetMinOccurs(), other.GetMaxOccurs()),
      m_strRestriction(other.m_strRestriction), m_strTargetNamespace(other.m_strTargetNamespace)
{
    for (const CElement* element : other) {
        AppendItem(element->Clone());
    }
}

CElementCol::~CElementCol() = default;

CSmartPtr<CElement> CElementCol::Add(const wchar_t* name)
{
    if (m_strNamespace.empty()) {
        throw CVxInvalidStateException(L"A Namespace has not been set for this Collection");
    }
    return Add(name, m_strNamespace.c_str());
}

CSmartPtr<CElement> CElementCol::Add(const wchar_t* name, const wchar_t* namespaceUri)
{
    CSmartPtr<CElement> element(
        new CElement(name, namespaceUri, m_strRestriction.c_str(), m_strTargetNamespace.c_str()));
    AppendItem(element);
    return element;
}

CSmartPtr<CElementCol> CElementCol::Clone() const
{
    return new CElementCol(*this);
}

void CElementCol::ToXml_Int(CXmlWriter* writer, bool, const wchar_t*,
                            const CSerializationContext& context, bool) const
{
    ValidateCount(context);
    for (const CElement* element : *this) {
        element->ToXml_Int(writer, false, nullptr, context, false);
    }
}

CXmlElement* CElementCol::FromXml_Int(CXmlElement*, CXmlElement* cursor,
                                      const CSerializationContext& context, bool isOptional)
{
    return ReadElements(cursor, context, isOptional, nullptr, nullptr);
}

CXmlElement* CElementCol::FromXmlLockElementName_Int(const std::wstring& name,
                                                     const std::wstring& namespaceUri, CXmlElement*,
                                                     CXmlElement* cursor,
                                                     const CSerializationContext& context,
                                                     bool isOptional)
{
    return ReadElements(cursor, context, isOptional, &name, &namespaceUri);
}

CXmlElement* CElementCol::ReadElements(CXmlElement* cursor, const CSerializationContext& context,
                                       bool isOptional, const std::wstring* lockName,
                                       const std::wstring* lockNamespace)
{
    while (cursor) {
        if (lockName &&
            !DoesElementNameMatch(context, cursor, lockName->c_str(), lockNamespace->c_str())) {
            break;
        }
        if (!IsNamespaceValid(cursor->GetNamespaceURI().c_str(), m_strRestriction.c_str(),
                              m_strTargetNamespace.c_str())) {
            break;
        }
        CSmartPtr<CElement> element(
            new CElement(cursor->GetLocalName().c_str(), cursor->GetNamespaceURI().c_str(),
                         m_strRestriction.c_str(), m_strTargetNamespace.c_str()));
        CXmlElement* next =
            element->FromXml_Int(cursor, cursor->GetFirstElement(), context, isOptional);
        AppendItem(element);
        cursor = next;
    }
    return cursor;
}

void CElementCol::CheckItem(CXmlObjectBase* item)
{
    const auto* element = static_cast<const CElement*>(item);
    const std::wstring ns = element->GetNamespace();
    if (!IsNamespaceValid(ns.c_str(), m_strRestriction.c_str(), m_strTargetNamespace.c_str())) {
        throw CVxInvalidNamespaceException(
            FormatString(L"The namespace %s in the class %s is invalid against restriction %s",
                         ns.c_str(), element->GetName().c_str(), m_strRestriction.c_str()),
            L"");
    }
}

} // namespace VxXmlLib16
