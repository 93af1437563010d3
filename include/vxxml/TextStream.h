// Text streams: where the writers put their characters.
#pragma once

#include <cstdint>
#include <string>
#include <vxxml/BinaryData.h>
#include <vxxml/Export.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/StringBuffer.h>
#include <vxxml/XmlEncoding.h>

namespace VxXmlLib16 {

// Text accumulated in memory, with the encoding it is to be turned into.
// Writers call Open when a document starts, Flush every few thousand
// characters and Close at the end; in memory Flush does nothing and the text
// simply accumulates.
class VXXML_API CTextStream : protected CInstanceMonitor
{
public:
    explicit CTextStream(XmlEncoding encoding = XmlEncoding_UTF8);
    CTextStream(const CTextStream&) = delete;
    CTextStream& operator=(const CTextStream&) = delete;
    ~CTextStream() override;

    // Clears the text (a stream may be reused).
    virtual void Open();
    virtual void Close();
    virtual void Flush();

    void Write(wchar_t c) { m_buffer.Append(c); }
    void Write(const wchar_t* text) { m_buffer.Append(text); }
    // count characters, zeros included: no need to measure the text.
    void Write(const wchar_t* text, size_t count) { m_buffer.Append(text, count); }
    void Write(const std::wstring& text) { m_buffer.Append(text); }

    // Characters buffered (since the last Open, or Flush of a file stream).
    uint32_t GetLength() const { return m_buffer.GetLength(); }
    XmlEncoding GetEncoding() const { return m_encoding; }
    // The buffered text as one zero-terminated string.
    const wchar_t* GetText() { return m_buffer.GetBuffer(); }

    // The buffered text in the stream's encoding, without a byte-order mark:
    // UTF-8, or UTF-16LE for both UTF-16 values. Any other encoding raises
    // CVxException "Unknown Encoding, select UTF-8 (contact our support
    // team)"; text with no form in the encoding raises CVxException (see
    // Encoder.h and BinaryData.h). The blocks of text are converted one after
    // the other straight into the result; they are not merged first.
    CBinaryData ToBytes();

protected:
    CTextStream(const wchar_t* monitorName, XmlEncoding encoding);

    CStringBuffer m_buffer;
    XmlEncoding m_encoding;
};

// Streams the text to a file: each Flush converts what is buffered and
// writes it, so memory stays flat whatever the document size. Open creates
// (or truncates) the file and, for the UTF-16 encodings, writes the
// byte-order mark FF FE; UTF-8 files get none. Failures raise CVxException
// with the errno value: "Failed to write data to the file [%s] error
// [0x%08X]" from Open, "Failed to write data to the file. Error [0x%08X]"
// from Flush and Close; the file is closed then and may be partly written.
// Destroying an open stream closes the file without writing buffered text.
class VXXML_API CFileTextStream : public CTextStream
{
public:
    CFileTextStream(const wchar_t* path, XmlEncoding encoding);
    ~CFileTextStream() override;

    void Open() override;
    void Flush() override;
    void Close() override;

    // Bytes written to the file so far (the offset of the next write).
    uint64_t GetBytesWritten() const { return m_ullBytesWritten; }

private:
    [[noreturn]] void FailWrite(int error);

    std::wstring m_strPath;
    CBinaryData m_bdInFlight; // bytes of the latest write
    int m_hFile = -1;
    uint64_t m_ullBytesWritten = 0;
};

} // namespace VxXmlLib16
