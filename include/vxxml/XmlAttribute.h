// An attribute of the light document tree.
#pragma once

#include <cstdint>
#include <string>
#include <vxxml/Export.h>
#include <vxxml/InstanceMonitor.h>

namespace VxXmlLib16 {

class CXmlDocument;
class CXmlElement;
namespace detail {
struct XmlName;
class NodePool;
} // namespace detail

// One attribute of a CXmlElement, owned by that element. Namespace
// declarations are not attributes of the tree: the reader records them in the
// document's prefix map instead.
//
// The value is kept as UTF-8 in the same allocation as the attribute; the
// wide form returned by GetValue() is made on first request and then kept,
// so a tree that is walked only partly never pays for the rest.
class VXXML_API CXmlAttribute : public CInstanceMonitor
{
public:
    CXmlAttribute(const CXmlAttribute&) = delete;
    CXmlAttribute& operator=(const CXmlAttribute&) = delete;

    const std::wstring& GetLocalName() const;
    const std::wstring& GetValue() const;
    // The same value as a new string, without keeping a wide copy.
    std::wstring CopyValue() const;
    // Empty for an unqualified attribute.
    const std::wstring& GetNamespaceURI() const;
    // The owning element's path, "/", then the attribute name. A namespaced
    // attribute with a known prefix p and local name n ends in "p:@n": the
    // prefix stands before the "@" on purpose.
    std::wstring GetXPath() const;
    // xsi:type, xsi:schemaLocation, xsi:noNamespaceSchemaLocation and
    // xmlns-namespace attributes named like them: attributes the binding
    // skips when it matches attributes to members.
    bool IsNamespaceAttribute() const;
    // xsi:nil (also accepted in the xmlns namespace).
    bool IsNilAttribute() const;

private:
    friend class CXmlElement;
    friend class CXmlDocument;

    CXmlAttribute(CXmlElement* element, const detail::XmlName* name, uint32_t valueBytes);
    CXmlAttribute(const CXmlAttribute& sibling, const detail::XmlName* name, uint32_t valueBytes);
    ~CXmlAttribute() override;

    // Allocates the attribute together with room for its UTF-8 value.
    static CXmlAttribute* Create(detail::NodePool& pool, CXmlElement* element,
                                 const detail::XmlName* name, const char* value, size_t valueBytes);
    static void Destroy(detail::NodePool& pool, CXmlAttribute* attribute);

    const char* ValueBytes() const { return reinterpret_cast<const char*>(this + 1); }

    CXmlElement* m_pElement;
    const detail::XmlName* m_pName;
    mutable std::wstring* m_pWideValue = nullptr;
    uint32_t m_cbValue;
};

} // namespace VxXmlLib16
