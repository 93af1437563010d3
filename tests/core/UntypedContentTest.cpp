#include "TestHelpers.h"
#include "core/CollectionTestSupport.h"

#include <vxxml/Element.h>
#include <vxxml/XmlDocument.h>

using namespace VxXmlLib16;

namespace {

// Compares a held element with the tree element it must stand for: names,
// namespaces, attributes (in order), text and children, recursively.
void ExpectSame(const CXmlElement* expected, const CElement* actual, const std::wstring& path)
{
    SCOPED_TRACE(Narrow(path));
    EXPECT_EQ(actual->GetName(), expected->GetLocalName());
    EXPECT_EQ(actual->GetNamespace(), expected->GetNamespaceURI());
    EXPECT_EQ(actual->GetText(), expected->GetText());
    CSmartPtr<CAttributeCol> attributes = actual->GetAttributes();
    ASSERT_EQ(attributes->GetCount(), static_cast<int>(expected->GetAttributes().size()));
    int i = 0;
    for (const CXmlAttribute* a : expected->GetAttributes()) {
        CSmartPtr<CAttribute> held = attributes->Item(i++);
        EXPECT_EQ(held->GetName(), a->GetLocalName());
        EXPECT_EQ(held->GetNamespace(), a->GetNamespaceURI());
        EXPECT_EQ(held->GetValue(), a->GetValue());
    }
    CSmartPtr<CElementCol> children = actual->GetChildElements();
    const CXmlElement* child = expected->GetFirstElement();
    for (const CElement* held : *children) {
        ASSERT_NE(child, nullptr) << "more children held than read";
        ExpectSame(child, held, path + L"/" + child->GetLocalName());
        child = child->GetNextSiblingElement();
    }
    EXPECT_EQ(child, nullptr) << "fewer children held than read";
}

std::wstring Write(const CElement& element, bool formatting = false,
                   const CSerializationContext& ctx = CSerializationContext())
{
    CTextStream stream;
    CXmlTextWriter writer(&stream);
    writer.SetFormatting(formatting);
    writer.StartDocument();
    element.ToXml_Int(&writer, true, nullptr, ctx, false);
    writer.EndDocument();
    return stream.GetText();
}

const wchar_t* const kDocument =
    L"<o:order xmlns:o='urn:order' xmlns:x='urn:ext' id='7' x:flag='a &amp; b'>"
    L"<o:line n='1'>caf\u00e9 &lt;cr\u00e8me&gt;</o:line>"
    L"<line xmlns=''>unqualified in a qualified parent</line>"
    L"<x:note><x:deep x:q='&quot;'/>tail text</x:note>"
    L"<o:empty/>"
    L"</o:order>";

} // namespace

TEST(UntypedContent, ASubtreeRoundTripsThroughText)
{
    CXmlDocument source;
    source.LoadXml(kDocument);
    CSmartPtr<CElement> element(new CElement(L"placeholder"));
    element->FromXml(kDocument);
    ExpectSame(source.GetDocumentElement(), element, L"");

    // Written and read again, nothing is lost or changed.
    const std::wstring written = Write(*element);
    CXmlDocument reread;
    reread.LoadXml(written.c_str());
    ExpectSame(reread.GetDocumentElement(), element, L"");

    // Indented output adds only layout: read back, it writes the same text
    // (once no element mixes text with children: indentation inside such an
    // element cannot be told from its text).
    element->GetChildElements()->Item(2)->SetText(L"");
    CSmartPtr<CElement> fromIndented(new CElement(L"placeholder"));
    fromIndented->FromXml(Write(*element, true).c_str());
    EXPECT_EQ(Write(*fromIndented), Write(*element));
}

