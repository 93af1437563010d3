#include <cassert>
#include <utility>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/XmlCollection.h>
#include <vxxml/XmlElement.h>

namespace VxXmlLib16 {

CXmlCollection::CNode::CNode(CXmlObjectBase* item) : m_pItem(item)
{
    m_pItem->AddRef();
}

CXmlCollection::CNode::~CNode()
{
    m_pItem->Release();
}

CXmlCollection::CXmlCollection(const wchar_t* elementName, const wchar_t* namespaceUri,
                               int32_t minOccurs, int32_t maxOccurs)
    : CXmlCollection(L"CXmlCollection", elementName, namespaceUri, minOccurs, maxOccurs)
{
}

CXmlCollection::CXmlCollection(const wchar_t* className, const wchar_t* elementName,
                               const wchar_t* namespaceUri, int32_t minOccurs, int32_t maxOccurs)
    : CXmlCollectionBase(elementName, namespaceUri, minOccurs, maxOccurs),
      CInstanceMonitor(className)
{
}

CXmlCollection::CXmlCollection(const CXmlCollection& other)
    : CXmlCollectionBase(other), CInstanceMonitor(other)
{
    for (CNode* node = other.m_pHead; node; node = node->m_pNext) {
        LinkBefore(nullptr, new CNode(node->m_pItem));
    }
}

CXmlCollection::~CXmlCollection()
{
    DetachAndDeleteNodes();
}

void CXmlCollection::Clear()
{
    if (m_lCount == 0) {
        return;
    }
    DetachAndDeleteNodes();
    FireOnCollectionChange();
}

void CXmlCollection::DetachAndDeleteNodes()
{
    // Detach the whole list first: releasing an item may run arbitrary
    // destructors, and they must see a consistent (empty) collection.
    CNode* node = std::exchange(m_pHead, nullptr);
    m_pTail = nullptr;
    m_lCount = 0;
    while (node) {
        delete std::exchange(node, node->m_pNext);
    }
}

void CXmlCollection::Remove(int index)
{
    FireOnCollectionRemove(index);
    RemoveNode(GetNodeAtIndex(index));
    FireOnCollectionRemoveComplete(index);
    FireOnCollectionChange();
}

void CXmlCollection::ToXml_Int(CXmlWriter* writer, bool, const wchar_t*,
                               const CSerializationContext& context, bool) const
{
    ValidateCount(context);
    for (CNode* node = m_pHead; node; node = node->m_pNext) {
        // Nodes and items lie scattered on the heap, and a large collection
        // is long out of the cache when it is written. Writing an item takes
        // long enough to fetch what comes next: the item after this one
        // (whose node was asked for one round earlier) and the node after it.
        if (const CNode* next = node->m_pNext) {
            __builtin_prefetch(next->m_pItem);
            __builtin_prefetch(next->m_pNext);
        }
        node->m_pItem->ToXml_Int(writer, false, m_strNamespace.c_str(), context, false);
    }
}

CXmlElement* CXmlCollection::FromXml_Int(CXmlElement*, CXmlElement* cursor,
                                         const CSerializationContext& context, bool)
{
    while (cursor && DoesElementNameMatch(context, cursor, GetElementName().c_str(),
                                          m_strNamespace.c_str())) {
        CSmartPtr<CXmlObjectBase> item = CreateItem(cursor);
        item->FromXml_Int(cursor, cursor->GetFirstElement(), context, false);
        AppendItem(item);
        cursor = cursor->GetNextSiblingElement();
    }
    return cursor;
}

void CXmlCollection::ThrowNoMoreElements()
{
    throw CVxException(L"No More Elements in the Collection");
}

CSmartPtr<CXmlObjectBase> CXmlCollection::CreateItem(CXmlElement*)
{
    throw CVxInvalidStateException(
        FormatString(L"The collection [%s] can not create its items", GetElementName().c_str()));
}

void CXmlCollection::CheckItem(CXmlObjectBase*) {}

template <class Locate> void CXmlCollection::Insert(CXmlObjectBase* item, Locate locate)
{
    if (item == nullptr) {
        throw CVxInvalidParamException(FormatString(
            L"A NULL item can not be added to the collection [%s]", GetElementName().c_str()));
    }
    FireOnCollectionAdd(item);
    CNode* next = locate();
    CheckItem(item);
    LinkBefore(next, new CNode(item));
    FireOnCollectionAddComplete(item);
    FireOnCollectionChange();
}

void CXmlCollection::LinkBefore(CNode* next, CNode* node)
{
    CNode* prev = next ? next->m_pPrev : m_pTail;
    node->m_pNext = next;
    node->m_pPrev = prev;
    (prev ? prev->m_pNext : m_pHead) = node;
    (next ? next->m_pPrev : m_pTail) = node;
    ++m_lCount;
}

void CXmlCollection::AppendItem(CXmlObjectBase* item)
{
    Insert(item, [] { return static_cast<CNode*>(nullptr); });
}

void CXmlCollection::PrependItem(CXmlObjectBase* item)
{
    Insert(item, [this] { return m_pHead; });
}

void CXmlCollection::AddItemAt(int index, CXmlObjectBase* item)
{
    Insert(item, [this, index] {
        if (index < 0 || index > m_lCount) {
            throw CVxInvalidParamException(L"Index out of range");
        }
        return index == m_lCount ? nullptr : GetNodeAtIndex(index);
    });
}

void CXmlCollection::AddAfterItem(const CXmlObjectBase* existing, CXmlObjectBase* item)
{
    Insert(item, [this, existing] { return GetNodeForItem(existing)->m_pNext; });
}

void CXmlCollection::AddBeforeItem(const CXmlObjectBase* existing, CXmlObjectBase* item)
{
    Insert(item, [this, existing] { return GetNodeForItem(existing); });
}

CXmlCollection::CNode* CXmlCollection::GetNodeAtIndex(int index) const
{
    if (index < 0 || index >= m_lCount) {
        ThrowIndexOutOfRange(index);
    }
    // Walk from whichever end is nearer.
    CNode* node;
    if (index <= m_lCount / 2) {
        node = m_pHead;
        for (int i = 0; i < index; ++i) {
            node = node->m_pNext;
        }
    } else {
        node = m_pTail;
        for (int i = m_lCount - 1; i > index; --i) {
            node = node->m_pPrev;
        }
    }
    return node;
}

CXmlCollection::CNode* CXmlCollection::GetNodeForItem(const CXmlObjectBase* item) const
{
    // GetBase() is not const, but asking for it changes nothing.
    CXmlObjectBase* wanted = item ? const_cast<CXmlObjectBase*>(item)->GetBase() : nullptr;
    if (wanted) {
        for (CNode* node = m_pHead; node; node = node->m_pNext) {
            if (node->m_pItem->GetBase() == wanted) {
                return node;
            }
        }
    }
    throw CVxInvalidParamException(L"The object was not found in the collection");
}

void CXmlCollection::RemoveNode(CNode* node)
{
    assert(node && "node");
    (node->m_pPrev ? node->m_pPrev->m_pNext : m_pHead) = node->m_pNext;
    (node->m_pNext ? node->m_pNext->m_pPrev : m_pTail) = node->m_pPrev;
    --m_lCount;
    delete node;
}

} // namespace VxXmlLib16
