// Text streams: where the writers put their characters.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vxxml/BinaryData.h>
#include <vxxml/Export.h>
#include <vxxml/InstanceMonitor.h>
#include <vxxml/StringBuffer.h>
#include <vxxml/XmlEncoding.h>

namespace VxXmlLib16 {

namespace detail {
class CAtomicFile;
}

// Text accumulated in memory, with the encoding it is to be turned into.
// Writers call Open when a document starts, Flush every few thousand
// characters and Close at the end; in memory Flush does nothing and the text
// simply accumulates.
//
// A UTF-8 stream converts its text to bytes as it goes, a few thousand
// characters at a time, instead of keeping every character as a 4-byte
// wchar_t until ToBytes: a document then takes about a quarter of the memory
// and ToBytes hands over the bytes already made. GetText and GetLength still
// answer for the whole text (GetText decodes the bytes when asked). Text that
// has no UTF-8 form (a lone surrogate, a value above U+10FFFF) is kept as
// wide text from there on, so that GetText returns it unchanged and ToBytes
// reports it as before. UTF-16 streams keep wide text and convert in ToBytes.
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

    void Write(wchar_t c)
    {
        m_buffer.Append(c);
        if (m_bUtf8Bytes && m_buffer.GetLength() >= kStagedCharacters) {
            EncodeStaged();
        }
    }
    // Up to the terminating zero; null writes nothing.
    void Write(const wchar_t* text);
    // count characters, zeros included: no need to measure the text.
    void Write(const wchar_t* text, size_t count);
    void Write(const std::wstring& text) { Write(text.data(), text.size()); }

    // Characters buffered (since the last Open, or Flush of a file stream).
    uint32_t GetLength() const { return m_cchEncoded + m_buffer.GetLength(); }
    XmlEncoding GetEncoding() const { return m_encoding; }
    // The buffered text as one zero-terminated string; valid until the
    // stream next changes.
    const wchar_t* GetText();

    // The buffered text in the stream's encoding, without a byte-order mark:
    // UTF-8, or UTF-16LE for both UTF-16 values. Any other encoding raises
    // CVxException "Unknown Encoding, select UTF-8 (contact our support
    // team)"; text with no form in the encoding raises CVxException (see
    // Encoder.h and BinaryData.h). For UTF-8 the result shares the stream's
    // own bytes (CBinaryData copies on write): no copy of the document is made.
    CBinaryData ToBytes();

    // The bytes of a large document (a megabyte or more) are kept, once the
    // last CBinaryData holding them is gone, for the next large document, so
    // that the kernel need not supply and clear fresh pages for each one:
    // one block of up to 64 MiB per process (see ReleaseCachedMemory).

protected:
    CTextStream(const wchar_t* monitorName, XmlEncoding encoding);

    // Forgets all text, as Open does, without being an Open.
    void ClearText();

    // Wide text: all of it for UTF-16 streams and after a character without
    // UTF-8 form; otherwise only the latest characters, not yet converted.
    CStringBuffer m_buffer;
    XmlEncoding m_encoding;

private:
    // Converted once this many characters are staged (one block's worth).
    static constexpr uint32_t kStagedCharacters = 4095;

    // Converts the staged characters and empties m_buffer.
    void EncodeStaged();
    // Converts text and appends its bytes; false when some character has no
    // UTF-8 form (then nothing of the text has been kept).
    bool AppendEncoded(const wchar_t* text, size_t count);
    // Appends all text so far: the bytes made, decoded, then the staged
    // characters.
    void AppendWholeText(std::wstring& text);
    // Stops converting: the bytes made so far go back into m_buffer as wide
    // text, ahead of the staged characters.
    void FallBackToWideText();
    // Every byte made so far in one value: the handed-out part and the rest.
    CBinaryData& CollectBytes();
    // Makes room for minimum bytes in all, keeping the bytes made.
    void GrowBytes(size_t minimum);
    // Arrays of a document's size come from the library's large blocks
    // rather than new[].
    bool HoldsLargeBlock() const;
    void FreeBytes();

    bool m_bUtf8Bytes;                 // converting as text arrives
    uint32_t m_cchEncoded = 0;         // characters whose bytes are made
    CBinaryData m_bdBytes;             // bytes already handed out by ToBytes
    unsigned char* m_pBytes = nullptr; // newer bytes, m_cbBytes used
    size_t m_cbBytes = 0;
    size_t m_cbCapacity = 0;
    std::wstring m_strText; // what GetText returned for a converting stream
};

// Streams the text to a file: each Flush converts what is buffered and
// writes it, so memory stays flat whatever the document size. The file is
// whole or untouched: Open starts a temporary file beside it (for the UTF-16
// encodings beginning with the byte-order mark FF FE; UTF-8 files get none),
// and only Close puts it in the file's place, keeping an existing file's
// permissions. A failure, or destroying a stream that was not closed,
// removes the temporary file and leaves the old file as it was, so the
// output may even be the document being read. Failures raise CVxException
// with the errno value, the file and the system's reason: "Failed to write
// data to the file [%s] error [0x%08X]: ..." from Open, "Failed to write
// data to the file. Error [0x%08X]: ..." from Flush and Close.
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
    std::unique_ptr<detail::CAtomicFile> m_pFile;
    uint64_t m_ullBytesWritten = 0;
};

} // namespace VxXmlLib16
