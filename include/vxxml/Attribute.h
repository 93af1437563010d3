// Untyped attributes: the content of xs:anyAttribute wildcards and the extra
// attributes a context puts on the document root.
#pragma once

#include <string>
#include <vxxml/Export.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/SmartPtr.h>
#include <vxxml/XmlCollection.h>
#include <vxxml/XmlObjectBase.h>

namespace VxXmlLib16 {

// One attribute: local name, namespace URI (empty when unqualified) and
// value. It writes itself as an attribute of whatever element the caller has
// open; it is never read on its own, only through a CAttributeCol.
class VXXML_API CAttribute : public CXmlObjectBase, public CInstanceMonitor
{
public:
    // Null arguments are taken as empty strings.
    CAttribute(const wchar_t* name, const wchar_t* namespaceUri, const wchar_t* value);
    // Copies name, namespace and value; the copy has no owner to notify.
    CAttribute(const CAttribute& other);
    CAttribute& operator=(const CAttribute&) = delete;
    ~CAttribute() override;

    CXmlObjectBase* GetBase() override { return this; }
    // An attribute belongs to no schema type: both are its own namespace.
    std::wstring GetTargetNamespace() const override { return m_strNamespace; }
    std::wstring GetNamespace() const override { return m_strNamespace; }

    const std::wstring& GetName() const { return GetElementName(); }
    const std::wstring& GetValue() const { return m_strValue; }
    // The setters tell the owner given to SetEventSink (if any) through
    // FireOnChangeName / FireOnChangeNamespace; the value has no message.
    void SetName(const wchar_t* name);
    void SetNamespace(const wchar_t* namespaceUri);
    void SetValue(const wchar_t* value);

    CSmartPtr<CAttribute> Clone() const;

    // The object told of name and namespace changes (not owned; null for
    // none).
    void SetEventSink(IEventSink* sink) { m_pEventSink = sink; }

    // Both write the attribute (as a string) on the element the caller has
    // open.
    void AttributesToXml_Int(CXmlWriter* writer,
                             const CSerializationContext& context) const override;
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const wchar_t* namespaceUri,
                   const CSerializationContext& context, bool isOptional) const override;
    // Always throws CVxException "This should be done by the collection".
    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild,
                             const CSerializationContext& context, bool isOptional) override;

protected:
    void FireOnChangeName();
    void FireOnChangeNamespace();

private:
    std::wstring m_strNamespace;
    std::wstring m_strValue;
    IEventSink* m_pEventSink = nullptr;
};

// The attributes matched by one wildcard. The namespace restriction
// ("##any", "##other", "##local", "##targetNamespace" or a whitespace-
// separated list of URIs and of those keywords) is judged against the
// target namespace; attributes in other namespaces are refused, whether
// they are added or read.
class VXXML_API CAttributeCol : public CXmlClassCollection<CAttribute>
{
public:
    // Null arguments are taken as empty strings.
    CAttributeCol(const wchar_t* namespaceUri, const wchar_t* restriction,
                  const wchar_t* targetNamespace);
    // A deep copy: every attribute is cloned.
    CAttributeCol(const CAttributeCol& other);
    ~CAttributeCol() override;

    using CXmlClassCollection::Add;
    // Each makes a new attribute, adds it and returns it. Without a
    // namespace the attribute is unqualified.
    CSmartPtr<CAttribute> Add(const wchar_t* name);
    CSmartPtr<CAttribute> Add(const wchar_t* name, const wchar_t* value);
    CSmartPtr<CAttribute> Add(const wchar_t* name, const wchar_t* namespaceUri,
                              const wchar_t* value);

    CSmartPtr<CAttributeCol> Clone() const;

    const std::wstring& GetNamespaceRestriction() const { return m_strRestriction; }
    const std::wstring& GetTargetNamespaceOfRestriction() const { return m_strTargetNamespace; }

    // Write every attribute, in order, on the element the caller has open
    // (the count is validated first).
    void AttributesToXml_Int(CXmlWriter* writer,
                             const CSerializationContext& context) const override;
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const wchar_t* namespaceUri,
                   const CSerializationContext& context, bool isOptional) const override;
    // Adds every attribute of element, in order. An attribute whose
    // namespace the restriction forbids throws CVxInvalidNamespaceException
    // "Invalid Attribute [%s]. The attributes namespace is Inappropriate."
    // (its local name) with the element's path. Consumes no child element:
    // returns cursor.
    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* cursor,
                             const CSerializationContext& context, bool isOptional) override;

protected:
    // A programmatic add in a forbidden namespace throws
    // CVxInvalidNamespaceException "The namespace %s in the class %s is
    // invalid against restriction %s" (namespace, attribute name,
    // restriction).
    void CheckItem(CXmlObjectBase* item) override;

private:
    std::wstring m_strRestriction;
    std::wstring m_strTargetNamespace;
};

} // namespace VxXmlLib16
