#include "xml/TextWriterBuffer.h"

#include <typeinfo>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace VxXmlLib16::detail {

using namespace escaping;

namespace {
constexpr uint32_t kFlushThreshold = 4096;
}

CTextWriterBuffer::CTextWriterBuffer(CTextStream* stream)
    : m_pStream(stream),
      m_pendingOwner(std::make_unique_for_overwrite<wchar_t[]>(kCapacity + kSlack)),
      m_pending(m_pendingOwner.get()),
      // The plain in-memory stream's Flush does nothing: for it the flush
      // rule need not even be checked. Any derived stream (a file, or one of
      // the caller's) gets its flushes.
      m_bStreamFlushes(typeid(*stream) != typeid(CTextStream))
{
}

void CTextWriterBuffer::Reset()
{
    m_cchPending = 0;
    ++m_ullDrains;
    m_bFlushedOnce = false;
}

void CTextWriterBuffer::PutLong(const wchar_t* text, size_t length)
{
    while (m_cchPending + length > kCapacity) {
        const size_t room = kCapacity - m_cchPending;
        std::memcpy(m_pending + m_cchPending, text, room * sizeof(wchar_t));
        m_cchPending = kCapacity;
        text += room;
        length -= room;
        Drain();
    }
    std::memcpy(m_pending + m_cchPending, text, length * sizeof(wchar_t));
    m_cchPending += length;
}

void CTextWriterBuffer::Drain()
{
    if (m_cchPending != 0) {
        const size_t count = m_cchPending;
        m_cchPending = 0;
        ++m_ullDrains;
        m_pStream->Write(m_pending, count);
    }
}

void CTextWriterBuffer::FlushIfDue()
{
    // A stream that keeps its text (in memory) stays above the threshold
    // and is flushed after every construct; the buffer then goes on
    // collecting. A stream that writes out (a file) falls back to zero at
    // each flush and gets everything buffered just before the next one, so
    // it writes chunks of about 4096 characters.
    // Once a stream that keeps its text has been flushed, it is not flushed
    // again before it has received more: the call would have nothing new
    // to act on.
    const uint32_t length = m_pStream->GetLength();
    if (length < kFlushThreshold) {
        if (length + m_cchPending < kFlushThreshold) {
            return;
        }
        Drain();
    } else if (m_bFlushedOnce && length == m_cchAtLastFlush) {
        return;
    }
    m_pStream->Flush();
    m_cchAtLastFlush = m_pStream->GetLength();
    m_bFlushedOnce = true;
}

// Four characters at a time while both the text and the buffer have four
// left.
template <int Mode> const wchar_t* CTextWriterBuffer::PutRun(const wchar_t* p, const wchar_t* end)
{
    for (;;) {
        wchar_t* o = m_pending + m_cchPending;
        wchar_t* const full = m_pending + kCapacity;
#if defined(__SSE2__)
        while (end - p >= 4 && full - o >= 4) {
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            // Stored before it is tested: what follows a stop is overwritten.
            _mm_storeu_si128(reinterpret_cast<__m128i*>(o), v);
            const int mask = StopMask<Mode>(v);
            if (mask != 0) {
                const int k = __builtin_ctz(static_cast<unsigned>(mask)) / 4;
                o += k;
                p += k;
                if (IsStop<Mode>(*p)) {
                    m_cchPending = static_cast<size_t>(o - m_pending);
                    return p;
                }
                ++o; // a character the mask only flagged to be looked at
                ++p;
                continue;
            }
            o += 4;
            p += 4;
        }
#endif
        while (p != end && o != full) {
            const wchar_t c = *p;
            if (IsStop<Mode>(c)) {
                m_cchPending = static_cast<size_t>(o - m_pending);
                return p;
            }
            *o++ = c;
            ++p;
        }
        m_cchPending = static_cast<size_t>(o - m_pending);
        if (p == end) {
            return p;
        }
        Drain();
    }
}

// Runs of characters that need no escaping are copied as they are found.
void CTextWriterBuffer::PutEscaped(const wchar_t* text, size_t length, bool attributeMode,
                                   const std::wstring& eol)
{
    const unsigned char* table = attributeMode ? kEscape.attribute : kEscape.text;
    const wchar_t* p = text;
    const wchar_t* const end = text + length;
    for (;;) {
        const auto rest = static_cast<size_t>(end - p);
        if (m_cchPending + rest <= kCapacity) {
            // The rest fits: one pass copies it up to the next character to
            // look at (usually to its end), with no check of the room left.
            wchar_t* const out = m_pending + m_cchPending;
            const size_t done = attributeMode ? CopyPlain<kAttribute>(out, p, rest)
                                              : CopyPlain<kText>(out, p, rest);
            m_cchPending += done;
            p += done;
        } else {
            p = attributeMode ? PutRun<kAttribute>(p, end) : PutRun<kText>(p, end);
        }
        if (p == end || *p == L'\0') {
            break;
        }
        const auto c = static_cast<uint32_t>(*p);
        ++p;
        // The copy may stop at a character that needs nothing (a tab in
        // element text, say): it is kept as it is.
        switch (c < 0x40 ? table[c] : static_cast<unsigned char>(Keep)) {
        case Keep:
            Put(static_cast<wchar_t>(c));
            break;
        case Amp:
            Put(L"&amp;", 5);
            break;
        case Lt:
            Put(L"&lt;", 4);
            break;
        case Gt:
            Put(L"&gt;", 4);
            break;
        case Quot:
            Put(L"&quot;", 6);
            break;
        case LineFeedText:
            Put(eol);
            break;
        case LineFeedAttr:
            Put(L"&#xA;", 5);
            break;
        case TabAttr:
            Put(L"&#x9;", 5);
            break;
        default: // Drop
            break;
        }
    }
}

} // namespace VxXmlLib16::detail
