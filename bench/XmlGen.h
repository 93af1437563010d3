// Deterministic generator of large XML documents for the tree benchmarks:
// many small elements with attributes and text, a few namespaces, entity
// references and some non-ASCII text, produced piece by piece so that
// documents larger than memory can be streamed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vxbench {

class XmlGen
{
public:
    // Produces a document of about targetBytes bytes (slightly more: the
    // last item and the closing tag are always complete).
    explicit XmlGen(uint64_t targetBytes) : m_target(targetBytes) {}

    // Appends the next piece (at least minBytes unless the document ends) to
    // out; returns false once the whole document has been produced.
    bool Next(std::string& out, size_t minBytes = 64 * 1024)
    {
        if (m_done) {
            return false;
        }
        const size_t start = out.size();
        if (m_produced == 0) {
            out += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                   "<inv:inventory xmlns:inv=\"urn:example:inventory\" "
                   "xmlns:m=\"urn:example:meta\" "
                   "xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">\n";
        }
        while (out.size() - start < minBytes) {
            if (m_produced + (out.size() - start) >= m_target) {
                out += "</inv:inventory>\n";
                m_done = true;
                break;
            }
            AppendItem(out);
        }
        m_produced += out.size() - start;
        return true;
    }

    // The whole document in one string.
    static std::string Make(uint64_t targetBytes)
    {
        std::string doc;
        doc.reserve(static_cast<size_t>(targetBytes + 4096));
        XmlGen gen(targetBytes);
        while (gen.Next(doc, 1 << 20)) {
        }
        return doc;
    }

    uint64_t Items() const { return m_items; }

private:
    uint32_t Rand()
    {
        // xorshift32: fast, deterministic, good enough to vary the content.
        m_rng ^= m_rng << 13;
        m_rng ^= m_rng >> 17;
        m_rng ^= m_rng << 5;
        return m_rng;
    }

    void AppendItem(std::string& out)
    {
        static const char* const kNames[] = {"Widget", "Gadget",    "Sprocket",
                                             "Gizmo",  "Doohickey", "Thingamajig"};
        static const char* const kStatus[] = {"active", "retired", "pending"};
        const uint64_t id = 100000 + m_items++;
        const std::string ids = std::to_string(id);
        const uint32_t r = Rand();
        out += "  <inv:item id=\"";
        out += ids;
        out += "\" sku=\"SKU-";
        out += ids;
        out += "\" status=\"";
        out += kStatus[r % 3];
        out += "\">\n    <inv:name lang=\"en\">";
        out += kNames[(r >> 2) % 6];
        out += ' ';
        out += ids;
        out += (r & 0x40) ? " &amp; spare part" : " standard";
        out += "</inv:name>\n    <inv:price currency=\"EUR\">";
        out += std::to_string(r % 10000 / 100);
        out += '.';
        out += std::to_string(10 + r % 90);
        out += "</inv:price>\n    <inv:qty>";
        out += std::to_string((r >> 8) % 500);
        out += "</inv:qty>\n";
        if ((r & 0x300) == 0) {
            out += "    <m:note m:ref=\"n";
            out += ids;
            out += "\">Caf\xC3\xA9 &lt;fragile&gt; \xE2\x82\xAC</m:note>\n";
        }
        out += "  </inv:item>\n";
    }

    uint64_t m_target;
    uint64_t m_produced = 0;
    uint64_t m_items = 0;
    uint32_t m_rng = 2463534242u;
    bool m_done = false;
};

} // namespace vxbench
