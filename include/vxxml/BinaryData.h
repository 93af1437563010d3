// A byte array with cheap copies: the value of xs:base64Binary and
// xs:hexBinary members and the carrier of every serialized document.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

// A handle onto a shared, reference-counted byte buffer. Copies share the
// buffer; the first write through a handle whose buffer is shared gives that
// handle its own copy (copy-on-write), so a copy never sees later changes of
// the original and vice versa.
//
// Memory handed across the interface (the pointer adopted by the owning
// constructor, the one returned by ReleaseData) is allocated with
// new unsigned char[] and released with delete[].
//
// Text forms: the wchar_t constructor, SetBuffer and Append overloads store
// the text as UTF-16LE, 2 bytes per code unit, low byte first; a character
// above U+FFFF becomes a surrogate pair (4 bytes). A wchar_t above U+10FFFF
// has no UTF-16 form and raises CVxInvalidParamException.
//
// Handles may be copied and destroyed on different threads; one handle is
// not itself thread-safe.
class VXXML_API CBinaryData
{
public:
    CBinaryData() noexcept = default;
    // Copies length bytes.
    CBinaryData(const unsigned char* bytes, uint32_t length);
    // With takeOwnership the value adopts bytes (allocated with new[]) and
    // frees it later; a zero length then frees it at once and leaves the
    // value empty. Without takeOwnership the bytes are copied.
    CBinaryData(unsigned char* bytes, uint32_t length, bool takeOwnership);
    // The UTF-16LE bytes of the text; a null or empty text gives an empty value.
    explicit CBinaryData(const wchar_t* text);
    CBinaryData(const CBinaryData& other) noexcept;
    CBinaryData(CBinaryData&& other) noexcept : m_pBuffer(other.m_pBuffer)
    {
        other.m_pBuffer = nullptr;
    }
    CBinaryData& operator=(const CBinaryData& other);
    CBinaryData& operator=(CBinaryData&& other) noexcept;
    virtual ~CBinaryData();

    // Drops this handle's share of the buffer; the value becomes empty.
    void Clear() noexcept;

    // Null (and 0) when the value is empty.
    const unsigned char* GetData() const noexcept;
    uint32_t GetLength() const noexcept;

    // Hands the bytes to the caller, who frees them with delete[], and leaves
    // the value empty. Null when empty. When the buffer is shared the caller
    // receives a private copy and the other handles keep theirs.
    unsigned char* ReleaseData();

    void Append(unsigned char byte);
    // The UTF-16LE code unit(s) of the character: 2 bytes, or 4 above U+FFFF.
    void Append(wchar_t ch);
    // UTF-16LE code units of the text, without a terminator.
    void Append(const wchar_t* text);
    void Append(const std::wstring& text);
    void Append(const CBinaryData& other);
    void Append(const unsigned char* bytes, uint32_t length);

    // Replaces the value by a copy of the bytes (length 0: empty value).
    void SetBuffer(const unsigned char* bytes, uint32_t length);
    // Replaces the value by the UTF-16LE bytes of the text.
    void SetBuffer(const wchar_t* text);

    // An index equal to the length is accepted and designates the position
    // one past the last byte (reading it yields an unspecified byte, writing
    // it changes nothing of the value). A larger index, or any index on an
    // empty value, raises CVxException "Index Out of range [%d]". The
    // non-const form gives this handle its own buffer first.
    const unsigned char& operator[](uint32_t index) const;
    unsigned char& operator[](uint32_t index);

    // Two empty values are equal; an empty and a non-empty value are not;
    // otherwise the lengths and bytes are compared.
    bool operator==(const CBinaryData& other) const noexcept;
    bool operator!=(const CBinaryData& other) const noexcept { return !(*this == other); }

    // Standard base64 (RFC 4648, '+' and '/', '=' padding, no line breaks).
    std::wstring GetAsBase64() const;
    // Decodes base64, skipping spaces, tabs, line breaks and '=' wherever
    // they are. Each character is looked up by its low seven bits. Text with
    // any other character decodes to zero bytes: the value then holds a
    // buffer of length 0 (which compares unequal to an empty value). Invalid
    // base64 never raises; checking the lexical form is up to the caller.
    void SetAsBase64(const wchar_t* text);

    // Two upper-case hexadecimal digits per byte, high nibble first.
    std::wstring GetAsHexString() const;
    static std::wstring GetAsHexString(const unsigned char* bytes, uint32_t length);
    // Accepts digits in either case, no whitespace. Raises CVxException
    // "Invalid length in hex string" for an odd number of characters and
    // "Invalid char in hex string [%c]" naming the first invalid character.
    // The value is cleared first and left empty on failure.
    void SetAsHexString(const wchar_t* text);

protected:
    // Converts hex text into a new[] array stored in *bytes (null for an
    // empty text) and returns its length.
    static uint32_t ConvertToHexData(const wchar_t* text, unsigned char** bytes);

private:
    class CSharedBuffer;
    friend class CTextStream;

    // Adopts a large block of the library's own (the bytes of a document a
    // text stream made) holding length bytes. The caller keeps the block
    // when this throws.
    static CBinaryData AdoptLargeBlock(unsigned char* bytes, uint32_t length, size_t capacity);

    explicit CBinaryData(CSharedBuffer* buffer) noexcept : m_pBuffer(buffer) {}
    // Gives this handle a buffer no other handle shares.
    void MakeUnique();
    // Extends the value by length bytes and returns where they go; the
    // caller fills them. Creates or unshares the buffer as needed.
    unsigned char* AppendUninitialized(uint32_t length);
    void AppendText(const wchar_t* text, size_t count);

    CSharedBuffer* m_pBuffer = nullptr;
};

} // namespace VxXmlLib16
