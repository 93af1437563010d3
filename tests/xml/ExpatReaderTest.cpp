#include "TestHelpers.h"
#include "xml/XmlTreeDump.h"

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vxxml/SerializationContext.h>
#include <vxxml/VxZip.h>
#include <vxxml/XmlDocument.h>

using namespace VxXmlLib16;
using xmltest::Children;
using xmltest::Dump;

namespace {

// One scratch directory for the files of this test file, removed at exit.
const TempDir g_scratch;

// The pipe tests close their read end while a writer may still be writing.
const bool g_sigpipeIgnored = std::signal(SIGPIPE, SIG_IGN) != SIG_ERR;

// Loads with `load`; returns the tree, or the error as "error: <message>".
template <class F> std::wstring Try(CXmlDocument& doc, F load)
{
    try {
        load();
        return Dump(doc.GetDocumentElement());
    } catch (const CVxException& e) {
        EXPECT_EQ(typeid(e), typeid(CVxException));
        EXPECT_EQ(doc.GetDocumentElement(), nullptr) << "no partial tree after a failure";
        return L"error: " + e.GetMessage();
    }
}

// Loads the bytes from memory and through a file; both ways must agree.
std::wstring Outcome(const std::string& bytes,
                     const CSerializationContext& ctx = CSerializationContext::GetDefaultContext())
{
    CXmlDocument doc(ctx);
    std::string copy = bytes;
    const std::wstring memory = Try(doc, [&] {
        doc.LoadXmlStream(reinterpret_cast<unsigned char*>(copy.data()),
                          static_cast<uint32_t>(copy.size()));
    });
    const std::string file = g_scratch.File("in.xml");
    std::ofstream(file, std::ios::binary) << bytes;
    const std::wstring fromFile = Try(doc, [&] { doc.Load(Wide(file).c_str()); });
    return memory == fromFile ? memory : L"memory: " + memory + L" / file: " + fromFile;
}

// Loads through a pipe written in pieces of piece(step) bytes, pausing now
// and then so that the reader sees short reads.
std::wstring PipeOutcome(const std::string& bytes, size_t (*piece)(size_t step))
{
    int fds[2];
    if (!g_sigpipeIgnored || pipe(fds) != 0) {
        return L"(no pipe)";
    }
    std::thread writer([&] {
        for (size_t off = 0, step = 0; off < bytes.size(); ++step) {
            const size_t n = std::min(bytes.size() - off, piece(step));
            if (write(fds[1], bytes.data() + off, n) != static_cast<ssize_t>(n)) {
                break;
            }
            off += n;
            if (step % 16 == 0) {
                usleep(step == 0 ? 20000 : 50);
            }
        }
        close(fds[1]);
    });
    CXmlDocument doc;
    const std::wstring result =
        Try(doc, [&] { doc.Load((L"/proc/self/fd/" + std::to_wstring(fds[0])).c_str()); });
    close(fds[0]); // a writer still blocked after a failed load gets EPIPE
    writer.join();
    return result;
}

std::string Utf16(const std::u16string& s, bool bigEndian)
{
    std::string out(reinterpret_cast<const char*>(s.data()), s.size() * 2); // little-endian host
    for (size_t i = 0; bigEndian && i < out.size(); i += 2) {
        std::swap(out[i], out[i + 1]);
    }
    return out;
}

void Count(const CXmlElement* e, size_t& elements, size_t& attributes)
{
    ++elements;
    attributes += e->GetAttributes().size();
    for (const CXmlElement* c : Children(e)) {
        Count(c, elements, attributes);
    }
}

std::string Compressed(const std::string& plain, CompressionType type)
{
    CBinaryData data(reinterpret_cast<const unsigned char*>(plain.data()),
                     static_cast<uint32_t>(plain.size()));
    CVxZip().Compress(data, type);
    return std::string(reinterpret_cast<const char*>(data.GetData()), data.GetLength());
}

std::string GeneratedDocument(int items)
{
    std::string xml = "<?xml version='1.0'?>\n<r xmlns:p='urn:p'>\n";
    for (int i = 0; i < items; ++i) {
        xml +=
            " <p:i n='" + std::to_string(i) + "'>caf\xC3\xA9 " + std::to_string(i * 7) + "</p:i>\n";
    }
    return xml + "</r>\n";
}

} // namespace

