// The text writer's output checked by tools that nobody here wrote and by
// the library's own reader: random element trees must be well-formed for
// xmllint and read back as the same tree; real documents read and written
// back must keep their canonical form.
#include "TestHelpers.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>
#include <vxxml/SerializationContext.h>
#include <vxxml/TextStream.h>
#include <vxxml/XmlDocument.h>
#include <vxxml/XmlTextWriter.h>

using namespace VxXmlLib16;
namespace fs = std::filesystem;

namespace {

const wchar_t* const kXmlNs = L"http://www.w3.org/XML/1998/namespace";
const wchar_t* const kXsiNs = L"http://www.w3.org/2001/XMLSchema-instance";

struct Attr
{
    std::wstring ns, local, value;
};

struct Node
{
    std::wstring ns, local;
    std::vector<Attr> attrs;
    std::wstring xsiTypeNs, xsiType; // written with WriteXsiType when xsiType is set
    bool nil = false;
    std::wstring text; // leaf elements only
    std::vector<Node> children;
};

struct Document
{
    std::wstring defaultNs;                                     // declared on the root
    std::vector<std::pair<std::wstring, std::wstring>> aliases; // prefix, URI
    Node root;
};

// Builds random documents that exercise every escaping and namespace path
// of the writer while staying within what the writer promises to keep
// well-formed (for example, no characters XML cannot carry at all).
class TreeGenerator
{
public:
    explicit TreeGenerator(uint32_t seed) : m_rng(seed) {}

    Document Make()
    {
        Document doc;
        m_nodes = 0;
        if (Chance(3)) {
            doc.defaultNs = Pick(kUris);
        }
        for (int i = 0, n = Int(0, 3); i < n; ++i) {
            doc.aliases.emplace_back(L"p" + std::to_wstring(i), kUris[i * 2]);
        }
        if (Chance(2)) {
            doc.aliases.emplace_back(L"xsi", kXsiNs);
        }
        // Elements in no namespace would fall into the default namespace, so
        // with one every element gets a namespace.
        m_needNamespace = !doc.defaultNs.empty();
        doc.root = MakeNode(0);
        return doc;
    }

private:
    static constexpr const wchar_t* kUris[] = {L"urn:vx:a",
                                               L"urn:vx:b",
                                               L"http://example.com/ns?x=1&y=2",
                                               L"http://example.org/%C3%A9/v1",
                                               L"urn:isbn:0451450523",
                                               L"tag:example.com,2026:c"};

    bool Chance(int oneIn) { return Int(0, oneIn - 1) == 0; }
    int Int(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(m_rng); }
    template <class T, size_t N> T Pick(T const (&items)[N]) { return items[Int(0, N - 1)]; }

    std::wstring Name()
    {
        static const wchar_t first[] = L"abcxyzABCXYZ_\u00E9\u00DF\u03A9\u65E5\u0416";
        static const wchar_t rest[] = L"abcxyz09-._\u00E9\u00B7\u65E5\u0661";
        for (;;) {
            std::wstring name(1, first[Int(0, std::size(first) - 2)]);
            for (int i = 0, n = Int(0, 6); i < n; ++i) {
                name += rest[Int(0, std::size(rest) - 2)];
            }
            std::wstring lower;
            for (wchar_t c : name.substr(0, 3)) {
                lower += static_cast<wchar_t>(std::towlower(c));
            }
            if (lower != L"xml") {
                return name;
            }
        }
    }

    std::wstring Text(bool allowCData)
    {
        static const wchar_t* const pieces[] = {
            L"a",      L"Z",     L" ",      L"&",      L"<",          L">",
            L"\"",     L"'",     L"\t",     L"\n",     L"\r\n",       L"\r",
            L"]]>",    L"&amp;", L"\u00E9", L"\u65E5", L"\U0001F600", L"\U00010348",
            L"\u20AC", L"--",    L"?>",     L"<!--",   L"0123456789"};
        if (allowCData && Chance(10)) {
            return L"<![CDATA[ <kept> & \"as is\" ]]>";
        }
        std::wstring text;
        for (int i = 0, n = Int(0, 12); i < n; ++i) {
            text += Pick(pieces);
        }
        return text;
    }

