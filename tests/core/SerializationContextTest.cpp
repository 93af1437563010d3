#include "TestHelpers.h"

#include <vxxml/SerializationContext.h>

using namespace VxXmlLib16;

namespace {

const wchar_t* const kUnknownFirstMessage =
    L"The parser can only ignore additional elements, or ignore the fact that some required ones "
    L"are missing, you can not ignore both\nSet IgnoreUnknownElements to false before setting "
    L"IgnoreMissingMandatoryElements to true";
const wchar_t* const kMandatoryFirstMessage =
    L"The parser can only ignore additional elements, or ignore the fact that some required ones "
    L"are missing, you can not ignore both\nSet IgnoreMissingMandatoryElements to false before "
    L"setting IgnoreUnknownElements to true";

void ExpectDefaults(const CSerializationContext& c)
{
    EXPECT_TRUE(c.GetWriteTypeAttribute());
    EXPECT_TRUE(c.GetStripCDATA());
    EXPECT_EQ(c.GetIndentChars(), L"\t");
    EXPECT_FALSE(c.GetIgnoreInvalidCollectionCounts());
    EXPECT_FALSE(c.GetIgnoreMissingChoice());
    EXPECT_FALSE(c.GetIgnoreMissingMandatoryElements());
    EXPECT_FALSE(c.GetIgnoreUnknownElements());
    EXPECT_FALSE(c.GetIgnoreUnknownAttributes());
    EXPECT_FALSE(c.GetIgnoreNamespaces());
    EXPECT_FALSE(c.GetNoOptionalAttributeDefaultOutput());
    EXPECT_FALSE(c.GetWriteDefaultElementValues());
    EXPECT_EQ(c.GetSchemaType(), SchemaType_XSD);
    EXPECT_EQ(static_cast<int32_t>(c.GetSchemaType()), 0);
    EXPECT_EQ(c.GetDefaultNamespaceURI(), L"");
    EXPECT_EQ(c.GetInLineSchema(), L"");
    EXPECT_EQ(c.GetNamespaceAliases().GetNamespaceCount(), 0);
    EXPECT_TRUE(c.GetProcessingInstructions().empty());
}

} // namespace

TEST(SerializationContext, NewContextHasTheDefaults)
{
    CSerializationContext c;
    ExpectDefaults(c);
    static_assert(sizeof(SchemaType) == 4, "SchemaType is a 32-bit enumeration");
}

TEST(SerializationContext, TheTwoIgnoreElementFlagsExcludeEachOther)
{
    CSerializationContext c;
    c.SetIgnoreUnknownElements(true);
    EXPECT_THROW_MSG(c.SetIgnoreMissingMandatoryElements(true), CVxInvalidStateException,
                     kUnknownFirstMessage);
    // The failed call changed nothing.
    EXPECT_TRUE(c.GetIgnoreUnknownElements());
    EXPECT_FALSE(c.GetIgnoreMissingMandatoryElements());
    // Clearing either flag never fails, and setting the same flag again is fine.
    c.SetIgnoreMissingMandatoryElements(false);
    c.SetIgnoreUnknownElements(true);
    c.SetIgnoreUnknownElements(false);

    c.SetIgnoreMissingMandatoryElements(true);
    EXPECT_THROW_MSG(c.SetIgnoreUnknownElements(true), CVxInvalidStateException,
                     kMandatoryFirstMessage);
    EXPECT_FALSE(c.GetIgnoreUnknownElements());
    EXPECT_TRUE(c.GetIgnoreMissingMandatoryElements());
    c.SetIgnoreUnknownElements(false);
    c.SetIgnoreMissingMandatoryElements(false);
    c.SetIgnoreUnknownElements(true);
    EXPECT_TRUE(c.GetIgnoreUnknownElements());
}

TEST(SerializationContext, DtdSchemaTypeImpliesNamespaceBlindMatchingWithoutTouchingTheFlag)
{
    CSerializationContext c;
    c.SetSchemaType(SchemaType_DTD);
    EXPECT_EQ(static_cast<int32_t>(SchemaType_DTD), 2);
    EXPECT_TRUE(c.GetIgnoreNamespaces());
    c.SetSchemaType(SchemaType_XDR);
    EXPECT_FALSE(c.GetIgnoreNamespaces());
    c.SetIgnoreNamespaces(true);
    EXPECT_TRUE(c.GetIgnoreNamespaces());
    c.SetSchemaType(SchemaType_DTD);
    c.SetIgnoreNamespaces(false);
    EXPECT_TRUE(c.GetIgnoreNamespaces());
}

TEST(SerializationContext, IndentCharsAcceptOnlySpacesAndTabs)
{
    const wchar_t* const message =
        L"IndentChars can only contain Whitespace characters, i.e. \t or spaces";
    CSerializationContext c;
    c.SetIndentChars(L"  \t");
    EXPECT_EQ(c.GetIndentChars(), L"  \t");
    for (const wchar_t* bad : {L"\n", L"  x", L"\t\r", L"\u00a0", L"\u3000"}) {
        EXPECT_THROW_MSG(c.SetIndentChars(bad), CVxInvalidParamException, message);
        EXPECT_EQ(c.GetIndentChars(), L"  \t") << Narrow(bad);
    }
    c.SetIndentChars(nullptr);
    EXPECT_EQ(c.GetIndentChars(), L"");
    c.SetIndentChars(L"");
    EXPECT_EQ(c.GetIndentChars(), L"");
}

TEST(SerializationContext, CopiesAreIndependentValues)
{
    CSerializationContext source;
    source.SetIgnoreMissingMandatoryElements(true);
    source.SetSchemaType(SchemaType_DTD);
    source.SetIndentChars(L"  ");
    source.GetNamespaceAliases().Add(L"p", L"urn:p");
    source.GetProcessingInstructions().push_back(L"xml-stylesheet href=\"a.xsl\"");

    CSerializationContext copy(source);
    EXPECT_TRUE(copy.GetIgnoreMissingMandatoryElements());
    EXPECT_TRUE(copy.GetIgnoreNamespaces());
    EXPECT_EQ(copy.GetIndentChars(), L"  ");
    // The alias map and the instruction list are copied, not shared.
    copy.GetNamespaceAliases().Add(L"q", L"urn:q");
    copy.GetProcessingInstructions().clear();
    EXPECT_EQ(source.GetNamespaceAliases().GetNamespaceCount(), 1);
    EXPECT_EQ(source.GetProcessingInstructions().size(), 1u);

    copy = CSerializationContext();
    ExpectDefaults(copy);
}

TEST(SerializationContext, DefaultContextIsOneSharedInstance)
{
    CSerializationContext& first = CSerializationContext::GetDefaultContext();
    EXPECT_EQ(&first, &CSerializationContext::GetDefaultContext());
    ExpectDefaults(first);
    first.SetIgnoreUnknownAttributes(true);
    EXPECT_TRUE(CSerializationContext::GetDefaultContext().GetIgnoreUnknownAttributes());
    first.SetIgnoreUnknownAttributes(false); // leave it as other tests expect it
}
