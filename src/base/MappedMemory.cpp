#include "base/MappedMemory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <new>
#include <sys/mman.h>
#include <utility>
#include <vector>

namespace VxXmlLib16::detail {

namespace {

constexpr size_t kHugePage = size_t{2} << 20;

// Nothing here is destroyed at exit, so the CBinaryData of a static object
// may still give its block back then.
struct CSpare
{
    std::mutex lock;
    CLargeBlock block;
};
CSpare g_spare;

void Unmap(CLargeBlock block) noexcept
{
    if (block.bytes != nullptr) {
        ::munmap(block.bytes, block.capacity);
    }
}

size_t RoundToHugePages(size_t size)
{
    if (size > SIZE_MAX - kHugePage) {
        throw std::bad_alloc();
    }
    return (size + kHugePage - 1) & ~(kHugePage - 1);
}

// A fresh mapping of a whole number of huge pages that starts on a huge-page
// boundary: the kernel can only use huge pages for aligned ranges.
CLargeBlock MapAligned(size_t minimum)
{
    const size_t capacity = RoundToHugePages(std::max(minimum, kSmallestLargeBlock));
    const size_t span = capacity + kHugePage;
    void* mapped =
        ::mmap(nullptr, span, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped == MAP_FAILED) {
        throw std::bad_alloc();
    }
    const auto start = reinterpret_cast<uintptr_t>(mapped);
    const uintptr_t aligned = (start + kHugePage - 1) & ~uintptr_t{kHugePage - 1};
    if (aligned != start) {
        ::munmap(mapped, aligned - start);
    }
    const uintptr_t end = aligned + capacity;
    if (end != start + span) {
        ::munmap(reinterpret_cast<void*>(end), start + span - end);
    }
    auto* bytes = reinterpret_cast<unsigned char*>(aligned);
#if defined(MADV_HUGEPAGE)
    // Only advice: where the kernel declines, the block works the same.
    ::madvise(bytes, capacity, MADV_HUGEPAGE);
#endif
    return {bytes, capacity};
}

} // namespace

CLargeBlock AcquireLargeBlock(size_t minimum)
{
    {
        std::lock_guard guard(g_spare.lock);
        if (g_spare.block.capacity >= minimum) {
            return std::exchange(g_spare.block, CLargeBlock{});
        }
    }
    return MapAligned(minimum);
}

CLargeBlock GrowLargeBlock(CLargeBlock block, size_t used, size_t minimum)
{
    const size_t wanted = std::max(minimum, 2 * block.capacity);
    CLargeBlock grown = MapAligned(wanted);
#if defined(MREMAP_FIXED)
    // The old pages move to the start of the new mapping: no byte is copied,
    // and both ends being aligned, huge pages stay whole.
    if (::mremap(block.bytes, block.capacity, block.capacity, MREMAP_MAYMOVE | MREMAP_FIXED,
                 grown.bytes) == grown.bytes) {
        return grown;
    }
    // A move that failed may already have unmapped the start of the new
    // mapping (the old one stays whole): copy into another one instead.
    Unmap(grown);
    grown = MapAligned(wanted);
#endif
    std::memcpy(grown.bytes, block.bytes, used);
    Unmap(block);
    return grown;
}

void ReleaseLargeBlock(CLargeBlock block) noexcept
{
    if (block.bytes == nullptr) {
        return;
    }
    if (block.capacity <= kLargestSpareBlock) {
        // The larger of the two is kept: documents tend to repeat their size.
        std::lock_guard guard(g_spare.lock);
        if (block.capacity > g_spare.block.capacity) {
            std::swap(block, g_spare.block);
        }
    }
    Unmap(block);
}

namespace {

// Nothing here is destroyed at exit either; room for every chunk kept is
// reserved up front, so that keeping one never allocates.
struct CSpareChunks
{
    std::mutex lock;
    std::vector<void*> chunks;
    CSpareChunks() { chunks.reserve(kMaxSpareTreeChunks); }
};
CSpareChunks& SpareChunks()
{
    static auto* spare = new CSpareChunks;
    return *spare;
}

} // namespace

void* AcquireTreeChunk()
{
    {
        CSpareChunks& spare = SpareChunks();
        std::lock_guard guard(spare.lock);
        if (!spare.chunks.empty()) {
            void* chunk = spare.chunks.back();
            spare.chunks.pop_back();
            return chunk;
        }
    }
    void* chunk = ::mmap(nullptr, kTreeChunkBytes, PROT_READ | PROT_WRITE,
                         MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
    if (chunk == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return chunk;
}

void ReleaseTreeChunk(void* chunk) noexcept
{
    {
        CSpareChunks& spare = SpareChunks();
        std::lock_guard guard(spare.lock);
        if (spare.chunks.size() < kMaxSpareTreeChunks) {
            spare.chunks.push_back(chunk);
            return;
        }
    }
    ::munmap(chunk, kTreeChunkBytes);
}

void ReleaseSpareMappedMemory() noexcept
{
    CLargeBlock block;
    {
        std::lock_guard guard(g_spare.lock);
        block = std::exchange(g_spare.block, CLargeBlock{});
    }
    Unmap(block);
    CSpareChunks& spare = SpareChunks();
    std::lock_guard guard(spare.lock);
    for (void* chunk : spare.chunks) {
        ::munmap(chunk, kTreeChunkBytes);
    }
    spare.chunks.clear(); // keeps its capacity
}

} // namespace VxXmlLib16::detail
