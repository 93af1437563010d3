#include "TestHelpers.h"
#include "xml/XmlTreeDump.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
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

class TempDir
{
public:
    TempDir()
    {
        std::string tmpl = ::testing::TempDir() + "vxxml_reader_XXXXXX";
        m_path = mkdtemp(tmpl.data()) ? tmpl : std::string();
    }
    ~TempDir() { std::system(("rm -rf '" + m_path + "'").c_str()); }
    std::string Write(const std::string& name, const std::string& bytes) const
    {
        const std::string file = m_path + "/" + name;
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }

private:
    std::string m_path;
};

// The pipe tests close their read end while a writer may still be writing.
const bool g_sigpipeIgnored = std::signal(SIGPIPE, SIG_IGN) != SIG_ERR;

std::wstring Wide(const std::string& s)
{
    return std::wstring(s.begin(), s.end());
}

std::wstring LoadFileDump(const std::string& path)
{
    CXmlDocument doc;
    doc.Load(Wide(path).c_str());
    return Dump(doc.GetDocumentElement());
}

std::wstring
LoadBytesDump(const std::string& bytes,
              const CSerializationContext& ctx = CSerializationContext::GetDefaultContext())
{
    CXmlDocument doc(ctx);
    std::string copy = bytes;
    doc.LoadXmlStream(reinterpret_cast<unsigned char*>(copy.data()),
                      static_cast<uint32_t>(copy.size()));
    return Dump(doc.GetDocumentElement());
}

std::string Utf16(const std::u16string& s, bool bigEndian, bool bom)
{
    std::string out;
    auto put = [&](char16_t c) {
        const char hi = static_cast<char>(c >> 8), lo = static_cast<char>(c & 0xFF);
        out += bigEndian ? hi : lo;
        out += bigEndian ? lo : hi;
    };
    if (bom) {
        put(0xFEFF);
    }
    for (char16_t c : s) {
        put(c);
    }
    return out;
}

std::string Shell(const std::string& command)
{
    std::string out;
    if (FILE* p = popen(command.c_str(), "r")) {
        char buf[4096];
        size_t n;
        while ((n = fread(buf, 1, sizeof buf, p)) > 0) {
            out.append(buf, n);
        }
        pclose(p);
    }
    while (!out.empty() && out.back() == '\n') {
        out.pop_back();
    }
    return out;
}

size_t CountElements(const CXmlElement* root, size_t* attributes)
{
    size_t elements = 0;
    std::vector<const CXmlElement*> todo{root};
    while (!todo.empty()) {
        const CXmlElement* e = todo.back();
        todo.pop_back();
        ++elements;
        *attributes += e->GetAttributes().size();
        for (const CXmlElement* c = e->GetFirstElement(); c; c = c->GetNextSiblingElement()) {
            todo.push_back(c);
        }
    }
    return elements;
}

} // namespace

TEST(ExpatReader, MalformedInputReportsExpatMessageAndLine)
{
    const struct
    {
        const char* xml;
        const wchar_t* message;
    } cases[] = {
        {"<a></b>", L"mismatched tag at line 1"},
        {"<a>\n<b>\n</a>", L"mismatched tag at line 3"},
        {"<a>\n", L"no element found at line 2"},
        {"<a/>\n<b/>", L"junk after document element at line 2"},
        {"<a x='1' x='2'/>", L"duplicate attribute at line 1"},
        {"<p:a/>", L"unbound prefix at line 1"},
        {"<a>&nope;</a>", L"undefined entity at line 1"},
        {"<a>\xff</a>", L"not well-formed (invalid token) at line 1"},
        {"<a b=1/>", L"not well-formed (invalid token) at line 1"},
        {"<a>&#0;</a>", L"reference to invalid character number at line 1"},
        {"<a><![CDATA[x</a>", L"unclosed CDATA section at line 1"},
        {"<a\n\n", L"unclosed token at line 1"},
        {"<?xml version='1.0' encoding='klingon'?><a/>", L"unknown encoding at line 1"},
        {"<?xml version='1.0' encoding='UTF-16'?><a/>",
         L"encoding specified in XML declaration is incorrect at line 1"},
        {"plain text", L"syntax error at line 1"},
        {"   \n  ", L"no element found at line 2"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.xml);
        CXmlDocument doc;
        EXPECT_THROW_MSG(doc.LoadXml(c.xml), CVxException, c.message);
        EXPECT_EQ(doc.GetDocumentElement(), nullptr) << "no partial tree after a failure";
    }
}

