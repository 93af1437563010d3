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

const XmlName* XmlNameTable::Intern(std::string_view expandedName)
{
    auto it = m_names.find(expandedName);
    if (it != m_names.end()) {
        return &it->second;
    }
    XmlName name;
    const size_t bar = expandedName.rfind('|');
    if (bar == std::string_view::npos) {
        AppendUtf8(name.local, expandedName.data(), expandedName.size());
    } else {
        AppendUtf8(name.ns, expandedName.data(), bar);
        AppendUtf8(name.local, expandedName.data() + bar + 1, expandedName.size() - bar - 1);
    }
    return &m_names.emplace(std::string(expandedName), std::move(name)).first->second;
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
    auto it = m_names.find(std::string_view(m_key));
    if (it != m_names.end()) {
        return &it->second;
    }
    return &m_names.emplace(m_key, XmlName{ns, local}).first->second;
}

void XmlNameTable::Clear()
{
    m_names.clear();
    m_unkeyed.clear();
}

} // namespace VxXmlLib16::detail
