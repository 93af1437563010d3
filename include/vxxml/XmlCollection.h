// Collections of bound objects: child classes and untyped elements.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <type_traits>
#include <vxxml/Export.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/SmartPtr.h>
#include <vxxml/XmlCollectionBase.h>

namespace VxXmlLib16 {

class CXmlElement;

// A doubly linked list of bound objects. Each node holds one reference to
// its item, so an object stays alive at least as long as it is in the list.
//
// Every insertion runs the same steps, and listeners can rely on them:
//   1. a null item is refused (CVxInvalidParamException) before anything else;
//   2. the add event fires with the item;
//   3. the position is resolved: a bad index throws "Index out of range", an
//      anchor that is not in the list "The object was not found in the
//      collection";
//   4. CheckItem, which derived collections use to refuse items they cannot
//      hold, runs;
//   5. the node is linked in, then add-complete and change fire.
// A failure in steps 3 or 4 leaves the list unchanged (the add event has
// fired by then). Remove(i) fires remove(i), unlinks the node, then fires
// remove-complete(i) and change. Clear() fires a single change event, and
// only when there was something to remove.
//
// Writing writes every item, in order, through its own ToXml_Int in the
// collection's namespace. Reading takes the run of consecutive sibling
// elements named like the collection, creating each item with CreateItem.
//
// Copying a collection copies the list, not the items: the copy holds its
// own references to the same objects, and has no listeners. Collections
// that can copy their items offer Clone.
class VXXML_API CXmlCollection : public CXmlCollectionBase, public CInstanceMonitor
{
public:
    // One link of the list. Nodes belong to their collection; the accessors
    // let derived collections and iterators walk the list.
    class VXXML_API CNode
    {
    public:
        CNode(const CNode&) = delete;
        CNode& operator=(const CNode&) = delete;

        CXmlObjectBase* GetItem() const { return m_pItem; }
        CNode* GetNext() const { return m_pNext; }
        CNode* GetPrev() const { return m_pPrev; }

    private:
        friend class CXmlCollection;
        explicit CNode(CXmlObjectBase* item);
        ~CNode();

        CXmlObjectBase* m_pItem;
        CNode* m_pNext = nullptr;
        CNode* m_pPrev = nullptr;
    };

    // Walks the items of a collection as T* (each item must be a T). The
    // iterator does not keep the collection or its items alive, and removing
    // the item it stands on invalidates it. Stepping past the end, or
    // reading at the end, throws CVxException "No More Elements in the
    // Collection" instead of running off the list.
    template <class T> class CIterator
    {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = T*;
        using difference_type = std::ptrdiff_t;
        using pointer = T* const*;
        using reference = T*;

        CIterator() = default;
        explicit CIterator(const CNode* node) : m_pNode(node) {}

        T* operator*() const
        {
            if (m_pNode == nullptr) {
                ThrowNoMoreElements();
            }
            return static_cast<T*>(m_pNode->GetItem());
        }
        T* operator->() const { return **this; }
        CIterator& operator++()
        {
            if (m_pNode == nullptr) {
                ThrowNoMoreElements();
            }
            m_pNode = m_pNode->GetNext();
            return *this;
        }
        CIterator operator++(int)
        {
            CIterator old = *this;
            ++*this;
            return old;
        }
        bool operator==(const CIterator& other) const { return m_pNode == other.m_pNode; }

    private:
        const CNode* m_pNode = nullptr;
    };

    // The items' element name and namespace, and the bounds (maxOccurs -1
    // is unbounded).
    CXmlCollection(const wchar_t* elementName, const wchar_t* namespaceUri, int32_t minOccurs,
                   int32_t maxOccurs);
    CXmlCollection(const CXmlCollection& other);
    CXmlCollection& operator=(const CXmlCollection&) = delete;
    ~CXmlCollection() override;

    int32_t GetCount() const override { return m_lCount; }
    void Clear() override;
    // Throws CVxInvalidParamException "Index %d is out of range, use 0 - %d"
    // (the index and the count) after the remove event has fired.
    void Remove(int index) override;

    // Validates the count, then writes each item in order with isRoot false,
    // in the collection's namespace (the namespace argument is not used: the
    // collection knows where its items belong).
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const wchar_t* namespaceUri,
                   const CSerializationContext& context, bool isOptional) const override;
    // Reads, from cursor on, each consecutive sibling whose name matches the
    // collection's element name and namespace (see DoesElementNameMatch):
    // creates the item, lets it read the element, and appends it only once
    // it has read without error. Returns the first sibling not taken (or
    // null). The count is not checked here; the owner does that when the
    // whole parent has been read.
    CXmlElement* FromXml_Int(CXmlElement* parent, CXmlElement* cursor,
                             const CSerializationContext& context, bool isOptional) override;

