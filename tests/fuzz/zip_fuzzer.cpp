// Bytes into CVxZip's decompression, and bytes through compression and back.
//
// The input is tried as gzip or zlib data through both Decompress
// overloads (they must agree, and input that is not one complete stream must
// come back untouched), then compressed in both framings, which must
// decompress to the input again.
#include "FuzzSupport.h"

#include <cstring>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;

namespace {

void CheckCompressRoundTrip(const CBinaryData& original, CompressionType type)
{
    CBinaryData packed(original);
    try {
        CVxZip().Compress(packed, type);
    } catch (const CVxException&) {
        // Input that does not shrink is refused and left as it was.
        VXFUZZ_CHECK(packed == original);
        return;
    }
    if (original.GetLength() == 0) {
        VXFUZZ_CHECK(packed.GetLength() == 0);
        return;
    }
    VXFUZZ_CHECK(packed.GetLength() < original.GetLength());
    CBinaryData unpacked(packed);
    VXFUZZ_CHECK(CVxZip().Decompress(unpacked));
    VXFUZZ_CHECK(unpacked == original);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const CBinaryData original(data, static_cast<uint32_t>(size));
    try {
        // The value form.
        CBinaryData value(original);
        const bool decompressed = CVxZip().Decompress(value);
        if (!decompressed) {
            VXFUZZ_CHECK(value == original);
        }

        // The raw-buffer form: the buffer is replaced only on success.
        uint32_t length = static_cast<uint32_t>(size);
        unsigned char* buffer = nullptr;
        if (size != 0) {
            buffer = new unsigned char[size];
            std::memcpy(buffer, data, size);
        }
        unsigned char* const before = buffer;
        try {
            CVxZip().Decompress(buffer, length);
        } catch (...) {
            delete[] buffer;
            throw;
        }
        if (decompressed) {
            VXFUZZ_CHECK(length == value.GetLength());
            VXFUZZ_CHECK(length == 0 || std::memcmp(buffer, value.GetData(), length) == 0);
        } else {
            VXFUZZ_CHECK(buffer == before);
            VXFUZZ_CHECK(length == size);
            VXFUZZ_CHECK(size == 0 || std::memcmp(buffer, data, size) == 0);
        }
        delete[] buffer;

        if (decompressed) {
            // What came out compresses and comes back again.
            CheckCompressRoundTrip(value, Compression_GZip);
        }
    } catch (const CVxException&) {
    }
    CheckCompressRoundTrip(original, Compression_GZip);
    CheckCompressRoundTrip(original, Compression_ZLib);
    {
        // Any other type leaves the data alone.
        CBinaryData same(original);
        CVxZip().Compress(same, Compression_None);
        VXFUZZ_CHECK(same == original);
    }
    return 0;
}
