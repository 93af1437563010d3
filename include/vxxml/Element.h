// Untyped elements: the content of xs:any wildcards and of elements whose
// type the binding does not know.
#pragma once

#include <string>
#include <vxxml/Attribute.h>
#include <vxxml/Export.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/SerializationContext.h>
#include <vxxml/SmartPtr.h>
#include <vxxml/XmlCollection.h>
#include <vxxml/XmlObjectBase.h>

namespace VxXmlLib16 {

class CElementCol;

// One element held without a schema type: its name, namespace, text,
// attributes and child elements, enough to write back what was read.
//
// Every element carries a namespace restriction (a wildcard's namespace
// constraint: "##any", "##other", "##local", "##targetNamespace" or a list)
// and the target namespace it is judged against; its own namespace must
// satisfy it.
//
// Text: an element holds one text, all character data directly inside it.
// On writing, the text comes before the child elements. Text made only of
// whitespace is not written when the element has child elements: it is the
// indentation of the document it came from, and the writer makes its own.
// Indented output of an element that holds both text and children adds the
// indentation to its text when read back; write such content unindented.
//
// Namespace on writing: the element is written in its own namespace. When
// it has none and the caller names one (a member of a generated class
// written in its schema's namespace), it is written in the caller's. Child
// elements are always written in their own namespace, so that an element in
// no namespace inside a namespaced parent stays in no namespace.
class VXXML_API CElement : public CXmlObjectBase, public CInstanceMonitor
{
public:
    // No namespace, restriction "##any", no target namespace.
    explicit CElement(const wchar_t* name);
    // Restriction "##any", no target namespace.
    CElement(const wchar_t* name, const wchar_t* namespaceUri);
    // A null name, restriction or target namespace throws
    // CVxInvalidNamespaceException ("Element Name must have a value",
    // "Namespace Restriction must have a value", "Target Namespace must have
    // a value"); a null namespace is taken as none. A namespace that the
    // restriction forbids throws CVxInvalidNamespaceException.
    CElement(const wchar_t* name, const wchar_t* namespaceUri, const wchar_t* restriction,
             const wchar_t* targetNamespace);
    // An element owned by parent: it takes the parent's namespace (for a
    // CElementCol, also its restriction and target namespace; otherwise
    // "##any" and none) and tells parent of its changes. The parent is not
    // owned and must outlive the element or be detached with
    // SetEventSink(nullptr).
    CElement(CXmlObjectBase* parent, const wchar_t* name);
    // A deep copy: attributes and child elements are cloned. The copy has no
    // owner to notify.
    CElement(const CElement& other);
    CElement& operator=(const CElement&) = delete;
    ~CElement() override;

    CXmlObjectBase* GetBase() override { return this; }
    // An untyped element belongs to no schema type, so the namespace it is
    // written in as a document is its own (the target namespace of its
    // restriction is GetTargetNamespaceOfRestriction).
    std::wstring GetTargetNamespace() const override { return m_strNamespace; }
    std::wstring GetNamespace() const override { return m_strNamespace; }

    const std::wstring& GetName() const { return GetElementName(); }
    const std::wstring& GetText() const { return m_strText; }
    const std::wstring& GetNamespaceRestriction() const { return m_strRestriction; }
    const std::wstring& GetTargetNamespaceOfRestriction() const { return m_strTargetNamespace; }
    // A null name throws "Element Name must have a value".
    void SetName(const wchar_t* name);
    // A namespace the restriction forbids throws CVxInvalidNamespaceException
    // and changes nothing.
    void SetNamespace(const wchar_t* namespaceUri);
    void SetText(const wchar_t* text);
    // Judges the current namespace against the new pair first; a failure is
    // thrown as CVxInvalidNamespaceException with the cause as its inner
    // exception, and changes nothing.
    void SetNamespaceRestrictions(const wchar_t* restriction, const wchar_t* targetNamespace);

    CSmartPtr<CAttributeCol> GetAttributes() const { return m_pAttributes; }
    CSmartPtr<CElementCol> GetChildElements() const { return m_pChildElements; }

    // Reading through the entry points (FromXml, FromXmlFile, FromXmlStream,
    // FromXmlElement) replaces the whole content (name, namespace, text,
    // attributes and children) with the document element's. A document
    // element in a namespace the restriction forbids throws
    // CVxInvalidNamespaceException: unlike a wildcard's reader, the entry
    // point has no caller to hand the element back to.
    void FromXmlElement(
        CXmlElement* element,
        const CSerializationContext& context = CSerializationContext::GetDefaultContext()) override;
    using CXmlObjectBase::FromXmlElement;
    // The same from an element of a light document tree.
    void CopyXmlElement(CXmlElement* element);
    CSmartPtr<CElement> Clone() const;

