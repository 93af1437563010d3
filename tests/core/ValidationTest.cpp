// The facet checks of CXmlObjectBase and the CPrimitiveRestrictions record.

#include "TestHelpers.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/wait.h>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;
using VxXmlLib16Data::CPrimitiveRestrictions;

namespace {

// Opens the protected checks to the tests; never instantiated.
class CChecks : public CXmlObjectBase
{
public:
    using CXmlObjectBase::Throw_IfInvalid_i1;
    using CXmlObjectBase::Throw_IfInvalid_i4;
    using CXmlObjectBase::Throw_IfInvalid_string;
};

constexpr auto kCollapse = CWhitespaceUtils::WhitespaceRule_Collapse;

// Restrictions with only the bounds set (null = absent).
CPrimitiveRestrictions Bounds(const wchar_t* minIncl, const wchar_t* maxIncl,
                              const wchar_t* minExcl = nullptr, const wchar_t* maxExcl = nullptr)
{
    return CPrimitiveRestrictions(nullptr, -1, -1, minIncl, maxIncl, minExcl, maxExcl, -1, -1, -1);
}

CPrimitiveRestrictions Digits(int32_t total, int32_t fraction = -1)
{
    return CPrimitiveRestrictions(nullptr, -1, -1, nullptr, nullptr, nullptr, nullptr, -1, total,
                                  fraction);
}

CPrimitiveRestrictions Lengths(int32_t minLength, int32_t maxLength, int32_t length,
                               const wchar_t* pattern = nullptr)
{
    return CPrimitiveRestrictions(pattern, minLength, maxLength, nullptr, nullptr, nullptr, nullptr,
                                  length, -1, -1);
}

// A value of a kind, given as text, checked against restrictions.
struct FacetCase
{
    ItemType type;
    const wchar_t* text;
    CPrimitiveRestrictions restrictions;
    // nullptr: accepted; kUnreadableBound: a bound that the kind's conversion
    // refuses; kRefused: refused with a message not pinned here; else the message.
    const wchar_t* message;
};

const wchar_t* const kUnreadableBound = L"<unreadable bound>";
const wchar_t* const kRefused = L"<refused>";

TEST(ValidationTest, EveryKindChecksItsFacets)
{
    const auto incl = Bounds(L"10", L"20");
    const auto excl = Bounds(nullptr, nullptr, L"10", L"20");
    const auto day2024 = Bounds(L"2024-01-01", nullptr, nullptr, L"2025-01-01");
    const auto price = Bounds(L"0", nullptr, nullptr, L"100.00");
    const auto zip = Lengths(-1, -1, -1, L"\\d{5}");
    // clang-format off
    const FacetCase cases[] = {
        // Integer bounds, inclusive and exclusive, read as lexical values
        // under the collapse rule.
        {ItemType_i4, L"10", incl, nullptr},
        {ItemType_i4, L"20", incl, nullptr},
        {ItemType_i4, L"9", incl, L"Invalid Value for v [9]"},
        {ItemType_i4, L"21", incl, L"Invalid Value for v [21]"},
        {ItemType_i4, L"11", excl, nullptr},
        {ItemType_i4, L"19", excl, nullptr},
        {ItemType_i4, L"10", excl, L"Invalid Value for v [10]"},
        {ItemType_i4, L"20", excl, L"Invalid Value for v [20]"},
        {ItemType_i4, L"-5", Bounds(L"  -5 ", nullptr), nullptr},
        // Facets are checked in order: the unreadable maxInclusive is only
        // read once minInclusive passes.
        {ItemType_i4, L"5", Bounds(L"10", L"not a number"), L"Invalid Value for v [5]"},
        {ItemType_i4, L"15", Bounds(L"10", L"not a number"), kUnreadableBound},
        {ItemType_date, L"2024-01-01", Bounds(L"10:00:00", nullptr), kUnreadableBound},
        // totalDigits of integers counts the minus sign.
        {ItemType_i4, L"999", Digits(3), nullptr},
        {ItemType_i4, L"-99", Digits(3), nullptr},
        {ItemType_i4, L"-123", Digits(3), L"Invalid Value for v [-123]"},
        {ItemType_i4, L"1000", Digits(3), L"Invalid Value for v [1000]"},
        {ItemType_i2, L"-100", Digits(3), L"Invalid Value for v [-100]"},
        {ItemType_i8, L"-100", Digits(3), L"Invalid Value for v [-100]."},
        {ItemType_ui1, L"255", Digits(3), nullptr},
        {ItemType_integer, L"-123", Digits(3), L"Invalid Value for v [-123]."},
        {ItemType_integer, L"-12", Digits(3), nullptr},
        // Every integer kind in its own range; the 64-bit and unbounded
        // kinds end the message with a period.
        {ItemType_i1, L"-128", Bounds(L"-127", nullptr), L"Invalid Value for v [-128]"},
        {ItemType_i1, L"-5", Bounds(L"0", nullptr), L"Invalid Value for v [-5]"},
        {ItemType_i2, L"300", Bounds(nullptr, L"299"), L"Invalid Value for v [300]"},
        {ItemType_ui1, L"255", Bounds(nullptr, L"254"), L"Invalid Value for v [255]"},
        {ItemType_ui2, L"65535", Bounds(nullptr, L"65534"), L"Invalid Value for v [65535]"},
        {ItemType_ui4, L"4000000000", Bounds(nullptr, nullptr, nullptr, L"4000000000"),
         L"Invalid Value for v [4000000000]"},
        {ItemType_ui4, L"3999999999", Bounds(nullptr, nullptr, nullptr, L"4000000000"), nullptr},
        {ItemType_i8, L"-9223372036854775808", Bounds(L"-9223372036854775807", nullptr),
         L"Invalid Value for v [-9223372036854775808]."},
        {ItemType_ui8, L"18446744073709551615", Bounds(nullptr, L"18446744073709551614"),
         L"Invalid Value for v [18446744073709551615]."},
        {ItemType_ui8, L"5", Bounds(nullptr, nullptr, L"5"), L"Invalid Value for v [5]."},
        {ItemType_integer, L"100000000000000000000", Bounds(nullptr, L"99999999999999999999"),
         L"Invalid Value for v [100000000000000000000]."},
        // Reals; a float bound is read as a float (0.1f is not 0.1); NaN
        // passes no bound.
        {ItemType_r8, L"1.5", Bounds(L"0", L"1.5"), nullptr},
        {ItemType_r8, L"1.75", Bounds(L"0", L"1.5"), L"Invalid Value for v [1.750000]"},
        {ItemType_r8, L"-2.5", Bounds(L"2", nullptr), L"Invalid Value for v [-2.500000]"},
        {ItemType_r4, L"-0.5", Bounds(L"0", L"1.5"), L"Invalid Value for v [-0.500000]"},
        {ItemType_r4, L"0.1", Bounds(nullptr, L"0.1"), nullptr},
        {ItemType_r8, L"NaN", Bounds(nullptr, L"INF"), kRefused},
        {ItemType_r8, L"NaN", Bounds(L"-INF", nullptr), kRefused},
        {ItemType_r8, L"1", Bounds(nullptr, L"NaN"), kRefused},
        // Calendar numbers print as numbers.
        {ItemType_year, L"1999", Bounds(L"2000", nullptr), L"Invalid Value for v [1999]"},
        {ItemType_month, L"--07", Bounds(nullptr, L"--06"), L"Invalid Value for v [7]"},
        {ItemType_month, L"--06", Bounds(nullptr, L"--06"), nullptr},
        {ItemType_day, L"---01", Bounds(nullptr, nullptr, L"---01"), L"Invalid Value for v [1]"},
        // Dates, times and durations compare as values, instants in UTC.
        {ItemType_date, L"2024-01-01", day2024, nullptr},
        {ItemType_date, L"2023-12-31", day2024, L"Invalid Value for v [2023-12-31]."},
        {ItemType_date, L"2025-01-01", day2024, L"Invalid Value for v [2025-01-01]."},
        {ItemType_datetime, L"2024-01-01T10:00:00+01:00",
         Bounds(L"2024-01-01T09:00:00Z", L"2024-01-01T09:00:00Z"), nullptr},
        {ItemType_datetime, L"2024-01-01T10:00:00+01:00",
         Bounds(nullptr, nullptr, L"2024-01-01T09:00:00Z"),
         L"Invalid Value for v [2024-01-01T10:00:00+01:00]."},
        {ItemType_datetime, L"2024-01-01T00:00:00", Bounds(nullptr, L"2023-12-31T23:59:59"),
         L"Invalid Value for v [2024-01-01T00:00:00]."},
        {ItemType_time, L"18:00:00", Bounds(nullptr, L"17:59:59.999"),
         L"Invalid Value for v [18:00:00]."},
        {ItemType_time, L"12:00:00", Bounds(nullptr, nullptr, L"12:00:00"),
         L"Invalid Value for v [12:00:00]."},
        {ItemType_yearMonth, L"2024-02", Bounds(L"2024-03", nullptr),
         L"Invalid Value for v [2024-02]."},
        {ItemType_monthDay, L"--02-29", Bounds(L"--02-01", L"--02-29"), nullptr},
        {ItemType_monthDay, L"--02-29", Bounds(nullptr, nullptr, nullptr, L"--02-29"),
         L"Invalid Value for v [--02-29]."},
        {ItemType_duration, L"PT23H", Bounds(nullptr, L"P1D"), nullptr},
        {ItemType_duration, L"PT25H", Bounds(nullptr, L"P1D"), L"Invalid Value for v [PT25H]."},
        // Decimal digits count the absolute value without trailing zeros of
        // the fraction; a pure fraction has the integer digit 0.
        {ItemType_decimal, L"12.345", Digits(-1, 2), L"Invalid Value for v [12.345]."},
        {ItemType_decimal, L"12.345", Digits(4), L"Invalid Value for v [12.345]."},
        {ItemType_decimal, L"12.345", Digits(5, 3), nullptr},
        {ItemType_decimal, L"-12.345", Digits(5), nullptr},
        {ItemType_decimal, L"12.340", Digits(4, 2), nullptr},
        {ItemType_decimal, L"0.05", Digits(2), L"Invalid Value for v [0.05]."},
        {ItemType_decimal, L"0.05", Digits(3), nullptr},
        {ItemType_decimal, L"99.999", price, nullptr},
        {ItemType_decimal, L"100", price, L"Invalid Value for v [100]."},
        {ItemType_decimal, L"-0.001", price, L"Invalid Value for v [-0.001]."},
        // Binary lengths count bytes.
        {ItemType_hexBinary, L"0A0B0C", Lengths(3, 3, 3), nullptr},
        {ItemType_hexBinary, L"0A0B0C", Lengths(-1, 2, -1), L"Invalid Value for v [0A0B0C]."},
        {ItemType_base64Binary, L"CgsM", Lengths(4, -1, -1), L"Invalid Value for v [CgsM]."},
        {ItemType_base64Binary, L"", Lengths(-1, -1, 1), L"Invalid Value for v []."},
        // String lengths count characters (an astral one is one); the
        // pattern covers the whole value; an empty pattern is not checked.
        {ItemType_string, L"abcde", Lengths(5, 5, -1), nullptr},
        {ItemType_string, L"abcde", Lengths(5, 5, 4), L"Invalid Value for v [abcde]."},
        {ItemType_string, L"abcd", Lengths(5, -1, -1), L"Invalid Value for v [abcd]."},
        {ItemType_string, L"abcdef", Lengths(-1, 5, -1), L"Invalid Value for v [abcdef]."},
        {ItemType_string, L"\U0001F600", Lengths(-1, -1, 1), nullptr},
        {ItemType_string, L"12345", zip, nullptr},
        {ItemType_string, L"123456", zip, L"Invalid Value for v [123456]."},
        {ItemType_string, L"any\U0001F600", Lengths(-1, -1, -1, L""), nullptr},
        {ItemType_char, L"x", Lengths(1, 1, 1, L"[a-z]"), nullptr},
        {ItemType_char, L"X", Lengths(-1, -1, -1, L"[a-z]"), L"Invalid Value for v [X]."},
        // A pattern that cannot be used is reported with the value, after
        // the lengths, which come first.
        {ItemType_string, L"ab", Lengths(-1, -1, -1, L"(a)\\1"),
         L"Invalid pattern [(a)\\1]: back-references ('\\1') are not part of XML Schema patterns "
         L"(at character 4)\nInvalid Value for v [ab]."},
        {ItemType_string, L"ab", Lengths(3, -1, -1, L"(a)\\1"), L"Invalid Value for v [ab]."},
        // Booleans have no facet to break.
        {ItemType_boolean, L"true", CPrimitiveRestrictions(L"x", 5, 0, L"1", L"0", L"1", L"0", 9,
                                                           0, 0), nullptr},
    };
    // clang-format on
    for (const FacetCase& c : cases) {
        SCOPED_TRACE(Narrow(std::to_wstring(c.type) + L" [" + c.text + L"]"));
        VxVariant value;
        value.FromString(c.text, c.type, kCollapse);
        const auto check = [&] {
            CXmlObjectBase::Throw_IfInvalidValue(L"v", value, c.restrictions);
        };
        if (c.message == nullptr) {
            EXPECT_NO_THROW(check());
        } else if (c.message == kUnreadableBound) {
            EXPECT_THROW(check(), CVxInvalidValueException);
        } else if (c.message == kRefused) {
            EXPECT_THROW(check(), CVxException);
        } else {
            EXPECT_THROW_MSG(check(), CVxException, c.message);
        }
        EXPECT_NO_THROW(
            CXmlObjectBase::Throw_IfInvalidValue(L"v", value, CPrimitiveRestrictions()));
        // A nil value has nothing to check.
        value.SetNil();
        EXPECT_NO_THROW(check());
    }
}

TEST(ValidationTest, DirectChecksOfValuesTheVariantCannotCarry)
{
    // A null member name cannot crash the message.
    EXPECT_THROW_MSG(CChecks::Throw_IfInvalid_i4(nullptr, 5, Bounds(L"6", nullptr)), CVxException,
                     L"Invalid Value for  [5]");
    // A bound that does not fit the type is refused by the type's conversion.
    EXPECT_THROW(CChecks::Throw_IfInvalid_i1(L"N", 5, Bounds(nullptr, L"300")),
                 CVxInvalidValueException);
    const std::wstring lone = std::wstring(L"a") + wchar_t(0xD800);
    EXPECT_THROW_MSG(CChecks::Throw_IfInvalid_string(L"S", lone, Lengths(-1, -1, -1, L".*")),
                     CVxException,
                     L"The value cannot be matched against the pattern [.*]: U+D800 at character "
                     L"2 is not a Unicode character\nInvalid Value for S [" +
                         lone + L"].");
}

TEST(ValidationTest, VariantsWithoutAValueKindAreRefused)
{
    VxVariant none;
    EXPECT_THROW_MSG(CXmlObjectBase::Throw_IfInvalidValue(L"v", none, CPrimitiveRestrictions()),
                     CVxInvalidValueException, L"Unknown type [0] for the value of v");
    VxVariant object;
    object.SetXmlObject(nullptr);
    EXPECT_THROW_MSG(CXmlObjectBase::Throw_IfInvalidValue(L"v", object, CPrimitiveRestrictions()),
                     CVxInvalidValueException, L"Unknown type [27] for the value of v");
}

// --- Agreement with an independent validator ------------------------------

struct OracleCase
{
    const wchar_t* pattern;
    std::vector<const wchar_t*> values;
};

// Nested subtraction ([a-z-[aeiou-[e]]]) is left out: libxml2 ignores the
// inner subtraction and refuses "bed", which XML Schema's grammar admits
// (the XsdPattern tests cover it).
const OracleCase kOracleCases[] = {
    {L"[a-z-[aeiou]]+", {L"xyz", L"xaz", L""}},
    {L"\\i\\c*", {L"_a-1.b", L"1abc", L"a b", L"\x00E9t\x00E9"}},
    {L"\\p{IsBasicLatin}+", {L"abc~", L"ab\x00E9"}},
    {L"\\p{IsGreek}\\P{IsGreek}", {L"\x03B1x", L"x\x03B1"}},
    {L"\\d{3}-\\d{4}", {L"555-1234", L"555-12345", L"5551234"}},
    {L"[^abc]x", {L"dx", L"ax"}},
    {L"a|b|", {L"", L"a", L"ab"}},
    {L"(ab)*c?", {L"ababc", L"abac", L""}},
    {L"\\p{Lu}\\p{Ll}*", {L"Hello", L"hello"}},
    {L"[\\-\\.]+", {L"-.-", L"a"}},
    {L".+", {L"a b", L"a\nb", L"a\rb"}},
    {L"a\\nb\\t", {L"a\nb\t", L"anbt"}},
    {L"\\w+", {L"abc", L"ab_c", L"ab-c"}},
    {L"[\\w-[\\d]]+", {L"abc", L"ab1"}},
    {L"a{2,3}", {L"aa", L"aaaa"}},
    {L"\\s*x\\S", {L" x!", L"x "}},
    {L"[^\\p{IsGreek}]+", {L"abc", L"a\x03B2"}},
    {L"$\\d+(\\.\\d\\d)?", {L"$12.50", L"$12.5"}},
};

std::string Utf8Escaped(const std::wstring& s)
{
    // Everything outside printable ASCII (and the markup characters) goes in
    // as a character reference, so line ends survive the parser unchanged.
    std::string out;
    for (wchar_t c : s) {
        if (c >= 0x20 && c < 0x7F && c != L'&' && c != L'<' && c != L'>' && c != L'"') {
            out += static_cast<char>(c);
        } else {
            char buf[16];
            std::snprintf(buf, sizeof buf, "&#x%X;", static_cast<unsigned>(c));
            out += buf;
        }
    }
    return out;
}

TEST(ValidationTest, PatternVerdictsAgreeWithXmllint)
{
    ASSERT_EQ(std::system("xmllint --version > /dev/null 2>&1"), 0)
        << "xmllint (package libxml2-utils) is needed for this test";

    const std::filesystem::path dir =
        std::filesystem::path(testing::TempDir()) / "vxxml_pattern_oracle";
    std::filesystem::create_directories(dir);
    const std::filesystem::path xsd = dir / "patterns.xsd";
    {
        std::ofstream s(xsd);
        s << "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema'>\n"
             "<xs:element name='r'><xs:complexType><xs:choice>\n";
        for (size_t i = 0; i < std::size(kOracleCases); ++i) {
            s << "<xs:element name='p" << i << "'><xs:simpleType><xs:restriction "
              << "base='xs:string'><xs:pattern value=\"" << Utf8Escaped(kOracleCases[i].pattern)
              << "\"/></xs:restriction></xs:simpleType></xs:element>\n";
        }
        s << "</xs:choice></xs:complexType></xs:element></xs:schema>\n";
    }
    const std::filesystem::path doc = dir / "doc.xml";
    for (size_t i = 0; i < std::size(kOracleCases); ++i) {
        const OracleCase& c = kOracleCases[i];
        const auto r = Lengths(-1, -1, -1, c.pattern);
        for (const wchar_t* value : c.values) {
            SCOPED_TRACE(Narrow(std::wstring(L"pattern ") + c.pattern + L" value " + value));
            bool ours = true;
            try {
                CChecks::Throw_IfInvalid_string(L"v", value, r);
            } catch (const CVxException& e) {
                ASSERT_EQ(e.GetMessage(), std::wstring(L"Invalid Value for v [") + value + L"].");
                ours = false;
            }
            {
                std::ofstream d(doc);
                d << "<r><p" << i << ">" << Utf8Escaped(value) << "</p" << i << "></r>\n";
            }
            const std::string cmd = "xmllint --noout --schema '" + xsd.string() + "' '" +
                                    doc.string() + "' > /dev/null 2>&1";
            const int status = std::system(cmd.c_str());
            ASSERT_TRUE(WIFEXITED(status));
            const int code = WEXITSTATUS(status);
            // 0: valid; 3: the document does not match the schema. Anything
            // else means the schema or document itself is broken.
            ASSERT_TRUE(code == 0 || code == 3) << "xmllint exit code " << code;
            EXPECT_EQ(ours, code == 0);
        }
    }
    std::filesystem::remove_all(dir);
}

} // namespace
