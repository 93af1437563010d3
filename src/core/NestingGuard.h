// A bound on how deeply reading and writing may recurse through nested
// elements.
#pragma once

#include "base/ThreadScratch.h"

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

    NestingGuard() : m_depth(CThreadScratch::NestingDepth())
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
    int& m_depth;
};

} // namespace VxXmlLib16::detail
