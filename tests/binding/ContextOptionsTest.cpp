// What the serialization context changes in written documents, and what
// untyped content keeps when it goes through a bound object.
#include "TestHelpers.h"
#include "binding/BindingSupport.h"

#include <gtest/gtest.h>

using namespace VxXmlLib16;
using namespace bt;

namespace {

const wchar_t* const kXsi = L"http://www.w3.org/2001/XMLSchema-instance";

const std::wstring kDocument = LR"(<root xmlns="urn:vxxml:test:binding" id="7">
<name>abc</name>
<amount>1.50</amount>
<level>low</level>
<address zip="12345"><street>s</street><city>c</city></address>
<circle><radius>1</radius></circle>
<pickup>true</pickup>
<note/>
</root>)";

size_t Occurrences(const std::wstring& text, const std::wstring& part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::wstring::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

std::wstring StartTag(const std::wstring& xml, const std::wstring& opening)
{
    const size_t at = xml.find(opening);
    EXPECT_NE(at, std::wstring::npos) << Narrow(opening);
    return at == std::wstring::npos ? std::wstring() : xml.substr(at, xml.find(L'>', at) - at);
}

TEST(BindingContextOptions, IgnoringNamespacesMatchesByLocalName)
{
    std::wstring foreign = kDocument;
    foreign.replace(foreign.find(kNs), std::wcslen(kNs), L"urn:wrong");
    foreign.replace(foreign.find(L"id="), 0, L"xmlns:w=\"urn:w\" w:color=\"blue\" w:label=\"x\" ");

    CSmartPtr<CRoot> root(new CRoot);
    EXPECT_THROW(root->FromXml(foreign.c_str()), CVxException);

    CSerializationContext context;
    context.SetIgnoreNamespaces(true);
    root->FromXml(foreign.c_str(), context);
    EXPECT_EQ(root->Get(CRoot::Name).GetString(), L"abc");
    EXPECT_EQ(root->Object<CAddress>(CRoot::Address).Get(CAddress::Zip).GetString(), L"12345");
    EXPECT_EQ(root->Object<CCircle>(CRoot::Shape).Get(CShape::Size).GetR8(), 1.0);
    // An enumerated attribute in another namespace matches by its local
    // name; a primitive one does not, and the wildcard takes it.
    EXPECT_EQ(root->Get(CRoot::Color).GetI4(), Color_Blue);
    EXPECT_FALSE(root->Get(CRoot::Label).IsValid());
    auto& others = root->Collection<CAttributeCol>(CRoot::AnyAttribute);
    ASSERT_EQ(others.GetCount(), 1);
    EXPECT_EQ(others.Item(0)->GetName(), L"label");
    EXPECT_EQ(others.Item(0)->GetNamespace(), L"urn:w");
}

TEST(BindingContextOptions, SchemaTypeTwoReadsDocumentsWithoutNamespaces)
{
    std::wstring bare = kDocument;
    bare.erase(bare.find(L" xmlns="), std::wcslen(L" xmlns=\"\"") + std::wcslen(kNs));
    CSmartPtr<CRoot> root(new CRoot);
    EXPECT_THROW(root->FromXml(bare.c_str()), CVxException);

    CSerializationContext context;
    context.SetSchemaType(SchemaType_DTD);
    root->FromXml(bare.c_str(), context);
    EXPECT_EQ(root->Get(CRoot::Id).GetI4(), 7);
    EXPECT_EQ(root->Object<CAddress>(CRoot::Address).Get(CAddress::Zip).GetString(), L"12345");
    EXPECT_TRUE(root->Object<CDelivery>(CRoot::Delivery).Get(CDelivery::Pickup).GetBoolean());
}

TEST(BindingContextOptions, DefaultsAreLeftOutOnlyWhenAsked)
{
    CSmartPtr<CRoot> root(new CRoot);
    root->FromXml(kDocument.c_str());
    root->Set(CRoot::Label, Value(ItemType_string, L"none"));
    root->Set(CRoot::Color, Enum(Color_Red));
    root->Set(CRoot::Mood, Enum(Level_Mid));
    root->Object<CAddress>(CRoot::Address).Set(CAddress::Country, Value(ItemType_string, L"US"));

    CSerializationContext context;
    std::wstring xml = root->ToXml(false, false, EOL_LF, context);
    EXPECT_NE(xml.find(L"label=\"none\" color=\"red\""), std::wstring::npos) << Narrow(xml);
    EXPECT_NE(xml.find(L"country=\"US\""), std::wstring::npos) << Narrow(xml);

    context.SetNoOptionalAttributeDefaultOutput(true);
    xml = root->ToXml(false, false, EOL_LF, context);
    EXPECT_EQ(xml.find(L"label="), std::wstring::npos) << Narrow(xml);
    EXPECT_EQ(xml.find(L"color="), std::wstring::npos) << Narrow(xml);
    EXPECT_EQ(xml.find(L"country="), std::wstring::npos) << Narrow(xml);

    // An element value equal to its default is written only when asked, and
    // an empty element reads as the default either way.
    for (bool writeDefaults : {false, true}) {
        context.SetWriteDefaultElementValues(writeDefaults);
        xml = root->ToXml(false, false, EOL_LF, context);
        EXPECT_EQ(xml.find(L"mood>mid</") != std::wstring::npos, writeDefaults) << Narrow(xml);
        CSmartPtr<CRoot> copy(new CRoot);
        copy->FromXml(xml.c_str(), context);
        EXPECT_EQ(copy->Get(CRoot::Mood).GetI4(), Level_Mid);
    }
}

TEST(BindingContextOptions, TypeAttributesOnlyForDerivedClassesAndOnlyWhenAsked)
{
    CSmartPtr<CRoot> root = SampleRoot();
    CSerializationContext context;
    context.GetNamespaceAliases().Add(L"t", kNs);
    context.GetNamespaceAliases().Add(L"xsi", kXsi);
    context.SetWriteTypeAttribute(false);
    std::wstring xml = root->ToXml(false, false, EOL_LF, context);
    EXPECT_EQ(xml.find(L"xsi:type"), std::wstring::npos) << Narrow(xml);
    // Without xsi:type the abstract member cannot be read back; the
    // substitution group member can, by its name.
    CSmartPtr<CRoot> copy(new CRoot);
    try {
        copy->FromXml(xml.c_str(), context);
        ADD_FAILURE() << "read an abstract member without its type";
    } catch (const CVxException& e) {
        EXPECT_EQ(e.GetMessage(),
                  L"Failed to find a suitable substitution element for [extra].\nPath: /t:root");
    }

    context.SetWriteTypeAttribute(true);
    xml = root->ToXml(false, false, EOL_LF, context);
    EXPECT_NE(xml.find(L"<t:extra xsi:type=\"t:"), std::wstring::npos) << Narrow(xml);
    // Classes without base classes never name their type.
    for (const wchar_t* element : {L"<t:root ", L"<t:address ", L"<t:holder "}) {
        EXPECT_EQ(StartTag(xml, element).find(L"xsi:type"), std::wstring::npos) << Narrow(xml);
    }
    copy->FromXml(xml.c_str(), context);
    EXPECT_EQ(Diff(root, copy), "");
}

TEST(BindingContextOptions, RootDeclarationsInstructionsAndAttributes)
{
    CSmartPtr<CRoot> root = SampleRoot();
    CSerializationContext context;
    context.SetWriteTypeAttribute(true);
    context.GetNamespaceAliases().Add(L"t", kNs);
    context.GetNamespaceAliases().Add(L"o", kOtherNs);
    context.GetProcessingInstructions().push_back(L"xml-stylesheet href=\"a.xsl\"");
    context.GetProcessingInstructions().push_back(L"app mode=1");
    context.GetAdditionalRootAttributes()->Add(L"schemaLocation", kXsi,
                                               L"urn:vxxml:test:binding test.xsd");
    std::wstring xml = root->ToXml(true, true, EOL_LF, context);

    const size_t rootAt = xml.find(L"<t:root ");
    ASSERT_NE(rootAt, std::wstring::npos) << Narrow(xml);
    EXPECT_LT(xml.find(L"<?xml-stylesheet href=\"a.xsl\"?>"), xml.find(L"<?app mode=1?>"));
    EXPECT_LT(xml.find(L"<?app mode=1?>"), rootAt);
    const std::wstring startTag = StartTag(xml, L"<t:root ");
    EXPECT_NE(startTag.find(L"xmlns:t=\"urn:vxxml:test:binding\""), std::wstring::npos);
    EXPECT_NE(startTag.find(L"xmlns:o=\"urn:vxxml:test:other\""), std::wstring::npos);
    EXPECT_NE(startTag.find(L":schemaLocation=\"urn:vxxml:test:binding test.xsd\""),
              std::wstring::npos)
        << Narrow(startTag);
    EXPECT_EQ(Occurrences(xml, L"schemaLocation"), 1u);
    // Prefixes declared on the root are used below it, not declared again.
    EXPECT_EQ(Occurrences(xml, L"xmlns:t="), 1u);
    EXPECT_NE(xml.find(L"<t:name>"), std::wstring::npos);

    // The default namespace instead of a prefix.
    CSerializationContext plain;
    plain.SetWriteTypeAttribute(true);
    plain.SetDefaultNamespaceURI(kNs);
    xml = root->ToXml(false, true, EOL_LF, plain);
    EXPECT_EQ(xml.rfind(L"<root xmlns=\"urn:vxxml:test:binding\"", 0), 0u) << Narrow(xml);
    EXPECT_NE(xml.find(L"<name>"), std::wstring::npos);
    CSmartPtr<CRoot> copy(new CRoot);
    copy->FromXml(xml.c_str(), plain);
    EXPECT_EQ(Diff(root, copy), "");
}

TEST(BindingUntyped, WildcardContentKeepsNamesNamespacesAttributesAndText)
{
    const std::wstring document =
        LR"(<root xmlns="urn:vxxml:test:binding" xmlns:o="urn:vxxml:test:other"
      xmlns:a="urn:vxxml:test:a" id="1" o:extra="e &amp; f">
<name>abc</name><amount>1</amount><level>low</level>
<address zip="12345"><street/><city/></address>
<square><side>2</side></square><pickup>false</pickup>
<note kind="plain" o:kind="other">before<o:inner x="1"><deep>t</deep></o:inner><a:leaf/></note>
<wildAny><o:one>1</o:one><two xmlns="">2</two><three>3</three></wildAny>
<wildLocal><bare xmlns="" y="2">text &lt;here&gt;</bare></wildLocal>
<wildTarget><mine/></wildTarget>
<wildList><a:p>1</a:p><b:q xmlns:b="urn:vxxml:test:b">2</b:q></wildList>
<o:tail>end</o:tail>
</root>)";
    CSmartPtr<CRoot> root(new CRoot);
    root->FromXml(document.c_str());

    auto& anyAttributes = root->Collection<CAttributeCol>(CRoot::AnyAttribute);
    ASSERT_EQ(anyAttributes.GetCount(), 1);
    EXPECT_EQ(anyAttributes.Item(0)->GetValue(), L"e & f");

    CElement& note = root->Object<CElement>(CRoot::Note);
    EXPECT_EQ(note.GetText(), L"before");
    ASSERT_EQ(note.GetAttributes()->GetCount(), 2);
    EXPECT_EQ(note.GetAttributes()->Item(0)->GetNamespace(), L"");
    EXPECT_EQ(note.GetAttributes()->Item(1)->GetNamespace(), kOtherNs);
    EXPECT_EQ(note.GetAttributes()->Item(1)->GetValue(), L"other");
    ASSERT_EQ(note.GetChildElements()->GetCount(), 2);
    CSmartPtr<CElement> inner = note.GetChildElements()->Item(0);
    EXPECT_EQ(inner->GetName(), L"inner");
    EXPECT_EQ(inner->GetNamespace(), kOtherNs);
    EXPECT_EQ(inner->GetChildElements()->Item(0)->GetNamespace(), kNs);
    EXPECT_EQ(inner->GetChildElements()->Item(0)->GetText(), L"t");
    EXPECT_EQ(note.GetChildElements()->Item(1)->GetNamespace(), kListNsA);

    auto& any = root->Object<CWild>(CRoot::WildAny).Collection<CElementCol>(0);
    ASSERT_EQ(any.GetCount(), 3);
    EXPECT_EQ(any.Item(0)->GetNamespace(), kOtherNs);
    EXPECT_EQ(any.Item(1)->GetNamespace(), L"");
    EXPECT_EQ(any.Item(2)->GetNamespace(), kNs);
    CElement& bare = root->Object<CWild>(CRoot::WildLocal).Object<CElement>(0);
    EXPECT_EQ(bare.GetNamespace(), L"");
    EXPECT_EQ(bare.GetText(), L"text <here>");
    EXPECT_EQ(bare.GetAttributes()->Item(0)->GetValue(), L"2");
    EXPECT_EQ(root->Object<CWild>(CRoot::WildList).Collection<CElementCol>(0).GetCount(), 2);
    EXPECT_EQ(root->Object<CElement>(CRoot::Other).GetText(), L"end");

    // Out and in again, with and without a default namespace: the same
    // content. (Not indented: indentation inside an element that mixes text
    // and child elements becomes part of its text, a documented limit.)
    CSerializationContext withDefault;
    withDefault.SetDefaultNamespaceURI(kNs);
    for (const CSerializationContext* context :
         {&CSerializationContext::GetDefaultContext(), &withDefault}) {
        CSmartPtr<CRoot> copy(new CRoot);
        const std::wstring xml = root->ToXml(true, false, EOL_LF, *context);
        copy->FromXml(xml.c_str(), *context);
        EXPECT_EQ(Diff(root, copy), "") << Narrow(xml);
    }
}

} // namespace
