#include "base/MappedMemory.h"
#include "types/Utf16Bytes.h"

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cstring>
#include <cwchar>
#include <limits>
#include <memory>
#include <mutex>
#include <utility>
#include <vxxml/Base64.h>
#include <vxxml/BinaryData.h>
#include <vxxml/CriticalSection.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

namespace VxXmlLib16 {

namespace {

constexpr uint32_t kMinCopiedCapacity = 8192;
constexpr uint32_t kMaxLength = std::numeric_limits<uint32_t>::max();

// Room for a copy of length bytes: twice the length, at least 8192, so that
// appends after a copy do not reallocate at once.
uint32_t CopiedCapacity(uint64_t length)
{
    return static_cast<uint32_t>(
        std::min<uint64_t>(std::max<uint64_t>(2 * length, kMinCopiedCapacity), kMaxLength));
}

[[noreturn]] void ThrowTooLong(uint64_t length)
{
    throw CVxOverFlowException(
        FormatString(L"Binary data of %llu bytes exceeds the maximum length of 4294967295 bytes",
                     static_cast<unsigned long long>(length)));
}

} // namespace

// The buffer several handles share. Its count and the copy-on-write step are
// guarded by m_cs. A handle that sees a count of 1 is the only holder: no
// other thread can add a reference without a handle of its own, so the owner
// then writes without taking the lock.
class CBinaryData::CSharedBuffer
{
public:
    unsigned char* m_lpData;
    uint32_t m_dwLength;
    uint32_t m_dwCapacity;
    std::atomic<int32_t> m_refCount{1};
    CVXCriticalSection m_cs;

    // An empty buffer with room for capacity bytes.
    explicit CSharedBuffer(uint32_t capacity)
        : m_lpData(new unsigned char[capacity]), m_dwLength(0), m_dwCapacity(capacity)
    {
    }

    CSharedBuffer(const unsigned char* bytes, uint32_t length, bool takeOwnership)
        : m_lpData(nullptr), m_dwLength(length), m_dwCapacity(length)
    {
        if (takeOwnership) {
            m_lpData = const_cast<unsigned char*>(bytes);
        } else {
            m_dwCapacity = CopiedCapacity(length);
            m_lpData = new unsigned char[m_dwCapacity];
            if (length != 0) {
                std::memcpy(m_lpData, bytes, length);
            }
        }
    }

    void AddRef()
    {
        std::lock_guard lock(m_cs);
        m_refCount.fetch_add(1, std::memory_order_relaxed);
    }

    // Drops one reference; the last one frees the bytes and the buffer.
    void Release() noexcept
    {
        bool last;
        {
            std::lock_guard lock(m_cs);
            last = m_refCount.fetch_sub(1, std::memory_order_acq_rel) == 1;
        }
        if (last) {
            FreeBytes();
            delete this;
        }
    }

    // Makes the bytes a new[] array, as handing them out requires: a large
    // block is copied (and kept for the next document). Only for a buffer
    // no other handle shares.
    void MoveToHeapArray()
    {
        if (m_cbLargeBlock == 0) {
            return;
        }
        auto copy = std::make_unique_for_overwrite<unsigned char[]>(m_dwLength);
        std::memcpy(copy.get(), m_lpData, m_dwLength);
        FreeBytes();
        m_lpData = copy.release();
        m_dwCapacity = m_dwLength;
    }

    // Frees the bytes the way they were allocated.
    void FreeBytes() noexcept
    {
        if (m_cbLargeBlock != 0) {
            detail::ReleaseLargeBlock({m_lpData, m_cbLargeBlock});
        } else {
            delete[] m_lpData;
        }
        m_lpData = nullptr;
        m_cbLargeBlock = 0;
    }

    // Drops the last reference but hands the bytes out instead of freeing them.
    unsigned char* ReleaseBytes()
    {
        int32_t remaining;
        {
            std::lock_guard lock(m_cs);
            remaining = m_refCount.fetch_sub(1, std::memory_order_acq_rel) - 1;
            assert(remaining == 0 && "m_refCount == 0");
            if (remaining > 0) {
                m_refCount.fetch_add(1, std::memory_order_relaxed);
            }
        }
        if (remaining > 0) {
            throw CVxException(FormatString(L"Failed to release data. [RefCount=%d]", remaining));
        }
        assert(m_cbLargeBlock == 0);
        unsigned char* bytes = m_lpData;
        delete this;
        return bytes;
    }

