#include <iterator>
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

CNamespaceAliasMap::~CNamespaceAliasMap() = default;

void CNamespaceAliasMap::Add(const wchar_t* alias, const wchar_t* namespaceUri)
{
    m_map.insert_or_assign(OrEmpty(namespaceUri), OrEmpty(alias));
}

void CNamespaceAliasMap::RemoveNamespace(const wchar_t* namespaceUri)
{
    m_map.erase(OrEmpty(namespaceUri));
}

std::wstring CNamespaceAliasMap::GetAliasFromNamespace(const wchar_t* namespaceUri)
{
    // operator[] on purpose: asking for an unknown namespace registers it with
    // an empty alias, and callers rely on that entry afterwards.
    return m_map[OrEmpty(namespaceUri)];
}

std::wstring CNamespaceAliasMap::GetNamespaceFromAlias(const wchar_t* alias) const
{
    const wchar_t* wanted = OrEmpty(alias);
    for (const auto& [uri, entryAlias] : m_map) {
        if (entryAlias == wanted) {
            return uri;
        }
    }
    throw CVxException(FormatString(L"Namespace alias [%s] not found", wanted));
}

bool CNamespaceAliasMap::DoesNamespaceExist(const wchar_t* namespaceUri) const
{
    return m_map.find(OrEmpty(namespaceUri)) != m_map.end();
}

bool CNamespaceAliasMap::DoesAliasExist(const wchar_t* alias) const
{
    const wchar_t* wanted = OrEmpty(alias);
    for (const auto& entry : m_map) {
        if (entry.second == wanted) {
            return true;
        }
    }
    return false;
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
    return std::next(m_map.begin(), index)->first;
}

} // namespace VxXmlLib16
