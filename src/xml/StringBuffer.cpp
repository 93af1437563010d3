#include "xml/StreamErrors.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <cwchar>
#include <limits>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/StringBuffer.h>

namespace VxXmlLib16 {

CStringBuffer::CStringBuffer() : CInstanceMonitor(L"CStringBuffer") {}

CStringBuffer::CStringBuffer(uint32_t blockSize) : CInstanceMonitor(L"CStringBuffer")
{
    if (blockSize < 2) {
        throw CVxInvalidParamException(
            FormatString(L"Invalid block size [%u]: must be at least 2", blockSize));
    }
    m_dwBlockSize = blockSize - 1;
}

CStringBuffer::~CStringBuffer()
{
    FreeBlocks();
}

void CStringBuffer::FreeBlocks()
{
    for (wchar_t* block : m_blocks) {
        delete[] block;
    }
    m_blocks.clear();
    m_sizes.clear();
    m_pLastBlock = nullptr;
    m_LastBlock_DataIn = 0;
    m_LastBlock_SizeOf = 0;
    m_dwTotalBufferLen = 0;
}

void CStringBuffer::AddBlock(size_t needed)
{
    assert(m_LastBlock_SizeOf == m_LastBlock_DataIn && "m_LastBlock_SizeOf == m_LastBlock_DataIn");
    constexpr uint64_t kMax = std::numeric_limits<uint32_t>::max();
    if (uint64_t{m_dwTotalBufferLen} + std::max<uint64_t>(needed, m_dwBlockSize) > kMax) {
        detail::ThrowTextTooLong();
    }
    // Room for the new entries before the block exists, so that the pushes
    // below cannot fail; grown geometrically, as reserving one more each
    // time would copy the whole chain on every block.
    if (m_blocks.size() == m_blocks.capacity()) {
        m_blocks.reserve(std::max<size_t>(16, 2 * m_blocks.size()));
    }
    if (m_sizes.size() == m_sizes.capacity()) {
        m_sizes.reserve(std::max<size_t>(16, 2 * m_sizes.size()));
    }
    // One spare character for the zero GetBuffer() puts after the text. Not
    // zero-filled: every character is written before it is read, and filling
    // would touch all of a large document's memory once more.
    auto* block = new wchar_t[m_dwBlockSize + 1];
    m_blocks.push_back(block);
    m_sizes.push_back(m_dwBlockSize);
    m_pLastBlock = block;
    m_LastBlock_DataIn = 0;
    m_LastBlock_SizeOf = m_dwBlockSize;
}

void CStringBuffer::Append(const wchar_t* text)
{
    if (text) {
        Append(text, std::wcslen(text));
    }
}

void CStringBuffer::Append(const wchar_t* text, size_t count)
{
    while (count != 0) {
        if (m_LastBlock_DataIn == m_LastBlock_SizeOf) {
            AddBlock(count);
        }
        const uint32_t room = m_LastBlock_SizeOf - m_LastBlock_DataIn;
        const auto n = static_cast<uint32_t>(std::min<size_t>(room, count));
        std::wmemcpy(m_pLastBlock + m_LastBlock_DataIn, text, n);
        m_LastBlock_DataIn += n;
        m_dwTotalBufferLen += n;
        text += n;
        count -= n;
    }
}

void CStringBuffer::Set(const wchar_t* text)
{
    FreeBlocks();
    Append(text);
}

const wchar_t* CStringBuffer::GetBuffer()
{
    static const wchar_t kEmpty[1] = {0};
    if (m_blocks.empty()) {
        return kEmpty;
    }
    if (m_blocks.size() == 1) {
        m_pLastBlock[m_LastBlock_DataIn] = 0;
        return m_pLastBlock;
    }
    auto* merged = new wchar_t[size_t{m_dwTotalBufferLen} + 1];
    size_t dwOutputPos = 0;
    for (size_t i = 0; i < m_blocks.size(); ++i) {
        const uint32_t fill = (i + 1 == m_blocks.size()) ? m_LastBlock_DataIn : m_sizes[i];
        std::wmemcpy(merged + dwOutputPos, m_blocks[i], fill);
        dwOutputPos += fill;
    }
    assert(dwOutputPos == m_dwTotalBufferLen && "dwOutputPos == m_dwTotalBufferLen");
    merged[dwOutputPos] = 0;
    const uint32_t total = m_dwTotalBufferLen;
    FreeBlocks();
    // The merged array becomes the only block, full to the brim: the next
    // append starts a fresh block of the normal size.
    m_blocks.push_back(merged);
    m_sizes.push_back(total);
    m_pLastBlock = merged;
    m_LastBlock_DataIn = total;
    m_LastBlock_SizeOf = total;
    m_dwTotalBufferLen = total;
    return merged;
}

void CStringBuffer::Clear()
{
    if (m_blocks.size() == 1) {
        m_pLastBlock[0] = 0;
        m_LastBlock_DataIn = 0;
        m_dwTotalBufferLen = 0;
    } else {
        FreeBlocks();
    }
}

} // namespace VxXmlLib16
