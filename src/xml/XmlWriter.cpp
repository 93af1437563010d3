#include <cassert>
#include <cwchar>
#include <vxxml/Exceptions.h>
#include <vxxml/XmlWriter.h>

namespace VxXmlLib16 {

const wchar_t* const CXmlWriter::XmlNamespaceUri = L"http://www.w3.org/XML/1998/namespace";
const wchar_t* const CXmlWriter::XsiNamespaceUri = L"http://www.w3.org/2001/XMLSchema-instance";
const wchar_t* const CXmlWriter::XmlnsNamespaceUri = L"http://www.w3.org/2000/xmlns/";

namespace {
const std::wstring g_strEmpty;

// Reused contexts keep their strings' capacity; clear and append copy into
// it without the general replace path of assign.
void CopyText(std::wstring& target, const wchar_t* text, size_t length)
{
    target.clear();
    if (length != 0) {
        target.append(text, length);
    }
}

inline size_t LengthOf(const wchar_t* text)
{
    return text ? std::wcslen(text) : 0;
}
} // namespace

// ---------------------------------------------------------------------------
// CXmlWriterContext

CXmlWriter::CXmlWriterContext::CXmlWriterContext() : CInstanceMonitor(L"CXmlWriterContext") {}

CXmlWriter::CXmlWriterContext::~CXmlWriterContext()
{
    ReleaseScope();
}

void CXmlWriter::CXmlWriterContext::Init(CXmlWriterContext* parent, const wchar_t* localName,
                                         size_t localNameLength, const wchar_t* namespaceUri,
                                         size_t namespaceUriLength, const NamespaceMap* rootMap,
                                         const std::wstring* rootDefault)
{
    m_dwChildCount = 0;
    m_bStartTagOpen = true;
    if (parent && parent->m_pNamespaceUri->size() == namespaceUriLength &&
        std::wmemcmp(parent->m_pNamespaceUri->data(), namespaceUri, namespaceUriLength) == 0) {
        m_pNamespaceUri = parent->m_pNamespaceUri;
    } else {
        CopyText(m_strNamespaceUri, namespaceUri, namespaceUriLength);
        m_pNamespaceUri = &m_strNamespaceUri;
    }
    CopyText(m_strLocalName, localName, localNameLength);
    m_pParent = parent;
    m_dwContentHint = 0;
    if (parent) {
        m_lDepth = parent->m_lDepth + 1;
        m_bSharesParentScope = true;
        m_pEffectiveDefault = parent->m_pEffectiveDefault;
        m_pEffectiveMap = parent->m_pEffectiveMap;
        m_pScopeOwner = parent->m_pScopeOwner;
    } else {
        m_lDepth = 0;
        m_strDefaultNamespace = *rootDefault;
        m_pNamespaceMap = new NamespaceMap(*rootMap);
        m_bOwnsMap = true;
        m_bSharesParentScope = false;
        m_pEffectiveDefault = &m_strDefaultNamespace;
        m_pEffectiveMap = m_pNamespaceMap;
        m_pScopeOwner = this;
        ++m_dwScopeChanges; // a new scope for this context
    }
}

void CXmlWriter::CXmlWriterContext::ReleaseScope()
{
    if (!m_bSharesParentScope) {
        if (m_bOwnsMap) {
            delete m_pNamespaceMap;
        }
        m_pNamespaceMap = nullptr;
        m_bOwnsMap = false;
        m_bSharesParentScope = true;
        m_strDefaultNamespace.clear();
    }
    m_pEffectiveDefault = nullptr;
    m_pEffectiveMap = nullptr;
    m_pScopeOwner = this;
}

void CXmlWriter::CXmlWriterContext::MakeOwnScope()
{
    if (!m_bSharesParentScope) {
        return;
    }
    // The effective scope of a sharing context is its parent's.
    m_pNamespaceMap = new NamespaceMap(*m_pEffectiveMap);
    m_strDefaultNamespace = *m_pEffectiveDefault;
    m_bOwnsMap = true;
    m_bSharesParentScope = false;
    m_pEffectiveDefault = &m_strDefaultNamespace;
    m_pEffectiveMap = m_pNamespaceMap;
    m_pScopeOwner = this;
}

const std::wstring*
CXmlWriter::CXmlWriterContext::FindPrefix(const std::wstring& namespaceUri) const
{
    auto it = m_pEffectiveMap->find(namespaceUri);
    return it == m_pEffectiveMap->end() ? nullptr : &it->second;
}

const std::wstring&
CXmlWriter::CXmlWriterContext::GetNamespaceMapValue(const std::wstring& namespaceUri) const
{
    const std::wstring* prefix = FindPrefix(namespaceUri);
    return prefix ? *prefix : g_strEmpty;
}

void CXmlWriter::CXmlWriterContext::SetDefaultNamespace(const std::wstring& namespaceUri)
{
    MakeOwnScope();
    ++m_dwScopeChanges;
    m_strDefaultNamespace = namespaceUri;
}

void CXmlWriter::CXmlWriterContext::AddNamespace(const std::wstring& prefix,
                                                 const std::wstring& namespaceUri)
{
    MakeOwnScope();
    ++m_dwScopeChanges;
    (*m_pNamespaceMap)[namespaceUri] = prefix;
}

// ---------------------------------------------------------------------------
// CXmlWriter

CXmlWriter::CXmlWriter(const wchar_t* className) : CInstanceMonitor(className)
{
    m_mapNamespaceAlias[XmlNamespaceUri] = L"xml";
}

CXmlWriter::~CXmlWriter()
{
    for (CXmlWriterContext* context : m_contexts) {
        delete context;
    }
}

void CXmlWriter::StartDocument() {}

void CXmlWriter::EndDocument()
{
    if (m_pContext) {
        throw CVxException(L"An Element has not been closed.");
    }
}

void CXmlWriter::SetDefaultNamespace(const wchar_t* namespaceUri)
{
    std::wstring uri(namespaceUri ? namespaceUri : L"");
    if (m_pContext) {
        m_pContext->SetDefaultNamespace(uri);
    } else {
        m_strDefaultNamespace = std::move(uri);
    }
}

void CXmlWriter::AddNamespace(const wchar_t* prefix, const wchar_t* namespaceUri)
{
    std::wstring strPrefix(prefix ? prefix : L"");
    std::wstring uri(namespaceUri ? namespaceUri : L"");
    if (m_pContext) {
        m_pContext->AddNamespace(strPrefix, uri);
    } else {
        m_mapNamespaceAlias[uri] = std::move(strPrefix);
    }
}

void CXmlWriter::WriteSimpleElement(const std::wstring& localName, const std::wstring& namespaceUri,
                                    const std::wstring& text, ItemType itemType,
                                    bool valueIsDefault)
{
    StartElement(localName.c_str(), namespaceUri.c_str());
    WriteElementText(text.c_str(), itemType, valueIsDefault);
    EndElement();
}

void CXmlWriter::SetContentHint(uint32_t hint)
{
    if (m_pContext) {
        m_pContext->SetContentHint(hint);
    }
}

CXmlWriter::CXmlWriterContext* CXmlWriter::PushContext(const wchar_t* localName,
                                                       const wchar_t* namespaceUri)
{
    return PushContext(localName, LengthOf(localName), namespaceUri, LengthOf(namespaceUri));
}

CXmlWriter::CXmlWriterContext* CXmlWriter::PushContext(const wchar_t* localName,
                                                       size_t localNameLength,
                                                       const wchar_t* namespaceUri,
                                                       size_t namespaceUriLength)
{
    if (m_dwOpenCount == m_contexts.size()) {
        // Room first, so that the new context is never left unowned.
        m_contexts.reserve(m_contexts.size() + 1);
        m_contexts.push_back(new CXmlWriterContext);
    }
    CXmlWriterContext* context = m_contexts[m_dwOpenCount];
    try {
        context->Init(m_pContext, localName, localNameLength, namespaceUri, namespaceUriLength,
                      &m_mapNamespaceAlias, &m_strDefaultNamespace);
    } catch (...) {
        context->ReleaseScope();
        throw;
    }
    ++m_dwOpenCount;
    m_pContext = context;
    return context;
}

void CXmlWriter::PopContext()
{
    assert(m_pContext != nullptr && "m_pContext != 0");
    CXmlWriterContext* closed = m_pContext;
    m_pContext = closed->m_pParent;
    if (!closed->m_bSharesParentScope) {
        closed->ReleaseScope();
    }
    closed->m_pParent = nullptr;
    --m_dwOpenCount;
}

std::wstring CXmlWriter::GeneratePrefix() const
{
    const NamespaceMap& map = m_pContext ? m_pContext->GetNamespaceMap() : m_mapNamespaceAlias;
    // Mark the candidate numbers already taken in one pass over the map, so
    // that an element with hundreds of generated prefixes stays cheap.
    std::vector<bool> taken(map.size() + 1, false);
    for (const auto& entry : map) {
        const std::wstring& prefix = entry.second;
        if (prefix.size() == 2 && prefix[0] >= L'A' && prefix[1] >= L'A' && prefix[1] <= L'Z') {
            const size_t n = static_cast<size_t>(prefix[0] - L'A') * 26 + (prefix[1] - L'A');
            if (n < taken.size()) {
                taken[n] = true;
            }
        }
    }
    // One of the first map.size() + 1 candidates is always free.
    size_t n = 0;
    while (taken[n]) {
        ++n;
    }
    // Past n = 675 the first letter runs beyond 'Z' in code-point order; such
    // prefixes are still unique, so they are kept.
    std::wstring candidate(2, L'A');
    candidate[0] = static_cast<wchar_t>(L'A' + n / 26);
    candidate[1] = static_cast<wchar_t>(L'A' + n % 26);
    return candidate;
}

} // namespace VxXmlLib16
