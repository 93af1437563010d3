#include "TestHelpers.h"

#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>
#include <vxxml/TextStream.h>
#include <vxxml/XmlTextWriter.h>

using namespace VxXmlLib16;

namespace {

const wchar_t* const kXsi = L"http://www.w3.org/2001/XMLSchema-instance";

// A memory stream that records what the writer asks of it: every flush hands
// over the buffered text, which is then cleared, as a file stream would.
class RecordingStream : public CTextStream
{
public:
    explicit RecordingStream(XmlEncoding encoding = XmlEncoding_UTF8) : CTextStream(encoding) {}

    void Open() override
    {
        ++opens;
        CTextStream::Open();
    }
    void Close() override
    {
        ++closes;
        CTextStream::Close();
    }
    void Flush() override
    {
        flushedLengths.push_back(GetLength());
        flushed += GetText();
        CTextStream::Open(); // clears the buffer
    }
    // Everything written so far, flushed or not.
    std::wstring All() { return flushed + GetText(); }

    int opens = 0;
    int closes = 0;
    std::vector<uint32_t> flushedLengths;
    std::wstring flushed;
};

struct Fixture
{
    explicit Fixture(XmlEncoding encoding = XmlEncoding_UTF8) : stream(encoding), writer(&stream)
    {
        writer.StartDocument();
    }
    // Ends the document, which hands everything to the stream.
    std::wstring Text()
    {
        writer.EndDocument();
        return stream.All();
    }

    RecordingStream stream;
    CXmlTextWriter writer;
};

} // namespace

struct DocumentCase
{
    const char* what;
    std::function<void(CXmlTextWriter&)> write;
    std::wstring expected;
};

