#include <algorithm>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/XmlCollectionBase.h>

namespace VxXmlLib16 {

CXmlCollectionBase::CXmlCollectionBase(const wchar_t* elementName, const wchar_t* namespaceUri,
                                       int32_t minOccurs, int32_t maxOccurs)
    : CXmlObjectBase(elementName), m_strNamespace(namespaceUri ? namespaceUri : L""),
      m_lMinOccurs(minOccurs), m_lMaxOccurs(maxOccurs)
{
}

// A copy has the same shape but nobody listening to it yet.
CXmlCollectionBase::CXmlCollectionBase(const CXmlCollectionBase& other)
    : CXmlObjectBase(other), m_strNamespace(other.m_strNamespace), m_lMinOccurs(other.m_lMinOccurs),
      m_lMaxOccurs(other.m_lMaxOccurs)
{
}

CXmlCollectionBase& CXmlCollectionBase::operator=(const CXmlCollectionBase& other)
{
    CXmlObjectBase::operator=(other);
    m_strNamespace = other.m_strNamespace;
    m_lMinOccurs = other.m_lMinOccurs;
    m_lMaxOccurs = other.m_lMaxOccurs;
    return *this;
}

CXmlCollectionBase::~CXmlCollectionBase() = default;

std::wstring CXmlCollectionBase::GetTargetNamespace() const
{
    throw CVxException(L"CXmlCollectionBase::GetTargetNamespace Should not be used from within a "
                       L"Collection (program logic error)");
}

void CXmlCollectionBase::AttributesToXml_Int(CXmlWriter*, const CSerializationContext&) const {}

void CXmlCollectionBase::ValidateCount(const CSerializationContext& context) const
{
    if (context.GetIgnoreInvalidCollectionCounts()) {
        return;
    }
    const int32_t count = GetCount();
    if (m_lMaxOccurs != -1 && count > m_lMaxOccurs) {
        throw CVxValidationException(
            FormatString(L"The Maximum number of [%s] elements allowed in this collection is %d",
                         GetElementName().c_str(), m_lMaxOccurs),
            L"");
    }
    if (count < m_lMinOccurs) {
        throw CVxValidationException(
            FormatString(L"The Minimum number of [%s] elements allowed in this collection is %d",
                         GetElementName().c_str(), m_lMinOccurs),
            L"");
    }
}

bool CXmlCollectionBase::IsValidCount(const CSerializationContext& context) const
{
    if (context.GetIgnoreInvalidCollectionCounts()) {
        return true;
    }
    const int32_t count = GetCount();
    if (m_lMaxOccurs != -1 && count > m_lMaxOccurs) {
        return false;
    }
    return count >= m_lMinOccurs;
}

void CXmlCollectionBase::AddEventListener(IEventSink* listener)
{
    m_listeners.push_back(listener);
}

void CXmlCollectionBase::RemoveEventListener(IEventSink* listener)
{
    auto it = std::find(m_listeners.begin(), m_listeners.end(), listener);
    if (it != m_listeners.end()) {
        m_listeners.erase(it);
    }
}

// Listeners may unregister themselves while they are told; iterate over a
// copy so that this cannot invalidate the loop.
void CXmlCollectionBase::FireOnCollectionChange()
{
    for (IEventSink* sink : std::vector<IEventSink*>(m_listeners)) {
        FireOnCollectionChangeEvent(sink, this);
    }
}

void CXmlCollectionBase::FireOnCollectionAdd(void* item)
{
    for (IEventSink* sink : std::vector<IEventSink*>(m_listeners)) {
        FireOnCollectionAddEvent(sink, this, item);
    }
}

void CXmlCollectionBase::FireOnCollectionAddComplete(void* item)
{
    for (IEventSink* sink : std::vector<IEventSink*>(m_listeners)) {
        FireOnCollectionAddCompleteEvent(sink, this, item);
    }
}

void CXmlCollectionBase::FireOnCollectionRemove(int index)
{
    for (IEventSink* sink : std::vector<IEventSink*>(m_listeners)) {
        FireOnCollectionRemoveEvent(sink, this, index);
    }
}

void CXmlCollectionBase::FireOnCollectionRemoveComplete(int index)
{
    for (IEventSink* sink : std::vector<IEventSink*>(m_listeners)) {
        FireOnCollectionRemoveCompleteEvent(sink, this, index);
    }
}

void CXmlCollectionBase::ThrowIndexOutOfRange(int index) const
{
    throw CVxInvalidParamException(
        FormatString(L"Index %d is out of range, use 0 - %d", index, GetCount()));
}

} // namespace VxXmlLib16
