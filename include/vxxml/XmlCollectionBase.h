// The base of every collection: the element name and namespace its items are
// written under, the minOccurs/maxOccurs bounds and the change listeners.
#pragma once

#include <cstdint>
#include <string>
#include <vector>
#include <vxxml/Export.h>
#include <vxxml/XmlObjectBase.h>

namespace VxXmlLib16 {

// A schema member that may occur more than once. The collection is a bound
// object of its own: it writes every item as an element named after the
// collection (GetElementName) in its namespace, and reads the run of
// consecutive sibling elements that carry that name.
//
// Listeners (not owned) are told of every change, in the order they were
// added; a choice uses this to know which of its members is set.
class VXXML_API CXmlCollectionBase : public CXmlObjectBase
{
public:
    // maxOccurs -1 means unbounded.
    CXmlCollectionBase(const wchar_t* elementName, const wchar_t* namespaceUri,
                       int32_t minOccurs = 0, int32_t maxOccurs = -1);
    CXmlCollectionBase(const CXmlCollectionBase& other);
    CXmlCollectionBase& operator=(const CXmlCollectionBase& other);
    ~CXmlCollectionBase() override;

    CXmlObjectBase* GetBase() override { return this; }
    // A collection stands for a member, not for a schema type: asking it for
    // a target namespace is a logic error of the caller and throws.
    std::wstring GetTargetNamespace() const override;
    // The namespace of the items' elements.
    std::wstring GetNamespace() const override { return m_strNamespace; }
    // A collection has no attributes of its own.
    void AttributesToXml_Int(CXmlWriter* writer,
                             const CSerializationContext& context) const override;

    virtual int32_t GetCount() const = 0;
    virtual void Clear() = 0;
    virtual void Remove(int index) = 0;
    // Throws CVxValidationException when the count is above maxOccurs or
    // below minOccurs, unless the context ignores invalid collection counts.
    virtual void ValidateCount(const CSerializationContext& context) const;
    // The same test as a bool.
    virtual bool IsValidCount(const CSerializationContext& context) const;

    int32_t GetMinOccurs() const { return m_lMinOccurs; }
    int32_t GetMaxOccurs() const { return m_lMaxOccurs; }

    void AddEventListener(IEventSink* listener);
    // Removes the first registration of listener; absent is no error.
    void RemoveEventListener(IEventSink* listener);

protected:
    void FireOnCollectionChange();
    void FireOnCollectionAdd(void* item);
    void FireOnCollectionAddComplete(void* item);
    void FireOnCollectionRemove(int index);
    void FireOnCollectionRemoveComplete(int index);

    // The "Index %d is out of range, use 0 - %d" failure of access and
    // removal (index, then the count: the upper figure is one too high, and
    // callers rely on the text).
    [[noreturn]] void ThrowIndexOutOfRange(int index) const;

    std::wstring m_strNamespace;

private:
    std::vector<IEventSink*> m_listeners;
    int32_t m_lMinOccurs;
    int32_t m_lMaxOccurs;
};

} // namespace VxXmlLib16
