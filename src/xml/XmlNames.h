// Internal: the document-wide name table of the light tree and the UTF-8
// helpers its nodes use.
#pragma once

#include "xml/NodePool.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace VxXmlLib16::detail {

// One expanded name. Every element and attribute points at a shared entry,
// so a name costs one pointer per node however often it occurs.
struct XmlName
{
    std::wstring ns;
    std::wstring local;
};

// Appends UTF-8 (as delivered by expat, hence well formed) to wide text.
void AppendUtf8(std::wstring& out, const char* text, size_t bytes);
// Appends wide text as UTF-8; a value that is no Unicode code point becomes
// U+FFFD. Lone surrogates are kept (encoded like any other code point) so
// that they come back unchanged.
void AppendWide(std::string& out, const wchar_t* text, size_t count);

class XmlNameTable
{
public:
    // expandedName is "uri|local" as expat reports it with namespace
    // processing, or a plain name. The URI is what stands before the last
    // '|' (a URI may contain '|', a name may not).
    const XmlName* Intern(const char* expandedName);
    const XmlName* Intern(std::string_view expandedName);
    const XmlName* Intern(const wchar_t* ns, const wchar_t* local);
    void Clear();

private:
    // Looked up once per element and attribute, so it is a small
    // open-addressing table (a document has few distinct names) that hashes
    // and measures the name in one pass, rather than a node-based map.
    struct Entry
    {
        std::string key;
        XmlName name;
        size_t hash;
    };
    const XmlName* Find(std::string_view key, size_t hash) const;
    const XmlName* Add(std::string_view key, size_t hash, XmlName name);

    std::deque<Entry> m_entries;
    std::vector<Entry*> m_slots; // power-of-two size, at most half full
    // Names that cannot be keyed as "uri|local" (a local name with '|',
    // possible only through the wide building operations).
    std::deque<XmlName> m_unkeyed;
    std::string m_key;
};

// Everything a document shares among its nodes.
struct DocumentStore
{
    XmlNameTable names;
    NodePool pool;
    // The document's prefix map the other way: URI -> the prefixes last
    // declared for it, in order, so that finding a URI's prefix is no walk
    // over every declaration.
    std::map<std::wstring, std::set<std::wstring>> prefixesOfUri;
};

} // namespace VxXmlLib16::detail
