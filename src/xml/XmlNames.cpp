#include "xml/XmlNames.h"

#include <cwchar>

namespace VxXmlLib16::detail {

void AppendUtf8(std::wstring& out, const char* text, size_t bytes)
{
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    const auto* end = p + bytes;
    const size_t start = out.size();
    out.resize(start + bytes); // never more characters than bytes
    wchar_t* w = out.data() + start;
    while (p < end) {
        unsigned c = *p;
        if (c < 0x80) {
            *w++ = static_cast<wchar_t>(c);
            ++p;
            continue;
        }
        // Malformed sequences cannot come from expat; a truncated one at the
        // end is still never read past.
        size_t extra = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : 1;
        if (static_cast<size_t>(end - p) <= extra) {
            *w++ = 0xFFFD;
            break;
        }
        c &= extra == 3 ? 0x07 : extra == 2 ? 0x0F : 0x1F;
        for (size_t i = 1; i <= extra; ++i) {
            c = (c << 6) | (p[i] & 0x3F);
        }
        p += extra + 1;
        *w++ = static_cast<wchar_t>(c);
    }
    out.resize(static_cast<size_t>(w - out.data()));
}

void AppendWide(std::string& out, const wchar_t* text, size_t count)
{
    for (size_t i = 0; i < count; ++i) {
        auto c = static_cast<uint32_t>(text[i]);
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            if (c > 0x10FFFF) {
                c = 0xFFFD;
            }
            if (c < 0x10000) {
                out += static_cast<char>(0xE0 | (c >> 12));
            } else {
                out += static_cast<char>(0xF0 | (c >> 18));
                out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            }
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
}

namespace {

// FNV-1a: short keys, one pass, no division.
inline size_t Fnv(size_t h, unsigned char c)
{
    return (h ^ c) * 0x100000001B3ull;
}
constexpr size_t kFnvBasis = 0xCBF29CE484222325ull;

size_t HashOf(std::string_view s)
{
    size_t h = kFnvBasis;
    for (char c : s) {
        h = Fnv(h, static_cast<unsigned char>(c));
    }
    return h;
}

XmlName Split(std::string_view expandedName)
{
    XmlName name;
    const size_t bar = expandedName.rfind('|');
    if (bar == std::string_view::npos) {
        AppendUtf8(name.local, expandedName.data(), expandedName.size());
    } else {
        AppendUtf8(name.ns, expandedName.data(), bar);
        AppendUtf8(name.local, expandedName.data() + bar + 1, expandedName.size() - bar - 1);
    }
    return name;
}

} // namespace

const XmlName* XmlNameTable::Find(std::string_view key, size_t hash) const
{
    if (m_slots.empty()) {
        return nullptr;
    }
    const size_t mask = m_slots.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        const Entry* e = m_slots[i];
        if (e == nullptr) {
            return nullptr;
        }
        if (e->hash == hash && e->key == key) {
            return &e->name;
        }
    }
}

const XmlName* XmlNameTable::Add(std::string_view key, size_t hash, XmlName name)
{
    if ((m_entries.size() + 1) * 2 > m_slots.size()) {
        std::vector<Entry*> slots(m_slots.empty() ? 64 : m_slots.size() * 2, nullptr);
        const size_t mask = slots.size() - 1;
        for (Entry& e : m_entries) {
            size_t i = e.hash & mask;
            while (slots[i] != nullptr) {
                i = (i + 1) & mask;
            }
            slots[i] = &e;
        }
        m_slots.swap(slots);
    }
    Entry& entry = m_entries.emplace_back(Entry{std::string(key), std::move(name), hash});
    const size_t mask = m_slots.size() - 1;
    size_t i = hash & mask;
    while (m_slots[i] != nullptr) {
        i = (i + 1) & mask;
    }
    m_slots[i] = &entry;
    return &entry.name;
}

const XmlName* XmlNameTable::Intern(const char* expandedName)
{
    size_t h = kFnvBasis;
    const char* p = expandedName;
    for (; *p != 0; ++p) {
        h = Fnv(h, static_cast<unsigned char>(*p));
    }
    const std::string_view key(expandedName, static_cast<size_t>(p - expandedName));
    if (const XmlName* found = Find(key, h)) {
        return found;
    }
    return Add(key, h, Split(key));
}

const XmlName* XmlNameTable::Intern(std::string_view expandedName)
{
    const size_t h = HashOf(expandedName);
    if (const XmlName* found = Find(expandedName, h)) {
        return found;
    }
    return Add(expandedName, h, Split(expandedName));
}

const XmlName* XmlNameTable::Intern(const wchar_t* ns, const wchar_t* local)
{
    ns = ns ? ns : L"";
    local = local ? local : L"";
    if (std::wcschr(local, L'|') != nullptr) {
        for (const XmlName& n : m_unkeyed) {
            if (n.ns == ns && n.local == local) {
                return &n;
            }
        }
        return &m_unkeyed.emplace_back(XmlName{ns, local});
    }
    m_key.clear();
    if (*ns != 0) {
        AppendWide(m_key, ns, std::wcslen(ns));
        m_key += '|';
    }
    AppendWide(m_key, local, std::wcslen(local));
    const size_t h = HashOf(m_key);
    if (const XmlName* found = Find(m_key, h)) {
        return found;
    }
    return Add(m_key, h, XmlName{ns, local});
}

void XmlNameTable::Clear()
{
    m_slots.clear();
    m_entries.clear();
    m_unkeyed.clear();
}

} // namespace VxXmlLib16::detail
