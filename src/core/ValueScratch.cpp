#include "core/ValueScratch.h"

namespace VxXmlLib16::detail {
namespace {

// A buffer that grew beyond this for one huge value is given back.
constexpr size_t kLargestKeptText = 1 << 16;

enum Family { kString, kDecimal, kDateTime, kOther, kFamilies };

Family FamilyOf(ItemType type)
{
    switch (type) {
    case ItemType_string:
        return kString;
    case ItemType_decimal:
        return kDecimal;
    case ItemType_yearMonth:
    case ItemType_monthDay:
    case ItemType_date:
    case ItemType_datetime:
    case ItemType_time:
        return kDateTime;
    default:
        return kOther;
    }
}

} // namespace

struct CValueLease::CShared
{
    VxVariant values[kFamilies];
    std::wstring text;
    bool busy = false;
};

namespace {

// The thread's set, made on first use. The state itself is trivial, so
// reaching it costs one thread-local lookup and no initialisation check;
// the owner below exists only to free the set when the thread ends.
struct CThreadState
{
    CValueLease::CShared* shared;
    bool closed; // the thread is ending: leases use their own variant
};
constinit thread_local CThreadState t_state{nullptr, false};

struct CSharedOwner
{
    CValueLease::CShared* shared = nullptr;
    ~CSharedOwner()
    {
        t_state.shared = nullptr;
        t_state.closed = true;
        delete shared;
    }
};

CValueLease::CShared* MakeShared()
{
    thread_local CSharedOwner owner;
    owner.shared = new CValueLease::CShared;
    t_state.shared = owner.shared;
    return owner.shared;
}

} // namespace

CValueLease::CValueLease(ItemType expected)
{
    CThreadState& state = t_state;
    CShared* shared = state.shared;
    if (shared == nullptr && !state.closed) {
        shared = MakeShared();
    }
    if (shared != nullptr && !shared->busy) {
        shared->busy = true;
        m_pShared = shared;
        m_pValue = &shared->values[FamilyOf(expected)];
        m_pText = &shared->text;
    } else {
        m_pValue = &m_ownValue.emplace();
        m_pText = &m_ownText.emplace();
    }
}

CValueLease::~CValueLease()
{
    if (m_pShared == nullptr) {
        return; // the own variant and string go with the lease
    }
    m_pValue->SetInvalidKeepingStorage();
    if (m_pText->capacity() > kLargestKeptText) {
        *m_pText = std::wstring();
    }
    m_pShared->busy = false;
}

} // namespace VxXmlLib16::detail
