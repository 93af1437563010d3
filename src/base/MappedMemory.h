// Memory of whole documents taken straight from the kernel and, when a
// document is done with it, kept for the next one. Internal to the library.
//
// Two kinds, both kept process-wide and both given back at once by
// ReleaseSpareMappedMemory (which the public ReleaseCachedMemory calls):
// - large blocks: the bytes of a written document (below);
// - tree chunks: the 2 MiB pieces a large document tree is cut from.
#pragma once

#include <cstddef>

namespace VxXmlLib16::detail {

// --- Large blocks ---------------------------------------------------------
//
// A text stream's bytes grow by doubling to the size of the document. From
// the heap, every document then asks for (and touches) fresh pages: glibc
// hands arrays this large back to the kernel when they are freed, so each
// document of 10 MB paid about 2,800 page faults and the copies of its
// growth, up to half of the write. Large arrays therefore come from here:
//
// - a fresh block is mapped on a 2 MiB boundary with transparent huge pages
//   requested, so the kernel can fill it a huge page at a time;
// - a block grows by moving its pages into a larger mapping, not by copying
//   its bytes;
// - a released block (the document's CBinaryData is gone) is kept, one per
//   process and at most kLargestSpareBlock bytes, and the next document that
//   outgrows the heap starts in it, on pages already there.
//
// The kept block is the memory of one earlier document, the same order of
// memory malloc itself keeps after large frees.
struct CLargeBlock
{
    unsigned char* bytes = nullptr;
    size_t capacity = 0;
};

// Below this capacity arrays come from new[].
constexpr size_t kSmallestLargeBlock = size_t{1} << 20;
constexpr size_t kLargestSpareBlock = size_t{64} << 20;

// A block of at least minimum bytes: the kept one when it is large enough,
// else a fresh one. Throws std::bad_alloc when the kernel refuses.
CLargeBlock AcquireLargeBlock(size_t minimum);
// A block of at least minimum bytes whose first used bytes are those of
// block; block is gone afterwards. Throws std::bad_alloc (block unchanged).
CLargeBlock GrowLargeBlock(CLargeBlock block, size_t used, size_t minimum);
// Keeps the block for the next document, or unmaps it.
void ReleaseLargeBlock(CLargeBlock block) noexcept;

// --- Tree chunks ----------------------------------------------------------
//
// A large document tree takes its memory in chunks of kTreeChunkBytes whose
// pages the kernel fills in one go (MAP_POPULATE) instead of one page fault
// per 4 KiB page as the nodes are written. The chunks of finished trees are
// kept, up to kMaxSpareTreeChunks (64 MiB), for the next large document: a
// program that reads one large document after another then reuses the same
// memory instead of having the kernel clear fresh pages for every document;
// for a tree of tens of megabytes that clearing is a tenth of the read.
// (Marking the kept chunks MADV_FREE instead was measured: the kernel's
// bookkeeping on reuse cost as much as it saved.)
constexpr size_t kTreeChunkBytes = size_t{2} << 20;
constexpr size_t kMaxSpareTreeChunks = 32;

// A kept chunk, or a fresh one. Throws std::bad_alloc when the kernel refuses.
void* AcquireTreeChunk();
// Keeps the chunk for the next tree, or unmaps it. Never allocates.
void ReleaseTreeChunk(void* chunk) noexcept;

// Unmaps the kept block and every kept chunk.
void ReleaseSpareMappedMemory() noexcept;

} // namespace VxXmlLib16::detail
