#include "core/XsdPattern.h"

#include "base/CachedMemory.h"
#include "base/ThreadScratch.h"

#define PCRE2_CODE_UNIT_WIDTH 32
#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <pcre2.h>
#include <unordered_map>
#include <utility>
#include <vector>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

// PCRE2's 32-bit code units are our wchar_t characters: values are matched in
// place, without a copy or a conversion.
static_assert(sizeof(wchar_t) == sizeof(PCRE2_UCHAR32), "wchar_t must hold UTF-32");

namespace VxXmlLib16::detail {
namespace {

// --- Character sets ------------------------------------------------------

struct Range
{
    char32_t lo;
    char32_t hi;
};
using Ranges = std::vector<Range>;

constexpr char32_t kMaxCodePoint = 0x10FFFF;
constexpr char32_t kSurrogateLo = 0xD800;
constexpr char32_t kSurrogateHi = 0xDFFF;

bool IsScalarValue(wchar_t c)
{
    const auto u = static_cast<char32_t>(c);
    return u <= kMaxCodePoint && (u < kSurrogateLo || u > kSurrogateHi);
}

Ranges Normalized(Ranges r)
{
    std::sort(r.begin(), r.end(), [](const Range& a, const Range& b) { return a.lo < b.lo; });
    Ranges out;
    for (const Range& x : r) {
        if (!out.empty() && x.lo <= out.back().hi + 1) {
            out.back().hi = std::max(out.back().hi, x.hi);
        } else {
            out.push_back(x);
        }
    }
    return out;
}

Ranges Complement(const Ranges& in)
{
    Ranges out;
    char32_t next = 0;
    for (const Range& x : Normalized(in)) {
        if (x.lo > next) {
            out.push_back({next, x.lo - 1});
        }
        next = x.hi + 1;
    }
    if (next <= kMaxCodePoint) {
        out.push_back({next, kMaxCodePoint});
    }
    return out;
}

// XML name characters as XML 1.0 (fifth edition) defines NameStartChar and
// NameChar. \i is NameStartChar, \c is NameChar.
const Ranges kNameStart = {
    {':', ':'},       {'A', 'Z'},       {'_', '_'},       {'a', 'z'},
    {0xC0, 0xD6},     {0xD8, 0xF6},     {0xF8, 0x2FF},    {0x370, 0x37D},
    {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F}, {0x2C00, 0x2FEF},
    {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
const Ranges kNameOnly = {
    {'-', '.'}, {'0', '9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040},
};
// \s: space, tab, line feed, carriage return.
const Ranges kSpace = {{0x9, 0xA}, {0xD, 0xD}, {0x20, 0x20}};

Ranges NameChars()
{
    Ranges r = kNameStart;
    r.insert(r.end(), kNameOnly.begin(), kNameOnly.end());
    return r;
}

// The block names XML Schema 1.0 lists for \p{IsName}. PrivateUse and
// Specials appear more than once: a name stands for all its rows.
struct Block
{
    const wchar_t* name;
    char32_t lo;
    char32_t hi;
};
const Block kBlocks[] = {
    {L"BasicLatin", 0x0000, 0x007F},
    {L"Latin-1Supplement", 0x0080, 0x00FF},
    {L"LatinExtended-A", 0x0100, 0x017F},
    {L"LatinExtended-B", 0x0180, 0x024F},
    {L"IPAExtensions", 0x0250, 0x02AF},
    {L"SpacingModifierLetters", 0x02B0, 0x02FF},
    {L"CombiningDiacriticalMarks", 0x0300, 0x036F},
    {L"Greek", 0x0370, 0x03FF},
    {L"Cyrillic", 0x0400, 0x04FF},
    {L"Armenian", 0x0530, 0x058F},
    {L"Hebrew", 0x0590, 0x05FF},
    {L"Arabic", 0x0600, 0x06FF},
    {L"Syriac", 0x0700, 0x074F},
    {L"Thaana", 0x0780, 0x07BF},
    {L"Devanagari", 0x0900, 0x097F},
    {L"Bengali", 0x0980, 0x09FF},
    {L"Gurmukhi", 0x0A00, 0x0A7F},
    {L"Gujarati", 0x0A80, 0x0AFF},
    {L"Oriya", 0x0B00, 0x0B7F},
    {L"Tamil", 0x0B80, 0x0BFF},
    {L"Telugu", 0x0C00, 0x0C7F},
    {L"Kannada", 0x0C80, 0x0CFF},
    {L"Malayalam", 0x0D00, 0x0D7F},
    {L"Sinhala", 0x0D80, 0x0DFF},
    {L"Thai", 0x0E00, 0x0E7F},
    {L"Lao", 0x0E80, 0x0EFF},
    {L"Tibetan", 0x0F00, 0x0FFF},
    {L"Myanmar", 0x1000, 0x109F},
    {L"Georgian", 0x10A0, 0x10FF},
    {L"HangulJamo", 0x1100, 0x11FF},
    {L"Ethiopic", 0x1200, 0x137F},
    {L"Cherokee", 0x13A0, 0x13FF},
    {L"UnifiedCanadianAboriginalSyllabics", 0x1400, 0x167F},
    {L"Ogham", 0x1680, 0x169F},
    {L"Runic", 0x16A0, 0x16FF},
    {L"Khmer", 0x1780, 0x17FF},
    {L"Mongolian", 0x1800, 0x18AF},
    {L"LatinExtendedAdditional", 0x1E00, 0x1EFF},
    {L"GreekExtended", 0x1F00, 0x1FFF},
    {L"GeneralPunctuation", 0x2000, 0x206F},
    {L"SuperscriptsandSubscripts", 0x2070, 0x209F},
    {L"CurrencySymbols", 0x20A0, 0x20CF},
    {L"CombiningMarksforSymbols", 0x20D0, 0x20FF},
    {L"LetterlikeSymbols", 0x2100, 0x214F},
    {L"NumberForms", 0x2150, 0x218F},
    {L"Arrows", 0x2190, 0x21FF},
    {L"MathematicalOperators", 0x2200, 0x22FF},
    {L"MiscellaneousTechnical", 0x2300, 0x23FF},
    {L"ControlPictures", 0x2400, 0x243F},
    {L"OpticalCharacterRecognition", 0x2440, 0x245F},
    {L"EnclosedAlphanumerics", 0x2460, 0x24FF},
    {L"BoxDrawing", 0x2500, 0x257F},
    {L"BlockElements", 0x2580, 0x259F},
    {L"GeometricShapes", 0x25A0, 0x25FF},
    {L"MiscellaneousSymbols", 0x2600, 0x26FF},
    {L"Dingbats", 0x2700, 0x27BF},
    {L"BraillePatterns", 0x2800, 0x28FF},
    {L"CJKRadicalsSupplement", 0x2E80, 0x2EFF},
    {L"KangxiRadicals", 0x2F00, 0x2FDF},
    {L"IdeographicDescriptionCharacters", 0x2FF0, 0x2FFF},
    {L"CJKSymbolsandPunctuation", 0x3000, 0x303F},
    {L"Hiragana", 0x3040, 0x309F},
    {L"Katakana", 0x30A0, 0x30FF},
    {L"Bopomofo", 0x3100, 0x312F},
    {L"HangulCompatibilityJamo", 0x3130, 0x318F},
    {L"Kanbun", 0x3190, 0x319F},
    {L"BopomofoExtended", 0x31A0, 0x31BF},
    {L"EnclosedCJKLettersandMonths", 0x3200, 0x32FF},
    {L"CJKCompatibility", 0x3300, 0x33FF},
    {L"CJKUnifiedIdeographsExtensionA", 0x3400, 0x4DB5},
    {L"CJKUnifiedIdeographs", 0x4E00, 0x9FFF},
    {L"YiSyllables", 0xA000, 0xA48F},
    {L"YiRadicals", 0xA490, 0xA4CF},
    {L"HangulSyllables", 0xAC00, 0xD7A3},
    {L"HighSurrogates", 0xD800, 0xDB7F},
    {L"HighPrivateUseSurrogates", 0xDB80, 0xDBFF},
    {L"LowSurrogates", 0xDC00, 0xDFFF},
    {L"PrivateUse", 0xE000, 0xF8FF},
    {L"CJKCompatibilityIdeographs", 0xF900, 0xFAFF},
    {L"AlphabeticPresentationForms", 0xFB00, 0xFB4F},
    {L"ArabicPresentationForms-A", 0xFB50, 0xFDFF},
    {L"CombiningHalfMarks", 0xFE20, 0xFE2F},
    {L"CJKCompatibilityForms", 0xFE30, 0xFE4F},
    {L"SmallFormVariants", 0xFE50, 0xFE6F},
    {L"ArabicPresentationForms-B", 0xFE70, 0xFEFE},
    {L"Specials", 0xFEFF, 0xFEFF},
    {L"HalfwidthandFullwidthForms", 0xFF00, 0xFFEF},
    {L"Specials", 0xFFF0, 0xFFFD},
    {L"OldItalic", 0x10300, 0x1032F},
    {L"Gothic", 0x10330, 0x1034F},
    {L"Deseret", 0x10400, 0x1044F},
    {L"ByzantineMusicalSymbols", 0x1D000, 0x1D0FF},
    {L"MusicalSymbols", 0x1D100, 0x1D1FF},
    {L"MathematicalAlphanumericSymbols", 0x1D400, 0x1D7FF},
    {L"CJKUnifiedIdeographsExtensionB", 0x20000, 0x2A6D6},
    {L"CJKCompatibilityIdeographsSupplement", 0x2F800, 0x2FA1F},
    {L"Tags", 0xE0000, 0xE007F},
    {L"PrivateUse", 0xF0000, 0xFFFFD},
    {L"PrivateUse", 0x100000, 0x10FFFD},
};

// The general categories XML Schema 1.0 names; PCRE2 knows every one of them
// under the same name.
const wchar_t* const kCategories[] = {
    L"L",  L"Lu", L"Ll", L"Lt", L"Lm", L"Lo", L"M",  L"Mn", L"Mc", L"Me", L"N",  L"Nd",
    L"Nl", L"No", L"P",  L"Pc", L"Pd", L"Ps", L"Pe", L"Pi", L"Pf", L"Po", L"Z",  L"Zs",
    L"Zl", L"Zp", L"S",  L"Sm", L"Sc", L"Sk", L"So", L"C",  L"Cc", L"Cf", L"Co", L"Cn",
};

// \w is everything but punctuation, separators and "other" characters.
constexpr std::wstring_view kNotWordItems = L"\\p{P}\\p{Z}\\p{C}";

// A union of characters being collected for one class: code-point ranges,
// PCRE2 property items (\p{Lu}, \P{Nd}) and, separately, \w, which PCRE2
// cannot write as an item of a larger class.
struct CharSet
{
    Ranges ranges;
    std::wstring properties;
    bool word = false;
};

void AppendHex(std::wstring& out, char32_t c)
{
    out += FormatString(L"\\x{%x}", static_cast<unsigned>(c));
}

// The ranges as the inside of a PCRE2 class. Surrogate code points cannot be
// written in a UTF pattern (and cannot occur in a checked value), so they
// are left out.
std::wstring ClassItems(const CharSet& set)
{
    std::wstring out;
    for (Range r : Normalized(set.ranges)) {
        Range parts[2] = {r, {1, 0}};
        if (r.lo <= kSurrogateHi && r.hi >= kSurrogateLo) {
            parts[0] = {r.lo, kSurrogateLo - 1};
            parts[1] = {kSurrogateHi + 1, r.hi};
        }
        for (const Range& p : parts) {
            if (p.lo > p.hi || p.lo > kMaxCodePoint) {
                continue;
            }
            AppendHex(out, p.lo);
            if (p.hi != p.lo) {
                out += L'-';
                AppendHex(out, std::min(p.hi, kMaxCodePoint));
            }
        }
    }
    return out + set.properties;
}

// One PCRE2 expression matching exactly one character: the set, its
// complement when negated, minus the characters of `subtract` when given.
// The result can take a quantifier as it stands.
std::wstring EmitSet(const CharSet& set, bool negated, const std::wstring* subtract)
{
    const std::wstring items = ClassItems(set);
    const std::wstring word = L"[^" + std::wstring(kNotWordItems) + L"]";
    const std::wstring notWord = L"[" + std::wstring(kNotWordItems) + L"]";
    std::wstring base;
    bool simple = true; // base is a single bracketed class
    if (!negated) {
        if (!set.word) {
            base = items.empty() ? L"(?!)" : L"[" + items + L"]";
            simple = !items.empty();
        } else if (items.empty()) {
            base = word;
        } else {
            base = L"[" + items + L"]|" + word;
            simple = false;
        }
    } else {
        if (!set.word) {
            base = items.empty() ? L"(?s:.)" : L"[^" + items + L"]";
        } else if (items.empty()) {
            base = notWord;
        } else {
            base = L"(?![" + items + L"])" + notWord;
            simple = false;
        }
    }
    if (subtract) {
        return L"(?:(?!" + *subtract + L")(?:" + base + L"))";
    }
    return simple ? base : L"(?:" + base + L")";
}

// --- Translation ---------------------------------------------------------

// The character a single-character escape stands for (the part after the
// backslash), or 0 for every other escape.
wchar_t SingleCharEscape(wchar_t c)
{
    switch (c) {
    case L'n':
        return L'\n';
    case L'r':
        return L'\r';
    case L't':
        return L'\t';
    case L'\\':
    case L'|':
    case L'.':
    case L'-':
    case L'^':
    case L'?':
    case L'*':
    case L'+':
    case L'{':
    case L'}':
    case L'(':
    case L')':
    case L'[':
    case L']':
        return c;
    default:
        return 0;
    }
}

// Groups and class subtractions may nest this deep; PCRE2 has a nesting limit
// of its own, and the translator recurses once per level.
constexpr int kMaxNesting = 50;
// The largest translation (counting the copies PCRE2 makes of repeated
// groups) accepted: compiling it takes some tens of megabytes at most.
constexpr uint64_t kMaxWeight = 2000000;
// The largest repeat count PCRE2 accepts.
constexpr unsigned long kMaxRepeat = 65535;

class CTranslator
{
public:
    explicit CTranslator(std::wstring_view pattern) : m_p(pattern) {}

    std::wstring Translate()
    {
        for (size_t i = 0; i < m_p.size(); ++i) {
            if (!IsScalarValue(m_p[i])) {
                Fail(i, FormatString(L"U+%04X is not a Unicode character",
                                     static_cast<unsigned>(m_p[i])));
            }
        }
        uint64_t weight = 0;
        std::wstring out = RegExp(weight);
        if (m_pos < m_p.size()) { // only a ')' stops RegExp early
            Fail(m_pos, L"')' without a matching '('");
        }
        return out;
    }

private:
    [[noreturn]] void Fail(size_t pos, const std::wstring& what) const
    {
        throw CVxException(FormatString(L"Invalid pattern [%s]: %s (at character %d)",
                                        std::wstring(m_p).c_str(), what.c_str(),
                                        static_cast<int>(pos + 1)));
    }

    bool AtEnd() const { return m_pos >= m_p.size(); }
    wchar_t Peek(size_t ahead = 0) const
    {
        return m_pos + ahead < m_p.size() ? m_p[m_pos + ahead] : L'\0';
    }
    bool HasAhead(size_t ahead) const { return m_pos + ahead < m_p.size(); }

    void Enter(size_t pos)
    {
        if (++m_depth > kMaxNesting) {
            Fail(pos, FormatString(L"groups and classes nest deeper than %d levels", kMaxNesting));
        }
    }

    // Each part also reports its weight: the size of its PCRE2 text once
    // PCRE2 has copied repeated groups out, which is what compiling costs.
    std::wstring RegExp(uint64_t& weight)
    {
        std::wstring out = Branch(weight);
        while (!AtEnd() && Peek() == L'|') {
            ++m_pos;
            out += L'|';
            uint64_t branch = 0;
            const size_t start = m_pos;
            out += Branch(branch);
            weight += branch;
            if (weight > kMaxWeight) {
                Fail(start, L"repeated groups make the pattern too large to compile");
            }
        }
        return out;
    }

    std::wstring Branch(uint64_t& weight)
    {
        std::wstring out;
        weight = 0;
        while (!AtEnd() && Peek() != L'|' && Peek() != L')') {
            const size_t start = m_pos;
            uint64_t piece = 0;
            out += Piece(piece);
            weight += piece;
            if (weight > kMaxWeight) {
                Fail(start, L"repeated groups make the pattern too large to compile");
            }
        }
        return out;
    }

    static bool IsQuantifierStart(wchar_t c)
    {
        return c == L'?' || c == L'*' || c == L'+' || c == L'{';
    }

    std::wstring Piece(uint64_t& weight)
    {
        std::wstring out = Atom(weight);
        if (AtEnd() || !IsQuantifierStart(Peek())) {
            return out;
        }
        // PCRE2 repeats a single character or class with a counted opcode
        // but copies a group once per counted repeat.
        const bool group = out[0] == L'(';
        uint64_t copies = 1;
        if (Peek() == L'{') {
            out += Quantity(copies);
        } else {
            copies = Peek() == L'+' ? 2 : 1;
            out += Peek();
            ++m_pos;
        }
        if (group) {
            weight *= std::max<uint64_t>(copies, 1);
        }
        if (!AtEnd() && IsQuantifierStart(Peek())) {
            Fail(m_pos, FormatString(L"'%c' follows a quantifier; XML Schema patterns have no "
                                     L"lazy or possessive quantifiers",
                                     Peek()));
        }
        return out;
    }

    unsigned long Number(size_t open)
    {
        const size_t start = m_pos;
        unsigned long n = 0;
        while (!AtEnd() && Peek() >= L'0' && Peek() <= L'9') {
            n = n * 10 + static_cast<unsigned long>(Peek() - L'0');
            if (n > kMaxRepeat) {
                Fail(start, FormatString(L"a repeat count above %d", static_cast<int>(kMaxRepeat)));
            }
            ++m_pos;
        }
        if (m_pos == start) {
            Fail(open, L"'{' must be followed by a repeat count ({n}, {n,} or {n,m})");
        }
        return n;
    }

    // {n}, {n,} or {n,m}; copies is how often PCRE2 writes out a repeated
    // group for it.
    std::wstring Quantity(uint64_t& copies)
    {
        const size_t open = m_pos++;
        const unsigned long min = Number(open);
        std::wstring out = FormatString(L"{%u", static_cast<unsigned>(min));
        copies = min;
        if (!AtEnd() && Peek() == L',') {
            ++m_pos;
            out += L',';
            copies = min + 1;
            if (!AtEnd() && Peek() != L'}') {
                const unsigned long max = Number(open);
                if (max < min) {
                    Fail(open,
                         FormatString(L"the repeat range {%u,%u} is out of order",
                                      static_cast<unsigned>(min), static_cast<unsigned>(max)));
                }
                out += FormatString(L"%u", static_cast<unsigned>(max));
                copies = max;
            }
        }
        if (AtEnd() || Peek() != L'}') {
            Fail(open, L"the repeat count is not closed by '}'");
        }
        ++m_pos;
        return out + L'}';
    }

    std::wstring Atom(uint64_t& weight)
    {
        std::wstring out = AtomText(weight);
        if (out[0] != L'(' || weight == 0) {
            weight = out.size();
        }
        return out;
    }

    // weight is set for groups only (their inner weight plus the brackets).
    std::wstring AtomText(uint64_t& weight)
    {
        weight = 0;
        const size_t pos = m_pos;
        const wchar_t c = Peek();
        switch (c) {
        case L'(': {
            ++m_pos;
            if (!AtEnd() && Peek() == L'?') {
                Fail(pos, L"'(?' group constructs (lookaround, non-capturing and named groups) "
                          L"are not part of XML Schema patterns");
            }
            Enter(pos);
            uint64_t innerWeight = 0;
            std::wstring inner = RegExp(innerWeight);
            weight = innerWeight + 4;
            --m_depth;
            if (AtEnd()) {
                Fail(pos, L"'(' without a matching ')'");
            }
            ++m_pos;
            return L"(?:" + inner + L")";
        }
        case L'[':
            return ClassExpr();
        case L'\\': {
            CharSet set;
            if (std::optional<char32_t> single = Escape(set)) {
                return Literal(*single);
            }
            return EmitSet(set, false, nullptr);
        }
        case L'.':
            ++m_pos;
            return L"[^\\x{a}\\x{d}]";
        case L'?':
        case L'*':
        case L'+':
            Fail(pos, FormatString(L"the quantifier '%c' has nothing to repeat", c));
        case L'{':
            Fail(pos, L"'{' must be escaped as '\\{' where it does not start a quantifier");
        case L'}':
        case L']':
            Fail(pos, FormatString(L"'%c' must be escaped as '\\%c'", c, c));
        default:
            ++m_pos;
            return Literal(static_cast<char32_t>(c));
        }
    }

    static std::wstring Literal(char32_t c)
    {
        if ((c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || (c >= L'0' && c <= L'9')) {
            return std::wstring(1, static_cast<wchar_t>(c));
        }
        std::wstring out;
        AppendHex(out, c);
        return out;
    }

    // Reads the escape at m_pos (a backslash). A single-character escape
    // returns its character; every other escape adds its characters to set
    // and returns nothing.
    std::optional<char32_t> Escape(CharSet& set)
    {
        const size_t pos = m_pos++;
        if (AtEnd()) {
            Fail(pos, L"the pattern ends with a lone '\\'");
        }
        const wchar_t e = Peek();
        ++m_pos;
        if (const wchar_t single = SingleCharEscape(e); single != 0) {
            return static_cast<char32_t>(single);
        }
        switch (e) {
        case L's':
            Add(set, kSpace);
            return std::nullopt;
        case L'S':
            Add(set, Complement(kSpace));
            return std::nullopt;
        case L'i':
            Add(set, kNameStart);
            return std::nullopt;
        case L'I':
            Add(set, Complement(kNameStart));
            return std::nullopt;
        case L'c':
            Add(set, NameChars());
            return std::nullopt;
        case L'C':
            Add(set, Complement(NameChars()));
            return std::nullopt;
        case L'd':
            set.properties += L"\\p{Nd}";
            return std::nullopt;
        case L'D':
            set.properties += L"\\P{Nd}";
            return std::nullopt;
        case L'w':
            set.word = true;
            return std::nullopt;
        case L'W':
            set.properties += kNotWordItems;
            return std::nullopt;
        case L'p':
        case L'P':
            Property(pos, e == L'P', set);
            return std::nullopt;
        default:
            break;
        }
        if (e >= L'0' && e <= L'9') {
            Fail(pos,
                 FormatString(L"back-references ('\\%c') are not part of XML Schema patterns", e));
        }
        Fail(pos, FormatString(L"unknown escape '\\%c'", e));
    }

    static void Add(CharSet& set, const Ranges& r)
    {
        set.ranges.insert(set.ranges.end(), r.begin(), r.end());
    }

    void Property(size_t pos, bool complement, CharSet& set)
    {
        if (AtEnd() || Peek() != L'{') {
            Fail(pos, FormatString(L"'\\%c' must be followed by a name in braces",
                                   complement ? L'P' : L'p'));
        }
        const size_t close = m_p.find(L'}', m_pos);
        if (close == std::wstring_view::npos) {
            Fail(pos, L"the property name is not closed by '}'");
        }
        const std::wstring name(m_p.substr(m_pos + 1, close - m_pos - 1));
        m_pos = close + 1;
        if (name.size() > 2 && name.compare(0, 2, L"Is") == 0) {
            Ranges block;
            for (const Block& b : kBlocks) {
                if (name.compare(2, std::wstring::npos, b.name) == 0) {
                    block.push_back({b.lo, b.hi});
                }
            }
            if (block.empty()) {
                Fail(pos, FormatString(L"unknown Unicode block '%s'", name.c_str()));
            }
            Add(set, complement ? Complement(block) : block);
            return;
        }
        for (const wchar_t* category : kCategories) {
            if (name == category) {
                set.properties += complement ? L"\\P{" : L"\\p{";
                set.properties += name;
                set.properties += L'}';
                return;
            }
        }
        Fail(pos, FormatString(L"unknown character category '%s'", name.c_str()));
    }

    // One end of a range: a character or a single-character escape.
    char32_t RangeEnd(size_t rangePos)
    {
        if (Peek() == L'\\') {
            CharSet unused;
            const size_t pos = m_pos;
            if (std::optional<char32_t> c = Escape(unused)) {
                return *c;
            }
            Fail(pos, L"a range cannot start or end with a multi-character escape or property");
        }
        if (Peek() == L'-' || Peek() == L'[') {
            Fail(rangePos, FormatString(L"'%c' must be escaped as '\\%c' at the end of a range",
                                        Peek(), Peek()));
        }
        return static_cast<char32_t>(m_p[m_pos++]);
    }

    // [...], [^...] and [...-[...]], at m_pos.
    std::wstring ClassExpr()
    {
        const size_t open = m_pos++;
        Enter(open);
        bool negated = false;
        if (!AtEnd() && Peek() == L'^') {
            negated = true;
            ++m_pos;
        }
        CharSet set;
        bool first = true;
        std::optional<std::wstring> subtract;
        for (;;) {
            if (AtEnd()) {
                Fail(open, L"'[' without a matching ']'");
            }
            const size_t pos = m_pos;
            const wchar_t c = Peek();
            if (c == L']') {
                if (first) {
                    Fail(pos, L"empty character class");
                }
                ++m_pos;
                break;
            }
            if (c == L'-') {
                if (!first && Peek(1) == L'[') {
                    ++m_pos;
                    subtract = ClassExpr();
                    if (AtEnd() || Peek() != L']') {
                        Fail(m_pos, L"a subtraction '-[...]' must be the last part of its class");
                    }
                    ++m_pos;
                    break;
                }
                if (first || Peek(1) == L']') {
                    Add(set, {{U'-', U'-'}});
                    ++m_pos;
                    first = false;
                    continue;
                }
                Fail(pos, L"'-' must be escaped as '\\-' inside a character class, except at "
                          L"its start or end");
            }
            if (c == L'[') {
                Fail(pos, L"'[' must be escaped as '\\[' inside a character class; a nested class "
                          L"may only follow '-' as a subtraction");
            }
            first = false;
            char32_t lo;
            if (c == L'\\') {
                std::optional<char32_t> single = Escape(set);
                if (!single) {
                    if (Peek() == L'-' && HasAhead(1) && Peek(1) != L'[' && Peek(1) != L']') {
                        Fail(pos, L"a range cannot start or end with a multi-character escape "
                                  L"or property");
                    }
                    continue;
                }
                lo = *single;
            } else {
                lo = static_cast<char32_t>(c);
                ++m_pos;
            }
            char32_t hi = lo;
            if (Peek() == L'-' && HasAhead(1) && Peek(1) != L'[' && Peek(1) != L']') {
                ++m_pos;
                hi = RangeEnd(pos);
                if (hi < lo) {
                    Fail(pos, FormatString(L"the range '%s' is out of order",
                                           std::wstring(m_p.substr(pos, m_pos - pos)).c_str()));
                }
            }
            set.ranges.push_back({lo, hi});
        }
        --m_depth;
        return EmitSet(set, negated, subtract ? &*subtract : nullptr);
    }

    std::wstring_view m_p;
    size_t m_pos = 0;
    int m_depth = 0;
};

// --- PCRE2 plumbing ------------------------------------------------------

std::wstring PcreErrorText(int code)
{
    PCRE2_UCHAR32 buffer[256];
    const int n = pcre2_get_error_message(code, buffer, sizeof buffer / sizeof buffer[0]);
    if (n < 0) {
        return FormatString(L"PCRE2 error %d", code);
    }
    return std::wstring(reinterpret_cast<const wchar_t*>(buffer), static_cast<size_t>(n));
}

// The limits that stop a hostile pattern from running for ever. A match
// context is read-only while matching, so one serves every thread.
class CMatchLimits
{
public:
    CMatchLimits() : m_ctx(pcre2_match_context_create(nullptr))
    {
        if (m_ctx) {
            pcre2_set_match_limit(m_ctx, CXsdPattern::MatchLimit);
            pcre2_set_heap_limit(m_ctx, CXsdPattern::HeapLimitKiB);
        }
    }
    ~CMatchLimits() { pcre2_match_context_free(m_ctx); }
    CMatchLimits(const CMatchLimits&) = delete;
    CMatchLimits& operator=(const CMatchLimits&) = delete;
    pcre2_match_context* Get() const { return m_ctx; }

private:
    pcre2_match_context* m_ctx;
};

pcre2_match_context* MatchContext()
{
    static const CMatchLimits limits;
    if (!limits.Get()) {
        throw CVxException(L"Out of memory creating the PCRE2 match context");
    }
    return limits.Get();
}

// Match data is scratch space of one match at a time: each thread keeps one
// in its scratch slot. Only whole-value success matters, so one offset pair
// is enough.
struct CMatchData
{
    pcre2_match_data* data = pcre2_match_data_create(1, nullptr);
    CMatchData() = default;
    CMatchData(const CMatchData&) = delete;
    CMatchData& operator=(const CMatchData&) = delete;
    ~CMatchData() { pcre2_match_data_free(data); }
};

// --- A direct matcher for the simplest patterns --------------------------
//
// Most facets are short sequences such as \d{3}-[A-Z]{2}: characters,
// classes of ranges and \d, each with a quantifier, and nothing else. PCRE2's
// fixed cost per match (and its Unicode property lookups for \d) outweighs
// such a match many times over, so these are matched here. Only ASCII input
// is judged at a \d; a value with any other character there is left to
// PCRE2, which stays the authority.

struct CSimplePiece
{
    std::vector<Range> ranges; // a literal is a range of one character
    bool digit = false;        // \d is part of the class
    uint32_t min = 1;
    uint32_t max = 1; // kUnbounded for * and +
    // The ASCII characters of the class, one bit each: most values are
    // ASCII, and a bit test decides them at once.
    uint64_t ascii[2] = {0, 0};

    void FillAscii()
    {
        for (char32_t c = 0; c < 0x80; ++c) {
            bool in = digit && c >= U'0' && c <= U'9';
            for (const Range& r : ranges) {
                in = in || (c >= r.lo && c <= r.hi);
            }
            if (in) {
                ascii[c / 64] |= uint64_t{1} << (c % 64);
            }
        }
    }
};
constexpr uint32_t kUnbounded = UINT32_MAX;

bool IsMetaCharacter(wchar_t c)
{
    return std::wstring_view(L".\\?*+{}()[]|").find(c) != std::wstring_view::npos;
}

// Reads a repeat count; false when there is none.
bool ReadCount(std::wstring_view p, size_t& i, uint32_t& count)
{
    const size_t start = i;
    uint64_t value = 0;
    while (i < p.size() && p[i] >= L'0' && p[i] <= L'9' && value <= UINT32_MAX / 10) {
        value = value * 10 + static_cast<uint64_t>(p[i] - L'0');
        ++i;
    }
    count = static_cast<uint32_t>(std::min<uint64_t>(value, kUnbounded - 1));
    return i > start;
}

// Whether no character is in both classes.
bool Disjoint(const CSimplePiece& a, const CSimplePiece& b)
{
    // \d is every Unicode decimal digit: a class that reaches beyond ASCII
    // may share some of them.
    const auto mayHoldDigits = [](const CSimplePiece& piece) {
        for (const Range& r : piece.ranges) {
            if ((r.lo <= U'9' && r.hi >= U'0') || r.hi >= 0x80) {
                return true;
            }
        }
        return false;
    };
    if ((a.digit && (b.digit || mayHoldDigits(b))) || (b.digit && mayHoldDigits(a))) {
        return false;
    }
    for (const Range& x : a.ranges) {
        for (const Range& y : b.ranges) {
            if (x.lo <= y.hi && y.lo <= x.hi) {
                return false;
            }
        }
    }
    return true;
}

// The pieces of pattern, or nothing when it uses anything beyond them.
// The pattern has already been accepted by the translator, so only the
// shapes taken here need to be understood exactly.
std::optional<std::vector<CSimplePiece>> SimplePieces(std::wstring_view p)
{
    std::vector<CSimplePiece> pieces;
    size_t i = 0;
    // One character of a class or of the sequence, escapes resolved.
    const auto character = [&](wchar_t& c) {
        if (p[i] == L'\\') {
            if (i + 1 >= p.size() || (c = SingleCharEscape(p[i + 1])) == 0) {
                return false;
            }
            i += 2;
            return true;
        }
        c = p[i++];
        return true;
    };
    while (i < p.size()) {
        CSimplePiece piece;
        if (p[i] == L'[') {
            ++i;
            if (i < p.size() && p[i] == L'^') {
                return std::nullopt;
            }
            while (i < p.size() && p[i] != L']') {
                if (p[i] == L'\\' && i + 1 < p.size() && p[i + 1] == L'd') {
                    piece.digit = true;
                    i += 2;
                    continue;
                }
                if (p[i] == L'[' || p[i] == L'-') {
                    return std::nullopt; // subtraction, or a '-' that is no range
                }
                wchar_t lo = 0;
                if (!character(lo)) {
                    return std::nullopt;
                }
                wchar_t hi = lo;
                if (i + 1 < p.size() && p[i] == L'-' && p[i + 1] != L']' && p[i + 1] != L'[') {
                    ++i;
                    if (p[i] == L'\\' && i + 1 < p.size() && p[i + 1] == L'd') {
                        return std::nullopt;
                    }
                    if (!character(hi)) {
                        return std::nullopt;
                    }
                }
                piece.ranges.push_back({static_cast<char32_t>(lo), static_cast<char32_t>(hi)});
            }
            if (i >= p.size()) {
                return std::nullopt;
            }
            ++i; // ']'
        } else if (p[i] == L'\\' && i + 1 < p.size() && p[i + 1] == L'd') {
            piece.digit = true;
            i += 2;
        } else if (p[i] != L'\\' && IsMetaCharacter(p[i])) {
            return std::nullopt;
        } else {
            wchar_t c = 0;
            if (!character(c)) {
                return std::nullopt;
            }
            piece.ranges.push_back({static_cast<char32_t>(c), static_cast<char32_t>(c)});
        }
        if (i < p.size()) {
            switch (p[i]) {
            case L'?':
                piece.min = 0;
                ++i;
                break;
            case L'*':
                piece.min = 0;
                piece.max = kUnbounded;
                ++i;
                break;
            case L'+':
                piece.max = kUnbounded;
                ++i;
                break;
            case L'{':
                ++i;
                if (!ReadCount(p, i, piece.min) || i >= p.size()) {
                    return std::nullopt;
                }
                piece.max = piece.min;
                if (p[i] == L',') {
                    ++i;
                    piece.max = kUnbounded;
                    if (i < p.size() && p[i] != L'}' && !ReadCount(p, i, piece.max)) {
                        return std::nullopt;
                    }
                }
                if (i >= p.size() || p[i] != L'}') {
                    return std::nullopt;
                }
                ++i;
                break;
            default:
                break;
            }
        }
        piece.FillAscii();
        pieces.push_back(std::move(piece));
    }
    // A piece of varying length must be the last one or be followed by a
    // required piece of other characters, so that there is one way to split
    // any value: PCRE2 then never backtracks far either, and both answer
    // alike. (Where PCRE2 might give up on a pattern, it keeps the say.)
    for (size_t k = 0; k + 1 < pieces.size(); ++k) {
        if (pieces[k].min != pieces[k].max &&
            (pieces[k + 1].min == 0 || !Disjoint(pieces[k], pieces[k + 1]))) {
            return std::nullopt;
        }
    }
    return pieces;
}

// 1 in the piece's class, 0 not, -1 undecided (a non-ASCII character where
// only \d could take it: Unicode has other decimal digits).
int Takes(const CSimplePiece& piece, wchar_t c)
{
    const auto u = static_cast<char32_t>(c);
    if (u < 0x80) {
        return static_cast<int>((piece.ascii[u / 64] >> (u % 64)) & 1);
    }
    for (const Range& r : piece.ranges) {
        if (u >= r.lo && u <= r.hi) {
            return 1;
        }
    }
    return piece.digit ? -1 : 0;
}

// 1 the whole value matches, 0 it does not, -1 undecided. Each piece takes
// as many characters as it can: SimplePieces admits only patterns in which
// that is the one way a value can match.
int MatchSimple(const std::vector<CSimplePiece>& pieces, std::wstring_view value)
{
    const size_t n = value.size();
    size_t pos = 0;
    for (const CSimplePiece& piece : pieces) {
        uint32_t count = 0;
        while (count < piece.max && pos < n) {
            const int taken = Takes(piece, value[pos]);
            if (taken < 0) {
                return -1;
            }
            if (taken == 0) {
                break;
            }
            ++count;
            ++pos;
        }
        if (count < piece.min) {
            return 0;
        }
    }
    return pos == n ? 1 : 0;
}

// Whether no character from p on is outside ASCII.
bool AllAscii(const wchar_t* p, const wchar_t* end)
{
    for (; p != end; ++p) {
        if (static_cast<char32_t>(*p) >= 0x80) {
            return false;
        }
    }
    return true;
}

// MatchSimple for a value made of ASCII characters only, which needs neither
// the check for Unicode scalar values nor the class ranges: one bit test per
// character. -1 when the value holds any other character (the general path
// then decides, and reports a lone surrogate as before).
int MatchSimpleAscii(const std::vector<CSimplePiece>& pieces, std::wstring_view value)
{
    const wchar_t* p = value.data();
    const wchar_t* const end = p + value.size();
    for (const CSimplePiece& piece : pieces) {
        const wchar_t* const start = p;
        const wchar_t* const stop = piece.max < static_cast<size_t>(end - p) ? p + piece.max : end;
        for (; p != stop; ++p) {
            const auto u = static_cast<char32_t>(*p);
            if (u >= 0x80) {
                return -1;
            }
            if (((piece.ascii[u / 64] >> (u % 64)) & 1) == 0) {
                break;
            }
        }
        if (static_cast<size_t>(p - start) < piece.min) {
            return AllAscii(p, end) ? 0 : -1;
        }
    }
    if (p == end) {
        return 1;
    }
    return AllAscii(p, end) ? 0 : -1;
}

// The classes of a simple pattern whose pieces all have a fixed count, one
// per character position (\d{3}-[A-Z]{2} gives six); empty when a count
// varies or the value would be long.
using FixedAscii = std::vector<std::array<uint64_t, 2>>;
FixedAscii FixedAsciiOf(const std::vector<CSimplePiece>& pieces)
{
    FixedAscii positions;
    for (const CSimplePiece& piece : pieces) {
        if (piece.min != piece.max || piece.max > 64 || positions.size() + piece.max > 64) {
            return {};
        }
        positions.insert(positions.end(), piece.max, {piece.ascii[0], piece.ascii[1]});
    }
    return positions;
}

// MatchSimpleAscii for a fixed-length pattern: one test per character.
int MatchFixedAscii(const FixedAscii& positions, std::wstring_view value)
{
    const wchar_t* const end = value.data() + value.size();
    if (value.size() != positions.size()) {
        return AllAscii(value.data(), end) ? 0 : -1;
    }
    for (size_t i = 0; i < value.size(); ++i) {
        const auto u = static_cast<char32_t>(value[i]);
        if (u >= 0x80) {
            return -1;
        }
        if (((positions[i][u / 64] >> (u % 64)) & 1) == 0) {
            return AllAscii(value.data() + i, end) ? 0 : -1;
        }
    }
    return 1;
}

} // namespace

std::wstring TranslateXsdPattern(std::wstring_view pattern)
{
    return CTranslator(pattern).Translate();
}

struct CXsdPattern::Impl
{
    pcre2_code* code = nullptr;
    // Whether the JIT compiled the pattern: matching can then call the
    // compiled code directly and skip pcre2_match's own dispatching.
    bool jitted = false;
    // Set when the pattern is simple enough to be matched directly.
    std::optional<std::vector<CSimplePiece>> simple;
    // Set (not empty) when simple has fixed counts only.
    FixedAscii fixed;
    ~Impl() { pcre2_code_free(code); }
};

CXsdPattern::CXsdPattern(std::wstring_view pattern)
    : m_strPattern(pattern), m_pImpl(std::make_unique<Impl>())
{
    const std::wstring translated = TranslateXsdPattern(pattern);
    int error = 0;
    PCRE2_SIZE offset = 0;
    // The translation is plain ASCII, so the UTF check of the pattern can be
    // skipped; anchoring at both ends makes the match cover the whole value.
    m_pImpl->code =
        pcre2_compile(reinterpret_cast<PCRE2_SPTR>(translated.data()), translated.size(),
                      PCRE2_UTF | PCRE2_NO_UTF_CHECK | PCRE2_ANCHORED | PCRE2_ENDANCHORED, &error,
                      &offset, nullptr);
    if (!m_pImpl->code) {
        throw CVxException(FormatString(L"Invalid pattern [%s]: PCRE2 cannot compile it: %s",
                                        m_strPattern.c_str(), PcreErrorText(error).c_str()));
    }
    // The JIT is an optimisation only: when it is unavailable the
    // interpreter matches the same way.
    m_pImpl->jitted = pcre2_jit_compile(m_pImpl->code, PCRE2_JIT_COMPLETE) == 0;
    m_pImpl->simple = SimplePieces(pattern);
    if (m_pImpl->simple) {
        m_pImpl->fixed = FixedAsciiOf(*m_pImpl->simple);
    }
}

CXsdPattern::~CXsdPattern() = default;

bool CXsdPattern::Matches(std::wstring_view value) const
{
    if (!m_pImpl->fixed.empty()) {
        if (const int result = MatchFixedAscii(m_pImpl->fixed, value); result >= 0) {
            return result == 1;
        }
    } else if (m_pImpl->simple) {
        if (const int result = MatchSimpleAscii(*m_pImpl->simple, value); result >= 0) {
            return result == 1;
        }
    }
    // Values are checked here so that PCRE2 can skip its own UTF check: a lone
    // surrogate is refused with a clear message instead of a PCRE2 error code.
    for (size_t i = 0; i < value.size(); ++i) {
        if (!IsScalarValue(value[i])) {
            throw CVxException(FormatString(
                L"The value cannot be matched against the pattern [%s]: U+%04X at character %d "
                L"is not a Unicode character",
                m_strPattern.c_str(), static_cast<unsigned>(value[i]), static_cast<int>(i + 1)));
        }
    }
    if (m_pImpl->simple) {
        if (const int result = MatchSimple(*m_pImpl->simple, value); result >= 0) {
            return result == 1;
        }
    }
    // While the thread ends its scratch is gone: then this match has its own.
    std::unique_ptr<CMatchData> own;
    CMatchData* matchData = CThreadScratch::Get<CMatchData>(ScratchSlot::PatternMatch);
    if (matchData == nullptr) {
        own = std::make_unique<CMatchData>();
        matchData = own.get();
    }
    pcre2_match_data* const data = matchData->data;
    if (data == nullptr) {
        throw CVxException(L"Out of memory creating the PCRE2 match data");
    }
    const auto subject = reinterpret_cast<PCRE2_SPTR>(value.data());
    pcre2_match_context* const limits = MatchContext();
    // pcre2_jit_match does no UTF check of its own; the loop above stands in for it.
    int rc = m_pImpl->jitted
                 ? pcre2_jit_match(m_pImpl->code, subject, value.size(), 0, 0, data, limits)
                 : pcre2_match(m_pImpl->code, subject, value.size(), 0, PCRE2_NO_UTF_CHECK, data,
                               limits);
    if (rc == PCRE2_ERROR_JIT_STACKLIMIT) {
        // The JIT's fixed stack is small; the interpreter keeps its frames on
        // the heap, bounded by the heap limit.
        rc = pcre2_match(m_pImpl->code, subject, value.size(), 0, PCRE2_NO_UTF_CHECK | PCRE2_NO_JIT,
                         data, limits);
    }
    if (rc >= 0) {
        return true;
    }
    if (rc == PCRE2_ERROR_NOMATCH) {
        return false;
    }
    if (rc == PCRE2_ERROR_MATCHLIMIT || rc == PCRE2_ERROR_DEPTHLIMIT ||
        rc == PCRE2_ERROR_HEAPLIMIT) {
        throw CVxException(FormatString(L"Matching the pattern [%s] was given up: it needs more "
                                        L"backtracking than allowed (%s)",
                                        m_strPattern.c_str(), PcreErrorText(rc).c_str()));
    }
    throw CVxException(FormatString(L"Matching the pattern [%s] failed: %s", m_strPattern.c_str(),
                                    PcreErrorText(rc).c_str()));
}

namespace {

// An entry holds either the compiled pattern or the message it failed with,
// so that a bad facet is not translated again for every value.
struct CPatternCacheEntry
{
    std::shared_ptr<const CXsdPattern> compiled;
    std::wstring error;
};
struct CPatternCache
{
    std::mutex mutex;
    std::unordered_map<std::wstring, CPatternCacheEntry> entries;
};
CPatternCache& PatternCache()
{
    static CPatternCache cache;
    return cache;
}
// Patterns in use stay alive through their shared pointers.
void ClearPatternCache() noexcept
{
    CPatternCache& cache = PatternCache();
    std::lock_guard<std::mutex> lock(cache.mutex);
    cache.entries.clear();
}

} // namespace

std::shared_ptr<const CXsdPattern> CXsdPattern::Get(const std::wstring& pattern)
{
    static const bool registered = (RegisterCacheRelease(&ClearPatternCache), true);
    (void)registered;
    CPatternCache& cache = PatternCache();
    {
        std::lock_guard<std::mutex> lock(cache.mutex);
        auto it = cache.entries.find(pattern);
        if (it != cache.entries.end()) {
            if (!it->second.compiled) {
                throw CVxException(it->second.error);
            }
            return it->second.compiled;
        }
    }
    // Compile outside the lock: two threads may compile the same new pattern
    // at once, which costs time but gives the same result.
    CPatternCacheEntry entry;
    try {
        entry.compiled = std::make_shared<const CXsdPattern>(pattern);
    } catch (const CVxException& e) {
        entry.error = e.GetMessage();
    }
    {
        std::lock_guard<std::mutex> lock(cache.mutex);
        if (cache.entries.size() >= CacheCapacity &&
            cache.entries.find(pattern) == cache.entries.end()) {
            cache.entries.erase(cache.entries.begin());
        }
        cache.entries.insert_or_assign(pattern, entry);
    }
    if (!entry.compiled) {
        throw CVxException(entry.error);
    }
    return entry.compiled;
}

} // namespace VxXmlLib16::detail