TEST(XmlTextWriter, UnformattedDocuments)
{
    // Specials at the start, in the middle, doubled and at the end, so that
    // the run splitting is exercised at every boundary.
    static const wchar_t* const special = L"&a<b>c\"d'e\tf\r\ng\U0001F600\u00E9<>&";
    const std::wstring xsi = kXsi;
    const DocumentCase cases[] = {
        {"text and attribute values escaped by their own tables",
         [](CXmlTextWriter& w) {
             w.StartElement(L"r", L"");
             w.WriteAttribute(L"v", L"", special, ItemType_string);
             w.WriteElementText(special, ItemType_string, false);
             w.EndElement();
         },
         L"<r v=\"&amp;a&lt;b&gt;c&quot;d'e&#x9;f&#xA;g\U0001F600\u00E9&lt;&gt;&amp;\">"
         L"&amp;a&lt;b&gt;c\"d'e\tf\ng\U0001F600\u00E9&lt;&gt;&amp;</r>"},
        {"line feeds follow the EOL type, carriage returns vanish",
         [](CXmlTextWriter& w) {
             w.SetEOLType(EOL_CRLF);
             w.StartElement(L"r", L"");
             w.WriteAttribute(L"v", L"", L"a\r\nb\r", ItemType_string);
             w.WriteElementText(L"a\r\nb\n\rc", ItemType_string, false);
             w.EndElement();
             w.WriteComment(L"x\ny");
         },
         L"<r v=\"a&#xA;b\">a\r\nb\r\nc</r><!--x\r\ny-->\r\n"},
        {"CDATA text is verbatim only when it starts the text",
         [](CXmlTextWriter& w) {
             w.StartElement(L"r", L"");
             w.StartElement(L"a", L"");
             w.WriteElementText(L"<![CDATA[x < & y]]>", ItemType_string, false);
             w.EndElement();
             w.StartElement(L"b", L"");
             w.WriteElementText(L" <![CDATA[x]]>", ItemType_string, false);
             w.EndElement();
             w.EndElement();
         },
         L"<r><a><![CDATA[x < & y]]></a><b> &lt;![CDATA[x]]&gt;</b></r>"},
        {"empty or default values leave the element empty (and its start tag open)",
         [](CXmlTextWriter& w) {
             w.StartElement(L"r", L"");
             w.StartElement(L"a", L"");
             w.WriteElementText(L"", ItemType_string, false);
             w.WriteElementText(nullptr, ItemType_string, false);
             w.WriteAttribute(L"still", L"", L"open", ItemType_string);
             w.EndElement();
             w.StartElement(L"b", L"");
             w.WriteElementText(L"7", ItemType_i4, true);
             w.EndElement();
             w.SetWriteDefaultElementValues(true);
             w.StartElement(L"c", L"");
             w.WriteElementText(L"7", ItemType_i4, true);
             w.EndElement();
             w.EndElement();
         },
         L"<r><a still=\"open\"/><b/><c>7</c></r>"},
        {"the root declares the default namespace and the aliases in URI order",
         [](CXmlTextWriter& w) {
             w.SetDefaultNamespace(L"urn:d");
             w.AddNamespace(L"z", L"urn:a");
             w.AddNamespace(L"y", L"urn:b");
             w.AddNamespace(L"xsi", kXsi);
             w.StartElement(L"root", L"urn:d");
             w.StartElement(L"c", L"urn:b");
             w.WriteAttribute(L"lang", L"http://www.w3.org/XML/1998/namespace", L"en",
                              ItemType_string);
             w.WriteNil();
             w.EndElement();
             w.StartElement(L"plain", L"urn:d");
             w.EndElement();
             w.EndElement();
         },
         L"<root xmlns=\"urn:d\" xmlns:xsi=\"" + xsi +
             L"\" xmlns:z=\"urn:a\" xmlns:y=\"urn:b\">"
             L"<y:c xml:lang=\"en\" xsi:nil=\"true\"/><plain/></root>"},
        {"unknown namespaces get generated prefixes, declared where used",
         [](CXmlTextWriter& w) {
             w.SetDefaultNamespace(L"urn:d");
             w.StartElement(L"root", L"urn:d");
             // An attribute in the default namespace still needs a prefix.
             w.WriteAttribute(L"a", L"urn:d", L"1", ItemType_string);
             w.StartElement(L"x", L"urn:one");
             w.StartElement(L"y", L"urn:one"); // inherits AB from its parent
             w.StartElement(L"z", L"urn:two");
             w.EndElement();
             w.EndElement();
             w.EndElement();
             w.StartElement(L"w", L"urn:two"); // the sibling scope is gone: AB again
             w.EndElement();
             w.EndElement();
         },
         L"<root xmlns=\"urn:d\" xmlns:AA=\"urn:d\" AA:a=\"1\">"
         L"<AB:x xmlns:AB=\"urn:one\"><AB:y><AC:z xmlns:AC=\"urn:two\"/></AB:y>"
         L"</AB:x><AB:w xmlns:AB=\"urn:two\"/></root>"},
        {"generated prefixes skip taken ones",
         [](CXmlTextWriter& w) {
             w.AddNamespace(L"AA", L"urn:taken");
             w.StartElement(L"r", L"urn:new");
             w.EndElement();
         },
         L"<AB:r xmlns:AB=\"urn:new\" xmlns:AA=\"urn:taken\"/>"},
        {"namespace URIs are escaped in declarations",
         [](CXmlTextWriter& w) {
             w.StartElement(L"r", L"urn:a?b=\"1\"&c=<2>");
             w.EndElement();
         },
         L"<AA:r xmlns:AA=\"urn:a?b=&quot;1&quot;&amp;c=&lt;2&gt;\"/>"},
        {"the end tag repeats the start tag's prefix",
         [](CXmlTextWriter& w) {
             w.StartElement(L"r", L"urn:x");
             w.AddNamespace(L"late", L"urn:x");
             w.WriteElementText(L"t", ItemType_string, false);
             w.EndElement();
         },
         L"<AA:r xmlns:AA=\"urn:x\">t</AA:r>"},
        {"xsi:type uses the prefix of the type namespace, declared on the spot",
         [](CXmlTextWriter& w) {
             w.SetDefaultNamespace(L"urn:d");
             w.StartElement(L"root", L"urn:d");
             w.WriteXsiType(L"urn:d", L"Local", ItemType_string);
             w.StartElement(L"c", L"urn:d");
             // A new type namespace is declared followed by two spaces.
             w.WriteXsiType(L"urn:t", L"Derived", ItemType_string);
             w.WriteXsiType(L"urn:t", L"Again", ItemType_string);
             w.EndElement();
             w.EndElement();
         },
         L"<root xmlns=\"urn:d\" xmlns:AA=\"" + xsi +
             L"\" AA:type=\"Local\">"
             L"<c xmlns:AB=\"urn:t\"  AA:type=\"AB:Derived\" AA:type=\"AB:Again\"/></root>"},
    };
    for (const DocumentCase& c : cases) {
        Fixture f;
        f.writer.SetFormatting(false);
        c.write(f.writer);
        EXPECT_EQ(f.Text(), c.expected) << c.what;
    }
}

