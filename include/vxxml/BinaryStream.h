// Finished bytes, and writing them to a file in one go.
#pragma once

#include <cstdint>
#include <string>
#include <vxxml/BinaryData.h>
#include <vxxml/Export.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/XmlEncoding.h>

namespace VxXmlLib16 {

class VXXML_API CBinaryStream : protected CInstanceMonitor
{
public:
    CBinaryStream();
    CBinaryStream(const CBinaryStream&) = delete;
    CBinaryStream& operator=(const CBinaryStream&) = delete;
    ~CBinaryStream() override;

    // A copy of the bytes (shares the buffer; cheap).
    CBinaryData GetData() const { return m_bdData; }
    void Append(unsigned char byte) { m_bdData.Append(byte); }
    void Append(const CBinaryData& data) { m_bdData.Append(data); }
    void Append(const unsigned char* bytes, uint32_t length) { m_bdData.Append(bytes, length); }

protected:
    CBinaryStream(const wchar_t* monitorName, const CBinaryData& initial);

    CBinaryData m_bdData;
};

// Writes its bytes to a file, preceded by FF FE for the UTF-16 encodings
// whatever the bytes are (so a compressed UTF-16 document on disk is FF FE
// followed by the compressed stream). The file is replaced whole or not at
// all (see CFileTextStream). Failures raise CVxException "Failed to write
// data to the file [%s] error [0x%08X]: ..." with the errno value and the
// system's reason.
class VXXML_API CFileBinaryStream : public CBinaryStream
{
public:
    CFileBinaryStream(const wchar_t* path, XmlEncoding encoding);
    CFileBinaryStream(const wchar_t* path, XmlEncoding encoding, const CBinaryData& data);
    ~CFileBinaryStream() override;

    // Writes everything to a temporary file and puts it in the file's place.
    void WriteToFile();

private:
    std::wstring m_strPath;
    XmlEncoding m_encoding;
};

} // namespace VxXmlLib16
