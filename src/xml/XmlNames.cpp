#include "xml/XmlNames.h"

#include <cstdint>
#include <cstring>
#include <cwchar>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace VxXmlLib16::detail {

namespace {

#if defined(__SSE2__)
// Widens sixteen ASCII bytes at a time into four-byte characters, as long as
// they are ASCII (most text of most documents is); returns where it stopped.
inline const unsigned char* WidenAscii(const unsigned char* p, const unsigned char* end,
                                       wchar_t*& w)
{
    const __m128i zero = _mm_setzero_si128();
    while (end - p >= 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        if (_mm_movemask_epi8(bytes) != 0) {
            break;
        }
        const __m128i low = _mm_unpacklo_epi8(bytes, zero);
        const __m128i high = _mm_unpackhi_epi8(bytes, zero);
        auto* out = reinterpret_cast<__m128i*>(w);
        _mm_storeu_si128(out, _mm_unpacklo_epi16(low, zero));
        _mm_storeu_si128(out + 1, _mm_unpackhi_epi16(low, zero));
        _mm_storeu_si128(out + 2, _mm_unpacklo_epi16(high, zero));
        _mm_storeu_si128(out + 3, _mm_unpackhi_epi16(high, zero));
        p += 16;
        w += 16;
    }
    return p;
}
#else
inline const unsigned char* WidenAscii(const unsigned char* p, const unsigned char*, wchar_t*&)
{
    return p;
}
#endif

} // namespace

void AppendUtf8(std::wstring& out, const char* text, size_t bytes)
{
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    const auto* end = p + bytes;
    const size_t start = out.size();
    out.resize(start + bytes); // never more characters than bytes
    wchar_t* w = out.data() + start;
    for (;;) {
        p = WidenAscii(p, end, w);
        if (p == end) {
            break;
        }
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

// Names are hashed eight bytes at a time: an expanded name is a namespace
// URI and a local name, often 20 to 40 bytes, and it is hashed once per
// element and attribute of the document.
size_t HashOf(std::string_view s)
{
    constexpr uint64_t kMultiplier = 0x9E3779B97F4A7C15ull;
    uint64_t h = s.size() * kMultiplier;
    const char* p = s.data();
    size_t n = s.size();
    auto mix = [&h](uint64_t word) {
        h = (h ^ word) * kMultiplier;
        h ^= h >> 32;
    };
    for (; n >= 8; n -= 8, p += 8) {
        uint64_t word;
        std::memcpy(&word, p, 8);
        mix(word);
    }
    if (n != 0) {
        uint64_t word = 0;
        std::memcpy(&word, p, n);
        mix(word);
    }
    return static_cast<size_t>(h ^ (h >> 29));
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
    return Intern(std::string_view(expandedName));
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
