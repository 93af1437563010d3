// XML Schema patterns: translation to PCRE2, whole-value matching, refusal of
// foreign syntax, limits and the compiled-pattern cache.

#include "core/XsdPattern.h"

#include "TestHelpers.h"

#include <chrono>
#include <random>
#include <thread>
#include <vector>

using VxXmlLib16::CVxException;
using VxXmlLib16::detail::CXsdPattern;

namespace {

struct MatchCase
{
    const wchar_t* pattern;
    const wchar_t* value;
    bool matches;
};

// Each row is one pattern and one value; rows with the same pattern show
// both sides of the boundary.
const MatchCase kMatchCases[] = {
    // The match covers the whole value; '^' and '$' are ordinary characters.
    {L"abc", L"abc", true},
    {L"abc", L"xabc", false},
    {L"abc", L"abcx", false},
    {L"abc", L"abc\n", false},
    {L"a|b", L"b", true},
    {L"a|b", L"ab", false},
    {L"ab|", L"", true},
    {L"^a$", L"^a$", true},
    {L"^a$", L"a", false},
    {L"a$|b", L"a$", true},
    {L"", L"", true},
    {L"", L"a", false},
    // Quantifiers.
    {L"a{2,3}", L"aa", true},
    {L"a{2,3}", L"aaaa", false},
    {L"a{2}", L"aa", true},
    {L"a{2}", L"a", false},
    {L"(ab){2,}", L"ababab", true},
    {L"(ab){2,}", L"ab", false},
    {L"(ab)*c?", L"abab", true},
    {L"(ab)*c?", L"abac", false},
    {L"a{0}b", L"b", true},
    // Escapes.
    {L"\\-\\.\\^$?", L"-.^", true},
    {L"a\\.b", L"a.b", true},
    {L"a\\.b", L"axb", false},
    {L"\\n\\r\\t", L"\n\r\t", true},
    {L"\\(\\)\\[\\]\\{\\}\\*\\+\\?\\|\\\\", L"()[]{}*+?|\\", true},
    {L".", L"\n", false},
    {L".", L"\r", false},
    {L".", L"\x10000", true},
    {L"..", L"\x10000", false}, // one character, not two code units
    // Multi-character escapes with XML Schema's meaning.
    {L"\\d+", L"0123", true},
    {L"\\d+", L"\x0663\x0664", true}, // Arabic-Indic digits are Nd
    {L"\\d", L"x", false},
    {L"\\D", L"5", false},
    {L"\\s", L"\t", true},
    {L"\\s", L"\x00A0", false}, // only space, tab, CR and LF
    {L"\\S", L"\x00A0", true},
    {L"\\w+",
     L"ab\x00E9\x4E2D"
     L"9",
     true},
    {L"\\w", L"-", false},
    {L"\\w", L" ", false},
    {L"\\W", L"!", true},
    {L"\\W", L"a", false},
    {L"\\i\\c*", L"_a-1.b:c", true},
    {L"\\i\\c*", L"1abc", false},
    {L"\\i\\c*", L"-abc", false},
    {L"\\i\\c*", L"\x00E9t\x00E9", true},
    {L"\\c", L"\x00B7", true},
    {L"\\i", L"\x00B7", false},
    {L"\\I", L"1", true},
    {L"\\I", L"a", false},
    {L"\\C", L" ", true},
    {L"\\C", L"a", false},
    // Categories and blocks.
    {L"\\p{Lu}\\p{Ll}*", L"Hello", true},
    {L"\\p{Lu}\\p{Ll}*", L"hello", false},
    {L"\\P{L}", L"1", true},
    {L"\\P{L}", L"x", false},
    {L"\\p{IsBasicLatin}+", L"abc~", true},
    {L"\\p{IsBasicLatin}+", L"ab\x00E9", false},
    {L"\\p{IsGreek}+", L"\x03B1\x03B2", true},
    {L"\\P{IsGreek}", L"\x03B1", false},
    {L"\\p{IsPrivateUse}", L"\xF0001", true}, // the block has three ranges
    {L"\\p{IsSpecials}", L"\xFEFF", true},
    {L"\\p{IsSpecials}", L"\xFFF0", true},
    {L"\\p{IsCJKUnifiedIdeographs}", L"\x4E2D", true},
    {L"\\p{IsHighSurrogates}|x", L"x", true}, // an empty set among others
    {L"[\\p{IsLowSurrogates}a]", L"a", true},
    {L"[^\\p{IsLowSurrogates}]", L"z", true},
    // Character classes.
    {L"[abc]+", L"cab", true},
    {L"[^abc]", L"d", true},
    {L"[^abc]", L"a", false},
    {L"[a-z]+", L"hello", true},
    {L"[-a]", L"-", true},
    {L"[a-]", L"-", true},
    {L"[a\\-z]", L"-", true},
    {L"[a\\-z]", L"b", false},
    {L"[^-]", L"-", false},
    {L"[$^]+", L"^$", true},
    {L"[.]", L".", true},
    {L"[.]", L"x", false},
    {L"[\\d\\s]+", L"1 2", true},
    {L"[\\w-]+", L"a-b", true},
    {L"[\\w-]+", L"a b", false},
    {L"[^\\wx]", L"!", true},
    {L"[^\\wx]", L"a", false},
    {L"[^\\w!]", L"!", false},
    {L"[\\i-[:]]\\c*", L"a:b", true},
    {L"[\\i-[:]]\\c*", L":ab", false},
    // Subtraction, also nested and with negation.
    {L"[a-z-[aeiou]]+", L"xyz", true},
    {L"[a-z-[aeiou]]+", L"xaz", false},
    {L"[a-z-[aeiou-[e]]]+", L"bed", true},
    {L"[a-z-[aeiou-[e]]]+", L"bad", false},
    {L"[^a-z-[0-9]]", L"A", true},
    {L"[^a-z-[0-9]]", L"5", false},
    {L"[^a-z-[0-9]]", L"q", false},
    {L"[\\w-[\\d]]+", L"abc", true},
    {L"[\\w-[\\d]]+", L"ab1", false},
    {L"[\\p{L}-[\\p{Lu}]]+", L"abc", true},
    {L"[\\p{L}-[\\p{Lu}]]+", L"aBc", false},
    // A typical facet.
    {L"[A-Z]{2}\\d{3}-[a-z]{1,4}", L"AB123-abcd", true},
    {L"[A-Z]{2}\\d{3}-[a-z]{1,4}", L"AB123-abcde", false},
    // Short sequences of characters and classes with counts, which are
    // matched without PCRE2: counts, escapes, \d against digits of other
    // scripts (still Nd), and overlapping classes it must leave to PCRE2.
    {L"\\d{3}-[A-Z]{2}", L"123-AB", true},
    {L"\\d{3}-[A-Z]{2}", L"123-ABC", false},
    {L"\\d{3}-[A-Z]{2}", L"12-AB", false},
    {L"\\d{3}-[A-Z]{2}", L"1\u0663\u0663-AB", true}, // Arabic-Indic digits are Nd
    {L"\\d{3}-[A-Z]{2}", L"1\u00B23-AB", false},     // superscript two is not Nd
    {L"\\d{2,4}x", L"1x", false},
    {L"\\d{2,4}x", L"1234x", true},
    {L"\\d{2,4}x", L"12345x", false},
    {L"\\d{2,}x", L"123456789x", true},
    {L"a?b", L"b", true},
    {L"a?b", L"aab", false},
    {L"[a-c\\-]+\\.x", L"a-c.x", true},
    {L"[a-c\\-]+\\.x", L"a-d.x", false},
    {L"\\t\\n", L"\t\n", true},
    {L"[ab]*[bc]", L"abbc", true},                   // overlapping classes: PCRE2's answer
    {L"[\u0660-\u0669]*\\d", L"\u0663\u0663", true}, // the class holds Nd digits
    {L"x*", L"", true},
};

TEST(XsdPatternTest, MatchesWholeValuesWithXmlSchemaSemantics)
{
    for (const MatchCase& c : kMatchCases) {
        SCOPED_TRACE(Narrow(std::wstring(L"pattern ") + c.pattern + L" value " + c.value));
        EXPECT_EQ(CXsdPattern(c.pattern).Matches(c.value), c.matches);
    }
}

struct RejectCase
{
    const wchar_t* pattern;
    const wchar_t* reason; // the part after "Invalid pattern [...]: "
};

const RejectCase kRejectCases[] = {
    {L"a(?=b)", L"'(?' group constructs (lookaround, non-capturing and named groups) are not "
                L"part of XML Schema patterns (at character 2)"},
    {L"(?:ab)", L"'(?' group constructs (lookaround, non-capturing and named groups) are not "
                L"part of XML Schema patterns (at character 1)"},
    {L"(a)\\1", L"back-references ('\\1') are not part of XML Schema patterns (at character 4)"},
    {L"\\bword", L"unknown escape '\\b' (at character 1)"},
    {L"a\\$", L"unknown escape '\\$' (at character 2)"},
    {L"a*?", L"'?' follows a quantifier; XML Schema patterns have no lazy or possessive "
             L"quantifiers (at character 3)"},
    {L"a++", L"'+' follows a quantifier; XML Schema patterns have no lazy or possessive "
             L"quantifiers (at character 3)"},
    {L"*a", L"the quantifier '*' has nothing to repeat (at character 1)"},
    {L"a{3,2}", L"the repeat range {3,2} is out of order (at character 2)"},
    {L"a{,2}", L"'{' must be followed by a repeat count ({n}, {n,} or {n,m}) (at character 2)"},
    {L"a{2", L"the repeat count is not closed by '}' (at character 2)"},
    {L"a{70000}", L"a repeat count above 65535 (at character 3)"},
    {L"x((ab|c){1000}){1000}", L"repeated groups make the pattern too large to compile (at "
                               L"character 2)"},
    {L"{", L"'{' must be escaped as '\\{' where it does not start a quantifier (at character 1)"},
    {L"a}", L"'}' must be escaped as '\\}' (at character 2)"},
    {L"a]", L"']' must be escaped as '\\]' (at character 2)"},
    {L"(ab", L"'(' without a matching ')' (at character 1)"},
    {L"ab)", L"')' without a matching '(' (at character 3)"},
    {L"[ab", L"'[' without a matching ']' (at character 1)"},
    {L"[]", L"empty character class (at character 2)"},
    {L"[^]", L"empty character class (at character 3)"},
    {L"[z-a]", L"the range 'z-a' is out of order (at character 2)"},
    {L"[a-c-x]", L"'-' must be escaped as '\\-' inside a character class, except at its start "
                 L"or end (at character 5)"},
    {L"[a[b]]", L"'[' must be escaped as '\\[' inside a character class; a nested class may only "
                L"follow '-' as a subtraction (at character 3)"},
    {L"[a-z-[aeiou]x]", L"a subtraction '-[...]' must be the last part of its class (at "
                        L"character 13)"},
    {L"[\\d-z]", L"a range cannot start or end with a multi-character escape or property (at "
                 L"character 2)"},
    {L"\\p{IsKlingon}", L"unknown Unicode block 'IsKlingon' (at character 1)"},
    {L"\\p{Xx}", L"unknown character category 'Xx' (at character 1)"},
    {L"\\p{Cs}", L"unknown character category 'Cs' (at character 1)"},
    {L"\\pL", L"'\\p' must be followed by a name in braces (at character 1)"},
    {L"\\p{Lu", L"the property name is not closed by '}' (at character 1)"},
    {L"ab\\", L"the pattern ends with a lone '\\' (at character 3)"},
    {L"a\xD800", L"U+D800 is not a Unicode character (at character 2)"},
};

// The same pattern in a group is never taken by the direct path, so PCRE2's
// answer for "(P)" is the oracle for "P": random sequences of characters,
// classes and \d with every kind of count, against values built from the
// same characters (and a few others), so that most values come close.
TEST(XsdPatternTest, SimpleSequencesAgreeWithPcreOnRandomPatterns)
{
    const std::vector<std::wstring> atoms = {L"a",     L"b",      L"-",   L"\\d",   L"[ab]",
                                             L"[b-d]", L"[0-3x]", L"\\.", L"[\\dz]"};
    const std::vector<std::wstring> counts = {L"",    L"?",     L"*",     L"+",
                                              L"{2}", L"{1,3}", L"{0,2}", L"{2,}"};
    const std::wstring alphabet = L"abcdxz-.0123789\u0663";
    std::mt19937 random(20261122);
    int direct = 0;
    for (int round = 0; round < 400; ++round) {
        std::wstring pattern;
        const int pieces = 1 + static_cast<int>(random() % 4);
        for (int i = 0; i < pieces; ++i) {
            pattern += atoms[random() % atoms.size()] + counts[random() % counts.size()];
        }
        const CXsdPattern plain(pattern);
        const CXsdPattern grouped(L"(" + pattern + L")");
        for (int v = 0; v < 30; ++v) {
            std::wstring value;
            const size_t length = random() % 8;
            for (size_t i = 0; i < length; ++i) {
                value += alphabet[random() % alphabet.size()];
            }
            SCOPED_TRACE(Narrow(L"pattern " + pattern + L" value " + value));
            const bool expected = grouped.Matches(value);
            ASSERT_EQ(plain.Matches(value), expected);
            direct += expected ? 1 : 0;
        }
    }
    EXPECT_GT(direct, 100); // enough of the values match for the test to mean something
}

TEST(XsdPatternTest, RefusesWhatXmlSchemaPatternsDoNotHave)
{
    for (const RejectCase& c : kRejectCases) {
        SCOPED_TRACE(Narrow(c.pattern));
        const std::wstring expected =
            std::wstring(L"Invalid pattern [") + c.pattern + L"]: " + c.reason;
        EXPECT_THROW_MSG(CXsdPattern{c.pattern}, CVxException, expected);
        EXPECT_THROW_MSG(VxXmlLib16::detail::TranslateXsdPattern(c.pattern), CVxException,
                         expected);
    }
}

TEST(XsdPatternTest, NestingIsBounded)
{
    const std::wstring deep = std::wstring(60, L'(') + L"a" + std::wstring(60, L')');
    EXPECT_THROW_MSG(CXsdPattern{deep}, CVxException,
                     L"Invalid pattern [" + deep +
                         L"]: groups and classes nest deeper than 50 levels (at character 51)");
    const std::wstring fine = std::wstring(40, L'(') + L"a" + std::wstring(40, L')');
    EXPECT_TRUE(CXsdPattern(fine).Matches(L"a"));
}

TEST(XsdPatternTest, ValuesThatAreNotUnicodeAreRefusedNotMatched)
{
    const CXsdPattern pattern(L".*");
    const std::wstring lone = std::wstring(L"ab") + wchar_t(0xDC00);
    EXPECT_THROW_MSG(pattern.Matches(lone), CVxException,
                     L"The value cannot be matched against the pattern [.*]: U+DC00 at character "
                     L"3 is not a Unicode character");
    EXPECT_THROW(pattern.Matches(std::wstring(1, wchar_t(0x110000))), CVxException);
    // A directly matched pattern refuses too, also when an earlier character already fails.
    EXPECT_THROW(CXsdPattern(L"\\d{3}").Matches(std::wstring(L"12x") + wchar_t(0xDC00)),
                 CVxException);
}

TEST(XsdPatternTest, CatastrophicBacktrackingEndsInTheLibraryException)
{
    const CXsdPattern pattern(L"(a|aa)*c");
    // The value ends in the literal the pattern needs, so that PCRE2's
    // required-character shortcut cannot refuse it without backtracking.
    const std::wstring value = std::wstring(200, L'a') + L"bc";
    const auto start = std::chrono::steady_clock::now();
    try {
        pattern.Matches(value);
        ADD_FAILURE() << "expected the match limit to stop the match";
    } catch (const CVxException& e) {
        EXPECT_EQ(e.GetMessage().rfind(L"Matching the pattern [(a|aa)*c] was given up", 0), 0u)
            << Narrow(e.GetMessage());
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(XsdPatternTest, LongValuesMatchBeyondTheJitStack)
{
    // Backtracking state grows with the value; such values must still match
    // (the interpreter takes over from the JIT when its stack is exhausted).
    const std::wstring value(200000, L'a');
    EXPECT_TRUE(CXsdPattern(L"(a|b)*").Matches(value));
    EXPECT_FALSE(CXsdPattern(L"(a|b)*").Matches(value + L"c"));
}

TEST(XsdPatternTest, CacheCompilesOncePerPatternAndRemembersFailures)
{
    const auto first = CXsdPattern::Get(L"[0-9]{4}");
    EXPECT_EQ(first, CXsdPattern::Get(L"[0-9]{4}"));
    EXPECT_TRUE(first->Matches(L"2024"));
    for (int i = 0; i < 2; ++i) {
        EXPECT_THROW_MSG(CXsdPattern::Get(L"(?i)x"), CVxException,
                         L"Invalid pattern [(?i)x]: '(?' group constructs (lookaround, "
                         L"non-capturing and named groups) are not part of XML Schema patterns "
                         L"(at character 1)");
    }
    // Filling the cache past its capacity evicts entries but keeps working;
    // a pointer handed out earlier stays usable.
    for (size_t i = 0; i < CXsdPattern::CacheCapacity + 10; ++i) {
        const std::wstring p = L"x{" + std::to_wstring(i) + L"}";
        EXPECT_TRUE(CXsdPattern::Get(p)->Matches(std::wstring(i, L'x')));
    }
    EXPECT_TRUE(first->Matches(L"1999"));
    EXPECT_TRUE(CXsdPattern::Get(L"[0-9]{4}")->Matches(L"1999"));
}

TEST(XsdPatternTest, ConcurrentUseOfTheCache)
{
    std::vector<std::thread> threads;
    std::atomic<int> wrong{0};
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, &wrong] {
            for (int i = 0; i < 300; ++i) {
                const std::wstring p = L"[a-z]{" + std::to_wstring((i + t) % 20) + L"}";
                const std::wstring v((i + t) % 20, L'q');
                if (!CXsdPattern::Get(p)->Matches(v) || CXsdPattern::Get(p)->Matches(v + L"q")) {
                    ++wrong;
                }
            }
        });
    }
    for (std::thread& th : threads) {
        th.join();
    }
    EXPECT_EQ(wrong.load(), 0);
}

} // namespace