TEST(ExpatReader, MalformedInputReportsExpatMessageAndLine)
{
    // clang-format off
    const std::pair<const char*, const wchar_t*> cases[] = {
        {"<a></b>", L"mismatched tag at line 1"}, {"<a>\n<b>\n</a>", L"mismatched tag at line 3"},
        {"<a>\n", L"no element found at line 2"}, {"   \n  ", L"no element found at line 2"},
        {"<a/>\n<b/>", L"junk after document element at line 2"},
        {"<a x='1' x='2'/>", L"duplicate attribute at line 1"},
        {"<p:a/>", L"unbound prefix at line 1"}, {"<a>&nope;</a>", L"undefined entity at line 1"},
        {"<a>\xff</a>", L"not well-formed (invalid token) at line 1"},
        {"<a b=1/>", L"not well-formed (invalid token) at line 1"},
        {"<a>&#0;</a>", L"reference to invalid character number at line 1"},
        {"<a><![CDATA[x</a>", L"unclosed CDATA section at line 1"},
        {"<a\n\n", L"unclosed token at line 1"}, {"plain text", L"syntax error at line 1"},
        {"<?xml version='1.0' encoding='klingon'?><a/>", L"unknown encoding at line 1"},
        {"<?xml version='1.0' encoding='UTF-16'?><a/>",
         L"encoding specified in XML declaration is incorrect at line 1"},
        // A URI holding expat's separator is refused, not split ambiguously.
        {"<a xmlns='urn:a|b'/>", L"syntax error at line 1"}, {"", L"Invalid or empty XML document"}};
    // clang-format on
    for (const auto& [xml, message] : cases) {
        EXPECT_EQ(Outcome(xml), L"error: " + std::wstring(message)) << xml;
    }
    CXmlDocument doc;
    EXPECT_THROW_MSG(doc.LoadXml(L""), CVxException, L"Invalid or empty XML document");
    EXPECT_THROW_MSG(doc.LoadXmlStream(nullptr, 0), CVxException, L"Invalid or empty XML document");
    // A directory is refused when it is opened, by name and reason.
    const std::wstring folder = Wide(g_scratch.path.string());
    EXPECT_THROW_MSG(doc.Load(folder.c_str()), CVxException,
                     L"Failed to open the file [" + folder +
                         L"]. Error [0x00000015] Is a directory");
    const std::wstring missing = Wide(g_scratch.path.string()) + L"/missing.xml";
    EXPECT_THROW_MSG(doc.Load(missing.c_str()), CVxException,
                     L"Failed to open the file [" + missing +
                         L"]. Error [0x00000002] No such file or directory");
}

TEST(ExpatReader, MarkupAroundTheTree)
{
    // Comments, PIs and the DOCTYPE leave no trace; internal entities expand,
    // external ones are never loaded.
    EXPECT_EQ(Outcome("<?xml version='1.0'?>\n<!DOCTYPE r [<!ENTITY e 'ent&#38;#38;ity'>\n"
                      "<!ENTITY ext SYSTEM 'file:///etc/passwd'>]>\n"
                      "<!-- before --><?pi data?><r>a<!-- c -->b<?pi x?>&e;&ext;"
                      "&amp;&#x1F600;</r><!-- after -->"),
              L"{}r\"abent&ity&\U0001F600\"()");
    // CDATA markers stay unless the context strips them.
    CSerializationContext keep;
    keep.SetStripCDATA(false);
    const std::string cdata = "<r>x<![CDATA[<b>&amp;</b>]]>y</r>";
    EXPECT_EQ(Outcome(cdata, keep), L"{}r\"x<![CDATA[<b>&amp;</b>]]>y\"()");
    EXPECT_EQ(Outcome(cdata), L"{}r\"x<b>&amp;</b>y\"()");
    // Names arrive as namespace URIs, never as prefixes.
    EXPECT_EQ(Outcome("<a xmlns:p='urn:p' xmlns='urn:d'><p:b p:x='1' y='2'/><c xmlns=''/></a>"),
              L"{urn:d}a\"\"({urn:p}b[@{urn:p}x=1][@{}y=2]\"\"(){}c\"\"())");
}

