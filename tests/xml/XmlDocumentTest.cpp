#include "TestHelpers.h"
#include "xml/XmlTreeDump.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/SerializationContext.h>
#include <vxxml/XmlDocument.h>

using namespace VxXmlLib16;
using xmltest::Children;
using xmltest::Dump;

namespace {

int LiveCount(const wchar_t* className)
{
    const std::wstring report = CInstanceMonitor::DumpState();
    const std::wstring key = std::wstring(className) + L" = ";
    const size_t at = report.find(key);
    return at == std::wstring::npos ? 0 : std::stoi(report.substr(at + key.size()));
}

} // namespace

TEST(XmlDocument, BuildsElementsAttributesAndConcatenatedText)
{
    CXmlDocument doc;
    EXPECT_EQ(doc.GetDocumentElement(), nullptr);
    doc.LoadXml(L"<r xmlns='urn:d' xmlns:p='urn:p' a='1' p:a='2' b='x &amp; &lt;y&gt;'>"
                L"a<p:c>in</p:c>b<d/>c&#13;&#13;d</r>");
    const CXmlElement* r = doc.GetDocumentElement();
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->GetParentElm(), nullptr);
    EXPECT_EQ(r->GetDocument(), &doc);
    // Text around child elements is one string; character references that
    // produce carriage returns are dropped.
    EXPECT_EQ(Dump(r), L"{urn:d}r[@{}a=1][@{urn:p}a=2][@{}b=x & <y>]\"abcd\"("
                       L"{urn:p}c\"in\"(){urn:d}d\"\"())");
    const auto kids = Children(r);
    ASSERT_EQ(kids.size(), 2u);
    EXPECT_EQ(kids[0]->GetParentElm(), r);
    EXPECT_EQ(kids[1]->GetDocument(), &doc);
    // Same local name in two namespaces: both kept, told apart by namespace.
    EXPECT_EQ(r->GetAttribute(L"a", L""), L"1");
    EXPECT_EQ(r->GetAttribute(L"a", L"urn:p"), L"2");
    EXPECT_EQ(r->GetAttribute(L"a", L"urn:other"), L"");
    EXPECT_EQ(&r->GetAttribute(L"zz", L""), &kids[1]->GetAttribute(L"q", L"urn:p"))
        << "a missing attribute is the one shared empty string";
}

TEST(XmlDocument, WideTextKeepsAstralCharactersAndIgnoresDeclaredEncoding)
{
    CXmlDocument doc;
    doc.LoadXml(L"<?xml version='1.0' encoding='UTF-16'?><t v='\U0001F600\u00e9'>"
                L"\u20ac\U00010348\t\n</t>");
    const CXmlElement* t = doc.GetDocumentElement();
    EXPECT_EQ(t->GetText(), L"\u20ac\U00010348\t\n");
    EXPECT_EQ(t->GetAttribute(L"v", L""), L"\U0001F600\u00e9");
    // The reference handed out stays the same object on later calls.
    EXPECT_EQ(&t->GetText(), &t->GetText());
}

TEST(XmlDocument, WideTextWithCharactersOutsideUnicodeIsRefusedNotReplaced)
{
    // Found by fuzzing: such characters used to be read as U+FFFD.
    CXmlDocument doc;
    const wchar_t beyond[] = {L'<', L't', L'>', static_cast<wchar_t>(0x110000), L'<', L'/',
                              L't', L'>', 0};
    EXPECT_THROW_MSG(doc.LoadXml(beyond), CVxException,
                     L"Invalid character [0x110000] at position 3: cannot be encoded as UTF-8");
    EXPECT_EQ(doc.GetDocumentElement(), nullptr);
    const wchar_t surrogate[] = {L'<', L't', L' ', L'a', L'=', L'"', 0xD800, L'"', L'/', L'>', 0};
    EXPECT_THROW_MSG(doc.LoadXml(surrogate), CVxException,
                     L"Invalid character [0xD800] at position 6: cannot be encoded as UTF-8");
}

