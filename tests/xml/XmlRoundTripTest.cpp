// The text writer's output checked by tools that nobody here wrote: random
// element trees must be well-formed for xmllint.
#include "TestHelpers.h"

#include <cstdio>
#include <cstdlib>
#include <cwctype>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>
#include <vxxml/TextStream.h>
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

void WriteNode(CXmlTextWriter& writer, const Node& node, bool withComments)
{
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
        WriteNode(writer, child, withComments);
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
CBinaryData WriteDocument(const Document& doc, const WriterSettings& settings)
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
    WriteNode(writer, doc.root, settings.formatting);
    writer.EndDocument();
    return stream.ToBytes();
}

// A scratch directory removed with everything in it.
struct TempDir
{
    TempDir()
    {
        std::string pattern = (fs::temp_directory_path() / "vxxml-writer-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("mkdtemp failed");
        }
        path = pattern;
    }
    ~TempDir()
    {
        std::error_code ec;
        fs::remove_all(path, ec);
    }
    fs::path path;
};

struct RunResult
{
    int status;
    std::string output; // stdout and stderr together
};

RunResult RunCommand(const std::string& command, const fs::path& outputFile)
{
    const std::string full = command + " >'" + outputFile.string() + "' 2>&1";
    const int status = std::system(full.c_str());
    std::ifstream in(outputFile, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return {status, text.str()};
}

// The oracle is part of the test setup: without it the test fails, since a
// skipped oracle would let broken output through unnoticed.
void RequireXmllint(const fs::path& scratch)
{
    const RunResult version = RunCommand("xmllint --version", scratch / "version.txt");
    ASSERT_EQ(version.status, 0) << "xmllint (package libxml2-utils) is required: "
                                 << version.output;
}

} // namespace

TEST(XmlWriterOracle, RandomTreesAreWellFormedForXmllint)
{
    TempDir dir;
    RequireXmllint(dir.path);

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
        const CBinaryData bytes = WriteDocument(doc, settings[i % std::size(settings)]);
        const fs::path file = dir.path / ("doc" + std::to_string(i) + ".xml");
        std::ofstream(file, std::ios::binary)
            .write(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetLength());
        files += " '" + file.string() + "'";
        ++written;
    }
    ASSERT_EQ(written, 200);
    // One xmllint run for all files; any diagnostic at all (namespace
    // warnings included) counts as a failure.
    const RunResult result = RunCommand("xmllint --noout" + files, dir.path / "xmllint.txt");
    EXPECT_EQ(result.status, 0);
    EXPECT_TRUE(result.output.empty()) << result.output.substr(0, 4000);
}