TEST(UntypedContent, NamespaceOnWriting)
{
    CSmartPtr<CElement> element(new CElement(L"e"));
    element->GetChildElements()->Add(L"kid", L"");
    element->GetAttributes()->Add(L"a", L"1");
    element->SetText(L"t");
    CSerializationContext ctx;
    auto write = [&](const CElement& e, const wchar_t* ns) {
        return VxTest::WriteXml([&](CXmlWriter* w) { e.ToXml_Int(w, false, ns, ctx, false); });
    };
    // No namespace of its own: the caller's; the child keeps having none.
    EXPECT_EQ(write(*element, L"urn:arg"), L"<AA:e xmlns:AA=\"urn:arg\" a=\"1\">t<kid/></AA:e>");
    EXPECT_EQ(write(*element, nullptr), L"<e a=\"1\">t<kid/></e>");
    element->SetNamespace(L"urn:own");
    EXPECT_EQ(write(*element, L"urn:arg"), L"<AA:e xmlns:AA=\"urn:own\" a=\"1\">t<kid/></AA:e>");

    // Through the entry point it is written as it is held: unqualified, even
    // under a restriction that has a target namespace.
    CSmartPtr<CElement> other(new CElement(L"b", L"", L"##other", L"urn:t"));
    EXPECT_EQ(other->ToXml(false, false), L"<b/>");

    // As the root it carries the context's declarations and extra attributes.
    ctx.GetNamespaceAliases().Add(L"p", L"urn:p");
    const CSerializationContext& constCtx = ctx;
    CSmartPtr<CAttributeCol> extra = constCtx.GetAdditionalRootAttributes();
    EXPECT_EQ(extra.Get(), ctx.GetAdditionalRootAttributes().Get());
    extra->Add(L"v", L"urn:p", L"2");
    CSerializationContext copy(ctx);
    EXPECT_EQ(copy.GetAdditionalRootAttributes().Get(), extra.Get());
    EXPECT_EQ(Write(*element, false, copy),
              L"<AA:e xmlns:AA=\"urn:own\" xmlns:p=\"urn:p\" p:v=\"2\" a=\"1\">t<kid/></AA:e>");
}

