#include "xml/XmlNames.h"

#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <new>
#include <vxxml/XmlDocument.h>
#include <vxxml/XmlElement.h>

namespace VxXmlLib16 {
namespace {

const std::wstring& EmptyString()
{
    static const std::wstring empty;
    return empty;
}

} // namespace

CXmlElement::CXmlElement(CXmlDocument* document, const detail::XmlName* name)
    : CInstanceMonitor(L"CXmlElement"), m_pDocument(document), m_pParent(nullptr), m_pName(name)
{
}

CXmlElement::CXmlElement(CXmlElement* parent, const detail::XmlName* name)
    : CInstanceMonitor(static_cast<const CInstanceMonitor&>(*parent)),
      m_pDocument(parent->m_pDocument), m_pParent(parent), m_pName(name)
{
}

CXmlElement::~CXmlElement()
{
    // Children are destroyed without recursion, so that a hostile document
    // nested a million levels deep cannot overflow the stack: descend to a
    // childless element, unlink and destroy it, climb back, repeat.
    CXmlElement* e = this;
    while (e != nullptr) {
        if (CXmlElement* child = e->m_pFirstChild) {
            e->m_pFirstChild = child->m_pNextSibling;
            if (e->m_pFirstChild == nullptr) {
                e->m_pLastChild = nullptr;
            }
            child->m_pNextSibling = nullptr;
            e = child;
            continue;
        }
        if (e == this) {
            break;
        }
        CXmlElement* parent = e->m_pParent;
        Destroy(e); // childless now: its destructor does not loop again
        e = parent;
    }
    detail::NodePool& pool = m_pDocument->Pool();
    for (CXmlAttribute* attribute : m_attributes) {
        CXmlAttribute::Destroy(pool, attribute);
    }
    pool.Free(m_pText, m_cbTextCapacity);
    delete m_pWideText;
}

void CXmlElement::Destroy(CXmlElement* element)
{
    detail::NodePool& pool = element->m_pDocument->Pool();
    element->~CXmlElement();
    pool.Free(element, sizeof(CXmlElement));
}

const std::wstring& CXmlElement::GetLocalName() const
{
    return m_pName->local;
}

const std::wstring& CXmlElement::GetNamespaceURI() const
{
    return m_pName->ns;
}

const std::wstring& CXmlElement::GetText() const
{
    if (m_cbText == 0) {
        return EmptyString();
    }
    if (m_pWideText == nullptr) {
        auto* wide = new std::wstring;
        detail::AppendUtf8(*wide, m_pText, m_cbText);
        m_pWideText = wide;
    }
    return *m_pWideText;
}

void CXmlElement::CopyTextTo(std::wstring& out) const
{
    if (m_pWideText != nullptr) {
        out = *m_pWideText;
        return;
    }
    out.clear();
    detail::AppendUtf8(out, m_pText, m_cbText);
}

std::wstring CXmlElement::CopyText() const
{
    if (m_pWideText != nullptr) {
        return *m_pWideText;
    }
    std::wstring wide;
    detail::AppendUtf8(wide, m_pText, m_cbText);
    return wide;
}

const std::wstring& CXmlElement::GetAttribute(const wchar_t* localName,
                                              const wchar_t* namespaceUri) const
{
    const wchar_t* local = localName ? localName : L"";
    const wchar_t* ns = namespaceUri ? namespaceUri : L"";
    for (const CXmlAttribute* attribute : m_attributes) {
        if (attribute->GetLocalName() == local && attribute->GetNamespaceURI() == ns) {
            return attribute->GetValue();
        }
    }
    return EmptyString();
}

std::wstring CXmlElement::GetQName() const
{
    if (m_pDocument != nullptr && !m_pName->ns.empty()) {
        std::wstring prefix = m_pDocument->LookupAliasFromNamespace(m_pName->ns.c_str());
        if (!prefix.empty()) {
            prefix += L':';
            prefix += m_pName->local;
            return prefix;
        }
    }
    return m_pName->local;
}

std::wstring CXmlElement::GetNameWithPredicate() const
{
    std::wstring qname = GetQName();
    if (m_pParent == nullptr) {
        return qname;
    }
    int same = 0;
    int position = 0;
    for (const CXmlElement* c = m_pParent->m_pFirstChild; c != nullptr; c = c->m_pNextSibling) {
        // Same interned name means same QName; only different names need
        // the prefix lookup (two URIs can share a prefix).
        if (c->m_pName == m_pName || c->GetQName() == qname) {
            ++same;
            if (c == this) {
                position = same;
            }
        }
    }
    if (same >= 2) {
        qname += L'[';
        qname += std::to_wstring(position);
        qname += L']';
    }
    return qname;
}

std::wstring CXmlElement::GetXPath() const
{
    // Built from the root down without recursion (deep trees).
    std::vector<const CXmlElement*> chain;
    for (const CXmlElement* e = this; e != nullptr; e = e->m_pParent) {
        chain.push_back(e);
    }
    std::wstring path;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        path += L'/';
        path += (*it)->GetNameWithPredicate();
    }
    return path;
}