    // Changes are told to the given object (not owned; null for none).
    void SetEventSink(IEventSink* sink) { m_pEventSink = sink; }

    // The attributes of the element itself.
    void AttributesToXml_Int(CXmlWriter* writer,
                             const CSerializationContext& context) const override;
    // Start tag, attributes, text, children, end tag. As the document root it
    // also declares the context's namespace aliases and default namespace
    // and writes the context's additional root attributes.
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const wchar_t* namespaceUri,
                   const CSerializationContext& context, bool isOptional) const override;
    // Reads element: when its namespace is not allowed here nothing is read
    // and element itself is returned (the cursor did not move), except for
    // a document element, which throws (see FromXmlElement). Otherwise the
    // content is replaced by the element's, the children being read from
    // firstChild on, and the next sibling is returned. A child element the
    // child collection does not take throws CVxValidationException "Invalid
    // Element [%s] found." (this element's name) with its path.
    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild,
                             const CSerializationContext& context, bool isOptional) override;

protected:
    // Each sends its message with a pointer to the new value.
    void FireOnChangeName();
    void FireOnChangeNamespace();
    void FireOnChangeText();

private:
    void Init(const wchar_t* name, const wchar_t* namespaceUri, const wchar_t* restriction,
              const wchar_t* targetNamespace);
    void Notify(MsgType type, const std::wstring& value);

    std::wstring m_strText;
    std::wstring m_strNamespace;
    std::wstring m_strRestriction;
    std::wstring m_strTargetNamespace;
    CSmartPtr<CAttributeCol> m_pAttributes;
    CSmartPtr<CElementCol> m_pChildElements;
    IEventSink* m_pEventSink = nullptr;
};

// The elements matched by one wildcard (or, read with
// FromXmlLockElementName_Int, the occurrences of one element of unknown
// type). Elements in a namespace the restriction forbids are not taken.
class VXXML_API CElementCol : public CXmlClassCollection<CElement>
{
public:
    // Null strings are taken as empty; maxOccurs -1 is unbounded.
    CElementCol(const wchar_t* namespaceUri, const wchar_t* restriction,
                const wchar_t* targetNamespace, int minOccurs = 0, int maxOccurs = -1);
    // A deep copy: every element is cloned.
    CElementCol(const CElementCol& other);
    ~CElementCol() override;

    using CXmlClassCollection::Add;
    // Makes an element in the collection's namespace, adds it and returns
    // it. Throws CVxInvalidStateException "A Namespace has not been set for
    // this Collection" when the collection has no namespace.
    CSmartPtr<CElement> Add(const wchar_t* name);
    // Makes an element in the given namespace, adds it and returns it.
    CSmartPtr<CElement> Add(const wchar_t* name, const wchar_t* namespaceUri);

    CSmartPtr<CElementCol> Clone() const;

    const std::wstring& GetNamespaceRestriction() const { return m_strRestriction; }
    const std::wstring& GetTargetNamespaceOfRestriction() const { return m_strTargetNamespace; }

    // Validates the count, then writes each element in its own namespace.
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const wchar_t* namespaceUri,
                   const CSerializationContext& context, bool isOptional) const override;
    // Takes, from cursor on, every consecutive element whose namespace the
    // restriction allows, and returns the first one it did not take (or
    // null). The count is left to the owner to check.
    CXmlElement* FromXml_Int(CXmlElement* parent, CXmlElement* cursor,
                             const CSerializationContext& context, bool isOptional) override;
    // The same, taking only elements called name in namespaceUri (matched
    // as every element name is, see DoesElementNameMatch).
    CXmlElement* FromXmlLockElementName_Int(const std::wstring& name,
                                            const std::wstring& namespaceUri, CXmlElement* parent,
                                            CXmlElement* cursor,
                                            const CSerializationContext& context, bool isOptional);

protected:
    // An element in a namespace the restriction forbids throws
    // CVxInvalidNamespaceException "The namespace %s in the class %s is
    // invalid against restriction %s" (namespace, element name, restriction).
    void CheckItem(CXmlObjectBase* item) override;

private:
    CXmlElement* ReadElements(CXmlElement* cursor, const CSerializationContext& context,
                              bool isOptional, const std::wstring* lockName,
                              const std::wstring* lockNamespace);

    std::wstring m_strRestriction;
    std::wstring m_strTargetNamespace;
};

} // namespace VxXmlLib16
