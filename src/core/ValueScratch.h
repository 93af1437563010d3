// The variant and text buffer through which writing carries one property
// value after another. Internal to the library.
#pragma once

#include "base/ThreadScratch.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vxxml/ItemType.h>
#include <vxxml/VxVariant.h>

namespace VxXmlLib16::detail {

// Writing reads every simple property into a variant, formats it and hands
// the text on. A fresh variant and string per value cost a heap block each
// for strings, decimals and date-times (the accessor's copy and the
// formatted text). Each thread keeps one set instead, in its scratch slot
// ValueLease: variants that keep their holders from value to value (one per
// family of kinds, since a scalar would push a kept holder out) and one text
// buffer.
//
// A lease hands them out for one value. Writing may be re-entered (an
// accessor may itself write another document), so a lease taken while the
// thread's set is in use gets a fresh variant and string of its own.
class CValueLease
{
public:
    // expected: the kind the property is declared with; another kind works
    // too, it only reuses less.
    explicit CValueLease(ItemType expected)
    {
        CThreadScratch::CSlot& slot = CThreadScratch::Slot(ScratchSlot::ValueLease);
        if (slot.object != nullptr && slot.users == 0) [[likely]] {
            slot.users = 1;
            auto* shared = static_cast<CShared*>(slot.object);
            m_pSlot = &slot;
            m_pValue = &shared->values[FamilyOf(expected)];
            m_pText = &shared->text;
        } else {
            Begin(expected);
        }
    }
    ~CValueLease()
    {
        if (m_pSlot != nullptr) [[likely]] {
            m_pValue->SetInvalidKeepingStorage();
            if (m_pText->capacity() > kLargestKeptText) [[unlikely]] {
                DropText();
            }
            m_pSlot->users = 0;
        }
    }
    CValueLease(const CValueLease&) = delete;
    CValueLease& operator=(const CValueLease&) = delete;

    // Invalid and not nil when the lease starts.
    VxVariant& Value() { return *m_pValue; }
    // Scratch for the value's text; its content is unspecified.
    std::wstring& Text() { return *m_pText; }

private:
    enum Family { kString, kDecimal, kDateTime, kOther, kFamilies };
    struct CShared
    {
        VxVariant values[kFamilies];
        std::wstring text;
    };

    static Family FamilyOf(ItemType type)
    {
        // One load instead of a jump through a table of cases.
        static constexpr auto kTable = [] {
            std::array<uint8_t, ItemType_XmlCollection + 1> table{};
            for (auto& family : table) {
                family = kOther;
            }
            table[ItemType_string] = kString;
            table[ItemType_decimal] = kDecimal;
            for (ItemType t : {ItemType_yearMonth, ItemType_monthDay, ItemType_date,
                               ItemType_datetime, ItemType_time}) {
                table[t] = kDateTime;
            }
            return table;
        }();
        const auto index = static_cast<uint32_t>(type);
        return index < kTable.size() ? static_cast<Family>(kTable[index]) : kOther;
    }
    // The slow paths: the thread's first lease, a nested one, and one while
    // the thread ends.
    void Begin(ItemType expected);
    // Gives back what the text buffer grew to for one huge value.
    void DropText() noexcept;
    static constexpr size_t kLargestKeptText = 1 << 16;

    CThreadScratch::CSlot* m_pSlot = nullptr;
    VxVariant* m_pValue = nullptr;
    std::wstring* m_pText = nullptr;
    // A nested lease's own pair: one pointer to test when a lease ends.
    struct COwn
    {
        VxVariant value;
        std::wstring text;
    };
    std::unique_ptr<COwn> m_pOwn;
};

} // namespace VxXmlLib16::detail