TEST(XmlDocument, XPathUsesPrefixesAndPositionOnlyForRepeatedNames)
{
    CXmlDocument doc;
    doc.LoadXml("<order xmlns:p='urn:p' xmlns:q='urn:q'>"
                "<item/><p:item/><item p:id='1' id='2'/><solo><x/></solo><q:z/><q:z/></order>");
    const CXmlElement* order = doc.GetDocumentElement();
    const auto kids = Children(order);
    ASSERT_EQ(kids.size(), 6u);
    EXPECT_EQ(order->GetXPath(), L"/order");
    EXPECT_EQ(kids[0]->GetXPath(), L"/order/item[1]");
    EXPECT_EQ(kids[1]->GetXPath(), L"/order/p:item");
    EXPECT_EQ(kids[2]->GetXPath(), L"/order/item[2]");
    EXPECT_EQ(kids[4]->GetXPath(), L"/order/q:z[1]");
    EXPECT_EQ(kids[5]->GetXPath(), L"/order/q:z[2]");
    EXPECT_EQ(kids[3]->GetFirstElement()->GetXPath(), L"/order/solo/x");
    // The prefix of a namespaced attribute stands before the "@".
    ASSERT_EQ(kids[2]->GetAttributes().size(), 2u);
    EXPECT_EQ(kids[2]->GetAttributes()[0]->GetXPath(), L"/order/item[2]/p:@id");
    EXPECT_EQ(kids[2]->GetAttributes()[1]->GetXPath(), L"/order/item[2]/@id");
}

TEST(XmlDocument, DefaultNamespaceElementsHaveNoPrefixInPaths)
{
    CXmlDocument doc;
    doc.LoadXml("<a xmlns='urn:d'><b/><b/></a>");
    EXPECT_EQ(Children(doc.GetDocumentElement())[1]->GetXPath(), L"/a/b[2]");
}

TEST(XmlDocument, PrefixMapIsDocumentWideAndLastDeclarationWins)
{
    CXmlDocument doc;
    doc.LoadXml("<r xmlns:zz='urn:same' xmlns:aa='urn:same' xmlns:p='urn:first'>"
                "<c xmlns:p='urn:second' xmlns=''/></r>");
    // Two prefixes for one URI: the alphabetically first wins.
    EXPECT_EQ(doc.LookupAliasFromNamespace(L"urn:same"), L"aa");
    EXPECT_EQ(doc.LookupNamespaceFromAlias(L"p"), L"urn:second");
    EXPECT_EQ(doc.LookupAliasFromNamespace(L"urn:first"), L"");
    EXPECT_EQ(doc.LookupNamespaceFromAlias(L"nope"), L"");
    // The undeclaration of the default namespace is kept as an empty URI.
    EXPECT_EQ(doc.LookupAliasFromNamespace(L""), L"");
    EXPECT_EQ(doc.LookupNamespaceFromAlias(L""), L"");
}

TEST(XmlDocument, NamespaceAndNilAttributeTests)
{
    CXmlDocument doc;
    doc.LoadXml("<r xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xmlns:o='urn:o'"
                " xsi:type='T' xsi:schemaLocation='a b' xsi:noNamespaceSchemaLocation='c'"
                " xsi:nil='true' xsi:other='1' o:type='x' type='y' nil='z' o:nil='w'/>");
    std::wstring ns, nil;
    for (const CXmlAttribute* a : doc.GetDocumentElement()->GetAttributes()) {
        ns += a->IsNamespaceAttribute() ? L'1' : L'0';
        nil += a->IsNilAttribute() ? L'1' : L'0';
    }
    EXPECT_EQ(ns, L"111000000");
    EXPECT_EQ(nil, L"000100000");
}

namespace {
std::vector<std::wstring> g_seen;
bool RecordAndDrop(CXmlElement* e)
{
    g_seen.push_back(e->GetXPath() + L"=" + e->GetText());
    return true;
}
bool DropOddIds(CXmlElement* e)
{
    const std::wstring& id = e->GetAttribute(L"id", L"");
    return !id.empty() && (id.back() - L'0') % 2 == 1;
}
bool Throwing(CXmlElement* e)
{
    if (e->GetLocalName() == L"bad") {
        throw std::runtime_error("from callback");
    }
    return true;
}
} // namespace

TEST(XmlDocument, ElementCallbackDropsCompletedElementsButNeverTheRoot)
{
    g_seen.clear();
    CXmlDocument doc(RecordAndDrop);
    doc.LoadXml("<r a='1'>x<i>1<j>2</j></i>y<i>3</i>z</r>");
    const std::vector<std::wstring> expected{L"/r/i/j=2", L"/r/i=1", L"/r/i=3", L"/r=xyz"};
    EXPECT_EQ(g_seen, expected);
    const CXmlElement* r = doc.GetDocumentElement();
    ASSERT_NE(r, nullptr) << "the document element survives a callback returning true";
    EXPECT_EQ(r->GetFirstElement(), nullptr);
    EXPECT_EQ(r->GetAttribute(L"a", L""), L"1");
}

