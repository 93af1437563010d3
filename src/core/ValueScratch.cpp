#include "core/ValueScratch.h"

namespace VxXmlLib16::detail {

void CValueLease::Begin(ItemType expected)
{
    if (auto* shared = CThreadScratch::Get<CShared>(ScratchSlot::ValueLease)) {
        CThreadScratch::CSlot& slot = CThreadScratch::Slot(ScratchSlot::ValueLease);
        if (slot.users == 0) {
            slot.users = 1;
            m_pSlot = &slot;
            m_pValue = &shared->values[FamilyOf(expected)];
            m_pText = &shared->text;
            return;
        }
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
