// What a write keeps of the children merged into an element between writing
// their attributes and their content. Internal to the library.
#pragma once

#include "base/ThreadScratch.h"

#include <new>
#include <vxxml/VxVariant.h>

namespace VxXmlLib16::detail {

// A child merged into its parent's element is reached twice while the
// parent is written: for its attributes, which go on the parent's start
// tag, and for its content, which comes among the parent's children. Each
// time is an accessor call that takes a reference on the child and drops it
// again. Instead, the write of the element that receives the attributes
// keeps what the first read got, and the content takes it from there: one
// accessor call and one reference per merged child.
//
// A keeper lives on the stack of one element's write (the innermost write
// of this thread is the one asked); children are found by the member and
// the object that holds them. Anything not taken is dropped with the keeper.
class CMergedChildren
{
public:
    // An inactive keeper (for content merged into an element written
    // further out) leaves that element's keeper in charge.
    explicit CMergedChildren(bool active) noexcept
        : m_pOuter(active ? Top() : nullptr), m_bActive(active)
    {
        if (active) {
            CThreadScratch::MergedChildrenTop() = this;
        }
    }
    ~CMergedChildren()
    {
        if (m_bActive) {
            CThreadScratch::MergedChildrenTop() = m_pOuter;
            for (int i = 0; i < m_count; ++i) {
                Slot(i).~VxVariant();
            }
        }
    }
    CMergedChildren(const CMergedChildren&) = delete;
    CMergedChildren& operator=(const CMergedChildren&) = delete;

    // A variant to read the child of member in owner into, kept until the
    // element's write ends; null when no write is under way or its slots
    // are used up (the content then reads the child again).
    static VxVariant* Keep(const void* member, const void* owner) noexcept
    {
        CMergedChildren* keeper = Top();
        if (keeper == nullptr || keeper->m_count == kSlots) {
            return nullptr;
        }
        const int i = keeper->m_count++;
        keeper->m_keys[i][0] = member;
        keeper->m_keys[i][1] = owner;
        return new (keeper->m_storage[i]) VxVariant();
    }

    // What was kept for member in owner (it stays with the keeper until the
    // element's write ends), handed out once; null when nothing was kept.
    static const VxVariant* Take(const void* member, const void* owner) noexcept
    {
        CMergedChildren* keeper = Top();
        if (keeper == nullptr) {
            return nullptr;
        }
        for (int i = 0; i < keeper->m_count; ++i) {
            if (keeper->m_keys[i][0] == member && keeper->m_keys[i][1] == owner) {
                keeper->m_keys[i][0] = nullptr;
                return &keeper->Slot(i);
            }
        }
        return nullptr;
    }

private:
    static constexpr int kSlots = 4;
    VxVariant& Slot(int i) { return *std::launder(reinterpret_cast<VxVariant*>(m_storage[i])); }

    static CMergedChildren* Top() noexcept
    {
        return static_cast<CMergedChildren*>(CThreadScratch::MergedChildrenTop());
    }

    CMergedChildren* const m_pOuter;
    const bool m_bActive;
    int m_count = 0;
    const void* m_keys[kSlots][2];
    alignas(VxVariant) unsigned char m_storage[kSlots][sizeof(VxVariant)];
};

} // namespace VxXmlLib16::detail
