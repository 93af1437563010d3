// The base of every bound object: element name, reference count, the
// serialization slots and the helpers that generated code builds on.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vxxml/EventSink.h>
#include <vxxml/Export.h>
#include <vxxml/SerializationContext.h>

namespace VxXmlLib16 {

class CXmlWriter;
class CXmlElement;

// Bound objects live on the heap and are shared through an intrusive
// reference count (see CSmartPtr). A new object starts with a count of 0;
// the first holder takes the first reference, and the last Release destroys
// the object. Objects are not thread-safe; only the count is atomic.
class VXXML_API CXmlObjectBase : public IEventSink
{
public:
    CXmlObjectBase();
    explicit CXmlObjectBase(const wchar_t* elementName);
    // A copy is a new object: it takes the element name, and its count
    // starts at 0 whatever the source's count is.
    CXmlObjectBase(const CXmlObjectBase& other);
    // Copies the element name; the count of each side is left alone, since
    // the holders of this object are not the holders of the source.
    CXmlObjectBase& operator=(const CXmlObjectBase& other);

    // Ignores every message. Classes that care about their collections
    // (a choice that holds a collection) override it.
    void OnEvent(CXmlObjectBase* source, MsgType type, void* data) override;

    // The object that stands for this one in the tree; collections return
    // themselves.
    virtual CXmlObjectBase* GetBase() = 0;

    ~CXmlObjectBase() override;

    // The target namespace of the schema the object's class came from, and
    // the namespace of the element it is written as.
    virtual std::wstring GetTargetNamespace() const = 0;
    virtual std::wstring GetNamespace() const = 0;

    // The three operations behind every write and read. AttributesToXml_Int
    // writes the object's attributes on an element already opened by the
    // caller. ToXml_Int writes the object as an element (or, for content
    // merged into its parent, only its content) in the given namespace; isRoot
    // adds what the context puts on the document root. FromXml_Int reads the
    // object from element, consuming child elements from firstChild on, and
    // returns the first sibling it did not consume (or null).
    virtual void AttributesToXml_Int(CXmlWriter* writer,
                                     const CSerializationContext& context) const = 0;
    virtual void ToXml_Int(CXmlWriter* writer, bool isRoot, const wchar_t* namespaceUri,
                           const CSerializationContext& context, bool isOptional) const = 0;
    virtual CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild,
                                     const CSerializationContext& context, bool isOptional) = 0;

    // The local name under which the object is written when it is the
    // document root or when no metadata names it. Null sets it empty.
    const std::wstring& GetElementName() const { return m_strElementName; }
    void SetElementName(const wchar_t* name);

    // Return the count after the change. Release destroys the object through
    // its virtual destructor when the count reaches 0 (and then returns 0).
    int32_t AddRef();
    int32_t Release();

protected:
    // Throws CVxInvalidParamException "The Property [%s] is mandatory, it may
    // node be NULL" when value is null.
    static void Throw_IfPropertyIsNull(CXmlObjectBase* value, const wchar_t* propertyName);
    // Throws CVxInvalidParamException when value is not null and the element
    // name of its base differs from name.
    static void Throw_IfElementNameDiffers(CXmlObjectBase* value, const wchar_t* name);

    // Whether namespace ns satisfies a wildcard's namespace constraint.
    // restriction is "##any", "##other" (any namespace but targetNamespace;
    // unqualified names count as "other" when targetNamespace is not empty,
    // so that untyped content written without a namespace reads back),
    // "##local" (no namespace), "##targetNamespace", or a whitespace-separated
    // list of URIs and of the keywords, satisfied when any entry is. An empty
    // list admits nothing. Null arguments are taken as empty strings.
    bool IsNamespaceValid(const wchar_t* ns, const wchar_t* restriction,
                          const wchar_t* targetNamespace) const;
    // Throws CVxInvalidNamespaceException "The namespace %s in the class %s is
    // invalid against restriction %s" (namespace, this object's element name,
    // restriction) where IsNamespaceValid answers false.
    void TestNamespace(const wchar_t* ns, const wchar_t* restriction,
                       const wchar_t* targetNamespace) const;

    // Send one collection message to sink (nothing happens when it is null).
    // collection is the collection that changed; the data of each message is
    // described with IEventSink::MsgType.
    static void FireOnCollectionChangeEvent(IEventSink* sink, CXmlObjectBase* collection);
    static void FireOnCollectionAddEvent(IEventSink* sink, CXmlObjectBase* collection, void* item);
    static void FireOnCollectionAddCompleteEvent(IEventSink* sink, CXmlObjectBase* collection,
                                                 void* item);
    static void FireOnCollectionRemoveEvent(IEventSink* sink, CXmlObjectBase* collection,
                                            int index);
    static void FireOnCollectionRemoveCompleteEvent(IEventSink* sink, CXmlObjectBase* collection,
                                                    int index);

    // The choice helpers keep, in a string owned by the generated object, the
    // name of the one member of a choice that is currently set (empty when
    // none is).
    //
    // A class member was set to value: it becomes the selected member unless
    // another member already is, which throws CVxInvalidStateException when
    // value is not null. Setting the selected member to null clears the
    // selection; setting an unselected member to null changes nothing.
    static void Choice_SelectElement(const wchar_t* name, CXmlObjectBase* value,
                                     std::wstring& selected);
    // A primitive member became valid (set) or invalid (unset). Valid selects
    // name, or throws CVxInvalidStateException when another member is
    // selected; invalid clears the selection, whichever member it named.
    static void Choice_SetElementValid(bool valid, const wchar_t* name, std::wstring& selected);
    // A collection member now holds count items. With another member selected
    // any count but 0 throws CVxInvalidStateException; with none selected a
    // positive count selects name; with name selected a count of 0 clears it.
    static void Choice_CollectionChanged(const wchar_t* name, int32_t count,
                                         std::wstring& selected);

private:
    std::wstring m_strElementName;
    std::atomic<int32_t> m_lRefCount{0};
};

} // namespace VxXmlLib16
