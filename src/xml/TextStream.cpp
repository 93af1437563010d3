#include "types/Utf16Bytes.h"
#include "xml/FileOutput.h"
#include "xml/StreamMessages.h"

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

CTextStream::CTextStream(XmlEncoding encoding) : CTextStream(L"CTextStream", encoding) {}

CTextStream::CTextStream(const wchar_t* monitorName, XmlEncoding encoding)
    : CInstanceMonitor(monitorName), m_encoding(encoding)
{
}

CTextStream::~CTextStream() = default;

void CTextStream::Open()
{
    m_buffer.Clear();
}

void CTextStream::Close() {}

void CTextStream::Flush() {}

CBinaryData CTextStream::ToBytes()
{
    switch (m_encoding) {
    case XmlEncoding_UTF8: {
        // Converted as the text lies in the buffer's blocks: merging them
        // first would copy the whole document once more, into one array as
        // large as the wide text.
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
        throw CVxException(msg::kUnknownEncoding);
    }
}

// ---- CFileTextStream ------------------------------------------------------------

CFileTextStream::CFileTextStream(const wchar_t* path, XmlEncoding encoding)
    : CTextStream(L"CFileTextStream", encoding), m_strPath(path ? path : L"")
{
}

CFileTextStream::~CFileTextStream()
{
    if (m_hFile >= 0) {
        detail::CloseFile(m_hFile);
    }
}

void CFileTextStream::FailWrite(int error)
{
    if (m_hFile >= 0) {
        detail::CloseFile(m_hFile);
        m_hFile = -1;
    }
    throw CVxException(FormatString(msg::kFileWrite, static_cast<unsigned>(error)));
}

void CFileTextStream::Open()
{
    CTextStream::Open();
    if (m_hFile >= 0) {
        // Reopening: the previous file ends here, like a destroyed stream.
        detail::CloseFile(m_hFile);
        m_hFile = -1;
    }
    m_bdInFlight.Clear();
    m_ullBytesWritten = 0;
    const int fd = detail::CreateForWrite(m_strPath);
    if (fd < 0) {
        throw CVxException(
            FormatString(msg::kFileWriteOpen, m_strPath.c_str(), static_cast<unsigned>(errno)));
    }
    if (m_encoding == XmlEncoding_UTF16 || m_encoding == XmlEncoding_UTF16_NoDecl) {
        static const unsigned char kBom[2] = {0xFF, 0xFE};
        if (!detail::WriteAll(fd, kBom, sizeof kBom)) {
            const int error = errno;
            detail::CloseFile(fd);
            throw CVxException(
                FormatString(msg::kFileWriteOpen, m_strPath.c_str(), static_cast<unsigned>(error)));
        }
        m_ullBytesWritten = sizeof kBom;
    }
    m_hFile = fd;
}

void CFileTextStream::Flush()
{
    if (m_buffer.GetLength() == 0) {
        return;
    }
    if (m_hFile < 0) {
        FailWrite(EBADF);
    }
    m_bdInFlight = ToBytes();
    if (!detail::WriteAll(m_hFile, m_bdInFlight.GetData(), m_bdInFlight.GetLength())) {
        FailWrite(errno);
    }
    m_ullBytesWritten += m_bdInFlight.GetLength();
    m_buffer.Clear();
}

void CFileTextStream::Close()
{
    Flush();
    if (m_hFile >= 0) {
        const int error = detail::CloseFile(m_hFile);
        m_hFile = -1;
        if (error != 0) {
            throw CVxException(FormatString(msg::kFileWrite, static_cast<unsigned>(error)));
        }
    }
    m_bdInFlight.Clear();
    CTextStream::Close();
}

} // namespace VxXmlLib16