    [[noreturn]] static void ThrowNoMoreElements();

protected:
    // For derived collections that register with the instance monitor under
    // their own class name.
    CXmlCollection(const wchar_t* className, const wchar_t* elementName,
                   const wchar_t* namespaceUri, int32_t minOccurs, int32_t maxOccurs);

    // Makes the empty item that will read element. The default cannot know
    // the item class and throws CVxInvalidStateException; collections that
    // are read override it.
    virtual CSmartPtr<CXmlObjectBase> CreateItem(CXmlElement* element);
    // Refuses an item the collection cannot hold by throwing; called by every
    // insertion after the add event and before the item is linked in. The
    // default accepts everything.
    virtual void CheckItem(CXmlObjectBase* item);

    void AppendItem(CXmlObjectBase* item);
    void PrependItem(CXmlObjectBase* item);
    // index may equal the count (append); anything outside 0..count throws
    // CVxInvalidParamException "Index out of range".
    void AddItemAt(int index, CXmlObjectBase* item);
    // existing is found by identity of GetBase(), see GetNodeForItem.
    void AddAfterItem(const CXmlObjectBase* existing, CXmlObjectBase* item);
    void AddBeforeItem(const CXmlObjectBase* existing, CXmlObjectBase* item);

    // Throws "Index %d is out of range, use 0 - %d" outside 0..count-1.
    CNode* GetNodeAtIndex(int index) const;
    // The first node whose item has the same GetBase() as item; throws
    // CVxInvalidParamException "The object was not found in the collection".
    CNode* GetNodeForItem(const CXmlObjectBase* item) const;
    // Unlinks node (which must be in this list) and releases its reference.
    // Fires no event: Remove does that around it.
    void RemoveNode(CNode* node);

    CXmlObjectBase* GetItemAt(int index) const { return GetNodeAtIndex(index)->GetItem(); }
    CNode* GetHeadNode() const { return m_pHead; }
    CNode* GetTailNode() const { return m_pTail; }

private:
    // The shared insertion sequence; locate returns the node the new one goes
    // before (null: at the end).
    template <class Locate> void Insert(CXmlObjectBase* item, Locate locate);
    void LinkBefore(CNode* next, CNode* node);
    void DetachAndDeleteNodes();

    CNode* m_pHead = nullptr;
    CNode* m_pTail = nullptr;
    int32_t m_lCount = 0;
};

// The typed face of an object collection for generated code: items are T
// (a bound class), created on reading with new T named after the collection.
// Generated code for an abstract T overrides CreateItem with its class
// factory; a T without a default constructor must do the same.
template <class T> class CXmlClassCollection : public CXmlCollection
{
public:
    using iterator = CXmlCollection::CIterator<T>;
    using const_iterator = iterator;

    CXmlClassCollection(const wchar_t* elementName, const wchar_t* namespaceUri,
                        int32_t minOccurs = 0, int32_t maxOccurs = -1)
        : CXmlCollection(L"CXmlClassCollection", elementName, namespaceUri, minOccurs, maxOccurs)
    {
    }

    void Add(T* item) { AppendItem(item); }
    void AddAt(int index, T* item) { AddItemAt(index, item); }
    void AddBefore(const T* existing, T* item) { AddBeforeItem(existing, item); }
    void AddAfter(const T* existing, T* item) { AddAfterItem(existing, item); }
    // Throws "Index %d is out of range, use 0 - %d" outside 0..count-1.
    CSmartPtr<T> Item(int index) const { return static_cast<T*>(GetItemAt(index)); }

    iterator begin() const { return iterator(GetHeadNode()); }
    iterator end() const { return iterator(); }

protected:
    CXmlClassCollection(const wchar_t* className, const wchar_t* elementName,
                        const wchar_t* namespaceUri, int32_t minOccurs, int32_t maxOccurs)
        : CXmlCollection(className, elementName, namespaceUri, minOccurs, maxOccurs)
    {
    }

    CSmartPtr<CXmlObjectBase> CreateItem(CXmlElement* element) override
    {
        if constexpr (std::is_abstract_v<T> || !std::is_default_constructible_v<T>) {
            return CXmlCollection::CreateItem(element);
        } else {
            (void)element;
            CSmartPtr<T> item(new T());
            item->SetElementName(GetElementName().c_str());
            return item;
        }
    }
};

} // namespace VxXmlLib16