    std::wstring Namespace(bool allowEmpty)
    {
        if (allowEmpty && Chance(2)) {
            return L"";
        }
        return Pick(kUris);
    }

    Node MakeNode(int depth)
    {
        ++m_nodes;
        Node node;
        node.ns = Namespace(!m_needNamespace);
        node.local = Name();
        std::set<std::pair<std::wstring, std::wstring>> seen;
        for (int i = 0, n = Int(0, 4); i < n; ++i) {
            Attr a;
            a.ns = Chance(6) ? kXmlNs : Namespace(true);
            a.local = Name();
            a.value = Text(false);
            if (seen.insert({a.ns, a.local}).second) {
                node.attrs.push_back(std::move(a));
            }
        }
        if (Chance(8)) {
            node.xsiType = Name();
            node.xsiTypeNs = Namespace(true);
        }
        node.nil = Chance(10);
        const bool leaf = depth >= 6 || m_nodes > 400 || Chance(3);
        if (leaf) {
            node.text = Text(true);
        } else {
            for (int i = 0, n = Int(1, 5); i < n; ++i) {
                node.children.push_back(MakeNode(depth + 1));
            }
        }
        return node;
    }

    std::mt19937 m_rng;
    int m_nodes = 0;
    bool m_needNamespace = false;
};

// simpleLeaves: leaves with text only go through WriteSimpleElement, which
// must write exactly what the three calls write.
void WriteNode(CXmlTextWriter& writer, const Node& node, bool withComments, bool simpleLeaves)
{
    if (simpleLeaves && node.attrs.empty() && node.xsiType.empty() && !node.nil &&
        node.children.empty()) {
        writer.WriteSimpleElement(node.local, node.ns, node.text, ItemType_string, false);
        return;
    }
    writer.StartElement(node.local.c_str(), node.ns.c_str());
    for (const Attr& a : node.attrs) {
        writer.WriteAttribute(a.local.c_str(), a.ns.c_str(), a.value.c_str(), ItemType_string);
    }
    if (!node.xsiType.empty()) {
        writer.WriteXsiType(node.xsiTypeNs.c_str(), node.xsiType.c_str(), ItemType_string);
    }
    if (node.nil) {
        writer.WriteNil();
    }
    writer.WriteElementText(node.text.c_str(), ItemType_string, false);
    for (const Node& child : node.children) {
        WriteNode(writer, child, withComments, simpleLeaves);
        if (withComments) {
            // A comment after a child: the parent's start tag is closed by then.
            writer.WriteComment(L"after & <child>");
        }
    }
    writer.EndElement();
}

struct WriterSettings
{
    bool formatting;
    EOLType eol;
    const wchar_t* indent;
    XmlEncoding encoding;
};

// The document as bytes in the settings' encoding, as the library's output
// operations produce them.
CBinaryData WriteDocument(const Document& doc, const WriterSettings& settings,
                          bool simpleLeaves = false)
{
    CTextStream stream(settings.encoding);
    CXmlTextWriter writer(&stream);
    writer.StartDocument();
    writer.SetFormatting(settings.formatting);
    writer.SetIndentChars(settings.indent);
    writer.SetEOLType(settings.eol);
    writer.WriteXmlDeclaration();
    writer.WriteComment(L"generated & checked");
    if (!doc.defaultNs.empty()) {
        writer.SetDefaultNamespace(doc.defaultNs.c_str());
    }
    for (const auto& [prefix, uri] : doc.aliases) {
        writer.AddNamespace(prefix.c_str(), uri.c_str());
    }
    WriteNode(writer, doc.root, settings.formatting, simpleLeaves);
    writer.EndDocument();
    return stream.ToBytes();
}

struct RunResult
{
    int status;
    std::string output; // stdout and stderr together
};

RunResult RunCommand(const std::string& command)
{
    RunResult result{-1, {}};
    result.output = Shell(command + " 2>&1", &result.status);
    return result;
}

// The oracle is part of the test setup: without it the test fails, since a
// skipped oracle would let broken output through unnoticed.
void RequireXmllint()
{
    const RunResult version = RunCommand("xmllint --version");
    ASSERT_EQ(version.status, 0) << "xmllint (package libxml2-utils) is required: "
                                 << version.output;
}

// ---- reading back ----------------------------------------------------------

// What a reader must see for a written attribute value: carriage returns are
// dropped by the writer; tabs and line feeds are escaped as character
// references, so attribute-value normalisation leaves them intact.
std::wstring ExpectedAttributeValue(const std::wstring& value)
{
    std::wstring out;
    for (wchar_t c : value) {
        if (c != L'\r') {
            out += c;
        }
    }
    return out;
}

std::wstring ExpectedText(const std::wstring& text, bool stripCData)
{
    const std::wstring open = L"<![CDATA[";
    if (stripCData && text.compare(0, open.size(), open) == 0) {
        return text.substr(open.size(), text.size() - open.size() - 3);
    }
    std::wstring out;
    for (wchar_t c : text) {
        if (c != L'\r') {
            out += c;
        }
    }
    return out;
}

using AttrKey = std::tuple<std::wstring, std::wstring, std::wstring>; // ns, local, value

// Compares an element read back with the node that was written; returns the
// first difference, or an empty string.
std::wstring Compare(const Node& node, const CXmlElement* element, const Document& doc,
                     bool formatting, bool stripCData, const std::wstring& path)
{
    const std::wstring here = path + L"/" + node.local;
    if (element->GetLocalName() != node.local || element->GetNamespaceURI() != node.ns) {
        return here + L": read as {" + element->GetNamespaceURI() + L"}" + element->GetLocalName();
    }
    std::multiset<AttrKey> expected, actual;
    for (const Attr& a : node.attrs) {
        expected.insert({a.ns, a.local, ExpectedAttributeValue(a.value)});
    }
    if (!node.xsiType.empty()) {
        // The prefix in a QName value is the writer's choice; what must
        // survive is the local part and whether there is a prefix at all.
        const bool prefixed = !node.xsiTypeNs.empty() && node.xsiTypeNs != doc.defaultNs;
        expected.insert({kXsiNs, L"type", (prefixed ? L"{prefixed}" : L"") + node.xsiType});
    }
    if (node.nil) {
        expected.insert({kXsiNs, L"nil", L"true"});
    }
    for (const CXmlAttribute* a : element->GetAttributes()) {
        std::wstring value = a->GetValue();
        if (a->GetNamespaceURI() == kXsiNs && a->GetLocalName() == L"type") {
            const size_t colon = value.find(L':');
            if (colon != std::wstring::npos) {
                value = L"{prefixed}" + value.substr(colon + 1);
            }
        }
        actual.insert({a->GetNamespaceURI(), a->GetLocalName(), value});
    }
    if (expected != actual) {
        return here + L": attributes differ";
    }
    const std::wstring& text = element->GetText();
    if (node.children.empty()) {
        if (text != ExpectedText(node.text, stripCData)) {
            return here + L": text read as [" + text + L"]";
        }
    } else if (formatting ? text.find_first_not_of(L" \t\n") != std::wstring::npos
                          : !text.empty()) {
        // Between children there is only the writer's own indentation.
        return here + L": text between children [" + text + L"]";
    }
    const CXmlElement* child = element->GetFirstElement();
    for (const Node& childNode : node.children) {
        if (child == nullptr) {
            return here + L": child " + childNode.local + L" missing";
        }
        std::wstring diff = Compare(childNode, child, doc, formatting, stripCData, here);
        if (!diff.empty()) {
            return diff;
        }
        child = child->GetNextSiblingElement();
    }
    return child ? here + L": extra child " + child->GetLocalName() : L"";
}

} // namespace

