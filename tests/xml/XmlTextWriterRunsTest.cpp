// The text writer reads names and values in blocks and reuses what it
// resolved for the parent element; these tests aim at the edges of both.
#include "TestHelpers.h"

#include <cstring>
#include <functional>
#include <string>
#include <sys/mman.h>
#include <unistd.h>
#include <vxxml/TextStream.h>
#include <vxxml/XmlTextWriter.h>

using namespace VxXmlLib16;

namespace {

// The escaping of the writer spelled out plainly, to compare runs with.
std::wstring Escaped(const std::wstring& text, bool attribute)
{
    std::wstring out;
    for (wchar_t c : text) {
        switch (c) {
        case L'&':
            out += L"&amp;";
            break;
        case L'<':
            out += L"&lt;";
            break;
        case L'>':
            out += L"&gt;";
            break;
        case L'"':
            out += attribute ? L"&quot;" : L"\"";
            break;
        case L'\n':
            out += attribute ? L"&#xA;" : L"\n";
            break;
        case L'\t':
            out += attribute ? L"&#x9;" : L"\t";
            break;
        case L'\r':
            break;
        default:
            out += c;
        }
    }
    return out;
}

// Two pages, the second inaccessible: a text placed to end at the first
// page's end faults if anything reads past its terminator into the next page.
class PageEnd
{
public:
    PageEnd() : m_size(static_cast<size_t>(sysconf(_SC_PAGESIZE)))
    {
        void* p =
            mmap(nullptr, 2 * m_size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        m_base = p == MAP_FAILED ? nullptr : static_cast<char*>(p);
        if (m_base) {
            mprotect(m_base + m_size, m_size, PROT_NONE);
        }
    }
    ~PageEnd()
    {
        if (m_base) {
            munmap(m_base, 2 * m_size);
        }
    }
    bool Ok() const { return m_base != nullptr; }
    // Copies text so that its terminating zero is the page's last character.
    const wchar_t* Place(const std::wstring& text, size_t slot)
    {
        // Several texts live side by side: slot n ends n * 64 characters
        // before the page end (slot 0 right at it).
        wchar_t* end = reinterpret_cast<wchar_t*>(m_base + m_size) - 1 - slot * 64;
        wchar_t* start = end - text.size();
        std::memcpy(start, text.data(), text.size() * sizeof(wchar_t));
        *end = 0;
        return start;
    }

private:
    size_t m_size;
    char* m_base = nullptr;
};

std::wstring Write(const std::function<void(CXmlTextWriter&)>& body)
{
    CTextStream stream(XmlEncoding_UTF8);
    CXmlTextWriter writer(&stream);
    writer.StartDocument();
    writer.SetFormatting(false);
    body(writer);
    writer.EndDocument();
    return stream.GetText();
}

// Writes v as an attribute value and as element text, and compares with the
// reference escaping.
void ExpectEscapedBothWays(const std::wstring& v, const std::string& where)
{
    const std::wstring out = Write([&](CXmlTextWriter& w) {
        w.StartElement(L"r", L"");
        w.WriteAttribute(L"a", L"", v.c_str(), ItemType_string);
        w.WriteElementText(v.c_str(), ItemType_string, false);
        w.EndElement();
    });
    EXPECT_EQ(out, L"<r a=\"" + Escaped(v, true) + L"\">" + Escaped(v, false) + L"</r>") << where;
}

} // namespace

TEST(XmlTextWriterRuns, TextsEndingAtAPageEndAreReadUpToTheirEndOnly)
{
    PageEnd page;
    ASSERT_TRUE(page.Ok());
    // Every length up to a few blocks puts the terminator at every position
    // of a block; specials sit at the start, the end and in between.
    for (size_t length = 0; length <= 13; ++length) {
        std::wstring value;
        for (size_t i = 0; i < length; ++i) {
            value += i % 5 == 0 ? L'&' : (i % 3 == 0 ? L'"' : static_cast<wchar_t>(L'a' + i));
        }
        const std::wstring name = L"n" + std::wstring(length, L'm');
        const std::wstring uri = L"urn:" + std::wstring(length, L'u');
        const std::wstring out = Write([&](CXmlTextWriter& w) {
            w.StartElement(page.Place(name, 0), page.Place(uri, 1));
            w.StartElement(page.Place(name, 0), page.Place(uri, 1)); // same URI again
            w.WriteAttribute(page.Place(name, 2), L"", page.Place(value, 3), ItemType_string);
            w.WriteElementText(page.Place(value, 4), ItemType_string, false);
            w.EndElement();
            w.EndElement();
        });
        const std::wstring tag = L"AA:" + name;
        const std::wstring text =
            length ? L">" + Escaped(value, false) + L"</" + tag + L">" : L"/>";
        EXPECT_EQ(out, L"<" + tag + L" xmlns:AA=\"" + uri + L"\"><" + tag + L" " + name + L"=\"" +
                           Escaped(value, true) + L"\"" + text + L"</" + tag + L">")
            << "length " << length;
    }
}

TEST(XmlTextWriterRuns, LongValuesAreEscapedAcrossTheWritersBuffer)
{
    // The writer hands its text over in pieces; specials right before, at
    // and after the piece boundaries, and characters beyond ASCII.
    std::wstring value;
    for (size_t i = 0; i < 9000; ++i) {
        const size_t m = i % 2048;
        value += m < 3 || m > 2044 ? L"&<>\"\n\r\t"[i % 7] : static_cast<wchar_t>(0x3B1 + i % 20);
    }
    for (size_t offset : {0u, 1u, 2u, 3u}) {
        ExpectEscapedBothWays(value.substr(offset), "offset " + std::to_string(offset));
    }
}

TEST(XmlTextWriterRuns, ChildrenReusePrefixesOnlyWhileTheScopeIsUnchanged)
{
    // Leaves written in one call must resolve their prefixes as the three
    // calls do.
    for (const bool simple : {false, true}) {
        const auto leaf = [simple](CXmlTextWriter& w, const wchar_t* name,
                                   const wchar_t* ns = L"urn:x") {
            if (simple) {
                w.WriteSimpleElement(name, ns, L"", ItemType_string, false);
            } else {
                w.StartElement(name, ns);
                w.EndElement();
            }
        };
        const std::wstring out = Write([&leaf](CXmlTextWriter& w) {
            w.AddNamespace(L"p", L"urn:x");
            w.StartElement(L"root", L"");
            w.StartElement(L"a", L"urn:x");
            leaf(w, L"a1");                 // the parent's prefix
            w.AddNamespace(L"q", L"urn:x"); // rebinds the URI in a's scope
            w.StartElement(L"b", L"urn:x");
            w.AddNamespace(L"r", L"urn:x"); // and again, in b's own scope
            leaf(w, L"c");
            w.EndElement();
            leaf(w, L"b2"); // back in a's scope
            w.EndElement(); // a's end tag repeats its start tag
            w.StartElement(L"d", L"urn:x");
            w.SetDefaultNamespace(L"urn:x");
            leaf(w, L"e"); // now the default namespace
            w.EndElement();
            w.StartElement(L"f", L"urn:x"); // the contexts of a and d are reused
            leaf(w, L"g");
            w.EndElement();
            w.StartElement(L"h", L"urn:z"); // h declares a prefix of its own
            w.AddNamespace(L"s", L"urn:z"); // and rebinds it
            leaf(w, L"i", L"urn:z");
            w.EndElement();
            w.EndElement();
        });
        EXPECT_EQ(out, L"<root xmlns:p=\"urn:x\"><p:a><p:a1/><q:b><r:c/></q:b><q:b2/></p:a>"
                       L"<p:d><e/></p:d><p:f><p:g/></p:f>"
                       L"<AA:h xmlns:AA=\"urn:z\"><s:i/></AA:h></root>")
            << "simple leaves: " << simple;
    }
}

TEST(XmlTextWriterRuns, IndentationFollowsTheCurrentIndentCharacters)
{
    CTextStream stream(XmlEncoding_UTF8);
    CXmlTextWriter writer(&stream);
    auto nest = [&writer](int depth) {
        for (int i = 0; i < depth; ++i) {
            writer.StartElement(L"e", L"");
        }
        for (int i = 0; i < depth; ++i) {
            writer.EndElement();
        }
    };
    writer.StartDocument();
    nest(3);
    writer.SetIndentChars(L"  ");
    nest(2);
    writer.EndDocument();
    EXPECT_EQ(std::wstring(stream.GetText()),
              L"<e>\n\t<e>\n\t\t<e/>\n\t</e>\n</e>\n<e>\n  <e/>\n</e>\n");
}

TEST(XmlTextWriterRuns, CharactersLookedAtButNotEscapedAreKept)
{
    // Every ASCII character and a few beyond, shifted through each position
    // of a block: control characters, and neighbours of the escaped ones
    // ('=' and '?' beside '<' and '>', '$' and '\'' beside '"' and '&').
    std::wstring all;
    for (wchar_t c = 1; c < 0x80; ++c) {
        all += c;
    }
    all += L"\u00E9\u20AC\U0001F600";
    for (size_t shift = 0; shift < 4; ++shift) {
        ExpectEscapedBothWays(std::wstring(shift, L'x') + all, "shift " + std::to_string(shift));
    }
}

TEST(XmlTextWriterRuns, EndTagsRepeatTheirStartTagsAcrossBufferHandOvers)
{
    // Start tags of every length land on every position around the points
    // where the writer hands its buffer to the stream (every 2048
    // characters); a prefix rebound while an element is open must not change
    // its end tag.
    std::wstring expected = L"<root xmlns:p=\"urn:p\">";
    const std::wstring out = Write([&](CXmlTextWriter& w) {
        w.AddNamespace(L"p", L"urn:p");
        w.StartElement(L"root", L"");
        for (size_t i = 0; i < 600; ++i) {
            std::wstring name = L"e" + std::wstring(i % 37, i % 2 ? L'\u00E9' : L'n');
            if (i % 11 == 0) {
                name += L"\U0001F600";
            }
            const bool prefixed = i % 3 == 0;
            const std::wstring tag = prefixed ? L"p:" + name : name;
            w.StartElement(name.c_str(), prefixed ? L"urn:p" : L"");
            if (i % 5 == 0) {
                w.AddNamespace(L"q", L"urn:p"); // later elements would use q
            }
            const std::wstring text(i % 7, L't');
            w.WriteElementText(text.c_str(), ItemType_string, false);
            w.EndElement();
            expected +=
                text.empty() ? L"<" + tag + L"/>" : L"<" + tag + L">" + text + L"</" + tag + L">";
        }
        w.EndElement();
    });
    EXPECT_EQ(out, expected + L"</root>");
}

TEST(XmlTextWriterRuns, EveryLengthWithASpecialAtEveryPositionIsEscaped)
{
    // Short texts are checked in overlapping blocks: a character to escape
    // (or one only looked at: the tab, and characters a block narrows) must
    // be found at every position of every short length, in element text,
    // attribute values and simple elements alike.
    const std::wstring specials = L"&<>\"\n\r\t\u7FFF\uFFFD\U0001F600";
    PageEnd page;
    ASSERT_TRUE(page.Ok());
    for (size_t length = 1; length <= 20; ++length) {
        // Nothing to escape: the copy runs to the text's end and no further.
        const std::wstring plain(length, L'v');
        const std::wstring out = Write([&](CXmlTextWriter& w) {
            w.StartElement(L"r", L"");
            w.WriteAttribute(L"a", L"", page.Place(plain, 0), ItemType_string);
            w.WriteElementText(page.Place(plain, 1), ItemType_string, false);
            w.EndElement();
        });
        EXPECT_EQ(out, L"<r a=\"" + plain + L"\">" + plain + L"</r>");
        for (size_t at = 0; at < length; ++at) {
            for (const wchar_t special : specials) {
                std::wstring v(length, L'v');
                v[at] = special;
                const std::string where =
                    "length " + std::to_string(length) + " at " + std::to_string(at);
                ExpectEscapedBothWays(v, where);
                const std::wstring out = Write([&](CXmlTextWriter& w) {
                    w.StartElement(L"r", L"");
                    w.WriteSimpleElement(L"s", L"", v, ItemType_string, false);
                    w.EndElement();
                });
                EXPECT_EQ(out, L"<r><s>" + Escaped(v, false) + L"</s></r>") << where;
            }
        }
    }
}

TEST(XmlTextWriterRuns, SimpleElementsWriteWhatTheThreeCallsWriteAroundHandOvers)
{
    // Simple elements of every size land on every position around the
    // points where the writer hands its buffer on; some need escaping (the
    // end tag then follows a hand-over or not), some are CDATA, empty or
    // default values. Line ends and indentation of both kinds.
    for (const EOLType eol : {EOL_LF, EOL_CRLF}) {
        std::wstring outputs[2];
        for (const bool simple : {false, true}) {
            CTextStream stream(XmlEncoding_UTF8);
            CXmlTextWriter writer(&stream);
            writer.StartDocument();
            writer.SetEOLType(eol);
            writer.SetIndentChars(L"  ");
            writer.AddNamespace(L"p", L"urn:p");
            writer.StartElement(L"root", L"urn:p");
            for (size_t i = 0; i < 900; ++i) {
                writer.StartElement(L"item", i % 4 == 0 ? L"urn:p" : L"");
                for (size_t k = 0; k < 2; ++k) {
                    const std::wstring name = L"e" + std::wstring((i + k) % 23, L'n');
                    std::wstring text((i * 7 + k) % 41, L't');
                    if (i % 3 == 0 && !text.empty()) {
                        text[i % text.size()] = i % 2 ? L'&' : L'\n';
                    }
                    if (i % 17 == 0) {
                        text = L"<![CDATA[a&b]]>";
                    }
                    const bool isDefault = i % 13 == 0;
                    const wchar_t* uri = (i + k) % 5 == 0 ? L"urn:p" : L"";
                    if (simple) {
                        writer.WriteSimpleElement(name, uri, text, ItemType_string, isDefault);
                    } else {
                        writer.StartElement(name.c_str(), uri);
                        writer.WriteElementText(text.c_str(), ItemType_string, isDefault);
                        writer.EndElement();
                    }
                }
                writer.EndElement();
            }
            writer.EndElement();
            writer.EndDocument();
            outputs[simple ? 1 : 0] = stream.GetText();
        }
        EXPECT_GT(outputs[0].size(), 20000u);
        EXPECT_EQ(outputs[1], outputs[0]) << "EOL type " << eol;
    }
}

TEST(XmlTextWriterRuns, AttributesAroundHandOversAreWrittenWhole)
{
    // Attributes of every size, some in a namespace, some with a character
    // to escape somewhere, land on every position around the points where
    // the writer hands its buffer on.
    std::wstring expected = L"<root xmlns:p=\"urn:p\"><e";
    const std::wstring out = Write([&](CXmlTextWriter& w) {
        w.AddNamespace(L"p", L"urn:p");
        w.StartElement(L"root", L"");
        w.StartElement(L"e", L"");
        for (size_t i = 0; i < 700; ++i) {
            const std::wstring name = L"a" + std::to_wstring(i) + std::wstring(i % 19, L'n');
            std::wstring value((i * 5) % 47, L'v');
            if (i % 3 == 0 && !value.empty()) {
                value[(i * 7) % value.size()] = L"&\"<\n\t"[i % 5];
            }
            const bool prefixed = i % 4 == 0;
            w.WriteAttribute(name.c_str(), prefixed ? L"urn:p" : L"", value.c_str(),
                             ItemType_string);
            expected +=
                L" " + (prefixed ? L"p:" + name : name) + L"=\"" + Escaped(value, true) + L"\"";
        }
        w.EndElement();
        w.EndElement();
    });
    EXPECT_EQ(out, expected + L"/></root>");
}

TEST(XmlTextWriterRuns, PrefixesFoundBeforeAreNotReusedOnceTheScopeChanged)
{
    // The writer keeps the prefixes it found for the last namespaces; a
    // rebinding, or a closed element whose context is reused for a sibling
    // with another scope, must make it look again.
    const std::wstring out = Write([](CXmlTextWriter& w) {
        w.AddNamespace(L"p", L"urn:x");
        w.StartElement(L"root", L"");
        w.StartElement(L"a", L"urn:x");
        w.WriteAttribute(L"t", L"urn:x", L"1", ItemType_string);
        w.EndElement();
        w.StartElement(L"b", L"");
        w.AddNamespace(L"q", L"urn:x");
        w.WriteAttribute(L"t", L"urn:x", L"2", ItemType_string);
        w.StartElement(L"c", L"urn:x");
        w.WriteAttribute(L"t", L"urn:x", L"3", ItemType_string);
        w.EndElement();
        w.EndElement();
        w.StartElement(L"d", L""); // in b's place, without b's binding
        w.WriteAttribute(L"t", L"urn:x", L"4", ItemType_string);
        for (const wchar_t* rebind : {L"r", L"", L"s"}) {
            if (*rebind == L's') {
                w.AddNamespace(L"z", L"urn:z"); // d's own scope from here on
            }
            w.StartElement(L"e", L""); // the same context each time
            if (*rebind) {
                w.AddNamespace(rebind, L"urn:x");
            }
            w.WriteAttribute(L"t", L"urn:x", L"5", ItemType_string);
            w.WriteSimpleElement(L"f", L"urn:x", L"6", ItemType_string, false);
            w.EndElement();
        }
        w.EndElement();
        w.EndElement();
    });
    EXPECT_EQ(out, L"<root xmlns:p=\"urn:x\"><p:a p:t=\"1\"/><b q:t=\"2\"><q:c q:t=\"3\"/></b>"
                   L"<d p:t=\"4\"><e r:t=\"5\"><r:f>6</r:f></e><e p:t=\"5\"><p:f>6</p:f></e>"
                   L"<e s:t=\"5\"><s:f>6</s:f></e></d></root>");
}
