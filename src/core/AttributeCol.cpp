#include <vxxml/Attribute.h>
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

CAttributeCol::CAttributeCol(const wchar_t* namespaceUri, const wchar_t* restriction,
                             const wchar_t* targetNamespace)
    : CXmlClassCollection(L"CAttributeCol", L"", namespaceUri, 0, -1),
      m_strRestriction(OrEmpty(restriction)), m_strTargetNamespace(OrEmpty(targetNamespace))
{
}

CAttributeCol::CAttributeCol(const CAttributeCol& other)
    : CXmlClassCollection(L"CAttributeCol", other.GetElementName().c_str(),
                          other.GetNamespace().c_str(), other.GetMinOccurs(), other.GetMaxOccurs()),
      m_strRestriction(other.m_strRestriction), m_strTargetNamespace(other.m_strTargetNamespace)
{
    for (const CAttribute* attribute : other) {
        AppendItem(attribute->Clone());
    }
}

CAttributeCol::~CAttributeCol() = default;

CSmartPtr<CAttribute> CAttributeCol::Add(const wchar_t* name)
{
    return Add(name, L"", L"");
}

CSmartPtr<CAttribute> CAttributeCol::Add(const wchar_t* name, const wchar_t* value)
{
    return Add(name, L"", value);
}

CSmartPtr<CAttribute> CAttributeCol::Add(const wchar_t* name, const wchar_t* namespaceUri,
                                         const wchar_t* value)
{
    CSmartPtr<CAttribute> attribute(new CAttribute(name, namespaceUri, value));
    AppendItem(attribute);
    return attribute;
}

CSmartPtr<CAttributeCol> CAttributeCol::Clone() const
{
    return new CAttributeCol(*this);
}

void CAttributeCol::AttributesToXml_Int(CXmlWriter* writer,
                                        const CSerializationContext& context) const
{
    ValidateCount(context);
    for (const CAttribute* attribute : *this) {
        attribute->AttributesToXml_Int(writer, context);
    }
}

void CAttributeCol::ToXml_Int(CXmlWriter* writer, bool, const wchar_t*,
                              const CSerializationContext& context, bool) const
{
    AttributesToXml_Int(writer, context);
}

CXmlElement* CAttributeCol::FromXml_Int(CXmlElement* element, CXmlElement* cursor,
                                        const CSerializationContext&, bool)
{
    for (const CXmlAttribute* attribute : element->GetAttributes()) {
        if (!IsNamespaceValid(attribute->GetNamespaceURI().c_str(), m_strRestriction.c_str(),
                              m_strTargetNamespace.c_str())) {
            throw CVxInvalidNamespaceException(
                FormatString(L"Invalid Attribute [%s]. The attributes namespace is Inappropriate.",
                             attribute->GetLocalName().c_str()),
                element->GetXPath());
        }
        Add(attribute->GetLocalName().c_str(), attribute->GetNamespaceURI().c_str(),
            attribute->GetValue().c_str());
    }
    return cursor;
}

void CAttributeCol::CheckItem(CXmlObjectBase* item)
{
    const auto* attribute = static_cast<const CAttribute*>(item);
    const std::wstring ns = attribute->GetNamespace();
    if (!IsNamespaceValid(ns.c_str(), m_strRestriction.c_str(), m_strTargetNamespace.c_str())) {
        throw CVxInvalidNamespaceException(
            FormatString(L"The namespace %s in the class %s is invalid against restriction %s",
                         ns.c_str(), attribute->GetName().c_str(), m_strRestriction.c_str()),
            L"");
    }
}

} // namespace VxXmlLib16
