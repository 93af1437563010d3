#include "TestHelpers.h"
#include "core/CollectionTestSupport.h"

#include <atomic>
#include <vxxml/XmlCollection.h>
#include <vxxml/XmlDocument.h>
#include <vxxml/XmlWriter.h>

using namespace VxXmlLib16;
using VxTest::CRecordingSink;
using Events = std::vector<std::wstring>;

namespace {

std::atomic<int> g_destroyed{0};

// A bound object holding one text, written as <name>text</name>. Reading
// the text "bad" fails, as a value that does not convert would.
class CItem : public CXmlObjectBase
{
public:
    CItem() = default;
    explicit CItem(const wchar_t* text) : m_text(text) {}
    ~CItem() override { ++g_destroyed; }

    CXmlObjectBase* GetBase() override { return this; }
    std::wstring GetTargetNamespace() const override { return L""; }
    std::wstring GetNamespace() const override { return L""; }
    void AttributesToXml_Int(CXmlWriter*, const CSerializationContext&) const override {}
    void ToXml_Int(CXmlWriter* writer, bool, const wchar_t* ns, const CSerializationContext&,
                   bool) const override
    {
        writer->StartElement(GetElementName().c_str(), ns);
        writer->WriteElementText(m_text.c_str(), ItemType_string, false);
        writer->EndElement();
    }
    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement*, const CSerializationContext&,
                             bool) override
    {
        if (element->GetText() == L"bad") {
            throw CVxInvalidValueException(L"bad item");
        }
        m_text = element->GetText();
        return element->GetNextSiblingElement();
    }

    std::wstring m_text;
};

using CItemCol = CXmlClassCollection<CItem>;

std::wstring Texts(const CItemCol& col)
{
    std::wstring out;
    for (CItem* item : col) {
        out += item->m_text;
    }
    return out;
}

} // namespace

TEST(Collections, InsertionsLinkEveryPositionAndFireAroundTheLink)
{
    CSmartPtr<CItemCol> col(new CItemCol(L"item", L"urn:c"));
    CRecordingSink sink;
    col->AddEventListener(&sink);

    CSmartPtr<CItem> a(new CItem(L"a")), b(new CItem(L"b"));
    col->Add(a);
    EXPECT_EQ(sink.events, (Events{L"add", L"addComplete", L"change"}));
    col->AddAt(0, b);                   // b a
    col->AddAfter(b, new CItem(L"c"));  // b c a
    col->AddBefore(a, new CItem(L"d")); // b c d a
    col->AddAt(4, new CItem(L"e"));     // appends
    col->AddAfter(col->Item(4), new CItem(L"f"));
    EXPECT_EQ(Texts(*col), L"bcdaef");
    EXPECT_EQ(col->GetCount(), 6);
    EXPECT_EQ(col->Item(3).Get(), a.Get());
    EXPECT_EQ(col->Item(5)->m_text, L"f"); // walked from the tail

    // Removing at both ends and inside keeps the links in both directions.
    sink.events.clear();
    col->Remove(2);
    EXPECT_EQ(sink.events, (Events{L"remove(2)", L"removeComplete(2)", L"change"}));
    col->Remove(0);
    col->Remove(col->GetCount() - 1);
    EXPECT_EQ(Texts(*col), L"cae");
    col->AddAt(3, new CItem(L"z"));
    col->AddAt(0, new CItem(L"y"));
    EXPECT_EQ(Texts(*col), L"ycaez");
    EXPECT_EQ(col->Item(3)->m_text, L"e");
}

TEST(Collections, FaultsLeaveTheListUnchanged)
{
    CSmartPtr<CItemCol> col(new CItemCol(L"item", L""));
    CRecordingSink sink;
    col->AddEventListener(&sink);
    for (const wchar_t* t : {L"a", L"b", L"c", L"d", L"e"}) {
        col->Add(new CItem(t));
    }
    sink.events.clear();

    g_destroyed = 0;
    CSmartPtr<CItem> x(new CItem(L"x"));
    EXPECT_THROW_MSG(col->AddAt(6, x), CVxInvalidParamException, L"Index out of range");
    EXPECT_THROW_MSG(col->AddAt(-1, x), CVxInvalidParamException, L"Index out of range");
    EXPECT_EQ(sink.events, (Events{L"add", L"add"}));
    EXPECT_EQ(g_destroyed, 0);

    CSmartPtr<CItem> stranger(new CItem(L"s"));
    EXPECT_THROW_MSG(col->AddBefore(stranger, x), CVxInvalidParamException,
                     L"The object was not found in the collection");
    EXPECT_THROW_MSG(col->Item(5), CVxInvalidParamException, L"Index 5 is out of range, use 0 - 5");
    sink.events.clear();
    EXPECT_THROW_MSG(col->Remove(5), CVxInvalidParamException,
                     L"Index 5 is out of range, use 0 - 5");
    EXPECT_THROW_MSG(col->Remove(-1), CVxInvalidParamException,
                     L"Index -1 is out of range, use 0 - 5");
    EXPECT_EQ(sink.events, (Events{L"remove(5)", L"remove(-1)"}));
    EXPECT_THROW(col->Add(nullptr), CVxInvalidParamException);
    EXPECT_EQ(Texts(*col), L"abcde");

    auto it = col->end();
    EXPECT_THROW_MSG(++it, CVxException, L"No More Elements in the Collection");
    EXPECT_THROW_MSG(*it, CVxException, L"No More Elements in the Collection");
}

