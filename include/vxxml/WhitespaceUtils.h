// Whitespace normalisation of element and attribute text, as XML Schema's
// whiteSpace facet defines it. Every text read from a document passes through
// one of these rules before it is converted to a value.
#pragma once

#include <cstdint>
#include <string>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

class VXXML_API CWhitespaceUtils
{
public:
    // Stored as a 32-bit number in generated metadata; the values are fixed.
    enum WhitespaceRule : int32_t {
        WhitespaceRule_None = 0,     // the text is used exactly as it is
        WhitespaceRule_Preserve = 1, // xs:whiteSpace="preserve"
        WhitespaceRule_Replace = 2,  // xs:whiteSpace="replace"
        WhitespaceRule_Collapse = 3, // xs:whiteSpace="collapse"
    };

    // Returns the text normalised by the rule. Throws CVxException
    // "Unknown WhitespaceRule" for any other rule value.
    static std::wstring ApplyRule(WhitespaceRule rule, const std::wstring& text);
    // The same rule applied to the text where it stands (no new string), for
    // text that is about to become a value anyway. Same exception.
    static void ApplyRuleInPlace(WhitespaceRule rule, std::wstring& text);

    // XML Schema's "preserve": the text is not changed, so this is an exact
    // copy (and rule 1 behaves exactly like rule 0).
    static std::wstring Preserve(const std::wstring& text);
    // A copy of the first `length` characters; a null text or a negative
    // length gives the empty string.
    static std::wstring Preserve(const wchar_t* text, int length);
    // Each tab, carriage return and line feed becomes a space.
    static std::wstring Replace(const std::wstring& text);
    // Replace, then every run of spaces becomes one space and leading and
    // trailing spaces are removed.
    static std::wstring Collapse(const std::wstring& text);

    // Space, tab, carriage return and line feed: the only whitespace XML knows.
    static bool IsWhiteSpace(wchar_t c) noexcept
    {
        return c == L' ' || c == L'\t' || c == L'\r' || c == L'\n';
    }
};

} // namespace VxXmlLib16
