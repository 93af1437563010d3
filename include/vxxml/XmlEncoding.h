// The byte encodings, line endings and compression framings of documents.
#pragma once

#include <cstdint>

namespace VxXmlLib16 {

// Output encoding of a text stream. UTF16 and UTF16_NoDecl produce the same
// bytes (UTF-16LE, files start with FF FE); they differ only in whether the
// XML declaration names the encoding. UTF-8 files carry no byte-order mark.
// Unknown (or any value outside the list) fails when text becomes bytes.
enum XmlEncoding : int32_t {
    XmlEncoding_Unknown = 0,
    XmlEncoding_UTF8 = 1,
    XmlEncoding_UTF16 = 2,
    XmlEncoding_UTF16_NoDecl = 3,
};

// Line ending written by the writers.
enum EOLType : int32_t {
    EOL_CRLF = 0,
    EOL_LF = 1,
};

// Framing of compressed documents (deflate in a gzip or a zlib wrapper).
enum CompressionType : int32_t {
    Compression_None = 0,
    Compression_GZip = 1,
    Compression_ZLib = 2,
};

} // namespace VxXmlLib16
