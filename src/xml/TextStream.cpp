#include "base/MappedMemory.h"
#include "types/Utf16Bytes.h"
#include "xml/FileOutput.h"
#include "xml/StreamErrors.h"
#include "xml/Utf8Encode.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <cwchar>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>
#include <vxxml/Encoder.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/TextStream.h>

namespace VxXmlLib16 {

// ---- CTextStream ----------------------------------------------------------------

namespace {

constexpr uint64_t kMaxLength = std::numeric_limits<uint32_t>::max();
constexpr const wchar_t* kUtf8TooLong =
    L"UTF-8 text exceeds the maximum length of 4294967295 bytes";
// Below this many characters a write is staged (copied) rather than
// converted on its own, so that single characters and short pieces do not
// each pay for a conversion call.
constexpr size_t kDirectWrite = 256;
// Converted in stretches of this many characters, so that the room reserved
// for the worst case (4 bytes each) stays small whatever one write's length.
constexpr size_t kStretch = 4096;
constexpr size_t kMinByteCapacity = 16384;

// Appends the characters of well-formed UTF-8 bytes (made by this stream).
void AppendDecoded(std::wstring& text, const unsigned char* bytes, size_t length)
{
    while (length != 0) {
        // Utf8ToUtf16 takes a 32-bit length: split larger texts at the start
        // of a character.
        size_t piece = std::min<size_t>(length, size_t{1} << 30);
        while (piece < length && (bytes[piece] & 0xC0) == 0x80) {
            --piece;
        }
        text += Utf8ToUtf16(bytes, static_cast<uint32_t>(piece));
        bytes += piece;
        length -= piece;
    }
}

} // namespace

CTextStream::CTextStream(XmlEncoding encoding) : CTextStream(L"CTextStream", encoding) {}

CTextStream::CTextStream(const wchar_t* monitorName, XmlEncoding encoding)
    : CInstanceMonitor(monitorName), m_encoding(encoding),
      m_bUtf8Bytes(encoding == XmlEncoding_UTF8)
{
}

CTextStream::~CTextStream()
{
    FreeBytes();
}

void CTextStream::Open()
{
    ClearText();
}

void CTextStream::Close() {}

void CTextStream::Flush() {}

void CTextStream::ClearText()
{
    m_buffer.Clear();
    m_bdBytes.Clear();
    m_cbBytes = 0; // the array is kept for the next text
    m_cchEncoded = 0;
    std::wstring().swap(m_strText);
    m_bUtf8Bytes = m_encoding == XmlEncoding_UTF8;
}

bool CTextStream::HoldsLargeBlock() const
{
    return m_cbCapacity >= detail::kSmallestLargeBlock;
}

void CTextStream::FreeBytes()
{
    if (HoldsLargeBlock()) {
        detail::ReleaseLargeBlock({m_pBytes, m_cbCapacity});
    } else {
        delete[] m_pBytes;
    }
    m_pBytes = nullptr;
    m_cbBytes = 0;
    m_cbCapacity = 0;
}

void CTextStream::Write(const wchar_t* text)
{
    if (text) {
        Write(text, std::wcslen(text));
    }
}

void CTextStream::Write(const wchar_t* text, size_t count)
{
    if (!m_bUtf8Bytes) {
        m_buffer.Append(text, count);
        return;
    }
    if (uint64_t{GetLength()} + count > kMaxLength) {
        detail::ThrowTextTooLong();
    }
    if (count >= kDirectWrite && m_buffer.GetLength() == 0) {
        // Straight from the caller's text into bytes: no staging copy.
        if (!AppendEncoded(text, count)) {
            FallBackToWideText();
            m_buffer.Append(text, count);
        }
        return;
    }
    m_buffer.Append(text, count);
    if (m_buffer.GetLength() >= kStagedCharacters) {
        EncodeStaged();
    }
}

bool CTextStream::AppendEncoded(const wchar_t* text, size_t count)
{
    const size_t startBytes = m_cbBytes;
    for (size_t at = 0; at < count; at += kStretch) {
        const size_t n = std::min(kStretch, count - at);
        if (m_cbCapacity - m_cbBytes < 4 * n) {
            GrowBytes(m_cbBytes + 4 * n);
        }
        unsigned char* out = m_pBytes + m_cbBytes;
        if (detail::EncodeUtf8(text + at, n, out) != n) {
            m_cbBytes = startBytes;
            return false;
        }
        m_cbBytes = static_cast<size_t>(out - m_pBytes);
    }
    m_cchEncoded += static_cast<uint32_t>(count);
    return true;
}

void CTextStream::GrowBytes(size_t minimum)
{
    // Doubling keeps the copies of a growing document to about its final
    // size in total; past the heap's range there are none (LargeBlocks.h).
    const size_t capacity = std::max({2 * m_cbCapacity, minimum, kMinByteCapacity});
    if (capacity < detail::kSmallestLargeBlock) {
        auto* grown = new unsigned char[capacity];
        if (m_cbBytes != 0) {
            std::memcpy(grown, m_pBytes, m_cbBytes);
        }
        delete[] m_pBytes;
        m_pBytes = grown;
        m_cbCapacity = capacity;
        return;
    }
    detail::CLargeBlock block;
    if (HoldsLargeBlock()) {
        block = detail::GrowLargeBlock({m_pBytes, m_cbCapacity}, m_cbBytes, capacity);
    } else {
        block = detail::AcquireLargeBlock(capacity);
        if (m_cbBytes != 0) {
            std::memcpy(block.bytes, m_pBytes, m_cbBytes);
        }
        delete[] m_pBytes;
    }
    m_pBytes = block.bytes;
    m_cbCapacity = block.capacity;
}

void CTextStream::EncodeStaged()
{
    const uint32_t staged = m_buffer.GetLength();
    if (uint64_t{m_cchEncoded} + staged > kMaxLength) {
        detail::ThrowTextTooLong();
    }
    const size_t startBytes = m_cbBytes;
    const uint32_t startChars = m_cchEncoded;
    const uint32_t blockCount = m_buffer.GetBlockCount();
    for (uint32_t i = 0; i < blockCount; ++i) {
        uint32_t count = 0;
        const wchar_t* text = m_buffer.GetBlock(i, count);
        if (!AppendEncoded(text, count)) {
            m_cbBytes = startBytes;
            m_cchEncoded = startChars;
            FallBackToWideText();
            return;
        }
    }
    m_buffer.Clear();
}

void CTextStream::AppendWholeText(std::wstring& text)
{
    text.reserve(text.size() + GetLength());
    AppendDecoded(text, m_bdBytes.GetData(), m_bdBytes.GetLength());
    AppendDecoded(text, m_pBytes, m_cbBytes);
    const uint32_t blockCount = m_buffer.GetBlockCount();
    for (uint32_t i = 0; i < blockCount; ++i) {
        uint32_t count = 0;
        const wchar_t* block = m_buffer.GetBlock(i, count);
        text.append(block, count);
    }
}

void CTextStream::FallBackToWideText()
{
    std::wstring text;
    AppendWholeText(text);
    m_buffer.Clear();
    m_buffer.Append(text.data(), text.size());
    m_bdBytes.Clear();
    FreeBytes();
    m_cchEncoded = 0;
    std::wstring().swap(m_strText);
    m_bUtf8Bytes = false;
}

CBinaryData& CTextStream::CollectBytes()
{
    if (m_cbBytes != 0) {
        if (m_cbBytes > kMaxLength - m_bdBytes.GetLength()) {
            throw CVxOverFlowException(kUtf8TooLong);
        }
        const auto length = static_cast<uint32_t>(m_cbBytes);
        if (m_bdBytes.GetLength() == 0 && HoldsLargeBlock()) {
            // A large document: the value adopts the block.
            m_bdBytes = CBinaryData::AdoptLargeBlock(m_pBytes, length, m_cbCapacity);
            m_pBytes = nullptr;
            m_cbBytes = 0;
            m_cbCapacity = 0;
        } else if (m_bdBytes.GetLength() == 0 && m_cbCapacity - m_cbBytes <= m_cbBytes) {
            // The usual case: the value adopts the array, nothing is copied.
            m_bdBytes = CBinaryData(m_pBytes, length, true);
            m_pBytes = nullptr;
            m_cbBytes = 0;
            m_cbCapacity = 0;
        } else {
            // Bytes added after an earlier ToBytes, or a small text in a
            // large array: copied, and the array is kept for what follows.
            m_bdBytes.Append(m_pBytes, length);
            m_cbBytes = 0;
        }
    }
    return m_bdBytes;
}

const wchar_t* CTextStream::GetText()
{
    if (!m_bUtf8Bytes || m_cchEncoded == 0) {
        return m_buffer.GetBuffer();
    }
    m_strText.clear();
    AppendWholeText(m_strText);
    return m_strText.c_str();
}

CBinaryData CTextStream::ToBytes()
{
    switch (m_encoding) {
    case XmlEncoding_UTF8: {
        if (m_bUtf8Bytes) {
            if (m_buffer.GetLength() != 0) {
                EncodeStaged();
            }
            if (m_bUtf8Bytes) {
                return CollectBytes();
            }
        }
        // Wide text (it holds a character without UTF-8 form, which the
        // conversion reports with its position): converted as the text lies
        // in the buffer's blocks, without merging them first.
        const uint32_t blockCount = m_buffer.GetBlockCount();
        std::vector<std::wstring_view> pieces;
        pieces.reserve(blockCount);
        for (uint32_t i = 0; i < blockCount; ++i) {
            uint32_t count = 0;
            const wchar_t* text = m_buffer.GetBlock(i, count);
            if (count != 0) {
                pieces.emplace_back(text, count);
            }
        }
        return Utf16ToUtf8(pieces);
    }
    case XmlEncoding_UTF16:
    case XmlEncoding_UTF16_NoDecl: {
        const wchar_t* text = m_buffer.GetBuffer();
        const size_t count = m_buffer.GetLength();
        const size_t length = detail::Utf16LEByteCount(text, count);
        if (length == 0) {
            return CBinaryData();
        }
        if (length > std::numeric_limits<uint32_t>::max()) {
            throw CVxOverFlowException(
                L"UTF-16 text exceeds the maximum length of 4294967295 bytes");
        }
        // Exactly sized and adopted: a whole document is not copied again.
        auto bytes = std::make_unique_for_overwrite<unsigned char[]>(length);
        detail::WriteUtf16LE(text, count, bytes.get());
        CBinaryData result(bytes.get(), static_cast<uint32_t>(length), true);
        bytes.release();
        return result;
    }
    default:
        throw CVxException(L"Unknown Encoding, select UTF-8 (contact our support team)");
    }
}

// ---- CFileTextStream ------------------------------------------------------------

CFileTextStream::CFileTextStream(const wchar_t* path, XmlEncoding encoding)
    : CTextStream(L"CFileTextStream", encoding), m_strPath(path ? path : L""),
      m_pFile(std::make_unique<detail::CAtomicFile>())
{
}

CFileTextStream::~CFileTextStream() = default;

void CFileTextStream::Open()
{
    CTextStream::Open();
    // Reopening abandons what the previous document wrote: only a closed
    // stream replaces its file.
    m_bdInFlight.Clear();
    m_ullBytesWritten = 0;
    if (const int error = m_pFile->Create(m_strPath); error != 0) {
        detail::ThrowFileOpenFailed(m_strPath, error);
    }
    if (m_encoding == XmlEncoding_UTF16 || m_encoding == XmlEncoding_UTF16_NoDecl) {
        static const unsigned char kBom[2] = {0xFF, 0xFE};
        if (const int error = m_pFile->Write(kBom, sizeof kBom); error != 0) {
            m_pFile->Abandon();
            detail::ThrowFileOpenFailed(m_strPath, error);
        }
        m_ullBytesWritten = sizeof kBom;
    }
}

void CFileTextStream::FailWrite(int error)
{
    m_pFile->Abandon();
    detail::ThrowFileWriteFailed(m_strPath, error);
}

void CFileTextStream::Flush()
{
    if (GetLength() == 0) {
        return;
    }
    if (!m_pFile->IsOpen()) {
        FailWrite(EBADF);
    }
    m_bdInFlight = ToBytes();
    if (const int error = m_pFile->Write(m_bdInFlight.GetData(), m_bdInFlight.GetLength());
        error != 0) {
        FailWrite(error);
    }
    m_ullBytesWritten += m_bdInFlight.GetLength();
    ClearText();
}

void CFileTextStream::Close()
{
    Flush();
    if (m_pFile->IsOpen()) {
        if (const int error = m_pFile->Commit(); error != 0) {
            detail::ThrowFileWriteFailed(m_strPath, error);
        }
    }
    m_bdInFlight.Clear();
    CTextStream::Close();
}

} // namespace VxXmlLib16