TEST(XmlTextWriter, DeclarationNamesOnlyUtf8AndUtf16)
{
    struct Case
    {
        XmlEncoding encoding;
        const wchar_t* expected;
    };
    const Case cases[] = {
        {XmlEncoding_UTF8, L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"},
        {XmlEncoding_UTF16, L"<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n"},
        {XmlEncoding_UTF16_NoDecl, L"<?xml version=\"1.0\"?>\n"},
        {XmlEncoding_Unknown, L"<?xml version=\"1.0\"?>\n"},
    };
    for (const Case& c : cases) {
        Fixture f(c.encoding);
        f.writer.WriteXmlDeclaration();
        EXPECT_EQ(f.Text(), c.expected) << c.encoding;
    }
    // The line end follows the declaration even without formatting.
    Fixture f;
    f.writer.SetFormatting(false);
    f.writer.SetEOLType(EOL_CRLF);
    f.writer.WriteXmlDeclaration();
    f.writer.WriteHeadedDirective(L"<!DOCTYPE r>");
    f.writer.StartElement(L"r", L"");
    f.writer.EndElement();
    EXPECT_EQ(f.Text(), L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<!DOCTYPE r>\r\n<r/>");
}

TEST(XmlTextWriter, FormattingIndentsChildrenButNotTextOnlyElements)
{
    Fixture f;
    f.writer.SetIndentChars(L"  ");
    f.writer.SetEOLType(EOL_CRLF);
    f.writer.StartElement(L"root", L"");
    f.writer.WriteAttribute(L"a", L"", L"1", ItemType_i4);
    f.writer.StartElement(L"empty", L"");
    f.writer.EndElement();
    f.writer.StartElement(L"text", L"");
    f.writer.WriteElementText(L"t", ItemType_string, false);
    f.writer.EndElement();
    f.writer.StartElement(L"mixed", L"");
    f.writer.WriteElementText(L"m", ItemType_string, false);
    f.writer.StartElement(L"deep", L"");
    f.writer.EndElement();
    f.writer.EndElement();
    f.writer.EndElement();
    EXPECT_EQ(f.Text(), L"<root a=\"1\">\r\n"
                        L"  <empty/>\r\n"
                        L"  <text>t</text>\r\n"
                        L"  <mixed>m    <deep/>\r\n"
                        L"  </mixed>\r\n"
                        L"</root>\r\n");
    EXPECT_EQ(f.writer.GetIndentChars(), L"  ");
}

TEST(XmlTextWriter, CommentsAndRawTextLandWhereTheStreamStands)
{
    Fixture f;
    f.writer.WriteComment(L"a & b <c>");
    f.writer.StartElement(L"r", L"");
    f.writer.WriteComment(L"inside"); // does not close the start tag
    f.writer.WriteRawBlock(L"<raw & block/>");
    f.writer.WriteRawLine(L"<raw & line/>");
    f.writer.EndElement();
    EXPECT_EQ(f.Text(), L"<!--a &amp; b &lt;c&gt;-->\n"
                        L"<r<!--inside-->\n"
                        L"<raw & block/>\n\n"
                        L" \n<raw & line/>\n"
                        L"/>\n");
}

TEST(XmlTextWriter, NamespacesAddedInsideElementsChangeOnlyThatScope)
{
    Fixture f;
    f.writer.SetFormatting(false);
    f.writer.StartElement(L"root", L"");
    CXmlWriter::CXmlWriterContext* root = f.writer.GetCurrentContext();
    f.writer.StartElement(L"a", L"");
    CXmlWriter::CXmlWriterContext* a = f.writer.GetCurrentContext();
    EXPECT_TRUE(a->SharesParentScope());
    EXPECT_EQ(&a->GetNamespaceMap(), &root->GetNamespaceMap());
    f.writer.AddNamespace(L"p", L"urn:p"); // copy-on-write, never declared
    f.writer.SetDefaultNamespace(L"urn:d");
    EXPECT_FALSE(a->SharesParentScope());
    EXPECT_EQ(a->GetNamespaceMapValue(L"urn:p"), L"p");
    EXPECT_EQ(root->GetNamespaceMapValue(L"urn:p"), L"");
    EXPECT_EQ(root->GetDefaultNamespace(), L"");
    f.writer.StartElement(L"b", L"urn:p");
    f.writer.StartElement(L"c", L"urn:d");
    f.writer.EndElement();
    f.writer.EndElement();
    f.writer.EndElement();
    f.writer.StartElement(L"b", L"urn:p");
    f.writer.EndElement();
    f.writer.EndElement();
    EXPECT_EQ(f.Text(), L"<root><a><p:b><c/></p:b></a><AA:b xmlns:AA=\"urn:p\"/></root>");
}

TEST(XmlTextWriter, GeneratedPrefixesRunPastZ)
{
    Fixture g;
    g.writer.SetFormatting(false);
    g.writer.StartElement(L"r", L"");
    std::wstring prefix;
    for (int i = 0; i <= 676; ++i) {
        const std::wstring uri = L"urn:" + std::to_wstring(i);
        g.writer.WriteAttribute(L"a", uri.c_str(), L"", ItemType_string);
        prefix = g.writer.GetCurrentContext()->GetNamespaceMapValue(uri);
        if (i == 25) {
            EXPECT_EQ(prefix, L"AZ");
        }
        if (i == 26) {
            EXPECT_EQ(prefix, L"BA");
        }
    }
    EXPECT_EQ(prefix, L"[A"); // the 677th: 'A' + 26 comes after 'Z'
}

TEST(XmlTextWriter, FlushesAfterEachConstructOnceTheStreamHolds4096Characters)
{
    // Each writing operation, started with the stream one character short of
    // the threshold, must end with exactly one flush of everything buffered.
    struct Op
    {
        const char* name;
        std::function<void(CXmlTextWriter&)> setup; // leaves the writer ready
        std::function<void(CXmlTextWriter&)> op;
    };
    auto none = [](CXmlTextWriter&) {};
    auto openRoot = [](CXmlTextWriter& w) { w.StartElement(L"r", L""); };
    const Op ops[] = {
        {"declaration", none, [](CXmlTextWriter& w) { w.WriteXmlDeclaration(); }},
        {"directive", none, [](CXmlTextWriter& w) { w.WriteHeadedDirective(L"d"); }},
        {"comment", none, [](CXmlTextWriter& w) { w.WriteComment(L"c"); }},
        {"raw block", none, [](CXmlTextWriter& w) { w.WriteRawBlock(L"b"); }},
        {"raw line", none, [](CXmlTextWriter& w) { w.WriteRawLine(L"l"); }},
        {"start", none, [](CXmlTextWriter& w) { w.StartElement(L"e", L""); }},
        {"text", openRoot,
         [](CXmlTextWriter& w) { w.WriteElementText(L"t", ItemType_string, false); }},
        {"end", openRoot, [](CXmlTextWriter& w) { w.EndElement(); }},
        {"attribute", openRoot,
         [](CXmlTextWriter& w) { w.WriteAttribute(L"a", L"", L"v", ItemType_string); }},
        {"xsi:type", openRoot,
         [](CXmlTextWriter& w) { w.WriteXsiType(L"", L"T", ItemType_string); }},
        {"nil", openRoot, [](CXmlTextWriter& w) { w.WriteNil(); }},
    };
    for (const Op& o : ops) {
        Fixture f;
        o.setup(f.writer);
        f.stream.Write(std::wstring(4095 - f.stream.GetLength(), L'.'));
        o.op(f.writer);
        ASSERT_EQ(f.stream.flushedLengths.size(), 1u) << o.name;
        EXPECT_GT(f.stream.flushedLengths[0], 4095u) << o.name;
        EXPECT_EQ(f.stream.GetLength(), 0u) << o.name;
    }

    // Below the threshold nothing is flushed, and a flushed document is the
    // same text as an unflushed one, cut only between constructs.
    Fixture f;
    f.writer.SetFormatting(false);
    f.writer.StartElement(L"root", L"");
    std::wstring expected = L"<root>";
    for (int i = 0; i < 2000; ++i) {
        f.writer.StartElement(L"item", L"");
        f.writer.WriteAttribute(L"n", L"", std::to_wstring(i).c_str(), ItemType_i4);
        f.writer.WriteElementText(L"x&y", ItemType_string, false);
        f.writer.EndElement();
        expected += L"<item n=\"" + std::to_wstring(i) + L"\">x&amp;y</item>";
        if (i == 0) {
            EXPECT_TRUE(f.stream.flushedLengths.empty());
        }
    }
    f.writer.EndElement();
    f.writer.EndDocument();
    expected += L"</root>";
    EXPECT_EQ(f.stream.All(), expected);
    EXPECT_GT(f.stream.flushedLengths.size(), 10u);
    for (uint32_t length : f.stream.flushedLengths) {
        EXPECT_GE(length, 4096u);
        EXPECT_LT(length, 4096u + 40u); // one construct past the threshold at most
    }
    EXPECT_EQ(f.stream.opens, 1);
    EXPECT_EQ(f.stream.closes, 1);
}

TEST(XmlTextWriter, MisuseRaisesTheDocumentedMessagesAndWritesNothing)
{
    Fixture f;
    f.writer.SetFormatting(false);
    EXPECT_THROW_MSG(f.writer.EndElement(), CVxInvalidStateException, L"No Element is open.");
    EXPECT_THROW_MSG(f.writer.WriteElementText(L"t", ItemType_string, false),
                     CVxInvalidStateException, L"No Element is open.");
    EXPECT_THROW_MSG(f.writer.WriteAttribute(L"a", L"", L"v", ItemType_string),
                     CVxInvalidStateException, L"No Element is open.");
    EXPECT_THROW_MSG(f.writer.WriteNil(), CVxInvalidStateException, L"No Element is open.");
    EXPECT_THROW_MSG(f.writer.WriteXsiType(L"", L"T", ItemType_string), CVxInvalidStateException,
                     L"No Element is open.");

    EXPECT_THROW_MSG(f.writer.SetEOLType(static_cast<EOLType>(2)), CVxException,
                     L"Invalid EOL type.");
    EXPECT_EQ(f.writer.GetEOLType(), EOL_LF);

    f.writer.StartElement(L"r", L"");
    EXPECT_THROW_MSG(f.writer.WriteHeadedDirective(L"<!DOCTYPE r>"), CVxException,
                     L"Headed directives must appear before an Element has been added.");
    f.writer.StartElement(L"c", L"");
    f.writer.EndElement();
    // After a child element and after text the start tag is closed.
    const wchar_t* const closed = L"Attributes must be added before elements";
    EXPECT_THROW_MSG(f.writer.WriteAttribute(L"a", L"urn:x", L"v", ItemType_string), CVxException,
                     closed);
    EXPECT_THROW_MSG(f.writer.WriteXsiType(L"urn:t", L"T", ItemType_string), CVxException, closed);
    EXPECT_THROW_MSG(f.writer.WriteNil(), CVxException, closed);
    f.writer.StartElement(L"t", L"");
    f.writer.WriteElementText(L"x", ItemType_string, false);
    EXPECT_THROW_MSG(f.writer.WriteAttribute(L"a", L"", L"v", ItemType_string), CVxException,
                     closed);

    // The stream gets everything and is closed before the check, as the
    // document is over either way.
    EXPECT_THROW_MSG(f.writer.EndDocument(), CVxException, L"An Element has not been closed.");
    EXPECT_EQ(f.stream.closes, 1);
    EXPECT_EQ(f.stream.All(), L"<r><c/><t>x");
    f.writer.EndElement();
    f.writer.EndElement();
    EXPECT_EQ(f.Text(), L"<r><c/><t>x</t></r>");

    EXPECT_THROW_MSG(CXmlTextWriter w(nullptr), CVxInvalidParamException,
                     L"The output stream may not be NULL.");
}

TEST(XmlTextWriter, FileOutputIsWrittenInChunksAndEqualsMemoryOutput)
{
    auto write = [](CTextStream& stream, const std::function<void()>& midway) {
        CXmlTextWriter writer(&stream);
        writer.StartDocument();
        writer.WriteXmlDeclaration();
        writer.StartElement(L"root", L"urn:r");
        for (int i = 0; i < 20000; ++i) {
            writer.StartElement(L"item", L"urn:r");
            writer.WriteAttribute(L"n", L"", std::to_wstring(i).c_str(), ItemType_i4);
            writer.WriteElementText(L"caf\u00E9 & \U0001F600", ItemType_string, false);
            writer.EndElement();
            if (i == 10000) {
                midway();
            }
        }
        writer.EndElement();
        writer.EndDocument();
    };
    for (XmlEncoding encoding : {XmlEncoding_UTF8, XmlEncoding_UTF16}) {
        CTextStream memory(encoding);
        write(memory, [] {});
        const CBinaryData expected = memory.ToBytes();

        const std::string path = ::testing::TempDir() + "vxxml_writer_chunks.xml";
        const std::wstring widePath(path.begin(), path.end());
        CFileTextStream file(widePath.c_str(), encoding);
        write(file, [&file] {
            // Halfway through, most of the text is on disk and little is held.
            EXPECT_GT(file.GetBytesWritten(), 100000u);
            EXPECT_LT(file.GetLength(), 4096u);
        });
        std::ifstream in(path, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(in)), {});
        std::remove(path.c_str());
        // UTF-16 files start with the byte-order mark, the rest is the same.
        const size_t bom = encoding == XmlEncoding_UTF16 ? 2 : 0;
        ASSERT_EQ(bytes.size(), expected.GetLength() + bom) << encoding;
        EXPECT_EQ(bytes.compare(bom, std::string::npos,
                                reinterpret_cast<const char*>(expected.GetData()),
                                expected.GetLength()),
                  0)
            << encoding;
    }
}
