// gzip and zlib framing of documents over zlib's deflate.
#pragma once

#include <cstdint>
#include <vxxml/BinaryData.h>
#include <vxxml/Export.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/XmlEncoding.h>

namespace VxXmlLib16 {

class VXXML_API CVxZip : protected CInstanceMonitor
{
public:
    CVxZip();
    ~CVxZip() override;

    // Replaces data by its compressed form at level 1 (fastest), in a gzip
    // (Compression_GZip) or zlib (Compression_ZLib) wrapper. Empty data and
    // any other type leave data as it is. The compressed form must be
    // shorter than the input: data that does not shrink (a few bytes, or
    // data already compressed) raises CVxException "Failed to compress data.
    // [Error Code: %d]" with zlib's result, and data is left unchanged.
    void Compress(CBinaryData& data, CompressionType type);

    // If buffer holds one complete zlib stream, or one or more complete
    // gzip members, replaces buffer (allocated with new[]; the old one is
    // freed with delete[]) and length by the decompressed bytes. Anything
    // else (plain text, a truncated or corrupt stream, bytes after the end
    // of the stream) leaves both untouched, so every input can be tried.
    // Output beyond 4 GiB raises CVxOverFlowException.
    void Decompress(unsigned char*& buffer, uint32_t& length);
    // The same on a value; returns whether it was decompressed.
    bool Decompress(CBinaryData& data);
};

} // namespace VxXmlLib16
