// Compressed input: the streaming inflater fed in pieces of every size, and
// compressed documents through the loads.
//
// Input: byte 0 selects the framing (bits 0-1: 0 the bytes as they are,
// 1 gzip, 2 zlib, 3 gzip with one byte damaged), byte 1 the sizes of the
// pieces (and the damaged byte), the rest is the payload.
//
// Checks: a framed payload inflates to itself whatever the pieces, and
// loads as the payload loads; anything else inflates in pieces exactly as
// in one go (the same bytes, or the same refusal), and no load fails but
// with the library's exception.
#include "FuzzSupport.h"
#include "xml/Inflater.h"

#include <string>
#include <vector>
#include <vxxml/vxxml.h>
#include <zlib.h>

using namespace VxXmlLib16;
using Bytes = std::vector<unsigned char>;

namespace {

Bytes Frame(const unsigned char* data, size_t size, bool gzip)
{
    z_stream z{};
    if (deflateInit2(&z, 6, Z_DEFLATED, gzip ? 31 : 15, 8, Z_DEFAULT_STRATEGY) != Z_OK) {
        return {};
    }
    Bytes out(deflateBound(&z, size) + 16);
    z.next_in = const_cast<Bytef*>(data);
    z.avail_in = static_cast<uInt>(size);
    z.next_out = out.data();
    z.avail_out = static_cast<uInt>(out.size());
    VXFUZZ_CHECK(deflate(&z, Z_FINISH) == Z_STREAM_END);
    out.resize(z.total_out);
    deflateEnd(&z);
    return out;
}

// What inflating gives: the bytes, or the message it stopped with.
struct Result
{
    Bytes bytes;
    std::wstring error;
    bool operator==(const Result& other) const
    {
        return bytes == other.bytes && error == other.error;
    }
};

Result Inflate(const Bytes& in, unsigned pieces)
{
    Result result;
    try {
        detail::CInflater inflater(0, 0, [&result](const unsigned char* p, size_t n) {
            result.bytes.insert(result.bytes.end(), p, p + n);
        });
        size_t at = 0;
        unsigned pattern = pieces;
        while (at < in.size()) {
            // Pieces of 1 to 8 bytes in a pattern, or all at once for 0.
            const size_t n = pieces == 0 ? in.size() : 1 + (pattern & 7);
            pattern = pattern >> 3 | (pattern & 7) << 5;
            const size_t take = std::min(n, in.size() - at);
            inflater.Feed(in.data() + at, take);
            at += take;
        }
        inflater.Finish();
    } catch (const CVxException& e) {
        result.error = e.GetMessage();
    }
    return result;
}

// The outcome of a load: the tree written back, or the message.
std::wstring Load(const unsigned char* data, size_t size)
{
    if (size == 0) {
        return L"(empty)";
    }
    try {
        CXmlDocument document;
        Bytes copy(data, data + size);
        document.LoadXmlStream(copy.data(), static_cast<uint32_t>(copy.size()));
        CSmartPtr<CElement> root(new CElement(L"x", L"", L"##any", L""));
        root->FromXmlElement(document.GetDocumentElement());
        return root->ToXml(false, false);
    } catch (const CVxException& e) {
        return L"error: " + e.GetMessage();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2) {
        return 0;
    }
    const unsigned mode = data[0] & 3;
    const unsigned pieces = data[1];
    const unsigned char* payload = data + 2;
    const size_t payloadSize = size - 2;
    Bytes in(payload, payload + payloadSize);
    if (mode != 0) {
        in = Frame(payload, payloadSize, mode != 2);
        if (mode == 3 && !in.empty()) {
            in[pieces % in.size()] ^= 0x5A;
        }
    }
    const Result whole = Inflate(in, 0);
    VXFUZZ_CHECK(Inflate(in, pieces | 1) == whole);
    if (mode == 1 || mode == 2) {
        VXFUZZ_CHECK(whole.error.empty());
        VXFUZZ_CHECK(whole.bytes == Bytes(payload, payload + payloadSize));
        // A payload that is itself compressed would be unpacked once one
        // way and twice (or refused) the other: nothing to compare.
        if (detail::CompressedStart(payload, payloadSize) == SIZE_MAX && payloadSize != 0) {
            VXFUZZ_CHECK(Load(in.data(), in.size()) == Load(payload, payloadSize));
        }
    } else {
        Load(in.data(), in.size());
    }
    return 0;
}
