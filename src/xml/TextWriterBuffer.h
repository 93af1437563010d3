// The text writer's own buffer in front of its stream. Internal.
#pragma once

#include "xml/XmlEscaping.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <vxxml/TextStream.h>

namespace VxXmlLib16::detail {

// Text is collected here and handed to the stream in pieces of up to
// kCapacity characters: the pieces of a tag cost a copy each, not a call
// into the stream each.
//
// The writer's fast paths check the room once for a whole construct
// (Fits), write straight at End() and then Commit the new end. Everything
// else goes through Put, which hands full buffers on by itself.
class CTextWriterBuffer
{
public:
    static constexpr size_t kCapacity = 2048;

    // The caller owns the stream and keeps it alive longer than the buffer.
    explicit CTextWriterBuffer(CTextStream* stream);

    CTextStream* Stream() const { return m_pStream; }

    // The stream starts a new document: nothing is owed to it.
    void Reset();

    bool Fits(size_t count) const { return m_cchPending + count <= kCapacity; }
    wchar_t* End() { return m_pending + m_cchPending; }
    wchar_t* At(size_t offset) { return m_pending + offset; }
    size_t Size() const { return m_cchPending; }
    void Commit(wchar_t* end) { m_cchPending = static_cast<size_t>(end - m_pending); }
    // How often the buffer was handed on or emptied: an offset into it stays
    // valid while this count is unchanged.
    uint64_t Drains() const { return m_ullDrains; }

    void Put(wchar_t c)
    {
        if (m_cchPending == kCapacity) {
            Drain();
        }
        m_pending[m_cchPending++] = c;
    }
    void Put(const wchar_t* text, size_t length)
    {
        if (m_cchPending + length <= kCapacity) {
            CopyShort(m_pending + m_cchPending, text, length);
            m_cchPending += length;
        } else {
            PutLong(text, length);
        }
    }
    void Put(const std::wstring& text) { Put(text.data(), text.size()); }
    // Up to the terminating zero; null puts nothing.
    void PutText(const wchar_t* text)
    {
        if (text) {
            Put(text, std::wcslen(text));
        }
    }

    // text escaped for element content or an attribute value; in content a
    // line feed becomes eol. The text ends at a zero character even when
    // length says more.
    void PutEscaped(const wchar_t* text, size_t length, bool attributeMode,
                    const std::wstring& eol);

    // Hands everything buffered to the stream.
    void Drain();
    // Ends every writing operation: flushes the stream once it holds 4096
    // characters or more, handing it the buffered text first when only the
    // two together reach that. A plain in-memory stream, whose Flush does
    // nothing, is not even asked.
    void EndConstruct()
    {
        if (m_bStreamFlushes) {
            FlushIfDue();
        }
    }

    // Names, prefixes and line ends are a few characters long. Up to
    // sixteen characters are copied as two overlapping blocks that together
    // cover exactly the text (no call, no loop); longer texts go to memcpy,
    // as would a loop, which the compiler vectorizes with more set-up than
    // these short texts take to copy.
    static void CopyShort(wchar_t* out, const wchar_t* text, size_t length)
    {
        static_assert(sizeof(wchar_t) == 4, "four-byte characters");
        if (length > 8 && length <= 16) {
            CopyOverlapping<8>(out, text, length);
        } else if (length >= 4 && length <= 8) {
            CopyOverlapping<4>(out, text, length);
        } else if (length >= 2 && length < 4) {
            CopyOverlapping<2>(out, text, length);
        } else if (length == 1) {
            *out = *text;
        } else if (length != 0) {
            std::memcpy(out, text, length * sizeof(wchar_t));
        }
    }

private:
    // Copies length characters, Half <= length <= 2 * Half, as a first and a
    // last block of Half characters (both read before either is stored).
    template <size_t Half>
    static void CopyOverlapping(wchar_t* out, const wchar_t* text, size_t length)
    {
        unsigned char head[Half * sizeof(wchar_t)];
        unsigned char tail[Half * sizeof(wchar_t)];
        std::memcpy(head, text, sizeof head);
        std::memcpy(tail, text + length - Half, sizeof tail);
        std::memcpy(out, head, sizeof head);
        std::memcpy(out + length - Half, tail, sizeof tail);
    }
    // Text that does not fit: passes through in pieces of the buffer's size.
    void PutLong(const wchar_t* text, size_t length);
    // Copies text up to end or the first character the escaping mode must
    // change, whichever comes first, handing full buffers on; returns where
    // it stopped.
    template <int Mode> const wchar_t* PutRun(const wchar_t* text, const wchar_t* end);
    void FlushIfDue();

    // Room past the capacity: runs are copied four characters at a time and
    // may store up to three characters beyond what they keep.
    static constexpr size_t kSlack = 8;

    CTextStream* m_pStream;
    std::unique_ptr<wchar_t[]> m_pendingOwner;
    wchar_t* m_pending;
    size_t m_cchPending = 0;
    uint64_t m_ullDrains = 0;
    // The stream's length when it was last flushed: a stream that keeps its
    // text is not flushed again until it has received more.
    uint32_t m_cchAtLastFlush = 0;
    bool m_bFlushedOnce = false;
    bool m_bStreamFlushes = true;
};

} // namespace VxXmlLib16::detail