TEST(UntypedContent, CollectionsStopAtTheFirstForbiddenNamespace)
{
    CXmlDocument doc;
    doc.LoadXml(L"<r xmlns:t='urn:t' xmlns:o='urn:o'><o:a/><b/><t:c/><o:d/></r>");
    CXmlElement* first = doc.GetDocumentElement()->GetFirstElement();
    struct Case
    {
        const wchar_t* restriction;
        const wchar_t* taken;
        const wchar_t* stop;
    };
    const Case cases[] = {
        {L"##any", L"abcd", L"end"},
        {L"##other", L"ab", L"c"}, // unqualified counts as other than urn:t
        {L"##local", L"", L"a"},
        {L"##targetNamespace", L"", L"a"},
        {L"urn:o ##local", L"ab", L"c"},
        {L"  urn:o\t##targetNamespace ", L"a", L"b"},
        {L"urn:x", L"", L"a"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(Narrow(c.restriction));
        CSmartPtr<CElementCol> col(new CElementCol(L"urn:t", c.restriction, L"urn:t"));
        CXmlElement* rest =
            col->FromXml_Int(doc.GetDocumentElement(), first, CSerializationContext(), false);
        std::wstring taken;
        for (const CElement* e : *col) {
            taken += e->GetName();
        }
        EXPECT_EQ(taken, c.taken);
        EXPECT_EQ(rest ? rest->GetLocalName() : L"end", c.stop);
    }

    CSmartPtr<CElementCol> locked(new CElementCol(L"", L"##any", L""));
    CXmlElement* rest = locked->FromXmlLockElementName_Int(L"a", L"urn:o", nullptr, first,
                                                           CSerializationContext(), false);
    EXPECT_EQ(locked->GetCount(), 1);
    EXPECT_EQ(rest->GetLocalName(), L"b");

    // Adding by hand is held to the same rule.
    CSmartPtr<CElementCol> other(new CElementCol(L"urn:t", L"##other", L"urn:t"));
    EXPECT_THROW_MSG(other->Add(L"x"), CVxInvalidNamespaceException,
                     L"The namespace urn:t in the class x is invalid against restriction ##other");
    CSmartPtr<CElement> free(new CElement(L"y", L"urn:t"));
    EXPECT_THROW_MSG(other->Add(free), CVxInvalidNamespaceException,
                     L"The namespace urn:t in the class y is invalid against restriction ##other");
    EXPECT_EQ(other->GetCount(), 0);
}

TEST(UntypedContent, AttributesInAForbiddenNamespaceAreRefused)
{
    CXmlDocument doc;
    doc.LoadXml(L"<r xmlns:t='urn:t'><e ok='1' t:bad='2'/></r>");
    CXmlElement* e = doc.GetDocumentElement()->GetFirstElement();
    CSmartPtr<CAttributeCol> col(new CAttributeCol(L"", L"##other", L"urn:t"));
    EXPECT_THROW_MSG(col->FromXml_Int(e, nullptr, CSerializationContext(), false),
                     CVxInvalidNamespaceException,
                     L"Invalid Attribute [bad]. The attributes namespace is Inappropriate."
                     L"\nPath: /r/e");
    EXPECT_THROW_MSG(
        col->Add(L"bad", L"urn:t", L"2"), CVxInvalidNamespaceException,
        L"The namespace urn:t in the class bad is invalid against restriction ##other");

    CSmartPtr<CAttributeCol> any(new CAttributeCol(L"", L"##any", L""));
    EXPECT_EQ(any->FromXml_Int(e, nullptr, CSerializationContext(), false), nullptr);
    EXPECT_EQ(any->GetCount(), 2);
    EXPECT_EQ(any->Item(1)->GetNamespace(), L"urn:t");
    EXPECT_THROW_MSG(any->Item(0)->FromXml_Int(e, nullptr, CSerializationContext(), false),
                     CVxException, L"This should be done by the collection");
}

TEST(UntypedContent, ConstructionAndSettersCheckTheirArguments)
{
    EXPECT_THROW_MSG(CElement(nullptr, L"urn:a", L"##any", L""), CVxInvalidNamespaceException,
                     L"Element Name must have a value");
    EXPECT_THROW_MSG(CElement(L"e", L"urn:a", nullptr, L""), CVxInvalidNamespaceException,
                     L"Namespace Restriction must have a value");
    EXPECT_THROW_MSG(CElement(L"e", L"urn:a", L"##any", nullptr), CVxInvalidNamespaceException,
                     L"Target Namespace must have a value");
    EXPECT_THROW_MSG(CElement(L"e", L"urn:a", L"##local", L""), CVxInvalidNamespaceException,
                     L"The namespace urn:a in the class e is invalid against restriction ##local");

    CSmartPtr<CElement> e(new CElement(L"e", L"urn:a", L"##other", L"urn:t"));
    try {
        e->SetNamespaceRestrictions(L"##targetNamespace", L"urn:t");
        ADD_FAILURE() << "a restriction that forbids the element's namespace was taken";
    } catch (const CVxInvalidNamespaceException& ex) {
        ASSERT_NE(ex.GetInnerException(), nullptr);
    }
    EXPECT_EQ(e->GetNamespaceRestriction(), L"##other");
    EXPECT_THROW(e->SetNamespace(L"urn:t"), CVxInvalidNamespaceException);
    EXPECT_EQ(e->GetNamespace(), L"urn:a");
    e->SetNamespaceRestrictions(L"urn:a urn:b", L"");
    e->SetNamespace(L"urn:b");

    CSmartPtr<CElementCol> noNamespace(new CElementCol(L"", L"##any", L""));
    EXPECT_THROW_MSG(noNamespace->Add(L"x"), CVxInvalidStateException,
                     L"A Namespace has not been set for this Collection");
    EXPECT_THROW_MSG(e->FromXml(L"<q xmlns='urn:t'/>"), CVxInvalidNamespaceException,
                     L"The namespace urn:t in the class e is invalid against restriction urn:a "
                     L"urn:b");
    CXmlDocument doc;
    doc.LoadXml(L"<r><q xmlns='urn:t'/></r>");
    EXPECT_THROW(e->FromXmlElement(doc.GetDocumentElement()->GetFirstElement()),
                 CVxInvalidNamespaceException);
    EXPECT_EQ(e->GetName(), L"e");

    // An element made under a parent tells it of its changes.
    VxTest::CRecordingSink sink;
    CSmartPtr<CElementCol> parent(new CElementCol(L"urn:p", L"##any", L""));
    CSmartPtr<CElement> kid(new CElement(parent, L"kid"));
    EXPECT_EQ(kid->GetNamespace(), L"urn:p");
    kid->SetEventSink(&sink);
    kid->SetText(L"t");
    kid->SetName(L"k2");
    EXPECT_EQ(sink.events, (std::vector<std::wstring>{L"7:t", L"5:k2"}));
}

TEST(UntypedContent, ClonesAreIndependent)
{
    CSmartPtr<CElement> original(new CElement(L"p"));
    original->FromXml(kDocument);
    CSmartPtr<CElement> clone = original->Clone();
    const std::wstring before = Write(*original);
    EXPECT_EQ(Write(*clone), before);

    clone->SetText(L"changed");
    clone->GetAttributes()->Item(0)->SetValue(L"changed");
    clone->GetChildElements()->Item(0)->SetName(L"changed");
    clone->GetChildElements()->Item(2)->GetChildElements()->Remove(0);
    clone->GetChildElements()->Add(L"more");
    EXPECT_EQ(Write(*original), before);
    EXPECT_NE(original->GetChildElements()->Item(0).Get(),
              clone->GetChildElements()->Item(0).Get());

    // CopyXmlElement replaces everything with the tree element's content.
    CXmlDocument doc;
    doc.LoadXml(L"<only a='1'>x</only>");
    clone->CopyXmlElement(doc.GetDocumentElement());
    ExpectSame(doc.GetDocumentElement(), clone, L"");
    EXPECT_THROW(clone->CopyXmlElement(nullptr), CVxInvalidParamException);
}
