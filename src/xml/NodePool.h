// Internal: the allocator behind the nodes and texts of one document.
#pragma once

#include "base/MappedMemory.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

namespace VxXmlLib16::detail {

// Small blocks (elements, attributes with their values, short texts) are cut
// from large chunks with no per-block header, and freed blocks go to a free
// list per 16-byte size class where the next block of that size finds them.
// This saves malloc's header and rounding on millions of small nodes, makes
// dropping a whole tree one pass over the chunks, and keeps memory flat when
// an element callback drops elements as fast as they are made (the freed
// blocks are reused). Blocks above 1 KiB go straight to malloc.
//
// Under AddressSanitizer every block is its own malloc, so that the
// sanitizer still sees each node's lifetime.
class NodePool
{
public:
    NodePool() = default;
    NodePool(const NodePool&) = delete;
    NodePool& operator=(const NodePool&) = delete;
    ~NodePool() { Release(); }

    static constexpr size_t Rounded(size_t bytes) { return (bytes + 15) & ~size_t{15}; }

    void* Allocate(size_t bytes)
    {
        bytes = Rounded(bytes);
        if (kPassThrough || bytes > kMaxSmall) {
            void* p = std::malloc(bytes);
            if (p == nullptr) {
                throw std::bad_alloc();
            }
            return p;
        }
        FreeBlock*& head = m_free[bytes / 16];
        if (head != nullptr) {
            FreeBlock* block = head;
            head = block->next;
            return block;
        }
        if (static_cast<size_t>(m_end - m_cursor) < bytes) {
            NewChunk();
        }
        void* p = m_cursor;
        m_cursor += bytes;
        return p;
    }

    void Free(void* p, size_t bytes)
    {
        if (p == nullptr) {
            return;
        }
        bytes = Rounded(bytes);
        if (kPassThrough || bytes > kMaxSmall) {
            std::free(p);
            return;
        }
        if (m_discarding) {
            return;
        }
        auto* block = static_cast<FreeBlock*>(p);
        block->next = m_free[bytes / 16];
        m_free[bytes / 16] = block;
    }

    // Moves a block to a new size, keeping min(old, new) bytes.
    void* Reallocate(void* p, size_t oldBytes, size_t newBytes)
    {
        if (p == nullptr) {
            return Allocate(newBytes);
        }
        oldBytes = Rounded(oldBytes);
        newBytes = Rounded(newBytes);
        if (oldBytes == newBytes) {
            return p;
        }
        if (kPassThrough || (oldBytes > kMaxSmall && newBytes > kMaxSmall)) {
            void* q = std::realloc(p, newBytes);
            if (q == nullptr) {
                throw std::bad_alloc();
            }
            return q;
        }
        void* q = Allocate(newBytes);
        std::memcpy(q, p, oldBytes < newBytes ? oldBytes : newBytes);
        Free(p, oldBytes);
        return q;
    }

    // While set, small frees are ignored: the caller is about to Release.
    void SetDiscarding(bool discarding) { m_discarding = discarding; }

    // Gives every chunk back. Blocks above 1 KiB must have been freed.
    void Release()
    {
        for (void* chunk : m_chunks) {
            std::free(chunk);
        }
        m_chunks.clear();
        for (void* chunk : m_mappedChunks) {
            ReleaseTreeChunk(chunk);
        }
        m_mappedChunks.clear();
        for (FreeBlock*& head : m_free) {
            head = nullptr;
        }
        m_cursor = m_end = nullptr;
        m_nextChunk = kFirstChunk;
        m_discarding = false;
    }

private:
    struct FreeBlock
    {
        FreeBlock* next;
    };

#if defined(__SANITIZE_ADDRESS__)
    static constexpr bool kPassThrough = true;
#else
    static constexpr bool kPassThrough = false;
#endif
    static constexpr size_t kMaxSmall = 1024;
    static constexpr size_t kFirstChunk = 4096;
    static constexpr size_t kLargestChunk = 1 << 20; // from malloc

    void NewChunk()
    {
        if (m_nextChunk > kLargestChunk) {
            NewMappedChunk();
            return;
        }
        // Chunks grow so that a tiny document stays tiny and a large one
        // needs few of them; the tail of the previous chunk is abandoned
        // (less than kMaxSmall bytes per chunk).
        m_chunks.reserve(m_chunks.size() + 1);
        void* chunk = std::malloc(m_nextChunk);
        if (chunk == nullptr) {
            throw std::bad_alloc();
        }
        m_chunks.push_back(chunk);
        m_cursor = static_cast<char*>(chunk);
        m_end = m_cursor + m_nextChunk;
        m_nextChunk *= 2;
    }

    // A large tree takes its memory in mapped chunks (see MappedMemory.h).
    // Only the last chunk can be partly unused.
    void NewMappedChunk()
    {
        m_mappedChunks.reserve(m_mappedChunks.size() + 1);
        void* chunk = AcquireTreeChunk();
        m_mappedChunks.push_back(chunk);
        m_cursor = static_cast<char*>(chunk);
        m_end = m_cursor + kTreeChunkBytes;
    }

    FreeBlock* m_free[kMaxSmall / 16 + 1] = {};
    char* m_cursor = nullptr;
    char* m_end = nullptr;
    std::vector<void*> m_chunks;
    std::vector<void*> m_mappedChunks;
    size_t m_nextChunk = kFirstChunk;
    bool m_discarding = false;
};

} // namespace VxXmlLib16::detail
