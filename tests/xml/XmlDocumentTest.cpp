#include "TestHelpers.h"
#include "xml/XmlTreeDump.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>
#include <vxxml/CachedMemory.h>
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

std::vector<std::wstring> g_seen;

} // namespace

TEST(XmlDocument, BuildsElementsAttributesAndConcatenatedText)
{
    CXmlDocument doc;
    doc.LoadXml(L"<r xmlns='urn:d' xmlns:p='urn:p' a='1' p:a='2' b='x &amp; &lt;y&gt;'>"
                L"a<p:c>in</p:c>b<d/>c&#13;&#13;d</r>");
    const CXmlElement* r = doc.GetDocumentElement();
    // The text around children is one string; references to CR are dropped.
    EXPECT_EQ(Dump(r), L"{urn:d}r[@{}a=1][@{urn:p}a=2][@{}b=x & <y>]\"abcd\"("
                       L"{urn:p}c\"in\"(){urn:d}d\"\"())");
    const auto kids = Children(r);
    EXPECT_EQ(r->GetParentElm(), nullptr);
    EXPECT_EQ(kids[0]->GetParentElm(), r);
    EXPECT_EQ(kids[1]->GetDocument(), &doc);
    // One local name in two namespaces: both kept, told apart by namespace.
    EXPECT_EQ(r->GetAttribute(L"a", L"urn:p"), L"2");
    EXPECT_EQ(r->GetAttribute(L"a", L"urn:other"), L"");
    EXPECT_EQ(&r->GetAttribute(L"zz", L""), &kids[1]->GetAttribute(L"q", L"urn:p"))
        << "a missing attribute is the one shared empty string";

    // Wide text ignores the declared encoding and keeps astral characters.
    doc.LoadXml(L"<?xml version='1.0' encoding='UTF-16'?><t v='\U0001F600'>\U00010348\t\n</t>");
    EXPECT_EQ(Dump(doc.GetDocumentElement()), L"{}t[@{}v=\U0001F600]\"\U00010348\t\n\"()");
    // Found by fuzzing: characters outside Unicode used to be read as U+FFFD.
    const wchar_t beyond[] = {L'<', L't', L'>', 0x110000, L'<', L'/', L't', L'>', 0};
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
    doc.LoadXml("<order xmlns:p='urn:p' xmlns:q='urn:q'><item/><p:item/><item p:id='1' id='2'/>"
                "<solo><x/></solo><q:z/><q:z/><w xmlns='urn:d'><b/><b/></w></order>");
    std::wstring paths = doc.GetDocumentElement()->GetXPath();
    for (const CXmlElement* e : Children(doc.GetDocumentElement())) {
        paths += L" " + e->GetXPath();
        for (const CXmlElement* c : Children(e)) {
            paths += L" " + c->GetXPath();
        }
        for (const CXmlAttribute* a : e->GetAttributes()) {
            paths += L" " + a->GetXPath(); // a prefix stands before the "@"
        }
    }
    EXPECT_EQ(paths, L"/order /order/item[1] /order/p:item /order/item[2] /order/item[2]/p:@id "
                     L"/order/item[2]/@id /order/solo /order/solo/x /order/q:z[1] /order/q:z[2] "
                     L"/order/w /order/w/b[1] /order/w/b[2]");
}

