// The namespace-URI-to-prefix table declared on the root element of a written
// document.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

// An ordered map from namespace URI to alias (prefix). Entries are kept in
// ascending order of URI (compared as wide-character strings), which is the
// order in which a writer declares them. Two namespaces may share an alias;
// the map does not prevent it. A null argument is taken as the empty string.
class VXXML_API CNamespaceAliasMap
{
public:
    CNamespaceAliasMap() = default;
    CNamespaceAliasMap(const CNamespaceAliasMap& other);
    CNamespaceAliasMap& operator=(const CNamespaceAliasMap& other);
    virtual ~CNamespaceAliasMap();

    // Sets the alias of namespaceUri, replacing any alias it had.
    // Note the argument order: alias first.
    void Add(const wchar_t* alias, const wchar_t* namespaceUri);
    // Removes the entry; an absent namespace is no error.
    void RemoveNamespace(const wchar_t* namespaceUri);

    // The alias of namespaceUri. For an unknown namespace the result is empty
    // and an entry with an empty alias is left behind for that namespace (so
    // GetNamespaceCount grows by one). Code that only wants to look must test
    // DoesNamespaceExist first.
    std::wstring GetAliasFromNamespace(const wchar_t* namespaceUri);
    // The namespace of the first entry, in URI order, whose alias equals the
    // argument. Throws CVxException "Namespace alias [%s] not found".
    std::wstring GetNamespaceFromAlias(const wchar_t* alias) const;

    bool DoesNamespaceExist(const wchar_t* namespaceUri) const;
    bool DoesAliasExist(const wchar_t* alias) const;

    int GetNamespaceCount() const;
    // The namespace URI at position index in URI order. An index outside
    // 0..count-1 throws CVxInvalidParamException "Index out of range".
    std::wstring GetNamespaceAt(int index) const;
    // Every entry, namespace URI to alias, in URI order: what writing
    // declares on the root.
    const std::map<std::wstring, std::wstring>& GetEntries() const { return m_map; }

private:
    void Forget(const std::wstring& namespaceUri, const std::wstring& alias);

    std::map<std::wstring, std::wstring> m_map; // namespace URI -> alias
    // The same entries the other way, so that asking by alias is not a walk
    // over every entry: alias -> its namespace URIs, in URI order.
    std::map<std::wstring, std::set<std::wstring>> m_urisOfAlias;
    // The URIs in order, for GetNamespaceAt; made again after each change.
    mutable std::vector<const std::wstring*> m_byIndex;
    mutable bool m_bIndexCurrent = false;
};

} // namespace VxXmlLib16