TEST(ExpatReader, EmptyAndMissingInput)
{
    TempDir dir;
    CXmlDocument doc;
    const std::string empty = dir.Write("empty.xml", "");
    EXPECT_THROW_MSG(doc.Load(Wide(empty).c_str()), CVxException, L"Invalid or empty XML document");
    EXPECT_THROW_MSG(doc.LoadXml(""), CVxException, L"Invalid or empty XML document");
    EXPECT_THROW_MSG(doc.LoadXml(L""), CVxException, L"Invalid or empty XML document");
    EXPECT_THROW_MSG(doc.LoadXmlStream(nullptr, 0), CVxException, L"Invalid or empty XML document");
    // A directory opens but cannot be read (EISDIR).
    EXPECT_THROW_MSG(doc.Load(Wide(::testing::TempDir()).c_str()), CVxException,
                     L"Failed to read the contents of the file. Error [0x00000015]");
    const std::wstring missing = Wide(empty) + L".nope";
    EXPECT_THROW_MSG(doc.Load(missing.c_str()), CVxException,
                     L"Failed to open the file [" + missing +
                         L"]. Error [0x00000002] No such file or directory");
}

TEST(ExpatReader, CommentsProcessingInstructionsAndDoctypeLeaveNoTrace)
{
    EXPECT_EQ(LoadBytesDump("<?xml version='1.0'?>\n<!DOCTYPE r [<!ENTITY e 'ent&#38;#38;ity'>\n"
                            "<!ENTITY ext SYSTEM 'file:///etc/passwd'>]>\n"
                            "<!-- before --><?pi data?><r>a<!-- c -->b<?pi x?>&e;&ext;"
                            "&amp;&#x1F600;</r><!-- after -->"),
              L"{}r\"abent&ity&\U0001F600\"()")
        << "internal entities expand, external ones are never loaded";
}

TEST(ExpatReader, CdataMarkersStayUnlessStripped)
{
    CSerializationContext keep;
    keep.SetStripCDATA(false);
    const std::string xml = "<r>x<![CDATA[<b>&amp;</b>]]>y</r>";
    EXPECT_EQ(LoadBytesDump(xml, keep), L"{}r\"x<![CDATA[<b>&amp;</b>]]>y\"()");
    EXPECT_EQ(LoadBytesDump(xml), L"{}r\"x<b>&amp;</b>y\"()");
}

TEST(ExpatReader, NamespacesArriveAsUrisNeverPrefixes)
{
    EXPECT_EQ(LoadBytesDump("<a xmlns:p='urn:p' xmlns='urn:d'><p:b p:x='1' y='2'/><c "
                            "xmlns=''/></a>"),
              L"{urn:d}a\"\"({urn:p}b[@{urn:p}x=1][@{}y=2]\"\"(){}c\"\"())");
    // Expat refuses a URI containing the separator rather than report an
    // ambiguous expanded name.
    CXmlDocument doc;
    EXPECT_THROW_MSG(doc.LoadXml("<a xmlns='urn:a|b'/>"), CVxException, L"syntax error at line 1");
}