TEST(XmlDocument, CallbackKeepingSomeElementsLeavesAConsistentSiblingList)
{
    CXmlDocument doc(DropOddIds);
    doc.LoadXml("<r><e id='1'/><e id='2'/><e id='3'/><e id='4'><e id='5'/><e id='6'/></e>"
                "<e id='7'/></r>");
    std::wstring ids;
    for (const CXmlElement* e : Children(doc.GetDocumentElement())) {
        ids += e->GetAttribute(L"id", L"");
        for (const CXmlElement* c : Children(e)) {
            ids += L"(" + c->GetAttribute(L"id", L"") + L")";
        }
    }
    EXPECT_EQ(ids, L"24(6)");
    EXPECT_EQ(Children(doc.GetDocumentElement()).back()->GetNextSiblingElement(), nullptr);
}

TEST(XmlDocument, ExceptionFromCallbackPropagatesAndLeavesNoTree)
{
    const int before = LiveCount(L"CXmlElement");
    {
        CXmlDocument doc(Throwing);
        EXPECT_THROW(doc.LoadXml("<r><a/><bad/><c/></r>"), std::runtime_error);
        EXPECT_EQ(doc.GetDocumentElement(), nullptr);
        doc.LoadXml("<ok/>"); // the document is usable again
        EXPECT_EQ(doc.GetDocumentElement()->GetLocalName(), L"ok");
    }
    EXPECT_EQ(LiveCount(L"CXmlElement"), before);
}

TEST(XmlDocument, CopyIsDeepAndIndependent)
{
    auto* doc = new CXmlDocument;
    doc->LoadXml("<r xmlns:p='urn:p' p:x='1'>t<p:a>u<b c='2'/></p:a><a/>\u00e9</r>");
    const std::wstring original = Dump(doc->GetDocumentElement());
    CXmlDocument copy(*doc);
    delete doc;
    ASSERT_NE(copy.GetDocumentElement(), nullptr);
    EXPECT_EQ(Dump(copy.GetDocumentElement()), original);
    EXPECT_EQ(copy.GetDocumentElement()->GetFirstElement()->GetXPath(), L"/r/p:a");
    EXPECT_EQ(copy.GetDocumentElement()->GetDocument(), &copy);
}

TEST(XmlDocument, ReloadReplacesTheTreeAndNodesAreCounted)
{
    const int elements = LiveCount(L"CXmlElement");
    const int attributes = LiveCount(L"CXmlAttribute");
    {
        CXmlDocument doc;
        doc.LoadXml("<a x='1'><b y='2'/></a>");
        EXPECT_EQ(LiveCount(L"CXmlElement"), elements + 2);
        EXPECT_EQ(LiveCount(L"CXmlAttribute"), attributes + 2);
        doc.LoadXml("<c/>");
        EXPECT_EQ(LiveCount(L"CXmlElement"), elements + 1);
        EXPECT_EQ(doc.LookupAliasFromNamespace(L"urn:p"), L"");
    }
    EXPECT_EQ(LiveCount(L"CXmlElement"), elements);
    EXPECT_EQ(LiveCount(L"CXmlAttribute"), attributes);
}

TEST(XmlDocument, VeryDeepNestingNeitherOverflowsNorLeaks)
{
    // Destroying, copying and path building must not recurse per level.
    const int depth = 200000;
    std::string xml;
    for (int i = 0; i < depth; ++i) {
        xml += "<a>";
    }
    for (int i = 0; i < depth; ++i) {
        xml += "</a>";
    }
    CXmlDocument doc;
    doc.LoadXml(xml.c_str());
    const CXmlElement* e = doc.GetDocumentElement();
    int levels = 1;
    while (e->GetFirstElement()) {
        e = e->GetFirstElement();
        ++levels;
    }
    EXPECT_EQ(levels, depth);
    EXPECT_EQ(e->GetXPath().size(), static_cast<size_t>(depth) * 2);
    CXmlDocument copy(doc);
    EXPECT_NE(copy.GetDocumentElement(), nullptr);
}

TEST(XmlDocument, ContextWithSchemaType2ReadsNamesAsWritten)
{
    CSerializationContext ctx;
    ctx.SetSchemaType(SchemaType_DTD);
    CXmlDocument doc(ctx);
    doc.LoadXml("<p:r xmlns:p='urn:p' p:a='1'/>");
    const CXmlElement* r = doc.GetDocumentElement();
    EXPECT_EQ(r->GetLocalName(), L"p:r");
    EXPECT_EQ(r->GetNamespaceURI(), L"");
    // Without namespace processing, declarations are ordinary attributes.
    ASSERT_EQ(r->GetAttributes().size(), 2u);
    EXPECT_EQ(r->GetAttribute(L"xmlns:p", L""), L"urn:p");
    EXPECT_EQ(r->GetAttribute(L"p:a", L""), L"1");
    EXPECT_EQ(doc.LookupNamespaceFromAlias(L"p"), L"");
}
