// Text read from a document and written again stays text: only text that is
// exactly one CDATA section is written as it stands.

#include "TestHelpers.h"

#include <vxxml/vxxml.h>

using namespace VxXmlLib16;

namespace {

TEST(TextInjection, TextThatOnlyLooksLikeCDataIsEscaped)
{
    const struct
    {
        const wchar_t* document; // one element <a> holding the text
        const wchar_t* written;  // what <a> is written as
    } cases[] = {
        // A section followed by markup: written raw, a real element would
        // appear in the output.
        {L"<a>&lt;![CDATA[]]&gt;&lt;injected evil='1'/&gt;</a>",
         L"<a>&lt;![CDATA[]]&gt;&lt;injected evil='1'/&gt;</a>"},
        // An unterminated section: written raw, the output would not parse.
        {L"<a>&lt;![CDATA[abc</a>", L"<a>&lt;![CDATA[abc</a>"},
        // Two sections, or one with text after it.
        {L"<a>&lt;![CDATA[x]]&gt;&lt;![CDATA[y]]&gt;</a>",
         L"<a>&lt;![CDATA[x]]&gt;&lt;![CDATA[y]]&gt;</a>"},
        {L"<a>&lt;![CDATA[x]]&gt; tail</a>", L"<a>&lt;![CDATA[x]]&gt; tail</a>"},
        // Exactly one section, as reading keeps it when CDATA is not
        // stripped: written as it stands.
        {L"<a><![CDATA[<b>&]]></a>", L"<a><![CDATA[<b>&]]></a>"},
    };
    CSerializationContext keepCData;
    keepCData.SetStripCDATA(false);
    for (const auto& c : cases) {
        CSmartPtr<CElement> a(new CElement(L"a"));
        a->FromXml(c.document, keepCData);
        const std::wstring written = a->ToXml(false, false);
        EXPECT_EQ(written, c.written) << Narrow(c.document);
        // And it reads back to the same text.
        CSmartPtr<CElement> back(new CElement(L"a"));
        back->FromXml(written.c_str(), keepCData);
        EXPECT_EQ(back->GetText(), a->GetText()) << Narrow(c.document);
    }
}

} // namespace