void CXmlElement::SetElementName(const wchar_t* localName)
{
    m_pName = m_pDocument->InternName(m_pName->ns.c_str(), localName);
}

void CXmlElement::SetNamespace(const wchar_t* namespaceUri)
{
    m_pName = m_pDocument->InternName(namespaceUri, m_pName->local.c_str());
}

CXmlAttribute* CXmlElement::AddAttribute(const wchar_t* localName, const wchar_t* value,
                                         const wchar_t* namespaceUri)
{
    const detail::XmlName* name = m_pDocument->InternName(namespaceUri, localName);
    std::string bytes;
    if (value != nullptr) {
        detail::AppendWide(bytes, value, std::wcslen(value));
    }
    AddAttributeUtf8(name, bytes.data(), bytes.size());
    return m_attributes.back();
}

void CXmlElement::AddAttributeUtf8(const detail::XmlName* name, const char* value, size_t bytes)
{
    m_attributes.push_back(CXmlAttribute::Create(m_pDocument->Pool(), this, name, value, bytes));
}

void CXmlElement::AppendText(const wchar_t* text)
{
    if (text != nullptr) {
        AppendText(text, std::wcslen(text));
    }
}

void CXmlElement::AppendText(const wchar_t* text, size_t count)
{
    if (text == nullptr || count == 0) {
        return;
    }
    std::string bytes;
    detail::AppendWide(bytes, text, count);
    AppendTextUtf8(bytes.data(), bytes.size());
}

void CXmlElement::AppendTextUtf8(const char* text, size_t bytes)
{
    if (bytes == 0) {
        return;
    }
    if (bytes > UINT32_MAX - m_cbText) {
        throw std::bad_alloc(); // one element's text is limited to 4 GiB
    }
    const uint32_t needed = m_cbText + static_cast<uint32_t>(bytes);
    if (needed > m_cbTextCapacity) {
        // Most elements get their text in one piece: allocate exactly. Text
        // that keeps arriving (split by entities, lines or child elements)
        // grows geometrically.
        uint64_t capacity = m_cbTextCapacity == 0 ? needed : uint64_t{m_cbTextCapacity} * 2;
        if (capacity < needed) {
            capacity = needed;
        }
        capacity = detail::NodePool::Rounded(static_cast<size_t>(capacity));
        if (capacity > (UINT32_MAX & ~uint64_t{15})) {
            capacity = needed; // near the 4 GiB limit: no slack
        }
        m_pText = static_cast<char*>(m_pDocument->Pool().Reallocate(m_pText, m_cbTextCapacity,
                                                                    static_cast<size_t>(capacity)));
        m_cbTextCapacity = static_cast<uint32_t>(capacity);
    }
    std::memcpy(m_pText + m_cbText, text, bytes);
    m_cbText = needed;
    if (m_pWideText != nullptr) {
        // Someone already holds the wide text: keep it current (the
        // reference they hold stays valid).
        detail::AppendUtf8(*m_pWideText, text, bytes);
    }
}

void CXmlElement::ShrinkText()
{
    const size_t fitted = detail::NodePool::Rounded(m_cbText);
    if (m_cbText != 0 && fitted < m_cbTextCapacity) {
        m_pText =
            static_cast<char*>(m_pDocument->Pool().Reallocate(m_pText, m_cbTextCapacity, fitted));
        m_cbTextCapacity = static_cast<uint32_t>(fitted);
    }
}

CXmlElement* CXmlElement::CreateNewChildElement()
{
    return AppendChild(m_pDocument->InternName(L"", L""));
}

CXmlElement* CXmlElement::AppendChild(const detail::XmlName* name)
{
    detail::NodePool& pool = m_pDocument->Pool();
    CXmlElement* child = new (pool.Allocate(sizeof(CXmlElement))) CXmlElement(this, name);
    if (m_pLastChild == nullptr) {
        m_pFirstChild = child;
    } else {
        m_pLastChild->m_pNextSibling = child;
    }
    m_pLastChild = child;
    return child;
}

CXmlElement* CXmlElement::RemoveLastChildElement()
{
    CXmlElement* last = m_pLastChild;
    if (last == nullptr) {
        return nullptr;
    }
    if (m_pFirstChild == last) {
        m_pFirstChild = nullptr;
        m_pLastChild = nullptr;
    } else {
        CXmlElement* before = m_pFirstChild;
        while (before->m_pNextSibling != last) {
            before = before->m_pNextSibling;
        }
        before->m_pNextSibling = nullptr;
        m_pLastChild = before;
    }
    last->m_pParent = nullptr;
    return last;
}

} // namespace VxXmlLib16
