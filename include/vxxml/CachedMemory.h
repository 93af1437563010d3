// The memory vxxml keeps between calls to save time, and how to give it back.
#pragma once

#include <vxxml/Export.h>

namespace VxXmlLib16 {

// Gives back at once what the library keeps for reuse:
// - process-wide: the byte block of the last large document written (up to
//   64 MiB), the 2 MiB chunks of large document trees read (up to 64 MiB),
//   and the compiled xs:pattern facets (up to 256 patterns);
// - for the calling thread: the variants, value holders and text buffers
//   through which values are written and read, and PCRE2's match data.
// Other threads keep their own scratch until they end or call this
// themselves. What is in use at the time of the call (by a write or read
// under way on this thread) stays. Safe to call at any time from any thread;
// the library works the same afterwards and simply refills what it needs.
VXXML_API void ReleaseCachedMemory();

} // namespace VxXmlLib16
