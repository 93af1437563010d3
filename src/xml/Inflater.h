// Compressed input inflated piece by piece, within limits. Internal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <vxxml/Export.h>

namespace VxXmlLib16::detail {

// Inflates one zlib stream, or a series of gzip members (what `cat a.gz
// b.gz` makes), as its bytes arrive, handing each piece of output to the
// sink at once, so that a document is read without ever being held whole.
//
// Output is bounded, against decompression bombs: beyond kRatioFloor bytes it
// may be at most maxRatio times the compressed bytes consumed so far (real
// XML compresses 5-30 times; a bomb about 1000), and never more than
// maxBytes. 0 turns a limit off.
//
// A stream that is corrupt (bad data, check sum or length), that ends early,
// or that is followed by bytes of something else fails with "The compressed
// stream is corrupt: <what is wrong>". Corruption is found late (the check
// sum ends the stream), and the garbage before it often makes the reader
// fail first; the reader's exception is then held while the rest is
// inflated without it, and Finish throws it only when the stream proved
// sound. The caller feeds all its input either way.
class VXXML_API CInflater
{
public:
    using Sink = std::function<void(const unsigned char* bytes, size_t length)>;

    // Output below this size is never refused for its ratio: small inputs
    // (a few hundred bytes of header and repetition) compress far better
    // than documents do.
    static constexpr uint64_t kRatioFloor = uint64_t{16} << 20;

    CInflater(uint32_t maxRatio, uint64_t maxBytes, Sink sink);
    ~CInflater();
    CInflater(const CInflater&) = delete;
    CInflater& operator=(const CInflater&) = delete;

    // Inflates what these bytes allow.
    void Feed(const unsigned char* bytes, size_t length);
    // The compressed input has ended: fails when the stream has not.
    void Finish();

    uint64_t GetOutputLength() const { return m_ullOut; }

private:
    struct CStream;
    void CheckLimits() const;

    std::unique_ptr<CStream> m_pStream;
    std::unique_ptr<unsigned char[]> m_pChunk;
    Sink m_sink;
    uint32_t m_maxRatio;
    uint64_t m_maxBytes;
    uint64_t m_ullIn = 0;       // compressed bytes consumed
    uint64_t m_ullOut = 0;      // bytes produced
    bool m_bMemberDone = false; // the current member ended; another may follow
    bool m_bGzip = false;
    std::exception_ptr m_sinkFailure; // what the sink threw, held for Finish
};

// Where a compressed stream starts in data: at 0, or at 2 behind the UTF-16
// byte-order mark that a compressed UTF-16 file is written with (no XML
// text can begin with the characters those bytes would make); SIZE_MAX for
// data that is not compressed. Looks at up to four bytes.
VXXML_API size_t CompressedStart(const unsigned char* data, size_t length);

} // namespace VxXmlLib16::detail
