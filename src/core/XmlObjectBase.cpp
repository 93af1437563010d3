#include "core/NamespaceRule.h"

#include <cassert>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/XmlElement.h>
#include <vxxml/XmlObjectBase.h>

namespace VxXmlLib16 {
namespace {

const wchar_t* OrEmpty(const wchar_t* s)
{
    return s ? s : L"";
}

[[noreturn]] void ThrowChoiceAlreadySet(const std::wstring& selected)
{
    throw CVxInvalidStateException(FormatString(L"The Property [%s] is already set. Only one "
                                                L"element within this class bay be set at a time",
                                                selected.c_str()));
}

} // namespace

CXmlObjectBase::CXmlObjectBase() = default;

CXmlObjectBase::CXmlObjectBase(const wchar_t* elementName) : m_strElementName(OrEmpty(elementName))
{
}

CXmlObjectBase::CXmlObjectBase(const CXmlObjectBase& other)
    : IEventSink(other), m_strElementName(other.m_strElementName)
{
}

CXmlObjectBase& CXmlObjectBase::operator=(const CXmlObjectBase& other)
{
    m_strElementName = other.m_strElementName;
    return *this;
}

CXmlObjectBase::~CXmlObjectBase() = default;

void CXmlObjectBase::OnEvent(CXmlObjectBase*, MsgType, void*) {}

void CXmlObjectBase::SetElementName(const wchar_t* name)
{
    m_strElementName = OrEmpty(name);
}

int32_t CXmlObjectBase::AddRef()
{
    // Taking a reference needs no ordering: the caller already holds one.
    return m_lRefCount.fetch_add(1, std::memory_order_relaxed) + 1;
}

int32_t CXmlObjectBase::Release()
{
    // acq_rel: every other holder's writes must be visible to the thread
    // that destroys the object.
    const int32_t count = m_lRefCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
    assert(count >= 0 && "Release without a matching AddRef");
    if (count == 0) {
        delete this;
    }
    return count;
}

void CXmlObjectBase::Throw_IfPropertyIsNull(CXmlObjectBase* value, const wchar_t* propertyName)
{
    if (!value) {
        throw CVxInvalidParamException(FormatString(
            L"The Property [%s] is mandatory, it may node be NULL", OrEmpty(propertyName)));
    }
}

void CXmlObjectBase::Throw_IfElementNameDiffers(CXmlObjectBase* value, const wchar_t* name)
{
    if (!value) {
        return;
    }
    const CXmlObjectBase* base = value->GetBase();
    const std::wstring& actual = (base ? base : value)->GetElementName();
    if (actual != OrEmpty(name)) {
        throw CVxInvalidParamException(FormatString(L"This property requires an element with the "
                                                    L"name %s the element being set has the "
                                                    L"element name %s",
                                                    OrEmpty(name), actual.c_str()));
    }
}

bool CXmlObjectBase::IsNamespaceValid(const wchar_t* ns, const wchar_t* restriction,
                                      const wchar_t* targetNamespace) const
{
    return detail::IsNamespaceAllowed(OrEmpty(ns), OrEmpty(restriction), OrEmpty(targetNamespace));
}

bool CXmlObjectBase::DoesElementNameMatch(const CSerializationContext& context,
                                          const CXmlElement* element, const wchar_t* name,
                                          const wchar_t* namespaceUri) const
{
    if (element == nullptr || element->GetLocalName() != (name ? name : L"")) {
        return false;
    }
    return context.GetIgnoreNamespaces() ||
           element->GetNamespaceURI() == (namespaceUri ? namespaceUri : L"");
}

void CXmlObjectBase::TestNamespace(const wchar_t* ns, const wchar_t* restriction,
                                   const wchar_t* targetNamespace) const
{
    if (!IsNamespaceValid(ns, restriction, targetNamespace)) {
        throw CVxInvalidNamespaceException(
            FormatString(L"The namespace %s in the class %s is invalid against restriction %s",
                         OrEmpty(ns), m_strElementName.c_str(), OrEmpty(restriction)),
            L"");
    }
}

void CXmlObjectBase::FireOnCollectionChangeEvent(IEventSink* sink, CXmlObjectBase* collection)
{
    if (sink) {
        sink->OnEvent(collection, MsgType_CollectionChange, nullptr);
    }
}

void CXmlObjectBase::FireOnCollectionAddEvent(IEventSink* sink, CXmlObjectBase* collection,
                                              void* item)
{
    if (sink) {
        sink->OnEvent(collection, MsgType_CollectionAdd, item);
    }
}

void CXmlObjectBase::FireOnCollectionAddCompleteEvent(IEventSink* sink, CXmlObjectBase* collection,
                                                      void* item)
{
    if (sink) {
        sink->OnEvent(collection, MsgType_CollectionAddComplete, item);
    }
}

void CXmlObjectBase::FireOnCollectionRemoveEvent(IEventSink* sink, CXmlObjectBase* collection,
                                                 int index)
{
    if (sink) {
        sink->OnEvent(collection, MsgType_CollectionRemove, &index);
    }
}

void CXmlObjectBase::FireOnCollectionRemoveCompleteEvent(IEventSink* sink,
                                                         CXmlObjectBase* collection, int index)
{
    if (sink) {
        sink->OnEvent(collection, MsgType_CollectionRemoveComplete, &index);
    }
}

void CXmlObjectBase::Choice_SelectElement(const wchar_t* name, CXmlObjectBase* value,
                                          std::wstring& selected)
{
    const wchar_t* member = OrEmpty(name);
    if (selected != member) {
        if (!value) {
            // Clearing a member that is not the selected one: the choice
            // stays as it is, and an empty choice does not pick up a member
            // that holds nothing.
            return;
        }
        if (!selected.empty()) {
            ThrowChoiceAlreadySet(selected);
        }
        selected = member;
    } else if (!value) {
        selected.clear();
    }
}

void CXmlObjectBase::Choice_SetElementValid(bool valid, const wchar_t* name, std::wstring& selected)
{
    const wchar_t* member = OrEmpty(name);
    if (!valid) {
        selected.clear();
        return;
    }
    if (!selected.empty() && selected != member) {
        // This message has no brackets around the name, unlike its siblings.
        throw CVxInvalidStateException(FormatString(L"The Property %s is already set. Only one "
                                                    L"element within this class bay be set at a "
                                                    L"time",
                                                    selected.c_str()));
    }
    selected = member;
}

void CXmlObjectBase::Choice_CollectionChanged(const wchar_t* name, int32_t count,
                                              std::wstring& selected)
{
    const wchar_t* member = OrEmpty(name);
    if (selected.empty()) {
        if (count > 0) {
            selected = member;
        }
    } else if (selected != member) {
        if (count != 0) {
            ThrowChoiceAlreadySet(selected);
        }
    } else if (count == 0) {
        selected.clear();
    }
}

} // namespace VxXmlLib16
