#include "xml/FileOutput.h"
#include "xml/StreamErrors.h"

#include <vxxml/BinaryStream.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

namespace VxXmlLib16 {

CBinaryStream::CBinaryStream() : CInstanceMonitor(L"CBinaryStream") {}

CBinaryStream::CBinaryStream(const wchar_t* monitorName, const CBinaryData& initial)
    : CInstanceMonitor(monitorName), m_bdData(initial)
{
}

CBinaryStream::~CBinaryStream() = default;

CFileBinaryStream::CFileBinaryStream(const wchar_t* path, XmlEncoding encoding)
    : CFileBinaryStream(path, encoding, CBinaryData())
{
}

CFileBinaryStream::CFileBinaryStream(const wchar_t* path, XmlEncoding encoding,
                                     const CBinaryData& data)
    : CBinaryStream(L"CFileBinaryStream", data), m_strPath(path ? path : L""), m_encoding(encoding)
{
}

CFileBinaryStream::~CFileBinaryStream() = default;

void CFileBinaryStream::WriteToFile()
{
    const auto fail = [this](int error) { detail::ThrowFileOpenFailed(m_strPath, error); };
    const int fd = detail::CreateForWrite(m_strPath);
    if (fd < 0) {
        fail(errno);
    }
    static const unsigned char kBom[2] = {0xFF, 0xFE};
    const bool utf16 = m_encoding == XmlEncoding_UTF16 || m_encoding == XmlEncoding_UTF16_NoDecl;
    if ((utf16 && !detail::WriteAll(fd, kBom, sizeof kBom)) ||
        !detail::WriteAll(fd, m_bdData.GetData(), m_bdData.GetLength())) {
        const int error = errno;
        detail::CloseFile(fd);
        fail(error);
    }
    if (const int error = detail::CloseFile(fd); error != 0) {
        fail(error);
    }
}

} // namespace VxXmlLib16
