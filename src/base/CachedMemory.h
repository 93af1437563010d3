// The process-wide caches that ReleaseCachedMemory empties besides the
// thread's scratch and the spare mapped memory. Internal to the library.
#pragma once

namespace VxXmlLib16::detail {

// A cache in a higher layer (the compiled patterns, say) registers how it is
// emptied, once, before it first keeps something; the base layer then
// empties it without knowing what it holds. At most a handful are
// registered; registering the same function again does nothing.
void RegisterCacheRelease(void (*release)() noexcept) noexcept;

} // namespace VxXmlLib16::detail
