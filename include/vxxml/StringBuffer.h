// A growable wide-character buffer that never moves text already written.
#pragma once

#include <cstdint>
#include <string>
#include <vector>
#include <vxxml/Export.h>
#include <vxxml/InstanceMonitor.h>

namespace VxXmlLib16 {

// Text is kept in a chain of fixed-size blocks, so appending never copies
// what is already there. GetBuffer() merges the chain into one block once,
// when the whole text is wanted as one string.
class VXXML_API CStringBuffer : public CInstanceMonitor
{
public:
    // Blocks of 4095 characters.
    CStringBuffer();
    // Blocks of blockSize - 1 characters (each has room for a terminating
    // zero too); blockSize must be at least 2.
    explicit CStringBuffer(uint32_t blockSize);
    CStringBuffer(const CStringBuffer&) = delete;
    CStringBuffer& operator=(const CStringBuffer&) = delete;
    ~CStringBuffer() override;

    void Append(wchar_t c)
    {
        if (m_LastBlock_DataIn == m_LastBlock_SizeOf) {
            AddBlock(1);
        }
        m_pLastBlock[m_LastBlock_DataIn++] = c;
        ++m_dwTotalBufferLen;
    }
    // Up to the terminating zero; null appends nothing.
    void Append(const wchar_t* text);
    void Append(const wchar_t* text, size_t count);
    // Every character of the string, embedded zeros included.
    void Append(const std::wstring& text) { Append(text.data(), text.size()); }

    // Replaces the whole content: frees every block, then appends.
    void Set(const wchar_t* text);

    uint32_t GetLength() const { return m_dwTotalBufferLen; }

    // The whole text as one zero-terminated string (never null). Merges the
    // blocks when there are several; the pointer stays valid until the
    // buffer next changes.
    const wchar_t* GetBuffer();

    // Empties the buffer. A single block is kept for reuse, so a buffer that
    // was merged keeps its large block; several blocks are freed.
    void Clear();

    // Number of blocks in the chain, and the capacity given to new blocks.
    uint32_t GetBlockCount() const { return static_cast<uint32_t>(m_blocks.size()); }
    uint32_t GetBlockSize() const { return m_dwBlockSize; }
    // The text of block `index` (oldest first) and its character count, for
    // readers that can take the text piece by piece without merging it.
    const wchar_t* GetBlock(uint32_t index, uint32_t& length) const
    {
        length = (index + 1 == m_blocks.size()) ? m_LastBlock_DataIn : m_sizes[index];
        return m_blocks[index];
    }

private:
    // Starts a new block; the newest one must be full. `needed` only serves
    // the length check.
    void AddBlock(size_t needed);
    void FreeBlocks();

    std::vector<wchar_t*> m_blocks;  // oldest first
    std::vector<uint32_t> m_sizes;   // capacity of each block, in characters
    uint32_t m_dwBlockSize = 4095;   // capacity of each new block
    uint32_t m_LastBlock_DataIn = 0; // characters in the newest block
    uint32_t m_LastBlock_SizeOf = 0; // capacity of the newest block
    wchar_t* m_pLastBlock = nullptr;
    uint32_t m_dwTotalBufferLen = 0; // characters over all blocks
};

} // namespace VxXmlLib16
