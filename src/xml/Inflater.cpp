#include "xml/Inflater.h"

#include <cinttypes>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <zlib.h>

namespace VxXmlLib16::detail {

namespace {

constexpr uInt kChunk = 0x10000;
constexpr int kAutoWindowBits = 15 + 32; // zlib or gzip, detected from the header

bool LooksCompressed(const unsigned char* data, size_t length)
{
    if (length < 2) {
        return false;
    }
    if (data[0] == 0x1F && data[1] == 0x8B) {
        return true; // gzip member
    }
    // zlib: deflate method, window of at most 32 KiB, header check bits.
    return (data[0] & 0x0F) == 8 && (data[0] >> 4) <= 7 && ((data[0] << 8) | data[1]) % 31 == 0;
}

[[noreturn]] void ThrowCorrupt(const wchar_t* what)
{
    throw CVxException(FormatString(L"The compressed stream is corrupt: %s", what));
}

std::wstring Count(uint64_t value)
{
    char digits[24];
    std::snprintf(digits, sizeof digits, "%" PRIu64, value);
    return std::wstring(digits, digits + std::char_traits<char>::length(digits));
}

} // namespace

struct CInflater::CStream
{
    z_stream z{};
    bool initialised = false;
    ~CStream()
    {
        if (initialised) {
            inflateEnd(&z);
        }
    }
};

size_t CompressedStart(const unsigned char* data, size_t length)
{
    if (LooksCompressed(data, length)) {
        return 0;
    }
    if (length > 2 && data[0] == 0xFF && data[1] == 0xFE && LooksCompressed(data + 2, length - 2)) {
        return 2;
    }
    return SIZE_MAX;
}

CInflater::CInflater(uint32_t maxRatio, uint64_t maxBytes, Sink sink)
    : m_pStream(std::make_unique<CStream>()),
      m_pChunk(std::make_unique_for_overwrite<unsigned char[]>(kChunk)), m_sink(std::move(sink)),
      m_maxRatio(maxRatio), m_maxBytes(maxBytes)
{
    if (inflateInit2(&m_pStream->z, kAutoWindowBits) != Z_OK) {
        throw std::bad_alloc();
    }
    m_pStream->initialised = true;
}

CInflater::~CInflater() = default;

void CInflater::Feed(const unsigned char* bytes, size_t length)
{
    z_stream& z = m_pStream->z;
    if (length != 0 && m_ullIn == 0 && !m_bMemberDone) {
        m_bGzip = bytes[0] == 0x1F;
    }
    while (length != 0) {
        if (m_bMemberDone) {
            // What follows the end of a stream may only be another gzip
            // member. Its first byte may arrive alone: then inflate judges
            // the second.
            if (!m_bGzip || bytes[0] != 0x1F || (length >= 2 && bytes[1] != 0x8B)) {
                ThrowCorrupt(L"it is followed by bytes that are not part of it");
            }
            if (inflateReset(&z) != Z_OK) {
                throw std::bad_alloc();
            }
            m_bMemberDone = false;
        }
        const auto piece = static_cast<uInt>(length < UINT32_MAX ? length : UINT32_MAX);
        z.next_in = const_cast<Bytef*>(bytes);
        z.avail_in = piece;
        for (;;) {
            z.next_out = m_pChunk.get();
            z.avail_out = kChunk;
            const uInt before = z.avail_in;
            const int result = inflate(&z, Z_NO_FLUSH);
            m_ullIn += before - z.avail_in;
            // What was inflated before any error is handed on first, so that
            // the reader sees the same bytes however the input was split.
            const size_t produced = kChunk - z.avail_out;
            if (produced != 0) {
                m_ullOut += produced;
                CheckLimits();
                if (!m_sinkFailure) {
                    try {
                        m_sink(m_pChunk.get(), produced);
                    } catch (...) {
                        // Garbage from a corrupt stream makes the reader
                        // fail first: go on inflating, so that a corrupt
                        // stream is reported as what it is.
                        m_sinkFailure = std::current_exception();
                    }
                }
            }
            if (result == Z_NEED_DICT) {
                ThrowCorrupt(L"it needs a preset dictionary");
            }
            if (result == Z_DATA_ERROR) {
                std::wstring what;
                for (const char* p = z.msg ? z.msg : "invalid data"; *p != '\0'; ++p) {
                    what += static_cast<wchar_t>(*p);
                }
                ThrowCorrupt(what.c_str());
            }
            if (result == Z_MEM_ERROR) {
                throw std::bad_alloc();
            }
            if (result == Z_STREAM_END) {
                m_bMemberDone = true;
                break;
            }
            if (z.avail_out != 0) {
                break; // all input taken (or no progress possible): wait for more
            }
        }
        const size_t used = piece - z.avail_in;
        if (used == 0 && !m_bMemberDone) {
            ThrowCorrupt(L"inflating it makes no progress");
        }
        bytes += used;
        length -= used;
    }
}

void CInflater::CheckLimits() const
{
    // Past a limit after the reader has failed, the reader's failure is the
    // one to report: there is nothing more to learn about the stream.
    if (m_sinkFailure &&
        ((m_maxBytes != 0 && m_ullOut > m_maxBytes) ||
         (m_maxRatio != 0 && m_ullOut > kRatioFloor && m_ullOut / m_maxRatio > m_ullIn))) {
        std::rethrow_exception(m_sinkFailure);
    }
    if (m_maxBytes != 0 && m_ullOut > m_maxBytes) {
        throw CVxException(FormatString(
            L"The compressed document expands to more than %s bytes, the most allowed (raise it "
            L"with CSerializationContext::SetMaxDecompressedSize)",
            Count(m_maxBytes).c_str()));
    }
    if (m_maxRatio != 0 && m_ullOut > kRatioFloor && m_ullOut / m_maxRatio > m_ullIn) {
        throw CVxException(FormatString(
            L"The compressed document expands more than %d times: %s compressed bytes made more "
            L"than "
            L"%s bytes, a decompression bomb rather than a document (raise the limit with "
            L"CSerializationContext::SetMaxDecompressionRatio)",
            static_cast<int>(m_maxRatio), Count(m_ullIn).c_str(), Count(m_ullOut).c_str()));
    }
}

void CInflater::Finish()
{
    if (!m_bMemberDone) {
        ThrowCorrupt(L"it ends before its end (the data are truncated)");
    }
    if (m_sinkFailure) {
        std::rethrow_exception(m_sinkFailure);
    }
}

} // namespace VxXmlLib16::detail
