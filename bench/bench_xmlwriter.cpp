// Writing a ~10 MB document: CXmlTextWriter into a text stream, converted to
// UTF-8 bytes, against pugixml saving the same document into a byte buffer.
//
// Both sides start from a tree already in memory and end with the UTF-8
// bytes of the whole document in one buffer. The pugixml document is made by
// parsing our own output, so both write exactly the same content (names,
// namespace declarations, attributes, text). Ratios (ours / pugixml) are
// printed at the end so that the figure does not depend on the machine.
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdio>
#include <map>
#include <pugixml.hpp>
#include <set>
#include <string>
#include <vector>
#include <vxxml/TextStream.h>
#include <vxxml/XmlTextWriter.h>

using namespace VxXmlLib16;

namespace {

constexpr size_t kTargetBytes = 10u << 20;

struct BenchAttr
{
    std::wstring local, ns, value;
};

struct BenchNode
{
    std::wstring local, ns, text;
    std::vector<BenchAttr> attrs;
    std::vector<BenchNode> children;
};

const wchar_t* const kInv = L"urn:example:inventory";
const wchar_t* const kMeta = L"urn:example:meta";
const wchar_t* const kXsi = L"http://www.w3.org/2001/XMLSchema-instance";

// Many small elements with attributes and text, a few namespaces, escaped
// characters and some non-ASCII text, like the documents of the reader
// benchmarks.
BenchNode MakeTree(size_t approxBytes)
{
    static const wchar_t* const names[] = {L"Widget", L"Gadget",    L"Sprocket",
                                           L"Gizmo",  L"Doohickey", L"Thingamajig"};
    static const wchar_t* const status[] = {L"active", L"retired", L"pending"};
    static const wchar_t* const notes[] = {L"Fits most models & sizes", L"Stainless <steel> finish",
                                           L"Caf\u00E9 edition \u2014 limited",
                                           L"\u65E5\u672C\u8A9E\u306E\u8AAC\u660E",
                                           L"Rated \"excellent\" by users"};
    BenchNode root{L"inventory", kInv, L"", {}, {}};
    uint32_t rng = 2463534242u;
    auto rand = [&rng] {
        rng ^= rng << 13;
        rng ^= rng >> 17;
        rng ^= rng << 5;
        return rng;
    };
    size_t bytes = 0;
    for (uint32_t id = 100000; bytes < approxBytes; ++id) {
        const uint32_t r = rand();
        const std::wstring ids = std::to_wstring(id);
        BenchNode item{L"item", kInv, L"", {}, {}};
        item.attrs.push_back({L"id", L"", ids});
        item.attrs.push_back({L"sku", L"", L"SKU-" + ids});
        item.attrs.push_back({L"status", L"", status[r % 3]});
        if (r % 5 == 0) {
            item.attrs.push_back({L"origin", kMeta, L"imported"});
        }
        item.children.push_back({L"name", kInv, names[r % 6], {}, {}});
        item.children.push_back({L"price",
                                 kInv,
                                 std::to_wstring(r % 1000) + L"." + std::to_wstring(r % 90 + 10),
                                 {},
                                 {}});
        item.children.push_back({L"note", kMeta, notes[(r >> 8) % 5], {}, {}});
        if (r % 7 == 0) {
            BenchNode nil{L"discontinued", kInv, L"", {}, {}};
            nil.attrs.push_back({L"nil", kXsi, L"true"});
            item.children.push_back(nil);
        }
        BenchNode tags{L"tags", kInv, L"", {}, {}};
        for (uint32_t t = 0; t < 1 + r % 3; ++t) {
            tags.children.push_back({L"tag", kInv, L"t" + std::to_wstring((r >> t) % 50), {}, {}});
        }
        item.children.push_back(std::move(tags));
        root.children.push_back(std::move(item));
        bytes += 190; // roughly what one item takes in the output
    }
    return root;
}

const BenchNode& Tree()
{
    static const BenchNode tree = MakeTree(kTargetBytes);
    return tree;
}

void WriteNode(CXmlTextWriter& writer, const BenchNode& node)
{
    writer.StartElement(node.local.c_str(), node.ns.c_str());
    for (const BenchAttr& a : node.attrs) {
        writer.WriteAttribute(a.local.c_str(), a.ns.c_str(), a.value.c_str(), ItemType_string);
    }
    writer.WriteElementText(node.text.c_str(), ItemType_string, false);
    for (const BenchNode& child : node.children) {
        WriteNode(writer, child);
    }
    writer.EndElement();
}

// The same tree the way generated code holds it: element and attribute
// names and namespace URIs are constants of the class metadata, shared by
// every object, and only the values belong to the object. The walk then
// touches far less memory than with a copy of every name in every node.
struct SharedAttr
{
    const wchar_t* local;
    const wchar_t* ns;
    std::wstring value;
};

struct SharedNode
{
    const std::wstring* local;
    const std::wstring* ns;
    std::wstring text;
    std::vector<SharedAttr> attrs;
    std::vector<SharedNode> children;
};

const std::wstring* Intern(const std::wstring& text)
{
    static std::set<std::wstring> table;
    return &*table.insert(text).first;
}

SharedNode Share(const BenchNode& node)
{
    SharedNode shared{Intern(node.local), Intern(node.ns), node.text, {}, {}};
    for (const BenchAttr& a : node.attrs) {
        shared.attrs.push_back({Intern(a.local)->c_str(), Intern(a.ns)->c_str(), a.value});
    }
    shared.children.reserve(node.children.size());
    for (const BenchNode& child : node.children) {
        shared.children.push_back(Share(child));
    }
    return shared;
}

const SharedNode& SharedTree()
{
    static const SharedNode tree = Share(Tree());
    return tree;
}

// simpleLeaves: elements with text only are written in one call, as bound
// objects write their simple members.
void WriteShared(CXmlTextWriter& writer, const SharedNode& node, bool simpleLeaves)
{
    if (simpleLeaves && node.attrs.empty() && node.children.empty()) {
        writer.WriteSimpleElement(*node.local, *node.ns, node.text, ItemType_string, false);
        return;
    }
    writer.StartElement(node.local->c_str(), node.ns->c_str());
    for (const SharedAttr& a : node.attrs) {
        writer.WriteAttribute(a.local, a.ns, a.value.c_str(), ItemType_string);
    }
    writer.WriteElementText(node.text.c_str(), ItemType_string, false);
    for (const SharedNode& child : node.children) {
        WriteShared(writer, child, simpleLeaves);
    }
    writer.EndElement();
}

// The to-string path of the library: write everything into an in-memory
// stream, then hand over its UTF-8 bytes. writeTree writes the root.
template <class WriteTree> CBinaryData WriteToMemory(bool formatting, WriteTree writeTree)
{
    CTextStream stream(XmlEncoding_UTF8);
    CXmlTextWriter writer(&stream);
    writer.StartDocument();
    writer.SetFormatting(formatting);
    writer.WriteXmlDeclaration();
    writer.SetDefaultNamespace(kInv);
    writer.AddNamespace(L"m", kMeta);
    writer.AddNamespace(L"xsi", kXsi);
    writeTree(writer);
    writer.EndDocument();
    return stream.ToBytes();
}

[[gnu::noinline]] CBinaryData WriteWithVxxml(bool formatting)
{
    return WriteToMemory(formatting, [](CXmlTextWriter& w) { WriteNode(w, Tree()); });
}

// The same path over the tree with shared names.
[[gnu::noinline]] CBinaryData WriteSharedWithVxxml(bool formatting, bool simpleLeaves)
{
    return WriteToMemory(formatting, [simpleLeaves](CXmlTextWriter& w) {
        WriteShared(w, SharedTree(), simpleLeaves);
    });
}

// A memory stream that converts each flushed chunk to UTF-8 at once, the way
// a file stream writes it: the wide text never exceeds one chunk, so it stays
// in cache, and only the UTF-8 bytes grow.
class Utf8ChunkStream : public CTextStream
{
public:
    Utf8ChunkStream() : CTextStream(XmlEncoding_UTF8) {}
    void Flush() override
    {
        if (GetLength() != 0) {
            m_bytes.Append(ToBytes());
            CTextStream::Open(); // clears the text
        }
    }
    void Close() override { Flush(); }
    CBinaryData TakeBytes() { return std::move(m_bytes); }

private:
    CBinaryData m_bytes;
};

[[gnu::noinline]] CBinaryData WriteWithVxxmlChunked(bool formatting)
{
    Utf8ChunkStream stream;
    CXmlTextWriter writer(&stream);
    writer.StartDocument();
    writer.SetFormatting(formatting);
    writer.WriteXmlDeclaration();
    writer.SetDefaultNamespace(kInv);
    writer.AddNamespace(L"m", kMeta);
    writer.AddNamespace(L"xsi", kXsi);
    WriteNode(writer, Tree());
    writer.EndDocument();
    return stream.TakeBytes();
}

struct StringWriter : pugi::xml_writer
{
    std::string bytes;
    void write(const void* data, size_t size) override
    {
        bytes.append(static_cast<const char*>(data), size);
    }
};

const pugi::xml_document& PugiTree(bool formatting)
{
    static pugi::xml_document docs[2];
    static bool loaded[2] = {false, false};
    pugi::xml_document& doc = docs[formatting ? 1 : 0];
    if (!loaded[formatting ? 1 : 0]) {
        const CBinaryData ours = WriteWithVxxml(formatting);
        // Whitespace between elements is formatting, not content: pugixml
        // re-creates it when it indents.
        if (!doc.load_buffer(ours.GetData(), ours.GetLength(), pugi::parse_default,
                             pugi::encoding_utf8)) {
            std::fprintf(stderr, "pugixml could not parse our output\n");
            std::abort();
        }
        loaded[formatting ? 1 : 0] = true;
    }
    return doc;
}

[[gnu::noinline]] std::string SaveWithPugi(bool formatting)
{
    StringWriter out;
    PugiTree(formatting)
        .save(out, "\t", formatting ? pugi::format_default : pugi::format_raw, pugi::encoding_utf8);
    return std::move(out.bytes);
}

void BM_Vxxml(benchmark::State& state)
{
    const bool formatting = state.range(0) != 0;
    Tree();
    size_t bytes = 0;
    for (auto _ : state) {
        CBinaryData data = WriteWithVxxml(formatting);
        bytes = data.GetLength();
        benchmark::DoNotOptimize(data.GetData());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["MB"] = static_cast<double>(bytes) / (1 << 20);
}

void SharedTreeRun(benchmark::State& state, bool simpleLeaves)
{
    const bool formatting = state.range(0) != 0;
    if (WriteSharedWithVxxml(formatting, simpleLeaves) != WriteWithVxxml(formatting)) {
        std::fprintf(stderr, "the two trees do not write the same document\n");
        std::abort();
    }
    size_t bytes = 0;
    for (auto _ : state) {
        CBinaryData data = WriteSharedWithVxxml(formatting, simpleLeaves);
        bytes = data.GetLength();
        benchmark::DoNotOptimize(data.GetData());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["MB"] = static_cast<double>(bytes) / (1 << 20);
}

void BM_VxxmlShared(benchmark::State& state)
{
    SharedTreeRun(state, false);
}

void BM_VxxmlSharedLeaves(benchmark::State& state)
{
    SharedTreeRun(state, true);
}

void BM_VxxmlChunked(benchmark::State& state)
{
    const bool formatting = state.range(0) != 0;
    Tree();
    size_t bytes = 0;
    for (auto _ : state) {
        CBinaryData data = WriteWithVxxmlChunked(formatting);
        bytes = data.GetLength();
        benchmark::DoNotOptimize(data.GetData());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["MB"] = static_cast<double>(bytes) / (1 << 20);
}

// What the stream and the UTF-8 conversion cost without any writer: the
// finished text handed over in pieces of the size the writer uses. The
// writer's own share is the difference to the runs above.
const std::wstring& FinishedText(bool formatting)
{
    static std::wstring texts[2];
    std::wstring& text = texts[formatting ? 1 : 0];
    if (text.empty()) {
        CTextStream stream(XmlEncoding_UTF8);
        CXmlTextWriter writer(&stream);
        writer.StartDocument();
        writer.SetFormatting(formatting);
        writer.WriteXmlDeclaration();
        writer.SetDefaultNamespace(kInv);
        writer.AddNamespace(L"m", kMeta);
        writer.AddNamespace(L"xsi", kXsi);
        WriteNode(writer, Tree());
        writer.EndDocument();
        text = stream.GetText();
    }
    return text;
}

template <class Stream> CBinaryData StreamOnly(Stream& stream, const std::wstring& text)
{
    constexpr size_t kPiece = 2048;
    std::wstring piece;
    stream.Open();
    for (size_t at = 0; at < text.size(); at += kPiece) {
        piece.assign(text, at, kPiece);
        stream.Write(piece);
        if (stream.GetLength() >= 4096) {
            stream.Flush();
        }
    }
    stream.Close();
    return stream.ToBytes();
}

void BM_StreamOnly(benchmark::State& state)
{
    const std::wstring& text = FinishedText(state.range(0) != 0);
    for (auto _ : state) {
        CTextStream stream(XmlEncoding_UTF8);
        CBinaryData data = StreamOnly(stream, text);
        benchmark::DoNotOptimize(data.GetData());
    }
}

void BM_StreamOnlyChunked(benchmark::State& state)
{
    const std::wstring& text = FinishedText(state.range(0) != 0);
    for (auto _ : state) {
        Utf8ChunkStream stream;
        StreamOnly(stream, text);
        CBinaryData data = stream.TakeBytes();
        benchmark::DoNotOptimize(data.GetData());
    }
}

void BM_Pugixml(benchmark::State& state)
{
    const bool formatting = state.range(0) != 0;
    PugiTree(formatting);
    size_t bytes = 0;
    for (auto _ : state) {
        std::string data = SaveWithPugi(formatting);
        bytes = data.size();
        benchmark::DoNotOptimize(data.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
    state.counters["MB"] = static_cast<double>(bytes) / (1 << 20);
}

BENCHMARK(BM_Vxxml)->ArgName("formatted")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VxxmlShared)->ArgName("formatted")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VxxmlSharedLeaves)
    ->ArgName("formatted")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_VxxmlChunked)->ArgName("formatted")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StreamOnly)->ArgName("formatted")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_StreamOnlyChunked)
    ->ArgName("formatted")
    ->Arg(0)
    ->Arg(1)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Pugixml)->ArgName("formatted")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// Prints the usual table, then ours / pugixml per argument.
class RatioReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        // With --benchmark_repetitions the median is used, else the one run.
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration) {
                m_times.emplace(run.run_name.function_name + "/" + run.run_name.args,
                                run.GetAdjustedCPUTime());
            } else if (run.aggregate_name == "median") {
                m_times[run.run_name.function_name + "/" + run.run_name.args] =
                    run.GetAdjustedCPUTime();
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        for (const char* arg : {"0", "1"}) {
            const std::string suffix = std::string("/formatted:") + arg;
            const auto theirs = m_times.find("BM_Pugixml" + suffix);
            for (const char* ours : {"BM_Vxxml", "BM_VxxmlShared", "BM_VxxmlSharedLeaves",
                                     "BM_VxxmlChunked", "BM_StreamOnly", "BM_StreamOnlyChunked"}) {
                const auto it = m_times.find(ours + suffix);
                if (it != m_times.end() && theirs != m_times.end()) {
                    std::printf("ratio %s/pugixml formatted=%s: %.2f (CPU time)\n", ours, arg,
                                it->second / theirs->second);
                }
            }
        }
    }

private:
    std::map<std::string, double> m_times;
};

} // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
