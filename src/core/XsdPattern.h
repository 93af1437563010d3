// XML Schema regular expressions (the xs:pattern facet) on top of PCRE2.
//
// XML Schema has its own regular-expression language: a pattern always
// matches the whole value, '^' and '$' are ordinary characters, there are no
// back-references, lookaround or lazy quantifiers, and it adds name-character
// escapes (\i \c \I \C), Unicode block names (\p{IsBasicLatin}) and
// character-class subtraction ([a-z-[aeiou]]). TranslateXsdPattern rewrites
// such a pattern into the PCRE2 dialect; CXsdPattern compiles and matches it.
//
// Internal to the library; exported only so that the unit tests can reach it.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vxxml/Export.h>

namespace VxXmlLib16::detail {

// The PCRE2 form of an XML Schema pattern, meant to be compiled with
// PCRE2_UTF, PCRE2_ANCHORED and PCRE2_ENDANCHORED. Every character of the
// result is ASCII (other characters are written as \x{...}). Throws
// CVxException naming the pattern, the position (1-based) and the construct
// when the pattern is not a valid XML Schema pattern.
VXXML_API std::wstring TranslateXsdPattern(std::wstring_view pattern);

// A translated and compiled pattern. Immutable after construction, so one
// object may be used by several threads at once.
class VXXML_API CXsdPattern
{
public:
    // Translates and compiles; throws CVxException when either fails.
    explicit CXsdPattern(std::wstring_view pattern);
    ~CXsdPattern();
    CXsdPattern(const CXsdPattern&) = delete;
    CXsdPattern& operator=(const CXsdPattern&) = delete;

    // Whether the whole value matches. Throws CVxException when the value
    // holds a code unit that is no Unicode scalar value (a lone surrogate or
    // a number above U+10FFFF), and when matching exceeds the step or memory
    // limit that keeps hostile patterns from running for ever.
    bool Matches(std::wstring_view value) const;

    const std::wstring& GetPattern() const { return m_strPattern; }

    // The compiled form of pattern from a process-wide cache keyed by the
    // pattern text, so that a facet is translated and compiled once, not
    // once per value. The cache is thread-safe and holds at most
    // CacheCapacity patterns (and the errors of patterns that failed);
    // when it is full an arbitrary entry makes room. Throws like the
    // constructor (a failed pattern throws the same message every time).
    static std::shared_ptr<const CXsdPattern> Get(const std::wstring& pattern);
    static constexpr size_t CacheCapacity = 256;

    // The limits handed to PCRE2 for every match.
    static constexpr uint32_t MatchLimit = 2000000;
    static constexpr uint32_t HeapLimitKiB = 64 * 1024;

private:
    struct Impl;
    std::wstring m_strPattern;
    std::unique_ptr<Impl> m_pImpl;
};

} // namespace VxXmlLib16::detail
