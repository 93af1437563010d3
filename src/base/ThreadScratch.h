// What each thread keeps between calls to save time, in one place. Internal
// to the library.
//
// Lifetime. Each thread has one block of state. An object in it is made on
// the thread's first use of its slot, is reused by every later use on that
// thread, and is destroyed when the thread ends or when ReleaseCachedMemory
// runs on that thread while the object is not in use. No object is ever
// shared between threads, so none needs a lock. While a thread is ending
// (its thread-local destructors run in no fixed order), slots can no longer
// be filled: Get answers null and callers use an object of their own.
//
// The slots, and who uses them:
// - ValueLease: the variants and text buffer through which writing carries
//   one property value after another (core/ValueScratch.h);
// - StringHolders, DecimalHolders, DateTimeHolders: the value holders that
//   variants give back, kept for the next variant of the same kind
//   (types/VxVariant.cpp);
// - PatternMatch: PCRE2's match data, scratch of one match at a time
//   (core/XsdPattern.cpp);
// - ElementText: the text of the simple element being read
//   (core/ElementInfo.cpp).
// Besides the slots, the block holds per-thread state that is not memory:
// the nesting depth of reading and writing (core/NestingGuard.h) and the
// innermost keeper of merged children (core/MergedChildren.h).
#pragma once

#include <cstdint>
#include <vxxml/Export.h>

// A thread-local in a shared library is normally reached through a call to
// __tls_get_addr. The initial-exec model makes it one load at a fixed
// offset from the thread pointer. Its bytes come from the static TLS block,
// where the loader keeps spare room even for a library opened with dlopen;
// the block below is small and read per value, so it qualifies.
#if defined(__GNUC__)
#define VXXML_TLS_INITIAL_EXEC __attribute__((tls_model("initial-exec")))
#else
#define VXXML_TLS_INITIAL_EXEC
#endif

namespace VxXmlLib16::detail {

enum class ScratchSlot : unsigned {
    ValueLease,
    StringHolders,
    DecimalHolders,
    DateTimeHolders,
    PatternMatch,
    ElementText,
    Count
};

class VXXML_API CThreadScratch
{
public:
    struct CSlot
    {
        void* object;
        void (*destroy)(void*) noexcept;
        // Uses under way; ReleaseCachedMemory leaves an object in use alone.
        uint32_t users;
    };

    // The slot's object, made with new T() on the thread's first use; null
    // while the thread is ending. Throws what new T() throws.
    template <class T> static T* Get(ScratchSlot which)
    {
        CSlot& slot = Slot(which);
        if (slot.object != nullptr) [[likely]] {
            return static_cast<T*>(slot.object);
        }
        if (t_state.ending) {
            return nullptr;
        }
        T* object = new T();
        Install(slot, object, [](void* p) noexcept { delete static_cast<T*>(p); });
        return object;
    }

    // The raw slot, for callers that count their own uses on the hot path.
    static CSlot& Slot(ScratchSlot which) { return t_state.slots[static_cast<unsigned>(which)]; }

    // Per-thread state that is not memory.
    static int& NestingDepth() { return t_state.nestingDepth; }
    static void*& MergedChildrenTop() { return t_state.mergedChildrenTop; }

    // Destroys the calling thread's objects that are not in use.
    static void ReleaseUnused() noexcept;

private:
    struct CState
    {
        CSlot slots[static_cast<unsigned>(ScratchSlot::Count)];
        int nestingDepth;
        void* mergedChildrenTop;
        bool ending; // the thread's destructors are running
        bool armed;  // the destructor that empties the slots is registered
    };
    // Plain data, so that reaching it is one thread-local load with no
    // initialisation check.
    static __thread CState t_state VXXML_TLS_INITIAL_EXEC;

    static void Install(CSlot& slot, void* object, void (*destroy)(void*) noexcept) noexcept;
};

// Marks a slot's object in use for one scope: ReleaseCachedMemory, called
// from code this scope calls out to (an accessor, say), leaves it alone.
// Uses may nest.
template <class T> class CScratchUse
{
public:
    explicit CScratchUse(ScratchSlot which) : m_pObject(CThreadScratch::Get<T>(which))
    {
        if (m_pObject != nullptr) {
            m_pSlot = &CThreadScratch::Slot(which);
            ++m_pSlot->users;
        }
    }
    ~CScratchUse()
    {
        if (m_pSlot != nullptr) {
            --m_pSlot->users;
        }
    }
    CScratchUse(const CScratchUse&) = delete;
    CScratchUse& operator=(const CScratchUse&) = delete;

    // Null while the thread is ending.
    T* Get() const { return m_pObject; }

private:
    T* m_pObject;
    CThreadScratch::CSlot* m_pSlot = nullptr;
};

} // namespace VxXmlLib16::detail