TEST(XmlWriterOracle, RandomTreesAreWellFormedAndReadBackTheSame)
{
    TempDir dir;
    RequireXmllint();

    const WriterSettings settings[] = {
        {true, EOL_LF, L"\t", XmlEncoding_UTF8},  {true, EOL_CRLF, L"  ", XmlEncoding_UTF8},
        {false, EOL_LF, L"\t", XmlEncoding_UTF8}, {false, EOL_CRLF, L"", XmlEncoding_UTF8},
        {true, EOL_LF, L" ", XmlEncoding_UTF16},  {false, EOL_LF, L"\t", XmlEncoding_UTF16_NoDecl},
    };
    TreeGenerator generator(20261121);
    std::string files;
    int written = 0;
    for (int i = 0; i < 200; ++i) {
        const Document doc = generator.Make();
        const WriterSettings& setting = settings[i % std::size(settings)];
        const CBinaryData bytes = WriteDocument(doc, setting);
        const CBinaryData viaSimpleLeaves = WriteDocument(doc, setting, true);
        ASSERT_TRUE(viaSimpleLeaves == bytes) << "document " << i;
        {
            CXmlDocument read;
            std::vector<unsigned char> copy(bytes.GetData(), bytes.GetData() + bytes.GetLength());
            read.LoadXmlStream(copy.data(), static_cast<uint32_t>(copy.size()));
            const bool strip = CSerializationContext::GetDefaultContext().GetStripCDATA();
            const std::wstring diff =
                Compare(doc.root, read.GetDocumentElement(), doc, setting.formatting, strip, L"");
            EXPECT_EQ(diff, L"") << "document " << i << ": " << Narrow(diff);
        }
        const fs::path file = dir.path / ("doc" + std::to_string(i) + ".xml");
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetLength());
        files += " '" + file.string() + "'";
        ++written;
    }
    ASSERT_EQ(written, 200);
    // One xmllint run for all files; any diagnostic at all (namespace
    // warnings included) counts as a failure.
    const RunResult result = RunCommand("xmllint --noout" + files);
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.output.empty()) << result.output.substr(0, 4000);
}