    bool IsShared() const noexcept { return m_refCount.load(std::memory_order_acquire) != 1; }

    // Not 0 when m_lpData is a large block (see LargeBlocks.h) of this many
    // bytes rather than a new[] array.
    size_t m_cbLargeBlock = 0;
};

CBinaryData::CBinaryData(const unsigned char* bytes, uint32_t length)
{
    SetBuffer(bytes, length);
}

CBinaryData::CBinaryData(unsigned char* bytes, uint32_t length, bool takeOwnership)
{
    if (!takeOwnership) {
        SetBuffer(bytes, length);
    } else if (length == 0) {
        delete[] bytes;
    } else {
        if (bytes == nullptr) {
            throw CVxInvalidParamException(L"Binary data: NULL buffer with a non-zero length");
        }
        std::unique_ptr<unsigned char[]> owned(bytes);
        m_pBuffer = new CSharedBuffer(bytes, length, true);
        owned.release();
    }
}

CBinaryData CBinaryData::AdoptLargeBlock(unsigned char* bytes, uint32_t length, size_t capacity)
{
    auto* buffer = new CSharedBuffer(bytes, length, true);
    buffer->m_cbLargeBlock = capacity;
    return CBinaryData(buffer);
}

CBinaryData::CBinaryData(const wchar_t* text)
{
    SetBuffer(text);
}

CBinaryData::CBinaryData(const CBinaryData& other) noexcept : m_pBuffer(other.m_pBuffer)
{
    if (m_pBuffer) {
        m_pBuffer->AddRef();
    }
}

CBinaryData& CBinaryData::operator=(const CBinaryData& other)
{
    if (m_pBuffer != other.m_pBuffer) {
        // Take the new reference before dropping the old one: other may be
        // held only through a buffer this handle is about to release.
        CSharedBuffer* incoming = other.m_pBuffer;
        if (incoming) {
            incoming->AddRef();
        }
        Clear();
        m_pBuffer = incoming;
    }
    return *this;
}

CBinaryData& CBinaryData::operator=(CBinaryData&& other) noexcept
{
    if (this != &other) {
        Clear();
        m_pBuffer = other.m_pBuffer;
        other.m_pBuffer = nullptr;
    }
    return *this;
}

CBinaryData::~CBinaryData()
{
    Clear();
}

void CBinaryData::Clear() noexcept
{
    if (m_pBuffer) {
        CSharedBuffer* buffer = m_pBuffer;
        m_pBuffer = nullptr;
        buffer->Release();
    }
}

const unsigned char* CBinaryData::GetData() const noexcept
{
    return m_pBuffer ? m_pBuffer->m_lpData : nullptr;
}

uint32_t CBinaryData::GetLength() const noexcept
{
    return m_pBuffer ? m_pBuffer->m_dwLength : 0;
}

unsigned char* CBinaryData::ReleaseData()
{
    if (!m_pBuffer) {
        return nullptr;
    }
    MakeUnique();
    CSharedBuffer* buffer = m_pBuffer;
    buffer->MoveToHeapArray();
    unsigned char* bytes = buffer->ReleaseBytes();
    m_pBuffer = nullptr;
    return bytes;
}

void CBinaryData::MakeUnique()
{
    if (!m_pBuffer->IsShared()) {
        return;
    }
    CSharedBuffer* old = m_pBuffer;
    {
        std::lock_guard lock(old->m_cs);
        if (old->m_refCount.load(std::memory_order_acquire) < 2) {
            return; // the other holders let go meanwhile
        }
        // While the count is 2 or more nobody writes the bytes, so they can
        // be copied here.
        m_pBuffer = new CSharedBuffer(old->m_lpData, old->m_dwLength, false);
    }
    old->Release();
}

unsigned char* CBinaryData::AppendUninitialized(uint32_t length)
{
    assert(length != 0);
    if (!m_pBuffer) {
        m_pBuffer = new CSharedBuffer(CopiedCapacity(length));
    } else {
        MakeUnique();
    }
    CSharedBuffer* buffer = m_pBuffer;
    const int32_t refCount = buffer->m_refCount.load(std::memory_order_acquire);
    assert(refCount == 1 && "m_refCount == 1");
    if (refCount != 1) {
        throw CVxException(FormatString(L"Failed to append. [RefCount=%d]", refCount));
    }
    const uint64_t newLength = uint64_t{buffer->m_dwLength} + length;
    if (newLength > kMaxLength) {
        ThrowTooLong(newLength);
    }
    if (newLength > buffer->m_dwCapacity) {
        // Doubling keeps a series of appends linear overall.
        const uint32_t capacity =
            static_cast<uint32_t>(std::min<uint64_t>(2 * newLength, kMaxLength));
        auto* grown = new unsigned char[capacity];
        std::memcpy(grown, buffer->m_lpData, buffer->m_dwLength);
        buffer->FreeBytes();
        buffer->m_lpData = grown;
        buffer->m_dwCapacity = capacity;
    }
    unsigned char* end = buffer->m_lpData + buffer->m_dwLength;
    buffer->m_dwLength = static_cast<uint32_t>(newLength);
    return end;
}

void CBinaryData::Append(const unsigned char* bytes, uint32_t length)
{
    if (length == 0) {
        return;
    }
    if (bytes == nullptr) {
        throw CVxInvalidParamException(L"Binary data: NULL buffer with a non-zero length");
    }
    if (!m_pBuffer) {
        m_pBuffer = new CSharedBuffer(bytes, length, false);
        return;
    }
    // bytes may point into this very buffer (d.Append(d.GetData(), n)), and
    // growing frees the old block: copy through a second handle's reference
    // in that case, which keeps the old block alive until the copy is done.
    const auto address = reinterpret_cast<uintptr_t>(bytes);
    const auto begin = reinterpret_cast<uintptr_t>(m_pBuffer->m_lpData);
    if (address >= begin && address - begin < m_pBuffer->m_dwCapacity) {
        CBinaryData keep(*this);
        std::memcpy(AppendUninitialized(length), bytes, length);
        return;
    }
    std::memcpy(AppendUninitialized(length), bytes, length);
}

void CBinaryData::Append(unsigned char byte)
{
    *AppendUninitialized(1) = byte;
}

void CBinaryData::AppendText(const wchar_t* text, size_t count)
{
    if (count == 0) {
        return;
    }
    const size_t bytes = detail::Utf16LEByteCount(text, count);
    if (bytes > kMaxLength) {
        ThrowTooLong(uint64_t{GetLength()} + bytes);
    }
    detail::WriteUtf16LE(text, count, AppendUninitialized(static_cast<uint32_t>(bytes)));
}

void CBinaryData::Append(wchar_t ch)
{
    AppendText(&ch, 1);
}

void CBinaryData::Append(const wchar_t* text)
{
    if (text) {
        AppendText(text, std::wcslen(text));
    }
}

void CBinaryData::Append(const std::wstring& text)
{
    AppendText(text.data(), text.size());
}

void CBinaryData::Append(const CBinaryData& other)
{
    if (other.GetLength() == 0) {
        return;
    }
    // A second handle keeps other's bytes alive even when other is *this.
    CBinaryData keep(other);
    Append(keep.GetData(), keep.GetLength());
}

void CBinaryData::SetBuffer(const unsigned char* bytes, uint32_t length)
{
    // Build first: a failure must not leave a half-changed value, and bytes
    // may belong to the buffer being replaced.
    CSharedBuffer* fresh = nullptr;
    if (length != 0) {
        if (bytes == nullptr) {
            throw CVxInvalidParamException(L"Binary data: NULL buffer with a non-zero length");
        }
        fresh = new CSharedBuffer(bytes, length, false);
    }
    Clear();
    m_pBuffer = fresh;
}

void CBinaryData::SetBuffer(const wchar_t* text)
{
    CBinaryData fresh;
    fresh.Append(text);
    *this = std::move(fresh);
}

const unsigned char& CBinaryData::operator[](uint32_t index) const
{
    if (!m_pBuffer || index > m_pBuffer->m_dwLength) {
        throw CVxException(FormatString(L"Index Out of range [%d]", static_cast<int32_t>(index)));
    }
    if (index == m_pBuffer->m_dwCapacity) {
        // The position one past the end lies outside an adopted block whose
        // capacity equals its length; hand out a scratch byte instead.
        thread_local unsigned char scratch;
        scratch = 0;
        return scratch;
    }
    return m_pBuffer->m_lpData[index];
}

unsigned char& CBinaryData::operator[](uint32_t index)
{
    if (m_pBuffer && index <= m_pBuffer->m_dwLength) {
        MakeUnique();
    }
    return const_cast<unsigned char&>(std::as_const(*this)[index]);
}

bool CBinaryData::operator==(const CBinaryData& other) const noexcept
{
    if (!m_pBuffer || !other.m_pBuffer) {
        return !m_pBuffer && !other.m_pBuffer;
    }
    const uint32_t length = m_pBuffer->m_dwLength;
    return length == other.m_pBuffer->m_dwLength &&
           (m_pBuffer == other.m_pBuffer || length == 0 ||
            std::memcmp(m_pBuffer->m_lpData, other.m_pBuffer->m_lpData, length) == 0);
}

// ---- base64 -----------------------------------------------------------------

std::wstring CBinaryData::GetAsBase64() const
{
    CBase64 codec;
    return codec.Encode(GetData(), GetLength());
}

void CBinaryData::SetAsBase64(const wchar_t* text)
{
    Clear();
    const size_t count = text ? std::wcslen(text) : 0;
    if (count == 0) {
        return;
    }
    const size_t room = CBase64::GetMaxDecodedLength(count);
    if (room > kMaxLength) {
        ThrowTooLong(room);
    }
    auto bytes = std::make_unique_for_overwrite<unsigned char[]>(room);
    CBase64 codec;
    const size_t length = codec.Decode(text, count, bytes.get());
    if (length > kMaxLength) {
        ThrowTooLong(length);
    }
    // Kept even for zero bytes: a failed decode leaves a buffer of length 0.
    m_pBuffer = new CSharedBuffer(bytes.get(), static_cast<uint32_t>(length), true);
    bytes.release();
}

// ---- hexadecimal --------------------------------------------------------------

namespace {

constexpr char kHexDigits[] = "0123456789ABCDEF";

// Nibble value of an ASCII hex digit, or -1.
constexpr int HexValue(uint32_t c)
{
    if (c >= '0' && c <= '9') {
        return static_cast<int>(c - '0');
    }
    if (c >= 'A' && c <= 'F') {
        return static_cast<int>(c - 'A' + 10);
    }
    if (c >= 'a' && c <= 'f') {
        return static_cast<int>(c - 'a' + 10);
    }
    return -1;
}

} // namespace

std::wstring CBinaryData::GetAsHexString() const
{
    return GetAsHexString(GetData(), GetLength());
}

std::wstring CBinaryData::GetAsHexString(const unsigned char* bytes, uint32_t length)
{
    std::wstring text;
    if (bytes == nullptr || length == 0) {
        return text;
    }
    text.resize(size_t{length} * 2);
    wchar_t* out = text.data();
    for (uint32_t i = 0; i < length; ++i) {
        out[2 * i] = static_cast<wchar_t>(kHexDigits[bytes[i] >> 4]);
        out[2 * i + 1] = static_cast<wchar_t>(kHexDigits[bytes[i] & 0x0F]);
    }
    return text;
}

uint32_t CBinaryData::ConvertToHexData(const wchar_t* text, unsigned char** bytes)
{
    *bytes = nullptr;
    const size_t count = text ? std::wcslen(text) : 0;
    if (count % 2 != 0) {
        throw CVxException(L"Invalid length in hex string");
    }
    if (count == 0) {
        return 0;
    }
    if (count / 2 > kMaxLength) {
        ThrowTooLong(count / 2);
    }
    auto out = std::make_unique_for_overwrite<unsigned char[]>(count / 2);
    for (size_t i = 0; i < count; i += 2) {
        const int high = HexValue(static_cast<uint32_t>(text[i]));
        if (high < 0) {
            throw CVxException(FormatString(L"Invalid char in hex string [%c]", text[i]));
        }
        const int low = HexValue(static_cast<uint32_t>(text[i + 1]));
        if (low < 0) {
            throw CVxException(FormatString(L"Invalid char in hex string [%c]", text[i + 1]));
        }
        out[i / 2] = static_cast<unsigned char>((high << 4) | low);
    }
    *bytes = out.release();
    return static_cast<uint32_t>(count / 2);
}

void CBinaryData::SetAsHexString(const wchar_t* text)
{
    Clear();
    unsigned char* bytes = nullptr;
    const uint32_t length = ConvertToHexData(text, &bytes);
    if (length != 0) {
        std::unique_ptr<unsigned char[]> owned(bytes);
        m_pBuffer = new CSharedBuffer(bytes, length, true);
        owned.release();
    }
}

} // namespace VxXmlLib16
