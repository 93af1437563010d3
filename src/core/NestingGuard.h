// A bound on how deeply reading and writing objects may recurse through
// nested elements. Internal to the library.
#pragma once

#include "base/Nesting.h"
#include "base/ThreadScratch.h"

namespace VxXmlLib16::detail {

// One guard per level of the object walks; the depth is the thread's.
class NestingGuard
{
public:
    NestingGuard() : m_depth(CThreadScratch::NestingDepth())
    {
        if (m_depth >= kMaxNestingDepth) {
            ThrowNestedTooDeeply();
        }
        ++m_depth;
    }
    ~NestingGuard() { --m_depth; }
    NestingGuard(const NestingGuard&) = delete;
    NestingGuard& operator=(const NestingGuard&) = delete;

private:
    int& m_depth;
};

} // namespace VxXmlLib16::detail