namespace {

// Writes a document tree back as XML text: the namespaces it uses are
// declared on the root under the prefixes the document gave them.
CBinaryData WriteTree(const CXmlDocument& doc)
{
    std::set<std::wstring> uris;
    std::vector<const CXmlElement*> pending{doc.GetDocumentElement()};
    while (!pending.empty()) {
        const CXmlElement* e = pending.back();
        pending.pop_back();
        uris.insert(e->GetNamespaceURI());
        for (const CXmlAttribute* a : e->GetAttributes()) {
            uris.insert(a->GetNamespaceURI());
        }
        for (const CXmlElement* c = e->GetFirstElement(); c; c = c->GetNextSiblingElement()) {
            pending.push_back(c);
        }
    }
    CTextStream stream(XmlEncoding_UTF8);
    CXmlTextWriter writer(&stream);
    writer.StartDocument();
    writer.WriteXmlDeclaration();
    for (const std::wstring& uri : uris) {
        if (uri.empty() || uri == kXmlNs) {
            continue;
        }
        const std::wstring prefix = doc.LookupAliasFromNamespace(uri.c_str());
        if (prefix.empty()) {
            writer.SetDefaultNamespace(uri.c_str());
        } else {
            writer.AddNamespace(prefix.c_str(), uri.c_str());
        }
    }
    std::function<void(const CXmlElement*)> write = [&](const CXmlElement* e) {
        writer.StartElement(e->GetLocalName().c_str(), e->GetNamespaceURI().c_str());
        for (const CXmlAttribute* a : e->GetAttributes()) {
            writer.WriteAttribute(a->GetLocalName().c_str(), a->GetNamespaceURI().c_str(),
                                  a->GetValue().c_str(), ItemType_string);
        }
        writer.WriteElementText(e->GetText().c_str(), ItemType_string, false);
        for (const CXmlElement* c = e->GetFirstElement(); c; c = c->GetNextSiblingElement()) {
            write(c);
        }
        writer.EndElement();
    };
    write(doc.GetDocumentElement());
    writer.EndDocument();
    return stream.ToBytes();
}

// Canonical text reduced to what the document tree keeps: no comments and
// no processing instructions (the reader drops them), no carriage returns
// (dropped from text on purpose), and no white space between tags, because
// the tree keeps an element's text in one piece without its position among
// the children, and the writer indents.
std::string ReduceCanonical(const std::string& c14n)
{
    std::string out;
    out.reserve(c14n.size());
    size_t i = 0;
    while (i < c14n.size()) {
        if (c14n.compare(i, 4, "<!--") == 0) {
            i = c14n.find("-->", i + 4);
            i = i == std::string::npos ? c14n.size() : i + 3;
        } else if (c14n.compare(i, 2, "<?") == 0) {
            i = c14n.find("?>", i + 2);
            i = i == std::string::npos ? c14n.size() : i + 2;
        } else if (c14n.compare(i, 6, "&#xD;") == 0) {
            i += 5;
        } else {
            out += c14n[i++];
        }
    }
    // In canonical form '<' and '>' in text are always escaped, so a run of
    // white space between '>' and '<' is text between tags.
    std::string reduced;
    reduced.reserve(out.size());
    for (size_t j = 0; j < out.size();) {
        if (out[j] == '>') {
            size_t k = j + 1;
            while (k < out.size() && std::isspace(static_cast<unsigned char>(out[k]))) {
                ++k;
            }
            reduced += '>';
            if (k < out.size() && out[k] == '<') {
                j = k;
            } else {
                j = j + 1;
            }
        } else {
            reduced += out[j++];
        }
    }
    const size_t first = reduced.find('<');
    const size_t last = reduced.rfind('>');
    return first == std::string::npos ? "" : reduced.substr(first, last - first + 1);
}

std::string Canonical(const fs::path& file)
{
    const RunResult result = RunCommand("xmllint --exc-c14n '" + file.string() + "'");
    EXPECT_EQ(result.status, 0) << file << ": " << result.output.substr(0, 2000);
    return ReduceCanonical(result.output);
}

} // namespace