TEST(XmlDocument, PrefixMapIsDocumentWideAndLastDeclarationWins)
{
    CXmlDocument doc;
    doc.LoadXml("<r xmlns:zz='urn:same' xmlns:aa='urn:same' xmlns:p='urn:first'>"
                "<c xmlns:p='urn:second' xmlns=''/></r>");
    // Two prefixes for one URI: the alphabetically first wins. The undeclared
    // default namespace is kept as an empty URI.
    std::wstring found;
    for (const wchar_t* uri : {L"urn:same", L"urn:first", L""}) {
        found += L"[" + doc.LookupAliasFromNamespace(uri) + L"]";
    }
    for (const wchar_t* alias : {L"p", L"nope", L""}) {
        found += L"[" + doc.LookupNamespaceFromAlias(alias) + L"]";
    }
    EXPECT_EQ(found, L"[aa][][][urn:second][][]");
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

TEST(XmlDocument, ElementCallbackDropsCompletedElementsButNeverTheRoot)
{
    g_seen.clear();
    CXmlDocument all([](CXmlElement* e) {
        g_seen.push_back(e->GetXPath() + L"=" + e->GetText());
        return true;
    });
    all.LoadXml("<r a='1'>x<i>1<j>2</j></i>y<i>3</i>z</r>");
    EXPECT_EQ(g_seen, (std::vector<std::wstring>{L"/r/i/j=2", L"/r/i=1", L"/r/i=3", L"/r=xyz"}));
    EXPECT_EQ(Dump(all.GetDocumentElement()), L"{}r[@{}a=1]\"xyz\"()");

    // Dropping some elements leaves a consistent sibling list.
    CXmlDocument some([](CXmlElement* e) {
        const std::wstring& id = e->GetAttribute(L"id", L"");
        return !id.empty() && (id.back() - L'0') % 2 == 1;
    });
    some.LoadXml("<r><e id='1'/><e id='2'/><e id='3'/><e id='4'><e id='5'/><e id='6'/></e>"
                 "<e id='7'/></r>");
    EXPECT_EQ(Dump(some.GetDocumentElement()),
              L"{}r\"\"({}e[@{}id=2]\"\"(){}e[@{}id=4]\"\"({}e[@{}id=6]\"\"()))");
    EXPECT_EQ(Children(some.GetDocumentElement()).back()->GetNextSiblingElement(), nullptr);
}

TEST(XmlDocument, NodesAreCountedAndFreedOnReloadAndFailure)
{
    const int elements = LiveCount(L"CXmlElement");
    const int attributes = LiveCount(L"CXmlAttribute");
    {
        CXmlDocument doc([](CXmlElement* e) {
            if (e->GetLocalName() == L"bad") {
                throw std::runtime_error("from callback");
            }
            return false;
        });
        doc.LoadXml("<a xmlns:p='urn:p' x='1'><b y='2'/></a>");
        EXPECT_EQ(LiveCount(L"CXmlElement"), elements + 2);
        EXPECT_EQ(LiveCount(L"CXmlAttribute"), attributes + 2);
        doc.LoadXml("<c/>"); // a reload replaces the tree and the prefixes
        EXPECT_EQ(LiveCount(L"CXmlElement"), elements + 1);
        EXPECT_EQ(doc.LookupAliasFromNamespace(L"urn:p"), L"");
        // An exception from the callback propagates and leaves no tree.
        EXPECT_THROW(doc.LoadXml("<r><a/><bad/><c/></r>"), std::runtime_error);
        EXPECT_EQ(doc.GetDocumentElement(), nullptr);
        EXPECT_EQ(LiveCount(L"CXmlElement"), elements);
        doc.LoadXml("<ok/>"); // the document is usable again
        EXPECT_EQ(doc.GetDocumentElement()->GetLocalName(), L"ok");
    }
    EXPECT_EQ(LiveCount(L"CXmlElement"), elements);
    EXPECT_EQ(LiveCount(L"CXmlAttribute"), attributes);
}

TEST(XmlDocument, CopyIsDeepAndIndependent)
{
    auto* doc = new CXmlDocument;
    doc->LoadXml("<r xmlns:p='urn:p' p:x='1'>t<p:a>u<b c='2'/></p:a><a/>\u00e9</r>");
    const std::wstring original = Dump(doc->GetDocumentElement());
    CXmlDocument copy(*doc);
    delete doc;
    EXPECT_EQ(Dump(copy.GetDocumentElement()), original);
    EXPECT_EQ(copy.GetDocumentElement()->GetFirstElement()->GetXPath(), L"/r/p:a");
    EXPECT_EQ(copy.GetDocumentElement()->GetDocument(), &copy);
}

TEST(XmlDocument, NestingIsBoundedWhileTheTreeIsBuilt)
{
    const auto nested = [](int depth) {
        std::string xml;
        for (int i = 0; i < 2 * depth; ++i) {
            xml += i < depth ? "<a>" : "</a>";
        }
        return xml;
    };
    // The deepest tree the object walks can take loads, copies and names
    // its deepest element.
    CXmlDocument doc;
    doc.LoadXml(nested(1000).c_str());
    CXmlDocument copy(doc);
    const CXmlElement* e = copy.GetDocumentElement();
    int levels = 1;
    for (; e->GetFirstElement(); ++levels) {
        e = e->GetFirstElement();
    }
    EXPECT_EQ(levels, 1000);
    EXPECT_EQ(e->GetXPath().size(), 2000u);
    // One level more is refused as the element is read, with its path, and
    // leaves no tree; a far deeper document costs no more than that.
    for (int depth : {1001, 2000000}) {
        try {
            doc.LoadXml(nested(depth).c_str());
            ADD_FAILURE() << depth << " levels were accepted";
        } catch (const CVxException& error) {
            EXPECT_EQ(error.GetPath().size(), 2002u);
            EXPECT_NE(
                error.GetFullMessage().find(L"The elements are nested more than 1000 levels deep"),
                std::wstring::npos);
        }
        EXPECT_EQ(doc.GetDocumentElement(), nullptr);
    }
}

TEST(XmlDocument, ContextWithSchemaTypeDtdReadsNamesAsWritten)
{
    CSerializationContext ctx;
    ctx.SetSchemaType(SchemaType_DTD);
    CXmlDocument doc(ctx);
    doc.LoadXml("<p:r xmlns:p='urn:p' p:a='1'/>");
    // Without namespace processing, declarations are ordinary attributes.
    EXPECT_EQ(Dump(doc.GetDocumentElement()), L"{}p:r[@{}xmlns:p=urn:p][@{}p:a=1]\"\"()");
    EXPECT_EQ(doc.LookupNamespaceFromAlias(L"p"), L"");
}

// Trees large enough to take their memory in mapped chunks leave those chunks
// for the next document: a tree built in reused memory must hold nothing of
// the previous one, and so must one built after the kept chunks are released.
TEST(XmlDocument, LargeTreesReuseTheMemoryOfEarlierOnes)
{
    auto document = [](char letter, int items) {
        std::string xml = "<r>";
        for (int i = 0; i < items; ++i) {
            xml += "<i n='" + std::to_string(i) + "'>" + std::string(1 + i % 7, letter) + "</i>";
        }
        return xml + "</r>";
    };
    auto check = [](CXmlDocument& doc, char letter, int items) {
        int count = 0;
        for (const CXmlElement* e = doc.GetDocumentElement()->GetFirstElement(); e != nullptr;
             e = e->GetNextSiblingElement(), ++count) {
            ASSERT_EQ(e->GetAttribute(L"n", L""), std::to_wstring(count));
            ASSERT_EQ(e->GetText(), std::wstring(1 + count % 7, static_cast<wchar_t>(letter)));
            ASSERT_TRUE(e->GetAttributes().size() == 1 && e->GetFirstElement() == nullptr);
        }
        EXPECT_EQ(count, items);
    };
    const int kItems = 60000; // well beyond the malloc'd chunks of small trees
    for (const auto& [letter, release] : {std::pair{'a', false}, {'b', false}, {'c', true}}) {
        if (release) {
            ReleaseCachedMemory();
        }
        std::string xml = document(letter, kItems - (letter - 'a') * 1000);
        CXmlDocument doc;
        doc.LoadXmlStream(reinterpret_cast<unsigned char*>(xml.data()),
                          static_cast<uint32_t>(xml.size()));
        check(doc, letter, kItems - (letter - 'a') * 1000);
    }
}
