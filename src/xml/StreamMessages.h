// Message texts of the streams, the encoder and compression, in one place.
#pragma once

namespace VxXmlLib16::msg {

inline constexpr const wchar_t* kUnknownEncoding =
    L"Unknown Encoding, select UTF-8 (contact our support team)";
inline constexpr const wchar_t* kFileWriteOpen =
    L"Failed to write data to the file [%s] error [0x%08X]";
inline constexpr const wchar_t* kFileWrite = L"Failed to write data to the file. Error [0x%08X]";
inline constexpr const wchar_t* kCompressFailed = L"Failed to compress data. [Error Code: %d]";
inline constexpr const wchar_t* kNotEncodableUtf8 =
    L"Invalid character [0x%X] at position %u: cannot be encoded as UTF-8";
inline constexpr const wchar_t* kInvalidUtf8 = L"Invalid UTF-8 sequence at byte offset %u";
inline constexpr const wchar_t* kOddUtf16 = L"Invalid UTF-16 data: odd number of bytes [%d]";
inline constexpr const wchar_t* kNegativeCount = L"Invalid byte count [%d]";
inline constexpr const wchar_t* kBlockSize = L"Invalid block size [%u]: must be at least 2";
inline constexpr const wchar_t* kTextTooLong =
    L"Text buffer exceeds the maximum length of 4294967295 characters";

} // namespace VxXmlLib16::msg
