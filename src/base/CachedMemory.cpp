#include "base/CachedMemory.h"

#include "base/MappedMemory.h"
#include "base/ThreadScratch.h"

#include <atomic>
#include <cassert>
#include <vxxml/CachedMemory.h>

namespace VxXmlLib16 {

namespace detail {
namespace {
constexpr int kMaxCaches = 4;
std::atomic<void (*)() noexcept> g_releases[kMaxCaches];
} // namespace

void RegisterCacheRelease(void (*release)() noexcept) noexcept
{
    for (auto& slot : g_releases) {
        void (*expected)() noexcept = nullptr;
        if (slot.compare_exchange_strong(expected, release) || expected == release) {
            return;
        }
    }
    assert(false && "more caches than kMaxCaches");
}
} // namespace detail

void ReleaseCachedMemory()
{
    detail::CThreadScratch::ReleaseUnused();
    detail::ReleaseSpareMappedMemory();
    for (auto& slot : detail::g_releases) {
        if (auto release = slot.load()) {
            release();
        }
    }
}

} // namespace VxXmlLib16
