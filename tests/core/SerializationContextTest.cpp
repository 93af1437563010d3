#include "TestHelpers.h"

#include <vxxml/SerializationContext.h>

using namespace VxXmlLib16;

namespace {

// Every setting in one line: the flags as 0/1 in the order of the getters
// below, then the other values.
std::wstring Settings(const CSerializationContext& c)
{
    std::wstring s;
    for (bool flag :
         {c.GetWriteTypeAttribute(), c.GetStripCDATA(), c.GetIgnoreInvalidCollectionCounts(),
          c.GetIgnoreMissingChoice(), c.GetIgnoreMissingMandatoryElements(),
          c.GetIgnoreUnknownElements(), c.GetIgnoreUnknownAttributes(), c.GetIgnoreNamespaces(),
          c.GetNoOptionalAttributeDefaultOutput(), c.GetWriteDefaultElementValues()}) {
        s += flag ? L'1' : L'0';
    }
    return s + L" schema " + std::to_wstring(c.GetSchemaType()) + L" indent[" + c.GetIndentChars() +
           L"] ns[" + c.GetDefaultNamespaceURI() + L"] inline[" + c.GetInLineSchema() +
           L"] aliases " + std::to_wstring(c.GetNamespaceAliases().GetNamespaceCount()) + L" pis " +
           std::to_wstring(c.GetProcessingInstructions().size());
}

const wchar_t* const kDefaults = L"1100000000 schema 0 indent[\t] ns[] inline[] aliases 0 pis 0";

} // namespace

TEST(SerializationContext, TheTwoIgnoreElementFlagsExcludeEachOther)
{
    const std::wstring both = L"The parser can only ignore additional elements, or ignore the fact "
                              L"that some required ones are missing, you can not ignore both\n";
    CSerializationContext c;
    c.SetIgnoreUnknownElements(true);
    const std::wstring before = Settings(c);
    EXPECT_THROW_MSG(c.SetIgnoreMissingMandatoryElements(true), CVxInvalidStateException,
                     both + L"Set IgnoreUnknownElements to false before setting "
                            L"IgnoreMissingMandatoryElements to true");
    EXPECT_EQ(Settings(c), before) << "the failed call changed nothing";
    // Clearing either flag never fails, and setting the same flag again is fine.
    c.SetIgnoreMissingMandatoryElements(false);
    c.SetIgnoreUnknownElements(true);
    c.SetIgnoreUnknownElements(false);

    c.SetIgnoreMissingMandatoryElements(true);
    EXPECT_THROW_MSG(c.SetIgnoreUnknownElements(true), CVxInvalidStateException,
                     both + L"Set IgnoreMissingMandatoryElements to false before setting "
                            L"IgnoreUnknownElements to true");
    EXPECT_EQ(Settings(c), L"1100100000 schema 0 indent[\t] ns[] inline[] aliases 0 pis 0");
    c.SetIgnoreMissingMandatoryElements(false);
    c.SetIgnoreUnknownElements(true);
    EXPECT_TRUE(c.GetIgnoreUnknownElements());
}

TEST(SerializationContext, DtdSchemaTypeImpliesNamespaceBlindMatchingWithoutTouchingTheFlag)
{
    CSerializationContext c;
    c.SetSchemaType(SchemaType_DTD);
    EXPECT_TRUE(c.GetIgnoreNamespaces());
    c.SetSchemaType(SchemaType_XDR);
    EXPECT_FALSE(c.GetIgnoreNamespaces());
    c.SetIgnoreNamespaces(true);
    c.SetSchemaType(SchemaType_DTD);
    c.SetIgnoreNamespaces(false);
    EXPECT_TRUE(c.GetIgnoreNamespaces());
}

TEST(SerializationContext, IndentCharsAcceptOnlySpacesAndTabs)
{
    CSerializationContext c;
    c.SetIndentChars(L"  \t");
    for (const wchar_t* bad : {L"\n", L"  x", L"\t\r", L"\u00a0", L"\u3000"}) {
        EXPECT_THROW_MSG(c.SetIndentChars(bad), CVxInvalidParamException,
                         L"IndentChars can only contain Whitespace characters, i.e. \t or spaces");
        EXPECT_EQ(c.GetIndentChars(), L"  \t") << Narrow(bad);
    }
    c.SetIndentChars(nullptr);
    EXPECT_EQ(c.GetIndentChars(), L"");
}

TEST(SerializationContext, CopiesAreIndependentValues)
{
    CSerializationContext source;
    EXPECT_EQ(Settings(source), kDefaults);
    EXPECT_EQ(Settings(CSerializationContext::GetDefaultContext()), kDefaults);
    source.SetIgnoreMissingMandatoryElements(true);
    source.SetSchemaType(SchemaType_DTD);
    source.SetIndentChars(L"  ");
    source.SetDefaultNamespaceURI(L"urn:d");
    source.GetNamespaceAliases().Add(L"p", L"urn:p");
    source.GetProcessingInstructions().push_back(L"xml-stylesheet href=\"a.xsl\"");
    const std::wstring settings =
        L"1100100100 schema 2 indent[  ] ns[urn:d] inline[] aliases 1 pis 1";
    ASSERT_EQ(Settings(source), settings);
    CSerializationContext copy(source);
    EXPECT_EQ(Settings(copy), settings);
    // The alias map and the instruction list are copied, not shared.
    copy.GetNamespaceAliases().Add(L"q", L"urn:q");
    copy.GetProcessingInstructions().clear();
    EXPECT_EQ(Settings(source), settings);
    copy = CSerializationContext();
    EXPECT_EQ(Settings(copy), kDefaults);
}