TEST(ExpatReader, EncodingsWithAndWithoutByteOrderMarks)
{
    const std::u16string text = u"<r a='\u00e9'>\u20ac \U0001F600 caf\u00e9\r\nx</r>";
    const std::wstring expected = L"{}r[@{}a=\u00e9]\"\u20ac \U0001F600 caf\u00e9\nx\"()";
    const std::string utf8 = "<r a='\xC3\xA9'>\xE2\x82\xAC \xF0\x9F\x98\x80 caf\xC3\xA9\r\nx</r>";
    const std::string decl16 = "<?xml version='1.0' encoding='UTF-16'?>";
    const std::u16string decl16u(decl16.begin(), decl16.end());
    const struct
    {
        const char* name;
        std::string bytes;
    } files[] = {
        {"utf8", utf8},
        {"utf8-bom", "\xEF\xBB\xBF" + utf8},
        {"utf8-decl", "<?xml version='1.0' encoding='UTF-8'?>\n" + utf8},
        {"utf16le-bom", Utf16(text, false, true)},
        {"utf16be-bom", Utf16(text, true, true)},
        {"utf16le", Utf16(decl16u + text, false, false)},
        {"utf16be", Utf16(decl16u + text, true, false)},
        {"latin1", "<?xml version='1.0' encoding='ISO-8859-1'?><r a='\xE9'>&#x20AC; "
                   "&#x1F600; caf\xE9\r\nx</r>"},
    };
    TempDir dir;
    for (const auto& f : files) {
        SCOPED_TRACE(f.name);
        EXPECT_EQ(LoadBytesDump(f.bytes), expected);
        EXPECT_EQ(LoadFileDump(dir.Write(f.name, f.bytes)), expected);
    }
}

TEST(ExpatReader, ChunkBoundariesAnywhereInsideTokens)
{
    // A probe of multi-byte characters, references, CDATA and a CR LF pair
    // is slid across the 128 KiB boundary of the file reads one byte at a
    // time; every position must give the same tree as one whole buffer.
    const std::string probe =
        "<p q='\xC3\xA9&amp;\xF0\x9F\x98\x80'>\xE2\x82\xAC&#x10348;<![CDATA[]]]]>\r\n</p>";
    TempDir dir;
    const size_t boundary = 0x20000;
    const std::string head = "<r>";
    std::wstring reference;
    for (size_t shift = 0; shift <= probe.size(); ++shift) {
        // The padding around the probe keeps its total, so the text of r
        // (both paddings joined) is the same for every shift.
        std::string xml = head;
        xml.append(boundary - head.size() - probe.size() + shift, ' ');
        xml += probe;
        xml.append(probe.size() + 1 - shift, ' ');
        xml += "</r>";
        if (shift == 0) {
            reference = LoadBytesDump(xml);
        }
        SCOPED_TRACE(shift);
        ASSERT_EQ(LoadFileDump(dir.Write("chunk.xml", xml)), reference);
    }
}

TEST(ExpatReader, TinyPipeReadsGiveTheSameTree)
{
    // Fed through a pipe a few bytes at a time, expat-style.
    std::string xml = "<?xml version='1.0' encoding='UTF-8'?>\n<!DOCTYPE r>\n"
                      "<r xmlns:p='urn:p'>";
    for (int i = 0; i < 60; ++i) {
        xml += "<p:i n='" + std::to_string(i) + "' v='\xC3\xA9\xF0\x9F\x98\x80'>t&lt;\xE2\x82\xAC" +
               "<![CDATA[c]]></p:i><!-- c -->\r\n";
    }
    xml += "</r>";
    const std::wstring reference = LoadBytesDump(xml);
    int fds[2];
    ASSERT_TRUE(g_sigpipeIgnored);
    ASSERT_EQ(pipe(fds), 0);
    std::thread writer([&] {
        size_t step = 0;
        for (size_t off = 0; off < xml.size();) {
            const size_t n = std::min(xml.size() - off, 1 + step++ % 5);
            if (write(fds[1], xml.data() + off, n) != static_cast<ssize_t>(n)) {
                break;
            }
            off += n;
            if (step % 16 == 0) {
                usleep(50); // let the reader catch up and see short reads
            }
        }
        close(fds[1]);
    });
    CXmlDocument doc;
    const std::wstring path = L"/proc/self/fd/" + std::to_wstring(fds[0]);
    EXPECT_NO_THROW(doc.Load(path.c_str()));
    close(fds[0]); // a writer still blocked on a failed load gets EPIPE
    writer.join();
    ASSERT_NE(doc.GetDocumentElement(), nullptr);
    EXPECT_EQ(Dump(doc.GetDocumentElement()), reference);
}

