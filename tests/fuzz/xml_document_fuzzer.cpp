// XML bytes (or wide text) into CXmlDocument.
//
// The first byte picks the options, the rest is the document:
//   bits 0-1  0: LoadXmlStream on the bytes
//             1: LoadXml(const char*) on the bytes up to the first zero
//             2: LoadXml(const wchar_t*) on the bytes read as wide text
//             3: the bytes compressed with CVxZip first (bit 2: zlib, else
//                gzip), then LoadXmlStream; the outcome must be the one of
//                the plain bytes
//   bit 3     no namespace processing (SchemaType_DTD)
//   bit 4     CDATA markers kept (StripCDATA off)
//   bit 5     an element callback that drops every element whose local name
//             starts with 'd'
//   bit 6     (mode 0) write the tree with CXmlTextWriter and read it back: the tree
//             must come back the same
//
// Every load must end in a tree or in a CVxException; anything else escapes
// and crashes the fuzzer.
#include "FuzzSupport.h"

#include <cstring>
#include <string>
#include <vector>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;

namespace {

// One element of a tree in document order, with everything a reader keeps.
struct FlatElement
{
    size_t depth;
    std::wstring ns;
    std::wstring local;
    std::vector<std::wstring> attributes; // ns, local, value, ...
    std::wstring text;

    bool operator==(const FlatElement&) const = default;
};

// The outcome of a load: the tree, or the message of the exception.
struct Outcome
{
    bool loaded = false;
    std::wstring message;
    std::vector<FlatElement> tree;

