#include <cstring>
#include <memory>
#include <utility>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/VxZip.h>
#include <zlib.h>

namespace VxXmlLib16 {

namespace {

[[noreturn]] void ThrowCompressFailed(int zlibResult)
{
    throw CVxException(FormatString(L"Failed to compress data. [Error Code: %d]", zlibResult));
}

constexpr uInt kChunk = 0x10000;
constexpr int kGzipWindowBits = 15 + 16; // gzip wrapper
constexpr int kAutoWindowBits = 15 + 32; // zlib or gzip, detected from the header

// Frees zlib's internal state on every path out.
struct DeflateGuard
{
    z_stream* s;
    ~DeflateGuard() { deflateEnd(s); }
};
struct InflateGuard
{
    z_stream* s;
    ~InflateGuard() { inflateEnd(s); }
};

} // namespace

CVxZip::CVxZip() : CInstanceMonitor(L"CVxZip") {}

CVxZip::~CVxZip() = default;

void CVxZip::Compress(CBinaryData& data, CompressionType type)
{
    const uint32_t length = data.GetLength();
    if (length == 0 || (type != Compression_GZip && type != Compression_ZLib)) {
        return;
    }
    // The output must be shorter than the input: compression that does not
    // pay off fails instead of growing the document (or leaving its size).
    auto out = std::make_unique_for_overwrite<unsigned char[]>(length);
    z_stream c_stream{};
    int result = type == Compression_GZip ? deflateInit2(&c_stream, 1, Z_DEFLATED, kGzipWindowBits,
                                                         8, Z_DEFAULT_STRATEGY)
                                          : deflateInit(&c_stream, 1);
    if (result != Z_OK) {
        ThrowCompressFailed(result);
    }
    DeflateGuard guard{&c_stream};
    c_stream.next_in = const_cast<Bytef*>(data.GetData());
    c_stream.avail_in = length;
    c_stream.next_out = out.get();
    // One byte less than the input: output of the same length would not be
    // shorter, and is refused like any other that does not shrink.
    c_stream.avail_out = length - 1;
    // With the output no larger than the input, deflate may stop before it
    // has taken all the input; the finishing call then reports it.
    deflate(&c_stream, Z_NO_FLUSH);
    result = deflate(&c_stream, Z_FINISH);
    if (result != Z_STREAM_END) {
        if (result == Z_OK || result == Z_BUF_ERROR) {
            // The output space, one byte less than the input, ran out.
            throw CVxException(FormatString(
                L"Failed to compress data. [Error Code: %d]: compressed, the %u bytes would not "
                L"become smaller, so they are not compressed",
                result, static_cast<unsigned>(length)));
        }
        ThrowCompressFailed(result);
    }
    const auto compressed = static_cast<uint32_t>(c_stream.total_out);
    data = CBinaryData(out.release(), compressed, true);
}

namespace {

// Inflates one zlib stream or a series of gzip members filling the whole
// input. Returns false, with out untouched, for anything else.
bool Inflate(const unsigned char* in, uint32_t inLength, CBinaryData& out)
{
    if (in == nullptr || inLength == 0) {
        return false;
    }
    auto chunk = std::make_unique_for_overwrite<unsigned char[]>(kChunk);
    CBinaryData bdDecompressed;
    z_stream d_stream{};
    if (inflateInit2(&d_stream, kAutoWindowBits) != Z_OK) {
        return false;
    }
    InflateGuard guard{&d_stream};
    d_stream.next_in = const_cast<Bytef*>(in);
    d_stream.avail_in = inLength;
    int result;
    for (;;) {
        d_stream.next_out = chunk.get();
        d_stream.avail_out = kChunk;
        result = inflate(&d_stream, Z_NO_FLUSH);
        if (result != Z_OK && result != Z_STREAM_END) {
            break;
        }
        bdDecompressed.Append(chunk.get(), kChunk - d_stream.avail_out);
        if (result == Z_STREAM_END) {
            // Another gzip member may follow (what `cat a.gz b.gz` makes);
            // gzip(1) reads them all, and so do we.
            if (d_stream.avail_in >= 2 && d_stream.next_in[0] == 0x1F &&
                d_stream.next_in[1] == 0x8B) {
                if (inflateReset(&d_stream) != Z_OK) {
                    break;
                }
                continue;
            }
            break;
        }
        if (d_stream.avail_in == 0 && d_stream.avail_out != 0) {
            break; // all input used, the stream unfinished: truncated
        }
    }
    // Anything but a clean end with no bytes left over is not a compressed
    // document: the input stays as it is.
    if (result != Z_STREAM_END || d_stream.avail_in != 0) {
        return false;
    }
    out = std::move(bdDecompressed);
    return true;
}

} // namespace

void CVxZip::Decompress(unsigned char*& buffer, uint32_t& length)
{
    CBinaryData decompressed;
    if (!Inflate(buffer, length, decompressed)) {
        return;
    }
    const uint32_t newLength = decompressed.GetLength();
    unsigned char* bytes = decompressed.ReleaseData(); // null for an empty result
    delete[] buffer;
    buffer = bytes;
    length = newLength;
}

bool CVxZip::Decompress(CBinaryData& data)
{
    CBinaryData decompressed;
    if (!Inflate(data.GetData(), data.GetLength(), decompressed)) {
        return false;
    }
    data = std::move(decompressed);
    return true;
}

} // namespace VxXmlLib16
