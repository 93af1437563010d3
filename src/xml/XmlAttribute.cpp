#include "xml/XmlNames.h"

#include <cstring>
#include <new>
#include <vxxml/XmlAttribute.h>
#include <vxxml/XmlDocument.h>
#include <vxxml/XmlElement.h>

namespace VxXmlLib16 {
namespace {

const wchar_t kXsiNamespace[] = L"http://www.w3.org/2001/XMLSchema-instance";
const wchar_t kXmlnsNamespace[] = L"http://www.w3.org/2000/xmlns/";

bool InInstanceOrXmlnsNamespace(const std::wstring& ns)
{
    return ns == kXsiNamespace || ns == kXmlnsNamespace;
}

const std::wstring& EmptyString()
{
    static const std::wstring empty;
    return empty;
}

} // namespace

CXmlAttribute::CXmlAttribute(CXmlElement* element, const detail::XmlName* name, uint32_t valueBytes)
    : CInstanceMonitor(L"CXmlAttribute"), m_pElement(element), m_pName(name), m_cbValue(valueBytes)
{
}

CXmlAttribute::CXmlAttribute(const CXmlAttribute& sibling, const detail::XmlName* name,
                             uint32_t valueBytes)
    : CInstanceMonitor(sibling), m_pElement(sibling.m_pElement), m_pName(name),
      m_cbValue(valueBytes)
{
}

CXmlAttribute::~CXmlAttribute()
{
    delete m_pWideValue;
}

CXmlAttribute* CXmlAttribute::Create(detail::NodePool& pool, CXmlElement* element,
                                     const detail::XmlName* name, const char* value,
                                     size_t valueBytes)
{
    if (valueBytes > UINT32_MAX) {
        throw std::bad_alloc();
    }
    void* block = pool.Allocate(sizeof(CXmlAttribute) + valueBytes);
    const auto bytes = static_cast<uint32_t>(valueBytes);
    // A sibling attribute already holds this class's monitor entry.
    const std::vector<CXmlAttribute*>& siblings = element->GetAttributes();
    auto* attribute = siblings.empty() ? new (block) CXmlAttribute(element, name, bytes)
                                       : new (block) CXmlAttribute(*siblings.back(), name, bytes);
    if (valueBytes != 0) {
        std::memcpy(static_cast<char*>(block) + sizeof(CXmlAttribute), value, valueBytes);
    }
    return attribute;
}

void CXmlAttribute::Destroy(detail::NodePool& pool, CXmlAttribute* attribute)
{
    const size_t bytes = sizeof(CXmlAttribute) + attribute->m_cbValue;
    attribute->~CXmlAttribute();
    pool.Free(attribute, bytes);
}

const std::wstring& CXmlAttribute::GetLocalName() const
{
    return m_pName->local;
}

const std::wstring& CXmlAttribute::GetNamespaceURI() const
{
    return m_pName->ns;
}

std::wstring CXmlAttribute::CopyValue() const
{
    if (m_pWideValue != nullptr) {
        return *m_pWideValue;
    }
    std::wstring wide;
    detail::AppendUtf8(wide, ValueBytes(), m_cbValue);
    return wide;
}

const std::wstring& CXmlAttribute::GetValue() const
{
    if (m_cbValue == 0) {
        return EmptyString();
    }
    if (m_pWideValue == nullptr) {
        auto* wide = new std::wstring;
        detail::AppendUtf8(*wide, ValueBytes(), m_cbValue);
        m_pWideValue = wide;
    }
    return *m_pWideValue;
}

std::wstring CXmlAttribute::GetXPath() const
{
    std::wstring path = m_pElement->GetXPath();
    path += L'/';
    const CXmlDocument* document = m_pElement->GetDocument();
    if (!m_pName->ns.empty() && document != nullptr) {
        const std::wstring prefix = document->LookupAliasFromNamespace(m_pName->ns.c_str());
        if (!prefix.empty()) {
            path += prefix;
            path += L':';
        }
    }
    path += L'@';
    path += m_pName->local;
    return path;
}

bool CXmlAttribute::IsNamespaceAttribute() const
{
    if (!InInstanceOrXmlnsNamespace(m_pName->ns)) {
        return false;
    }
    const std::wstring& n = m_pName->local;
    return n == L"xmlns" || n == L"type" || n == L"schemaLocation" ||
           n == L"noNamespaceSchemaLocation";
}

bool CXmlAttribute::IsNilAttribute() const
{
    return InInstanceOrXmlnsNamespace(m_pName->ns) && m_pName->local == L"nil";
}

} // namespace VxXmlLib16