TEST(ExpatReader, EntityExpansionBombIsRefused)
{
    std::string xml = "<!DOCTYPE r [<!ENTITY a0 'xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx'>\n";
    for (int i = 1; i < 12; ++i) {
        xml += "<!ENTITY a" + std::to_string(i) + " '";
        for (int k = 0; k < 10; ++k) {
            xml += "&a" + std::to_string(i - 1) + ";";
        }
        xml += "'>\n";
    }
    xml += "]>\n<r>&a11;</r>";
    CXmlDocument doc;
    try {
        doc.LoadXml(xml.c_str());
        FAIL() << "a 10^11-fold expansion must be refused";
    } catch (const CVxException& e) {
        EXPECT_EQ(e.GetMessage().rfind(L"limit on input amplification factor", 0), 0u)
            << Narrow(e.GetMessage());
    }
}

TEST(ExpatReader, RealDocumentsMatchXmllintCounts)
{
    // xmllint (libxml2) is the independent oracle: the number of elements
    // and attributes, and one text, must agree. Default attributes from the
    // DTD are applied by expat, so xmllint is told to apply them too.
    const char* files[] = {
        "/usr/share/mime/packages/freedesktop.org.xml", "/usr/share/xml/iso-codes/iso_639-3.xml",
        "/usr/share/xml/iso-codes/iso_4217.xml", "/usr/share/xml/polkit-1/catalog.xml"};
    ASSERT_FALSE(Shell("command -v xmllint").empty()) << "xmllint (libxml2-utils) is required";
    for (const char* file : files) {
        SCOPED_TRACE(file);
        CXmlDocument doc;
        doc.Load(Wide(file).c_str());
        size_t attributes = 0;
        const size_t elements = CountElements(doc.GetDocumentElement(), &attributes);
        const std::string f = std::string(" '") + file + "'";
        EXPECT_EQ(std::to_string(elements),
                  Shell("xmllint --dtdattr --xpath 'count(//*)'" + f + " 2>/dev/null"));
        EXPECT_EQ(std::to_string(attributes),
                  Shell("xmllint --dtdattr --xpath 'count(//@*)'" + f + " 2>/dev/null"));
        const CXmlElement* last = Children(doc.GetDocumentElement()).back();
        const std::string firstText =
            Shell("xmllint --dtdattr --xpath 'string(/*/*[last()]/@*[1])'" + f + " 2>/dev/null");
        ASSERT_FALSE(last->GetAttributes().empty());
        EXPECT_EQ(Narrow(last->GetAttributes()[0]->GetValue()), firstText);
    }
}

TEST(ExpatReader, RealMalformedDocumentIsRejectedWhereXmllintRejectsIt)
{
    // iso_3166-2.xml of iso-codes has a bare "&" in an attribute value.
    const char* file = "/usr/share/xml/iso-codes/iso_3166-2.xml";
    ASSERT_NE(Shell(std::string("xmllint --noout '") + file + "' 2>&1 | head -1")
                  .find(":6747: parser error"),
              std::string::npos);
    CXmlDocument doc;
    EXPECT_THROW_MSG(doc.Load(Wide(file).c_str()), CVxException,
                     L"not well-formed (invalid token) at line 6747");
}

