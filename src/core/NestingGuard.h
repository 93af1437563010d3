// A bound on how deeply reading and writing may recurse through nested
// elements.
#pragma once

#include "core/ThreadLocal.h"

#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

namespace VxXmlLib16::detail {

// Reading and writing walk nested elements recursively, one set of stack
// frames per level. The document tree itself has no depth limit, so without
// this bound a hostile document (or a deliberately deep object chain) would
// overflow the stack instead of failing with an exception. Real documents
// stay far below the limit; the limit leaves room for the larger frames of
// sanitizer builds on an 8 MiB stack.
class NestingGuard
{
public:
    static constexpr int kMaxDepth = 1000;

    NestingGuard() : m_depth(Depth())
    {
        if (++m_depth > kMaxDepth) {
            --m_depth;
            throw CVxException(FormatString(
                L"The elements are nested more than %d levels deep; reading or writing them would "
                L"exhaust the stack",
                kMaxDepth));
        }
    }
    ~NestingGuard() { --m_depth; }
    NestingGuard(const NestingGuard&) = delete;
    NestingGuard& operator=(const NestingGuard&) = delete;

private:
    // Fetched once per level, and with initial-exec without a call.
    static int& Depth()
    {
        thread_local int depth VXXML_TLS_INITIAL_EXEC = 0;
        return depth;
    }

    int& m_depth;
};

} // namespace VxXmlLib16::detail
