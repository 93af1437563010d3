#include "core/ValueScratch.h"

#include "core/MergedChildren.h"

namespace VxXmlLib16::detail {

__thread CMergedChildren* CMergedChildren::t_top VXXML_TLS_INITIAL_EXEC = nullptr;
__thread CValueLease::CThreadState CValueLease::t_state VXXML_TLS_INITIAL_EXEC = {nullptr, false};

void CValueLease::Begin(ItemType expected)
{
    // Frees the thread's set when the thread ends; later leases of that
    // thread (from other thread-local destructors) use their own variant.
    struct COwner
    {
        CShared* shared = nullptr;
        ~COwner()
        {
            t_state.shared = nullptr;
            t_state.closed = true;
            delete shared;
        }
    };
    if (t_state.shared == nullptr && !t_state.closed) {
        thread_local COwner owner;
        owner.shared = new CShared;
        t_state.shared = owner.shared;
    }
    CShared* shared = t_state.shared;
    if (shared != nullptr && !shared->busy) {
        shared->busy = true;
        m_pShared = shared;
        m_pValue = &shared->values[FamilyOf(expected)];
        m_pText = &shared->text;
        return;
    }
    m_pOwn = std::make_unique<COwn>();
    m_pValue = &m_pOwn->value;
    m_pText = &m_pOwn->text;
}

void CValueLease::DropText() noexcept
{
    *m_pText = std::wstring();
}

} // namespace VxXmlLib16::detail
