#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/NamespaceAliasMap.h>

namespace VxXmlLib16 {
namespace {

const wchar_t* OrEmpty(const wchar_t* s)
{
    return s ? s : L"";
}

} // namespace

// The index by position points into the map it was made for: a copy makes
// its own when asked.
CNamespaceAliasMap::CNamespaceAliasMap(const CNamespaceAliasMap& other)
    : m_map(other.m_map), m_urisOfAlias(other.m_urisOfAlias)
{
}

CNamespaceAliasMap& CNamespaceAliasMap::operator=(const CNamespaceAliasMap& other)
{
    if (this != &other) {
        m_map = other.m_map;
        m_urisOfAlias = other.m_urisOfAlias;
        m_byIndex.clear();
        m_bIndexCurrent = false;
    }
    return *this;
}

CNamespaceAliasMap::~CNamespaceAliasMap() = default;

void CNamespaceAliasMap::Forget(const std::wstring& namespaceUri, const std::wstring& alias)
{
    auto uris = m_urisOfAlias.find(alias);
    if (uris != m_urisOfAlias.end()) {
        uris->second.erase(namespaceUri);
        if (uris->second.empty()) {
            m_urisOfAlias.erase(uris);
        }
    }
}

void CNamespaceAliasMap::Add(const wchar_t* alias, const wchar_t* namespaceUri)
{
    const std::wstring uri = OrEmpty(namespaceUri);
    auto [it, inserted] = m_map.try_emplace(uri);
    if (!inserted) {
        Forget(uri, it->second);
    }
    it->second = OrEmpty(alias);
    m_urisOfAlias[it->second].insert(uri);
    m_bIndexCurrent = m_bIndexCurrent && !inserted;
}

void CNamespaceAliasMap::RemoveNamespace(const wchar_t* namespaceUri)
{
    auto it = m_map.find(OrEmpty(namespaceUri));
    if (it != m_map.end()) {
        Forget(it->first, it->second);
        m_map.erase(it);
        m_bIndexCurrent = false;
    }
}

std::wstring CNamespaceAliasMap::GetAliasFromNamespace(const wchar_t* namespaceUri)
{
    // Asking for an unknown namespace registers it with an empty alias on
    // purpose: callers rely on that entry afterwards.
    const std::wstring uri = OrEmpty(namespaceUri);
    auto [it, inserted] = m_map.try_emplace(uri);
    if (inserted) {
        m_urisOfAlias[std::wstring()].insert(uri);
        m_bIndexCurrent = false;
    }
    return it->second;
}

std::wstring CNamespaceAliasMap::GetNamespaceFromAlias(const wchar_t* alias) const
{
    const wchar_t* wanted = OrEmpty(alias);
    auto uris = m_urisOfAlias.find(wanted);
    if (uris == m_urisOfAlias.end()) {
        throw CVxException(FormatString(L"Namespace alias [%s] not found", wanted));
    }
    return *uris->second.begin();
}

bool CNamespaceAliasMap::DoesNamespaceExist(const wchar_t* namespaceUri) const
{
    return m_map.find(OrEmpty(namespaceUri)) != m_map.end();
}

bool CNamespaceAliasMap::DoesAliasExist(const wchar_t* alias) const
{
    return m_urisOfAlias.find(OrEmpty(alias)) != m_urisOfAlias.end();
}

int CNamespaceAliasMap::GetNamespaceCount() const
{
    return static_cast<int>(m_map.size());
}

std::wstring CNamespaceAliasMap::GetNamespaceAt(int index) const
{
    if (index < 0 || index >= GetNamespaceCount()) {
        throw CVxInvalidParamException(L"Index out of range");
    }
    if (!m_bIndexCurrent) {
        m_byIndex.clear();
        m_byIndex.reserve(m_map.size());
        for (const auto& entry : m_map) {
            m_byIndex.push_back(&entry.first);
        }
        m_bIndexCurrent = true;
    }
    return *m_byIndex[static_cast<size_t>(index)];
}

} // namespace VxXmlLib16