    bool operator==(const Outcome&) const = default;
};

// Walks the tree without recursion (documents may be deep) and touches
// every accessor a binding would use.
std::vector<FlatElement> Flatten(const CXmlDocument& doc)
{
    std::vector<FlatElement> flat;
    const CXmlElement* root = doc.GetDocumentElement();
    VXFUZZ_CHECK(root != nullptr);
    VXFUZZ_CHECK(root->GetParentElm() == nullptr);
    std::vector<std::pair<const CXmlElement*, size_t>> pending{{root, 0}};
    while (!pending.empty()) {
        auto [e, depth] = pending.back();
        pending.pop_back();
        VXFUZZ_CHECK(e->GetDocument() == &doc);
        FlatElement f{depth, e->GetNamespaceURI(), e->GetLocalName(), {}, e->GetText()};
        for (const CXmlAttribute* a : e->GetAttributes()) {
            f.attributes.push_back(a->GetNamespaceURI());
            f.attributes.push_back(a->GetLocalName());
            f.attributes.push_back(a->GetValue());
            // Names are unique within an element, so the lookup finds it.
            VXFUZZ_CHECK(e->GetAttribute(a->GetLocalName().c_str(), a->GetNamespaceURI().c_str()) ==
                         a->GetValue());
            (void)a->IsNamespaceAttribute();
            (void)a->IsNilAttribute();
        }
        if (flat.size() < 64) {
            // Paths cost a walk over the siblings: a few are enough.
            VXFUZZ_CHECK(!e->GetXPath().empty());
            for (const CXmlAttribute* a : e->GetAttributes()) {
                VXFUZZ_CHECK(!a->GetXPath().empty());
            }
        }
        flat.push_back(std::move(f));
        std::vector<const CXmlElement*> children;
        for (const CXmlElement* c = e->GetFirstElement(); c != nullptr;
             c = c->GetNextSiblingElement()) {
            VXFUZZ_CHECK(c->GetParentElm() == e);
            children.push_back(c);
        }
        for (auto it = children.rbegin(); it != children.rend(); ++it) {
            pending.emplace_back(*it, depth + 1);
        }
    }
    return flat;
}

bool DropsElementsStartingWithD(CXmlElement* element)
{
    const std::wstring& name = element->GetLocalName();
    return !name.empty() && name[0] == L'd';
}

struct Options
{
    bool noNamespaces;
    bool keepCdata;
    bool callback;
};

CSerializationContext MakeContext(const Options& options)
{
    CSerializationContext context;
    context.SetSchemaType(options.noNamespaces ? SchemaType_DTD : SchemaType_XSD);
    context.SetStripCDATA(!options.keepCdata);
    return context;
}

template <typename LoadFn> Outcome Load(const Options& options, LoadFn load)
{
    const CSerializationContext context = MakeContext(options);
    CXmlDocument doc(options.callback ? &DropsElementsStartingWithD : nullptr, context);
    Outcome outcome;
    try {
        load(doc);
        outcome.loaded = true;
        outcome.tree = Flatten(doc);
    } catch (const CVxException& e) {
        outcome.message = e.GetFullMessage();
        VXFUZZ_CHECK(!outcome.message.empty());
        // A failed load leaves no tree behind.
        VXFUZZ_CHECK(doc.GetDocumentElement() == nullptr);
    }
    if (outcome.loaded) {
        // A copy has the same tree.
        CXmlDocument copy(doc);
        VXFUZZ_CHECK(Flatten(copy) == outcome.tree);
    }
    return outcome;
}

Outcome LoadBytes(const Options& options, const uint8_t* data, size_t size)
{
    return Load(options, [&](CXmlDocument& doc) {
        std::vector<unsigned char> bytes(data, data + size);
        doc.LoadXmlStream(bytes.empty() ? nullptr : bytes.data(), static_cast<uint32_t>(size));
        // The caller's bytes are never changed.
        VXFUZZ_CHECK(size == 0 || std::memcmp(bytes.data(), data, size) == 0);
    });
}

// Writes the tree with the text writer: text first, then the children, as
// the tree keeps all text of an element together.
std::wstring Write(const CXmlDocument& doc)
{
    CTextStream stream(XmlEncoding_UTF8);
    CXmlTextWriter writer(&stream);
    writer.SetFormatting(false);
    writer.StartDocument();
    struct Frame
    {
        const CXmlElement* element;
        const CXmlElement* nextChild;
    };
    std::vector<Frame> stack;
    auto open = [&](const CXmlElement* e) {
        writer.StartElement(e->GetLocalName().c_str(), e->GetNamespaceURI().c_str());
        for (const CXmlAttribute* a : e->GetAttributes()) {
            writer.WriteAttribute(a->GetLocalName().c_str(), a->GetNamespaceURI().c_str(),
                                  a->GetValue().c_str(), ItemType{});
        }
        writer.WriteElementText(e->GetText().c_str(), ItemType{}, false);
        stack.push_back({e, e->GetFirstElement()});
    };
    open(doc.GetDocumentElement());
    while (!stack.empty()) {
        Frame& top = stack.back();
        if (top.nextChild == nullptr) {
            writer.EndElement();
            stack.pop_back();
            continue;
        }
        const CXmlElement* child = top.nextChild;
        top.nextChild = child->GetNextSiblingElement();
        open(child);
    }
    writer.EndDocument();
    return stream.GetText();
}

// Whether the tree holds something the writer passes through unescaped on
// purpose: text that starts like a CDATA section.
bool HasRawText(const std::vector<FlatElement>& tree)
{
    for (const FlatElement& e : tree) {
        if (e.text.starts_with(L"<![CDATA[")) {
            return true;
        }
    }
    return false;
}

// The writer drops carriage returns everywhere; the reader keeps those of
// attribute values and namespace URIs (they can only come from character
// references there).
std::vector<FlatElement> WithoutCarriageReturns(std::vector<FlatElement> tree)
{
    for (FlatElement& e : tree) {
        std::erase(e.ns, L'\r');
        for (size_t i = 0; i < e.attributes.size(); ++i) {
            if (i % 3 != 1) { // namespace URI and value, not the local name
                std::erase(e.attributes[i], L'\r');
            }
        }
    }
    return tree;
}

void CheckWriteAndReadBack(const Options& options, const Outcome& first, const CXmlDocument* doc)
{
    if (!first.loaded || HasRawText(first.tree)) {
        return;
    }
    std::wstring text;
    try {
        text = Write(*doc);
    } catch (const CVxException& e) {
        // Everything a reader produced must be writable.
        std::fprintf(stderr, "%ls\n", e.GetFullMessage().c_str());
        VXFUZZ_CHECK(!"writing a tree that was read failed");
    }
    const Outcome again = Load(options, [&](CXmlDocument& d) { d.LoadXml(text.c_str()); });
    if (!again.loaded) {
        std::fprintf(stderr, "written: %ls\nread back: %ls\n", text.c_str(), again.message.c_str());
    }
    VXFUZZ_CHECK(again.loaded);
    if (!(again.tree == WithoutCarriageReturns(first.tree))) {
        std::fprintf(stderr, "written: %ls\n", text.c_str());
    }
    VXFUZZ_CHECK(again.tree == WithoutCarriageReturns(first.tree));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    vxfuzz::Reader in(data, size);
    const uint8_t flags = in.Byte();
    const Options options{(flags & 0x08) != 0, (flags & 0x10) != 0, (flags & 0x20) != 0};
    const bool roundTrip = (flags & 0x40) != 0;
    const uint8_t* body = in.Data();
    const size_t bodySize = in.Left();

    switch (flags & 0x03) {
    case 0: {
        const CSerializationContext context = MakeContext(options);
        CXmlDocument doc(options.callback ? &DropsElementsStartingWithD : nullptr, context);
        Outcome outcome;
        try {
            std::vector<unsigned char> bytes(body, body + bodySize);
            doc.LoadXmlStream(bytes.empty() ? nullptr : bytes.data(),
                              static_cast<uint32_t>(bodySize));
            outcome.loaded = true;
            outcome.tree = Flatten(doc);
        } catch (const CVxException& e) {
            VXFUZZ_CHECK(!e.GetFullMessage().empty());
            VXFUZZ_CHECK(doc.GetDocumentElement() == nullptr);
        }
        if (roundTrip) {
            CheckWriteAndReadBack(options, outcome, &doc);
        }
        // A document can be loaded again after any outcome.
        try {
            doc.LoadXml("<again/>");
        } catch (const CVxException&) {
            VXFUZZ_CHECK(!"a small valid document failed to load");
        }
        VXFUZZ_CHECK(doc.GetDocumentElement()->GetLocalName() == L"again");
        break;
    }
    case 1: {
        std::string text(reinterpret_cast<const char*>(body), bodySize);
        text.resize(std::strlen(text.c_str()));
        const Outcome viaChars = Load(options, [&](CXmlDocument& d) { d.LoadXml(text.c_str()); });
        const Outcome viaBytes =
            LoadBytes(options, reinterpret_cast<const uint8_t*>(text.data()), text.size());
        VXFUZZ_CHECK(viaChars == viaBytes);
        break;
    }
    case 2: {
        const std::wstring text = in.WideNoZero();
        const Outcome outcome = Load(options, [&](CXmlDocument& d) { d.LoadXml(text.c_str()); });
        if (!vxfuzz::IsScalarText(text)) {
            // Such text has no UTF-8 form: it must be refused rather than
            // read with some characters replaced.
            VXFUZZ_CHECK(!outcome.loaded);
        }
        break;
    }
    case 3: {
        const Outcome plain = LoadBytes(options, body, bodySize);
        CBinaryData packed(body, static_cast<uint32_t>(bodySize));
        {
            // Input that is itself compressed (or looks it, and then fails
            // as a compressed stream) would be unpacked twice one way and
            // once the other: nothing to compare.
            CBinaryData probe(packed);
            if (CVxZip().Decompress(probe) ||
                plain.message.find(L"compressed") != std::wstring::npos) {
                break;
            }
        }
        try {
            CVxZip().Compress(packed, (flags & 0x04) ? Compression_ZLib : Compression_GZip);
        } catch (const CVxException&) {
            break; // did not shrink: nothing compressed to read
        }
        const Outcome unpacked = LoadBytes(options, packed.GetData(), packed.GetLength());
        if (!(unpacked == plain)) {
            std::fprintf(stderr, "plain: %ls\ncompressed: %ls\n", plain.message.c_str(),
                         unpacked.message.c_str());
        }
        VXFUZZ_CHECK(unpacked == plain);
        break;
    }
    }
    return 0;
}
