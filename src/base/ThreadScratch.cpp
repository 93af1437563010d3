#include "base/ThreadScratch.h"

#include <utility>

namespace VxXmlLib16::detail {

__thread CThreadScratch::CState CThreadScratch::t_state VXXML_TLS_INITIAL_EXEC = {};

namespace {

// Empties the thread's slots when the thread ends. Its own destructor runs
// among the other thread-local destructors; from then on the slots stay
// empty.
struct CThreadEnd
{
    void (*onEnd)() noexcept = nullptr;
    ~CThreadEnd()
    {
        if (onEnd != nullptr) {
            onEnd();
        }
    }
};

} // namespace

void CThreadScratch::Install(CSlot& slot, void* object, void (*destroy)(void*) noexcept) noexcept
{
    if (!t_state.armed) {
        thread_local CThreadEnd end;
        end.onEnd = []() noexcept {
            t_state.ending = true;
            for (CSlot& s : t_state.slots) {
                if (s.object != nullptr) {
                    s.destroy(std::exchange(s.object, nullptr));
                }
            }
        };
        t_state.armed = true;
    }
    slot.object = object;
    slot.destroy = destroy;
    slot.users = 0;
}

void CThreadScratch::ReleaseUnused() noexcept
{
    for (CSlot& slot : t_state.slots) {
        if (slot.object != nullptr && slot.users == 0) {
            slot.destroy(std::exchange(slot.object, nullptr));
        }
    }
}

} // namespace VxXmlLib16::detail