TEST(ExpatReader, EncodingsWithAndWithoutByteOrderMarks)
{
    const std::u16string text = u"<r a='\u00e9'>\u20ac \U0001F600 caf\u00e9\r\nx</r>";
    const std::u16string decl16 = u"<?xml version='1.0' encoding='UTF-16'?>";
    const std::string utf8 = "<r a='\xC3\xA9'>\xE2\x82\xAC \xF0\x9F\x98\x80 caf\xC3\xA9\r\nx</r>";
    for (const std::string& in :
         {utf8, "\xEF\xBB\xBF" + utf8, "<?xml version='1.0' encoding='UTF-8'?>\n" + utf8,
          Utf16(u"\uFEFF" + text, false), Utf16(u"\uFEFF" + text, true),
          Utf16(decl16 + text, false), Utf16(decl16 + text, true),
          std::string("<?xml version='1.0' encoding='ISO-8859-1'?><r a='\xE9'>&#x20AC; "
                      "&#x1F600; caf\xE9\r\nx</r>")}) {
        EXPECT_EQ(Outcome(in), L"{}r[@{}a=\u00e9]\"\u20ac \U0001F600 caf\u00e9\nx\"()") << in;
    }
}

TEST(ExpatReader, ChunkBoundariesAnywhereInsideTokens)
{
    // Slides a probe of multi-byte characters, references, CDATA and CR LF
    // across the 128 KiB read boundary one byte at a time. The padding keeps
    // its total, so every shift must give the same tree.
    const std::string probe =
        "<p q='\xC3\xA9&amp;\xF0\x9F\x98\x80'>\xE2\x82\xAC&#x10348;<![CDATA[]]]]>\r\n</p>";
    const std::wstring expected = L"{}r\"" + std::wstring(0x20000 - 2, L' ') +
                                  L"\"({}p[@{}q=\u00e9&\U0001F600]\"\u20ac\U00010348]]\n\"())";
    for (size_t shift = 0; shift <= probe.size(); ++shift) {
        const std::string xml = "<r>" + std::string(0x20000 - 3 - probe.size() + shift, ' ') +
                                probe + std::string(probe.size() + 1 - shift, ' ') + "</r>";
        ASSERT_EQ(Outcome(xml), expected) << "shift " << shift;
    }
}

TEST(ExpatReader, TinyPipeReadsGiveTheSameTree)
{
    std::string xml = "<?xml version='1.0' encoding='UTF-8'?>\n<!DOCTYPE r>\n<r xmlns:p='urn:p'>";
    for (int i = 0; i < 60; ++i) {
        xml += "<p:i n='" + std::to_string(i) + "' v='\xC3\xA9\xF0\x9F\x98\x80'>t&lt;\xE2\x82\xAC" +
               "<![CDATA[c]]></p:i><!-- c -->\r\n";
    }
    xml += "</r>";
    EXPECT_EQ(PipeOutcome(xml, [](size_t step) { return 1 + step % 5; }), Outcome(xml));
}

TEST(ExpatReader, EntityExpansionBombIsRefused)
{
    std::string xml = "<!DOCTYPE r [<!ENTITY a0 '" + std::string(32, 'x') + "'>\n";
    for (int i = 1; i < 12; ++i) {
        xml += "<!ENTITY a" + std::to_string(i) + " '";
        for (int k = 0; k < 10; ++k) {
            xml += "&a" + std::to_string(i - 1) + ";";
        }
        xml += "'>\n";
    }
    const std::wstring outcome = Outcome(xml + "]>\n<r>&a11;</r>");
    EXPECT_EQ(outcome.rfind(L"error: limit on input amplification factor", 0), 0u)
        << Narrow(outcome.substr(0, 200));
}