namespace {

std::string Compressed(const std::string& plain, CompressionType type)
{
    CBinaryData data(reinterpret_cast<const unsigned char*>(plain.data()),
                     static_cast<uint32_t>(plain.size()));
    CVxZip().Compress(data, type);
    return std::string(reinterpret_cast<const char*>(data.GetData()), data.GetLength());
}

std::string EmptyGzip()
{
    std::string bytes;
    if (FILE* p = popen("gzip -c < /dev/null", "r")) {
        int c;
        while ((c = fgetc(p)) != EOF) {
            bytes += static_cast<char>(c);
        }
        pclose(p);
    }
    return bytes;
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

TEST(ExpatReader, GzipAndZlibInputIsDecompressedFirst)
{
    ASSERT_FALSE(Shell("command -v gzip").empty());
    // Larger than one 128 KiB read, so that a compressed file is read whole.
    const std::string xml = GeneratedDocument(20000);
    ASSERT_GT(xml.size(), 0x20000u * 3);
    const std::wstring expected = LoadBytesDump(xml);
    TempDir dir;
    const std::string plainFile = dir.Write("plain.xml", xml);
    // gzip(1) as an independent producer; two members concatenated are one
    // stream to gunzip and to us.
    const std::string half = dir.Write("half1.xml", xml.substr(0, xml.size() / 2)) + "' '" +
                             dir.Write("half2.xml", xml.substr(xml.size() / 2));
    Shell("gzip -c '" + plainFile + "' > '" + plainFile + ".gz'");
    Shell("for f in '" + half + "'; do gzip -c \"$f\"; done > '" + plainFile + ".2.gz'");
    const struct
    {
        const char* name;
        std::string bytes;
    } inputs[] = {
        {"gzip", Compressed(xml, Compression_GZip)},
        {"zlib", Compressed(xml, Compression_ZLib)},
    };
    for (const auto& in : inputs) {
        SCOPED_TRACE(in.name);
        ASSERT_LT(in.bytes.size(), xml.size() / 2);
        EXPECT_EQ(LoadBytesDump(in.bytes), expected);
        EXPECT_EQ(LoadFileDump(dir.Write(in.name, in.bytes)), expected);
    }
    EXPECT_EQ(LoadFileDump(plainFile + ".gz"), expected);
    {
        // Through a pipe whose first read yields a single byte.
        const std::string gz = Compressed(xml, Compression_GZip);
        int fds[2];
        ASSERT_TRUE(g_sigpipeIgnored);
        ASSERT_EQ(pipe(fds), 0);
        std::thread writer([&] {
            bool ok = write(fds[1], gz.data(), 1) == 1;
            usleep(20000);
            for (size_t off = 1; ok && off < gz.size();) {
                const ssize_t w = write(fds[1], gz.data() + off, gz.size() - off);
                ok = w > 0;
                off += ok ? static_cast<size_t>(w) : 0;
            }
            close(fds[1]);
        });
        CXmlDocument doc;
        const std::wstring path = L"/proc/self/fd/" + std::to_wstring(fds[0]);
        EXPECT_NO_THROW(doc.Load(path.c_str()));
        close(fds[0]); // a writer still blocked on a failed load gets EPIPE
        writer.join();
        ASSERT_NE(doc.GetDocumentElement(), nullptr);
        EXPECT_EQ(Dump(doc.GetDocumentElement()), expected);
    }
    EXPECT_EQ(LoadFileDump(plainFile + ".2.gz"), expected);
}

TEST(ExpatReader, DamagedCompressedInputFailsAsXml)
{
    const std::string xml = GeneratedDocument(200);
    const std::string gz = Compressed(xml, Compression_GZip);
    const std::string zl = Compressed(xml, Compression_ZLib);
    std::string corrupt = gz;
    corrupt[corrupt.size() / 2] ^= 0x55;
    const struct
    {
        const char* name;
        std::string bytes;
        const wchar_t* message;
    } cases[] = {
        {"truncated gzip", gz.substr(0, gz.size() - 9),
         L"not well-formed (invalid token) at line 1"},
        {"corrupt gzip", corrupt, L"not well-formed (invalid token) at line 1"},
        {"gzip with trailing bytes", gz + "<r/>", L"not well-formed (invalid token) at line 1"},
        {"truncated zlib", zl.substr(0, zl.size() - 3),
         L"not well-formed (invalid token) at line 1"},
        {"gzip of nothing", EmptyGzip(), L"Invalid or empty XML document"},
    };
    TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string bytes = c.bytes;
        CXmlDocument doc;
        EXPECT_THROW_MSG(doc.LoadXmlStream(reinterpret_cast<unsigned char*>(bytes.data()),
                                           static_cast<uint32_t>(bytes.size())),
                         CVxException, c.message);
        EXPECT_THROW_MSG(doc.Load(Wide(dir.Write("damaged", c.bytes)).c_str()), CVxException,
                         c.message);
        EXPECT_EQ(doc.GetDocumentElement(), nullptr);
    }
}
