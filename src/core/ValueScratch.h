// The variant and text buffer through which writing carries one property
// value after another. Internal to the library.
#pragma once

#include <optional>
#include <string>
#include <vxxml/ItemType.h>
#include <vxxml/VxVariant.h>

namespace VxXmlLib16::detail {

// Writing reads every simple property into a variant, formats it and hands
// the text on. A fresh variant and string per value cost a heap block each
// for strings, decimals and date-times (the accessor's copy and the
// formatted text). Each thread keeps one set instead: variants that keep
// their holders from value to value (one per family of kinds, since a
// scalar would push a kept holder out) and one text buffer.
//
// A lease hands them out for one value. Writing may be re-entered (an
// accessor may itself write another document), so a lease taken while the
// thread's set is in use gets a fresh variant and string of its own.
class CValueLease
{
public:
    // expected: the kind the property is declared with; another kind works
    // too, it only reuses less.
    explicit CValueLease(ItemType expected);
    ~CValueLease();
    CValueLease(const CValueLease&) = delete;
    CValueLease& operator=(const CValueLease&) = delete;

    // Invalid and not nil when the lease starts.
    VxVariant& Value() { return *m_pValue; }
    // Scratch for the value's text; its content is unspecified.
    std::wstring& Text() { return *m_pText; }

    struct CShared;

private:
    CShared* m_pShared = nullptr;
    VxVariant* m_pValue = nullptr;
    std::wstring* m_pText = nullptr;
    std::optional<VxVariant> m_ownValue;
    std::optional<std::wstring> m_ownText;
};

} // namespace VxXmlLib16::detail