TEST(ExpatReader, RealDocumentsAgreeWithXmllint)
{
    // xmllint (libxml2) is the independent oracle for the element and
    // attribute counts and one value. Expat applies DTD default attributes,
    // so xmllint is told to as well.
    ASSERT_FALSE(Shell("command -v xmllint").empty()) << "xmllint (libxml2-utils) is required";
    for (const std::string file :
         {"/usr/share/mime/packages/freedesktop.org.xml", "/usr/share/xml/iso-codes/iso_639-3.xml",
          "/usr/share/xml/iso-codes/iso_4217.xml", "/usr/share/xml/polkit-1/catalog.xml"}) {
        auto xpath = [&](const std::string& expr) {
            return Shell("xmllint --dtdattr --xpath '" + expr + "' '" + file + "' 2>/dev/null");
        };
        CXmlDocument doc;
        doc.Load(Wide(file).c_str());
        size_t elements = 0, attributes = 0;
        Count(doc.GetDocumentElement(), elements, attributes);
        EXPECT_EQ(std::to_string(elements) + "\n", xpath("count(//*)")) << file;
        EXPECT_EQ(std::to_string(attributes) + "\n", xpath("count(//@*)")) << file;
        const CXmlElement* last = Children(doc.GetDocumentElement()).back();
        ASSERT_FALSE(last->GetAttributes().empty());
        EXPECT_EQ(Narrow(last->GetAttributes()[0]->GetValue()) + "\n",
                  xpath("string(/*/*[last()]/@*[1])"));
    }
    // iso_3166-2.xml has a bare "&" in an attribute value.
    const std::string bad = "/usr/share/xml/iso-codes/iso_3166-2.xml";
    ASSERT_NE(Shell("xmllint --noout '" + bad + "' 2>&1 | head -1").find(":6747: parser error"),
              std::string::npos);
    CXmlDocument doc;
    EXPECT_THROW_MSG(doc.Load(Wide(bad).c_str()), CVxException,
                     L"not well-formed (invalid token) at line 6747");
}

TEST(ExpatReader, CompressedInputIsDecompressedFirst)
{
    ASSERT_FALSE(Shell("command -v gzip").empty());
    // Larger than one 128 KiB read, so that a compressed file is read whole.
    const std::string xml = GeneratedDocument(20000);
    ASSERT_GT(xml.size(), 0x20000u * 3);
    const std::wstring expected = Outcome(xml);
    const std::string plain = g_scratch.File("plain.xml");
    std::ofstream(plain, std::ios::binary) << xml;
    const std::string gz = Compressed(xml, Compression_GZip);
    // gzip(1) is an independent producer; two gzip members are one stream,
    // to gunzip and to us.
    for (const std::string& in :
         {gz, Compressed(xml, Compression_ZLib), Shell("gzip -c '" + plain + "'"),
          Shell("(head -c 100000 '" + plain + "' | gzip; tail -c +100001 '" + plain +
                "' | gzip)")}) {
        ASSERT_LT(in.size(), xml.size() / 2);
        EXPECT_EQ(Outcome(in), expected);
    }
    // Through a pipe whose first read yields a single byte.
    EXPECT_EQ(PipeOutcome(gz, [](size_t step) { return step ? SIZE_MAX : 1; }), expected);

    // Damaged compressed input: CompressedInputTest says what each damage
    // reports; here, that none of it reaches the XML parser.
    std::string corrupt = Compressed(GeneratedDocument(200), Compression_GZip);
    corrupt[corrupt.size() / 2] ^= 0x55;
    EXPECT_EQ(Outcome(corrupt).rfind(L"error: The compressed stream is corrupt: ", 0), 0u);
    EXPECT_EQ(Outcome(Shell("gzip -c < /dev/null")), L"error: Invalid or empty XML document");
}