TEST(Collections, NodesHoldOneReferenceEach)
{
    g_destroyed = 0;
    {
        CSmartPtr<CItemCol> col(new CItemCol(L"item", L""));
        CItem* shared = new CItem(L"s");
        col->Add(shared);
        col->Add(shared); // twice: two nodes, two references
        col->Add(new CItem(L"t"));
        col->Remove(0);
        EXPECT_EQ(g_destroyed, 0);
        col->Remove(0);
        EXPECT_EQ(g_destroyed, 1);

        CSmartPtr<CItemCol> copy(new CItemCol(*col)); // shares the remaining item
        CRecordingSink sink;
        col->AddEventListener(&sink);
        col->Clear();
        col->Clear();
        EXPECT_EQ(sink.events, (Events{L"change"})) << "an empty Clear tells nobody";
        EXPECT_EQ(g_destroyed, 1);
        EXPECT_EQ(copy->GetCount(), 1);
    }
    EXPECT_EQ(g_destroyed, 2);
}

TEST(Collections, ReadsTheRunOfMatchingSiblingsAndWritesItBack)
{
    CXmlDocument doc;
    doc.LoadXml(L"<r xmlns:c='urn:c'><c:item>1</c:item><c:item>2</c:item><item>x</item>"
                L"<c:item>3</c:item></r>");
    CXmlElement* first = doc.GetDocumentElement()->GetFirstElement();
    CSmartPtr<CItemCol> col(new CItemCol(L"item", L"urn:c", 0, 5));
    CSerializationContext ctx;

    CXmlElement* rest = col->FromXml_Int(doc.GetDocumentElement(), first, ctx, false);
    ASSERT_NE(rest, nullptr);
    EXPECT_EQ(rest->GetText(), L"x") << "stops at the unqualified item";
    EXPECT_EQ(Texts(*col), L"12");
    EXPECT_EQ(col->Item(1)->GetElementName(), L"item");

    // Namespace-blind reading takes the unqualified one too, and runs to the end.
    ctx.SetIgnoreNamespaces(true);
    col->Clear();
    EXPECT_EQ(col->FromXml_Int(doc.GetDocumentElement(), first, ctx, false), nullptr);
    EXPECT_EQ(Texts(*col), L"12x3");

    const std::wstring xml = VxTest::WriteXml([&](CXmlWriter* w) {
        w->StartElement(L"r", L"");
        col->ToXml_Int(w, false, L"urn:ignored", ctx, false);
        w->EndElement();
    });
    EXPECT_EQ(xml, L"<r><AA:item xmlns:AA=\"urn:c\">1</AA:item><AA:item xmlns:AA=\"urn:c\">2"
                   L"</AA:item><AA:item xmlns:AA=\"urn:c\">x</AA:item><AA:item "
                   L"xmlns:AA=\"urn:c\">3</AA:item></r>");
}

TEST(Collections, AnItemThatFailsToReadIsNotAppended)
{
    CXmlDocument doc;
    doc.LoadXml(L"<r><item>1</item><item>bad</item><item>3</item></r>");
    CSmartPtr<CItemCol> col(new CItemCol(L"item", L""));
    g_destroyed = 0;
    EXPECT_THROW_MSG(col->FromXml_Int(doc.GetDocumentElement(),
                                      doc.GetDocumentElement()->GetFirstElement(),
                                      CSerializationContext(), false),
                     CVxInvalidValueException, L"bad item");
    EXPECT_EQ(Texts(*col), L"1");
    EXPECT_EQ(g_destroyed, 1) << "the failed item was freed";
}

TEST(Collections, WritingChecksTheCount)
{
    CSmartPtr<CItemCol> col(new CItemCol(L"item", L"", 2, 3));
    CSerializationContext ctx;
    col->Add(new CItem(L"a"));
    EXPECT_FALSE(col->IsValidCount(ctx));
    EXPECT_THROW_MSG(VxTest::WriteXml([&](CXmlWriter* w) {
                         w->StartElement(L"r", L"");
                         col->ToXml_Int(w, false, L"", ctx, false);
                     }),
                     CVxValidationException,
                     L"The Minimum number of [item] elements allowed in this collection is 2");
    for (int i = 0; i < 3; ++i) {
        col->Add(new CItem(L"b"));
    }
    EXPECT_FALSE(col->IsValidCount(ctx));
    EXPECT_THROW_MSG(col->ValidateCount(ctx), CVxValidationException,
                     L"The Maximum number of [item] elements allowed in this collection is 3");
    ctx.SetIgnoreInvalidCollectionCounts(true);
    EXPECT_TRUE(col->IsValidCount(ctx));
    EXPECT_NO_THROW(col->ValidateCount(ctx));

    CSmartPtr<CItemCol> unbounded(new CItemCol(L"item", L"", 0, -1));
    for (int i = 0; i < 1000; ++i) {
        unbounded->Add(new CItem(L"u"));
    }
    EXPECT_TRUE(unbounded->IsValidCount(CSerializationContext()));
}