TEST(XmlWriterOracle, RealDocumentsKeepTheirCanonicalForm)
{
    TempDir dir;
    RequireXmllint();

    // freedesktop.org.xml comes with shared-mime-info, which the set-up
    // installs; of the files under /usr/share/xml, those present are used.
    const char* const required = "/usr/share/mime/packages/freedesktop.org.xml";
    const char* const optional[] = {
        "/usr/share/xml/polkit-1/catalog.xml",     "/usr/share/xml/schema/xml-core/catalog.xml",
        "/usr/share/xml/iso-codes/iso_3166-1.xml", "/usr/share/xml/iso-codes/iso_4217.xml",
        "/usr/share/xml/iso-codes/iso_639-2.xml",  "/usr/share/xml/iso-codes/iso_15924.xml",
        "/usr/share/xml/iso-codes/iso_639-5.xml"};
    ASSERT_TRUE(fs::exists(required)) << required << " (package shared-mime-info) is required";
    std::vector<fs::path> files{required};
    for (const char* file : optional) {
        if (fs::exists(file)) {
            files.emplace_back(file);
        }
    }
    ASSERT_GE(files.size(), 3u) << "too few real documents under /usr/share/xml";

    for (const fs::path& input : files) {
        SCOPED_TRACE(input.string());
        CXmlDocument doc;
        const std::wstring widePath = input.wstring();
        doc.Load(widePath.c_str());
        const CBinaryData bytes = WriteTree(doc);
        const fs::path output = dir.path / "written.xml";
        std::ofstream(output, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetLength());

        const std::string expected = Canonical(input);
        const std::string actual = Canonical(output);
        ASSERT_GT(expected.size(), 100u);
        if (expected != actual) {
            size_t at = 0;
            while (at < expected.size() && at < actual.size() && expected[at] == actual[at]) {
                ++at;
            }
            const size_t from = at < 200 ? 0 : at - 200;
            ADD_FAILURE() << "canonical forms differ at byte " << at
                          << "\n  input:   " << expected.substr(from, 400)
                          << "\n  written: " << actual.substr(from, 400);
        }
    }
}
