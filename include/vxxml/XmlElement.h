// An element of the light document tree.
#pragma once

#include <cstdint>
#include <string>
#include <vector>
#include <vxxml/Export.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/XmlAttribute.h>

namespace VxXmlLib16 {

class CXmlDocument;

// An element: its expanded name, its attributes in document order, its child
// elements (a singly linked list in document order) and its text, which is
// all character data directly inside the element concatenated in order, with
// carriage returns removed.
//
// Elements are created and owned by their CXmlDocument; an element owns its
// children and attributes, and destroying it destroys the whole subtree.
//
// Memory: names and namespace URIs are shared document-wide, and text is
// kept as UTF-8 while the document is built. GetText() makes the wide copy
// on first request and keeps it (later calls are free and the reference
// stays valid as long as the element lives).
class VXXML_API CXmlElement : public CInstanceMonitor
{
public:
    CXmlElement(const CXmlElement&) = delete;
    CXmlElement& operator=(const CXmlElement&) = delete;

    const std::wstring& GetLocalName() const;
    // Empty for an element in no namespace.
    const std::wstring& GetNamespaceURI() const;
    const std::wstring& GetText() const;
    // The same text as a new string, without keeping a wide copy in the
    // element: for readers that consume each text once.
    std::wstring CopyText() const;
    // The same text into out, replacing what it held: a reader that converts
    // each text at once reuses one buffer for all of them.
    void CopyTextTo(std::wstring& out) const;
    const std::vector<CXmlAttribute*>& GetAttributes() const { return m_attributes; }
    // The value of the first attribute whose local name and namespace URI
    // both match exactly, or a reference to a shared empty string.
    const std::wstring& GetAttribute(const wchar_t* localName, const wchar_t* namespaceUri) const;
    CXmlElement* GetFirstElement() const { return m_pFirstChild; }
    CXmlElement* GetNextSiblingElement() const { return m_pNextSibling; }
    // Null for the document element.
    CXmlElement* GetParentElm() const { return m_pParent; }
    CXmlDocument* GetDocument() const { return m_pDocument; }
    // "/" separated QNames from the document element down, with a 1-based
    // position predicate where siblings share a QName: /order/item[2].
    std::wstring GetXPath() const;

protected:
    void SetElementName(const wchar_t* localName);
    void SetNamespace(const wchar_t* namespaceUri);
    CXmlAttribute* AddAttribute(const wchar_t* localName, const wchar_t* value,
                                const wchar_t* namespaceUri);
    void AppendText(const wchar_t* text);
    void AppendText(const wchar_t* text, size_t count);
    // Appends a new, unnamed last child and returns it.
    CXmlElement* CreateNewChildElement();
    // Unlinks the last child and hands it to the caller, who destroys it
    // (null when there are no children).
    CXmlElement* RemoveLastChildElement();

private:
    friend class CXmlDocument;
    friend class CXmlAttribute;

    // The document element, and a child (whose instance-monitor entry is
    // taken from its parent: same class, no lookup by name).
    CXmlElement(CXmlDocument* document, const detail::XmlName* name);
    CXmlElement(CXmlElement* parent, const detail::XmlName* name);
    ~CXmlElement() override;

    static void Destroy(CXmlElement* element);

    // The QName used in paths: prefix:local when the document knows a
    // prefix for the namespace, otherwise the local name.
    std::wstring GetQName() const;
    std::wstring GetNameWithPredicate() const;

    // The UTF-8 paths used while building.
    void AddAttributeUtf8(const detail::XmlName* name, const char* value, size_t bytes);
    CXmlElement* AppendChild(const detail::XmlName* name);
    void AppendTextUtf8(const char* text, size_t bytes);
    // Gives back spare text capacity once the element is complete.
    void ShrinkText();

    CXmlDocument* m_pDocument;
    CXmlElement* m_pParent;
    CXmlElement* m_pNextSibling = nullptr;
    CXmlElement* m_pFirstChild = nullptr;
    CXmlElement* m_pLastChild = nullptr;
    std::vector<CXmlAttribute*> m_attributes;
    const detail::XmlName* m_pName;
    char* m_pText = nullptr; // UTF-8, not terminated
    uint32_t m_cbText = 0;
    uint32_t m_cbTextCapacity = 0;
    mutable std::wstring* m_pWideText = nullptr;
};

} // namespace VxXmlLib16
