#include <vxxml/Attribute.h>
#include <vxxml/Exceptions.h>
#include <vxxml/XmlWriter.h>

namespace VxXmlLib16 {
namespace {

const wchar_t* OrEmpty(const wchar_t* s)
{
    return s ? s : L"";
}

} // namespace

CAttribute::CAttribute(const wchar_t* name, const wchar_t* namespaceUri, const wchar_t* value)
    : CXmlObjectBase(OrEmpty(name)), CInstanceMonitor(L"CAttribute"),
      m_strNamespace(OrEmpty(namespaceUri)), m_strValue(OrEmpty(value))
{
}

CAttribute::CAttribute(const CAttribute& other)
    : CXmlObjectBase(other), CInstanceMonitor(other), m_strNamespace(other.m_strNamespace),
      m_strValue(other.m_strValue)
{
}

CAttribute::~CAttribute() = default;

void CAttribute::SetName(const wchar_t* name)
{
    SetElementName(name);
    FireOnChangeName();
}

void CAttribute::SetNamespace(const wchar_t* namespaceUri)
{
    m_strNamespace = OrEmpty(namespaceUri);
    FireOnChangeNamespace();
}

void CAttribute::SetValue(const wchar_t* value)
{
    m_strValue = OrEmpty(value);
}

CSmartPtr<CAttribute> CAttribute::Clone() const
{
    return new CAttribute(*this);
}

void CAttribute::AttributesToXml_Int(CXmlWriter* writer, const CSerializationContext&) const
{
    writer->WriteAttribute(GetElementName().c_str(), m_strNamespace.c_str(), m_strValue.c_str(),
                           ItemType_string);
}

void CAttribute::ToXml_Int(CXmlWriter* writer, bool, const wchar_t*,
                           const CSerializationContext& context, bool) const
{
    AttributesToXml_Int(writer, context);
}

CXmlElement* CAttribute::FromXml_Int(CXmlElement*, CXmlElement*, const CSerializationContext&, bool)
{
    throw CVxException(L"This should be done by the collection");
}

void CAttribute::FireOnChangeName()
{
    if (m_pEventSink) {
        m_pEventSink->OnEvent(this, MsgType_NameChange, const_cast<std::wstring*>(&GetName()));
    }
}

void CAttribute::FireOnChangeNamespace()
{
    if (m_pEventSink) {
        m_pEventSink->OnEvent(this, MsgType_NamespaceChange, &m_strNamespace);
    }
}

} // namespace VxXmlLib16
