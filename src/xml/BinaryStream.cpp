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
    detail::CAtomicFile file;
    int error = file.Create(m_strPath);
    if (error == 0 && (m_encoding == XmlEncoding_UTF16 || m_encoding == XmlEncoding_UTF16_NoDecl)) {
        static const unsigned char kBom[2] = {0xFF, 0xFE};
        error = file.Write(kBom, sizeof kBom);
    }
    if (error == 0) {
        error = file.Write(m_bdData.GetData(), m_bdData.GetLength());
    }
    if (error == 0) {
        error = file.Commit();
    }
    if (error != 0) {
        detail::ThrowFileOpenFailed(m_strPath, error);
    }
}

} // namespace VxXmlLib16
