#include "base/ThreadScratch.h"

#include <cassert>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>
#include <vxxml/BigInteger.h>
#include <vxxml/BinaryData.h>
#include <vxxml/Conversions.h>
#include <vxxml/DateTime.h>
#include <vxxml/DateTimeSpan.h>
#include <vxxml/Decimal.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/VxVariant.h>
// The one include above this layer: a variant of the object kinds holds a
// counted reference to a bound object, and the count (AddRef/Release) is the
// object base's. Nothing else of the binding core is used here.
#include <vxxml/XmlObjectBase.h>

namespace VxXmlLib16 {
namespace {

using detail::CThreadScratch;
using detail::ScratchSlot;

// GetType() names, indexed by ItemType; null where the kind has no name.
constexpr const wchar_t* kTypeNames[] = {
    nullptr,    L"hexBinary", L"base64Binary", L"i1",       L"i2",   L"i4",
    L"i8",      L"ui1",       L"ui2",          L"ui4",      L"ui8",  L"r4",
    L"r8",      L"duration",  L"yearMonth",    L"monthDay", L"year", L"month",
    L"day",     L"date",      L"datetime",     L"time",     L"char", L"string",
    L"boolean", L"decimal",   L"integer",      nullptr,     nullptr,
};
static_assert(std::size(kTypeNames) == ItemType_XmlCollection + 1);

// Bytes of the value slot that each scalar kind occupies (0: not a scalar).
size_t ScalarWidth(ItemType type)
{
    switch (type) {
    case ItemType_i1:
    case ItemType_ui1:
    case ItemType_month:
    case ItemType_day:
    case ItemType_boolean:
        return 1;
    case ItemType_i2:
    case ItemType_ui2:
    case ItemType_year:
        return 2;
    case ItemType_char:
        return sizeof(wchar_t);
    case ItemType_i4:
    case ItemType_ui4:
    case ItemType_r4:
        return 4;
    case ItemType_i8:
    case ItemType_ui8:
    case ItemType_r8:
        return 8;
    default:
        return 0;
    }
}

[[noreturn]] void ThrowWrongKind(ItemType held, const wchar_t* wanted)
{
    throw CVxInvalidStateException(
        FormatString(L"The variant holds type %d, not a %s value", static_cast<int>(held), wanted));
}

// Every property read or written through a variant makes and drops one heap
// object for the heap kinds. Each thread keeps a few dropped holders of the
// commonest kinds (strings, decimals, date-times) for its next values: that
// saves an allocation and a free per value, and a reused CDecimal keeps its
// digit buffers, so copying a value into it usually allocates nothing.
// Only small holders are kept, so a thread never sits on much memory.
bool IsSmall(const std::wstring& text) noexcept
{
    return text.capacity() <= 256;
}
bool IsSmall(const CDecimal& value) noexcept
{
    // The divider bounds the fraction's digits without counting them.
    return value.GetIntegerDigitCount() <= 40 && value.GetFractionDivider() <= 40;
}
bool IsSmall(const CDateTime&) noexcept
{
    return true;
}

template <class T> constexpr ScratchSlot kShelfSlot = ScratchSlot::StringHolders;
template <> constexpr ScratchSlot kShelfSlot<CDecimal> = ScratchSlot::DecimalHolders;
template <> constexpr ScratchSlot kShelfSlot<CDateTime> = ScratchSlot::DateTimeHolders;

// The thread's few spare holders of one kind, in its scratch slot.
template <class T> class CShelf
{
public:
    // A spare holder (its content is unspecified), or null.
    static T* Take() noexcept
    {
        auto* store = static_cast<CStore*>(CThreadScratch::Slot(kShelfSlot<T>).object);
        return store != nullptr && store->count > 0 ? store->items[--store->count] : nullptr;
    }

    static void Drop(T* item) noexcept
    {
        if (item == nullptr) {
            return;
        }
        if (IsSmall(*item)) {
            CStore* store = Store();
            if (store != nullptr && store->count < kCapacity) {
                store->items[store->count++] = item;
                return;
            }
        }
        delete item;
    }

    // A holder with a copy of value (or value moved in).
    template <class V> static T* Make(V&& value)
    {
        T* item = Take();
        if (item == nullptr) {
            return new T(std::forward<V>(value));
        }
        try {
            *item = std::forward<V>(value);
        } catch (...) {
            delete item;
            throw;
        }
        return item;
    }

private:
    static constexpr size_t kCapacity = 4;
    struct CStore
    {
        T* items[kCapacity] = {};
        size_t count = 0;
        CStore() = default;
        CStore(const CStore&) = delete;
        CStore& operator=(const CStore&) = delete;
        ~CStore()
        {
            while (count > 0) {
                delete items[--count];
            }
        }
    };
    // Null while the thread ends (the holder is then simply deleted), and
    // when there is no memory for the store itself.
    static CStore* Store() noexcept
    {
        try {
            return CThreadScratch::Get<CStore>(kShelfSlot<T>);
        } catch (const std::bad_alloc&) {
            return nullptr;
        }
    }
};

// Whether a value of type lives in a holder the variant owns (or, for the
// object kinds, a reference it holds).
bool HoldsPointer(ItemType type) noexcept
{
    constexpr uint32_t kPointerKinds =
        1u << ItemType_hexBinary | 1u << ItemType_base64Binary | 1u << ItemType_duration |
        1u << ItemType_yearMonth | 1u << ItemType_monthDay | 1u << ItemType_date |
        1u << ItemType_datetime | 1u << ItemType_time | 1u << ItemType_string |
        1u << ItemType_decimal | 1u << ItemType_integer | 1u << ItemType_XmlObjectBase |
        1u << ItemType_XmlCollection;
    const auto index = static_cast<uint32_t>(type);
    return index >= 32 || ((kPointerKinds >> index) & 1) != 0;
}

// The families of holders that a variant may keep for its next value
// (SetInvalidKeepingStorage); 0 is none.
enum : uint8_t { kSpareNone = 0, kSpareString = 1, kSpareDecimal = 2, kSpareDateTime = 3 };

// A holder that is refilled with a copy of value (or value moved in); a
// null one is taken from the shelf.
template <class T, class V> T* Refill(T* holder, V&& value)
{
    if (holder == nullptr) {
        return CShelf<T>::Make(std::forward<V>(value));
    }
    try {
        *holder = std::forward<V>(value);
    } catch (...) {
        delete holder;
        throw;
    }
    return holder;
}

// Digits written backwards into a small array, then copied once: integers
// never need more than 20 digits and a sign.
template <class T> const std::wstring& AssignInteger(std::wstring& buffer, T value)
{
    using U = std::make_unsigned_t<T>;
    wchar_t digits[24];
    wchar_t* const end = digits + 24;
    wchar_t* p = end;
    const bool negative = value < 0;
    U magnitude = negative ? static_cast<U>(U(0) - static_cast<U>(value)) : static_cast<U>(value);
    do {
        *--p = static_cast<wchar_t>(L'0' + static_cast<unsigned>(magnitude % 10));
        magnitude = static_cast<U>(magnitude / 10);
    } while (magnitude != 0);
    if (negative) {
        *--p = L'-';
    }
    // Emptied and appended to: assign's general replace (which allows the
    // source to lie inside the string) costs about twice as much.
    buffer.clear();
    buffer.append(p, static_cast<size_t>(end - p));
    return buffer;
}

// The calendar kind each date-time item kind is written as.
DateTimeType CalendarKindOf(ItemType type)
{
    switch (type) {
    case ItemType_date:
        return dt_date;
    case ItemType_time:
        return dt_time;
    case ItemType_yearMonth:
        return dt_gYearMonth;
    case ItemType_monthDay:
        return dt_gMonthDay;
    default:
        return dt_dateTime;
    }
}

} // namespace

// A heap-kind getter on the wrong kind (or a nil value) would follow a
// pointer that is not there: debug builds stop at the assertion, release
// builds throw instead.
#define VXXML_REQUIRE_HEAP(condition, text, wanted)                                                \
    do {                                                                                           \
        assert((condition) && text);                                                               \
        if (!(condition)) {                                                                        \
            ThrowWrongKind(m_type, wanted);                                                        \
        }                                                                                          \
    } while (0)

VxVariant::VxVariant() noexcept : m_bNil(false), m_type(ItemType_Invalid), m_raw(0) {}

VxVariant::VxVariant(const VxVariant& other) : VxVariant()
{
    *this = other;
}

VxVariant::VxVariant(VxVariant&& other) noexcept
    : m_bNil(other.m_bNil), m_spare(other.m_spare), m_type(other.m_type), m_raw(other.m_raw)
{
    other.m_bNil = false;
    other.m_spare = kSpareNone;
    other.m_type = ItemType_Invalid;
    other.m_raw = 0;
}

VxVariant::~VxVariant()
{
    Clear();
    if (m_spare != kSpareNone) {
        DropSpare();
    }
}

VxVariant& VxVariant::operator=(VxVariant&& other) noexcept
{
    if (this != &other) {
        Clear();
        if (m_spare != kSpareNone) {
            DropSpare();
        }
        m_bNil = other.m_bNil;
        m_spare = other.m_spare;
        m_type = other.m_type;
        m_raw = other.m_raw;
        other.m_bNil = false;
        other.m_spare = kSpareNone;
        other.m_type = ItemType_Invalid;
        other.m_raw = 0;
    }
    return *this;
}

VxVariant& VxVariant::operator=(const VxVariant& other)
{
    if (this == &other) {
        return *this;
    }
    if (static_cast<uint32_t>(other.m_type) > ItemType_XmlCollection) {
        throw CVxException(L"Unknown Type");
    }
    // Everything is taken from the source before anything is released:
    // a failed allocation then leaves the target as it was, and releasing the
    // target's object cannot pull the source away underneath.
    const ItemType type = other.m_type;
    const bool nil = other.m_bNil;
    const uint64_t raw = other.m_raw;
    void* copy = nullptr;
    if (!nil) {
        switch (type) {
        case ItemType_hexBinary:
        case ItemType_base64Binary:
            copy = other.m_pBinaryData ? new CBinaryData(*other.m_pBinaryData) : nullptr;
            break;
        case ItemType_duration:
            copy = other.m_pDateTimeSpan ? new CDateTimeSpan(*other.m_pDateTimeSpan) : nullptr;
            break;
        case ItemType_yearMonth:
        case ItemType_monthDay:
        case ItemType_date:
        case ItemType_datetime:
        case ItemType_time:
            copy = other.m_pDateTime ? CShelf<CDateTime>::Make(*other.m_pDateTime) : nullptr;
            break;
        case ItemType_string:
            copy = other.m_pString ? CShelf<std::wstring>::Make(*other.m_pString) : nullptr;
            break;
        case ItemType_decimal:
            copy = other.m_pDecimal ? CShelf<CDecimal>::Make(*other.m_pDecimal) : nullptr;
            break;
        case ItemType_integer:
            copy = other.m_pBigInteger ? new CBigInteger(*other.m_pBigInteger) : nullptr;
            break;
        case ItemType_XmlObjectBase:
        case ItemType_XmlCollection:
            if (other.m_pXmlObject) {
                other.m_pXmlObject->AddRef();
            }
            copy = other.m_pXmlObject;
            break;
        default:
            break;
        }
    }
    Clear();
    if (m_spare != kSpareNone) {
        DropSpare();
    }
    m_bNil = nil;
    if (nil) {
        // A nil copy carries the kind but no value: a heap kind's slot must
        // hold no pointer for Clear to release later.
        if (ScalarWidth(type) == 0) {
            m_raw = 0;
        }
        m_type = type;
        return *this;
    }
    if (const size_t width = ScalarWidth(type)) {
        m_type = type;
        std::memcpy(&m_raw, &raw, width);
    } else if (type != ItemType_Invalid) {
        // Still invalid here, so the slot's old bits (a scalar's, say) are
        // not taken for a holder to release.
        StorePointer(type, copy);
    }
    return *this;
}

void VxVariant::Clear()
{
    if (m_type == ItemType_Invalid) {
        return; // the nil flag stays: an invalid nil variant remains nil
    }
    m_bNil = false;
    switch (m_type) {
    case ItemType_hexBinary:
    case ItemType_base64Binary:
        delete m_pBinaryData;
        m_pBinaryData = nullptr;
        break;
    case ItemType_duration:
        delete m_pDateTimeSpan;
        m_pDateTimeSpan = nullptr;
        break;
    case ItemType_yearMonth:
    case ItemType_monthDay:
    case ItemType_date:
    case ItemType_datetime:
    case ItemType_time:
        CShelf<CDateTime>::Drop(m_pDateTime);
        m_pDateTime = nullptr;
        break;
    case ItemType_string:
        CShelf<std::wstring>::Drop(m_pString);
        m_pString = nullptr;
        break;
    case ItemType_decimal:
        CShelf<CDecimal>::Drop(m_pDecimal);
        m_pDecimal = nullptr;
        break;
    case ItemType_integer:
        delete m_pBigInteger;
        m_pBigInteger = nullptr;
        break;
    case ItemType_XmlObjectBase:
    case ItemType_XmlCollection:
        if (m_pXmlObject) {
            m_pXmlObject->Release();
        }
        m_pXmlObject = nullptr;
        break;
    default:
        break; // scalars keep their bits
    }
    m_type = ItemType_Invalid;
}

void VxVariant::SetInvalid()
{
    Clear();
    m_type = ItemType_Invalid;
}

void VxVariant::SetInvalidKeepingStorage() noexcept
{
    // Called once per value written. The common cases (a scalar, a small
    // string, a date-time) end here without a call, so they cost no stack
    // frame; the rest are left to SetInvalidSlow.
    const bool wasNil = m_bNil;
    m_bNil = false;
    if (!wasNil && m_raw != 0) {
        switch (m_type) {
        case ItemType_string:
            if (IsSmall(*m_pString)) {
                // The holder stays in the slot; only the kind says it holds no value.
                m_type = ItemType_Invalid;
                m_spare = kSpareString;
                return;
            }
            break;
        case ItemType_yearMonth:
        case ItemType_monthDay:
        case ItemType_date:
        case ItemType_datetime:
        case ItemType_time:
            m_type = ItemType_Invalid;
            m_spare = kSpareDateTime;
            return;
        default:
            break;
        }
    }
    if (!HoldsPointer(m_type)) {
        m_type = ItemType_Invalid; // what Clear does to a scalar: its bits stay
        return;
    }
    SetInvalidSlow(wasNil);
}

[[gnu::noinline]] void VxVariant::SetInvalidSlow(bool wasNil) noexcept
{
    if (!wasNil && m_raw != 0 && m_type == ItemType_decimal && IsSmall(*m_pDecimal)) {
        m_type = ItemType_Invalid;
        m_spare = kSpareDecimal;
        return;
    }
    Clear(); // the nil flag is already down, as Clear leaves it
}

void* VxVariant::TakeSpare(uint8_t family) noexcept
{
    if (m_spare != family) {
        if (m_spare != kSpareNone) {
            DropSpare();
        }
        return nullptr;
    }
    m_spare = kSpareNone;
    void* holder = m_pString; // every holder pointer shares the slot
    m_raw = 0;
    return holder;
}

void VxVariant::DropSpare() noexcept
{
    switch (m_spare) {
    case kSpareString:
        CShelf<std::wstring>::Drop(m_pString);
        break;
    case kSpareDecimal:
        CShelf<CDecimal>::Drop(m_pDecimal);
        break;
    case kSpareDateTime:
        CShelf<CDateTime>::Drop(m_pDateTime);
        break;
    default:
        return;
    }
    m_spare = kSpareNone;
    m_raw = 0;
}

void VxVariant::SetNil()
{
    const ItemType type = m_type;
    Clear();
    m_type = type;
    m_bNil = true;
}

std::wstring VxVariant::GetType() const
{
    const auto index = static_cast<uint32_t>(m_type);
    if (index >= std::size(kTypeNames) || kTypeNames[index] == nullptr) {
        throw CVxException(FormatString(L"Invalid Type %d", static_cast<int>(m_type)));
    }
    return kTypeNames[index];
}

// ---------------------------------------------------------------------------
// Storage helpers

template <class T> void VxVariant::StoreScalar(ItemType type, T value) noexcept
{
    Clear();
    if (m_spare != kSpareNone) {
        DropSpare();
    }
    m_type = type;
    std::memcpy(&m_raw, &value, sizeof value);
}

template <class T> T VxVariant::LoadScalar() const noexcept
{
    T value;
    std::memcpy(&value, &m_raw, sizeof value);
    return value;
}

// Takes ownership of (or, for the object kinds, the reference already taken
// on) `value`. Callers allocate before calling, so Clear cannot run on a
// half-made value.
void VxVariant::StorePointer(ItemType type, void* value) noexcept
{
    Clear();
    if (m_spare != kSpareNone) {
        DropSpare();
    }
    m_type = type;
    switch (type) {
    case ItemType_hexBinary:
    case ItemType_base64Binary:
        m_pBinaryData = static_cast<CBinaryData*>(value);
        break;
    case ItemType_duration:
        m_pDateTimeSpan = static_cast<CDateTimeSpan*>(value);
        break;
    case ItemType_string:
        m_pString = static_cast<std::wstring*>(value);
        break;
    case ItemType_decimal:
        m_pDecimal = static_cast<CDecimal*>(value);
        break;
    case ItemType_integer:
        m_pBigInteger = static_cast<CBigInteger*>(value);
        break;
    case ItemType_XmlObjectBase:
    case ItemType_XmlCollection:
        m_pXmlObject = static_cast<CXmlObjectBase*>(value);
        break;
    case ItemType_yearMonth:
    case ItemType_monthDay:
    case ItemType_date:
    case ItemType_datetime:
    case ItemType_time:
        m_pDateTime = static_cast<CDateTime*>(value);
        break;
    default:
        assert(false && "StorePointer with a scalar kind");
        break;
    }
}

// ---------------------------------------------------------------------------
// Setters

void VxVariant::SetHexBinary(const CBinaryData& value)
{
    StorePointer(ItemType_hexBinary, new CBinaryData(value));
}

void VxVariant::SetBase64Binary(const CBinaryData& value)
{
    StorePointer(ItemType_base64Binary, new CBinaryData(value));
}

void VxVariant::SetI1(int8_t value)
{
    StoreScalar(ItemType_i1, value);
}

void VxVariant::SetI2(int16_t value)
{
    StoreScalar(ItemType_i2, value);
}

void VxVariant::SetI4(int32_t value)
{
    StoreScalar(ItemType_i4, value);
}

void VxVariant::SetI8(int64_t value)
{
    StoreScalar(ItemType_i8, value);
}

void VxVariant::SetUI1(uint8_t value)
{
    StoreScalar(ItemType_ui1, value);
}

void VxVariant::SetUI2(uint16_t value)
{
    StoreScalar(ItemType_ui2, value);
}

void VxVariant::SetUI4(uint32_t value)
{
    StoreScalar(ItemType_ui4, value);
}

void VxVariant::SetUI8(uint64_t value)
{
    StoreScalar(ItemType_ui8, value);
}

void VxVariant::SetR4(float value)
{
    StoreScalar(ItemType_r4, value);
}

void VxVariant::SetR8(double value)
{
    StoreScalar(ItemType_r8, value);
}

void VxVariant::SetDuration(const CDateTimeSpan& value)
{
    StorePointer(ItemType_duration, new CDateTimeSpan(value));
}

void VxVariant::SetYearMonth(const CDateTime& value)
{
    StorePointer(ItemType_yearMonth,
                 Refill(static_cast<CDateTime*>(TakeSpare(kSpareDateTime)), value));
}

void VxVariant::SetMonthDay(const CDateTime& value)
{
    StorePointer(ItemType_monthDay,
                 Refill(static_cast<CDateTime*>(TakeSpare(kSpareDateTime)), value));
}

void VxVariant::SetYear(uint16_t value)
{
    StoreScalar(ItemType_year, value);
}

void VxVariant::SetMonth(uint8_t value)
{
    StoreScalar(ItemType_month, value);
}

void VxVariant::SetDay(uint8_t value)
{
    StoreScalar(ItemType_day, value);
}

void VxVariant::SetDate(const CDateTime& value)
{
    StorePointer(ItemType_date, Refill(static_cast<CDateTime*>(TakeSpare(kSpareDateTime)), value));
}

void VxVariant::SetDateTime(const CDateTime& value)
{
    StorePointer(ItemType_datetime,
                 Refill(static_cast<CDateTime*>(TakeSpare(kSpareDateTime)), value));
}

void VxVariant::SetTime(const CDateTime& value)
{
    StorePointer(ItemType_time, Refill(static_cast<CDateTime*>(TakeSpare(kSpareDateTime)), value));
}

void VxVariant::SetChar(wchar_t value)
{
    StoreScalar(ItemType_char, value);
}

void VxVariant::SetString(const std::wstring& value)
{
    StorePointer(ItemType_string,
                 Refill(static_cast<std::wstring*>(TakeSpare(kSpareString)), value));
}

void VxVariant::AdoptString(std::wstring&& value)
{
    StorePointer(ItemType_string,
                 Refill(static_cast<std::wstring*>(TakeSpare(kSpareString)), std::move(value)));
}

void VxVariant::SetBoolean(bool value)
{
    StoreScalar(ItemType_boolean, value);
}

void VxVariant::SetDecimal(const CDecimal& value)
{
    StorePointer(ItemType_decimal, Refill(static_cast<CDecimal*>(TakeSpare(kSpareDecimal)), value));
}

void VxVariant::SetInteger(const CBigInteger& value)
{
    StorePointer(ItemType_integer, new CBigInteger(value));
}

void VxVariant::SetXmlObject(CXmlObjectBase* value)
{
    // Reference first: the object may be the one this variant is about to release.
    if (value) {
        value->AddRef();
    }
    StorePointer(ItemType_XmlObjectBase, value);
}

void VxVariant::SetXmlCollection(CXmlObjectBase* collection)
{
    if (collection) {
        collection->AddRef();
    }
    StorePointer(ItemType_XmlCollection, collection);
}

// ---------------------------------------------------------------------------
// Getters

CBinaryData VxVariant::GetHexBinary() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_hexBinary && m_pBinaryData != nullptr,
                       "m_type == ItemType_hexBinary", L"hexBinary");
    return *m_pBinaryData;
}

CBinaryData VxVariant::GetBase64Binary() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_base64Binary && m_pBinaryData != nullptr,
                       "m_type == ItemType_base64Binary", L"base64Binary");
    return *m_pBinaryData;
}

int8_t VxVariant::GetI1() const
{
    assert(m_type == ItemType_i1 && "m_type == ItemType_i1");
    return LoadScalar<int8_t>();
}

int16_t VxVariant::GetI2() const
{
    assert(m_type == ItemType_i2 && "m_type == ItemType_i2");
    return LoadScalar<int16_t>();
}

int32_t VxVariant::GetI4() const
{
    assert(m_type == ItemType_i4 && "m_type == ItemType_i4");
    return LoadScalar<int32_t>();
}

int64_t VxVariant::GetI8() const
{
    assert(m_type == ItemType_i8 && "m_type == ItemType_i8");
    return LoadScalar<int64_t>();
}

uint8_t VxVariant::GetUI1() const
{
    assert(m_type == ItemType_ui1 && "m_type == ItemType_ui1");
    return LoadScalar<uint8_t>();
}

uint16_t VxVariant::GetUI2() const
{
    assert(m_type == ItemType_ui2 && "m_type == ItemType_ui2");
    return LoadScalar<uint16_t>();
}

uint32_t VxVariant::GetUI4() const
{
    assert(m_type == ItemType_ui4 && "m_type == ItemType_ui4");
    return LoadScalar<uint32_t>();
}

uint64_t VxVariant::GetUI8() const
{
    assert(m_type == ItemType_ui8 && "m_type == ItemType_ui8");
    return LoadScalar<uint64_t>();
}

float VxVariant::GetR4() const
{
    assert(m_type == ItemType_r4 && "m_type == ItemType_r4");
    return LoadScalar<float>();
}

double VxVariant::GetR8() const
{
    assert(m_type == ItemType_r8 && "m_type == ItemType_r8");
    return LoadScalar<double>();
}

CDateTimeSpan VxVariant::GetDuration() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_duration && m_pDateTimeSpan != nullptr,
                       "m_type == ItemType_duration", L"duration");
    return *m_pDateTimeSpan;
}

CDateTime VxVariant::GetYearMonth() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_yearMonth && m_pDateTime != nullptr,
                       "m_type == ItemType_yearMonth", L"yearMonth");
    return *m_pDateTime;
}

CDateTime VxVariant::GetMonthDay() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_monthDay && m_pDateTime != nullptr,
                       "m_type == ItemType_monthDay", L"monthDay");
    return *m_pDateTime;
}

uint16_t VxVariant::GetYear() const
{
    assert(m_type == ItemType_year && "m_type == ItemType_year");
    return LoadScalar<uint16_t>();
}

uint8_t VxVariant::GetMonth() const
{
    assert(m_type == ItemType_month && "m_type == ItemType_month");
    return LoadScalar<uint8_t>();
}

uint8_t VxVariant::GetDay() const
{
    assert(m_type == ItemType_day && "m_type == ItemType_day");
    return LoadScalar<uint8_t>();
}

CDateTime VxVariant::GetDate() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_date && m_pDateTime != nullptr, "m_type == ItemType_date",
                       L"date");
    return *m_pDateTime;
}

CDateTime VxVariant::GetDateTime() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_datetime && m_pDateTime != nullptr,
                       "m_type == ItemType_datetime", L"datetime");
    return *m_pDateTime;
}

CDateTime VxVariant::GetTime() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_time && m_pDateTime != nullptr, "m_type == ItemType_time",
                       L"time");
    return *m_pDateTime;
}

wchar_t VxVariant::GetChar() const
{
    assert(m_type == ItemType_char && "m_type == ItemType_char");
    return LoadScalar<wchar_t>();
}

std::wstring VxVariant::GetString() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_string && m_pString != nullptr,
                       "m_type == ItemType_string && m_pString != 0", L"string");
    return *m_pString;
}

std::wstring VxVariant::TakeString()
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_string && m_pString != nullptr,
                       "m_type == ItemType_string && m_pString != 0", L"string");
    return std::move(*m_pString);
}

bool VxVariant::GetBoolean() const
{
    assert(m_type == ItemType_boolean && "m_type == ItemType_boolean");
    // Read the byte, not a bool: a slot holding other bits must not become
    // an invalid bool value.
    return LoadScalar<uint8_t>() != 0;
}

CDecimal VxVariant::GetDecimal() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_decimal && m_pDecimal != nullptr,
                       "m_type == ItemType_decimal && m_pDecimal != 0", L"decimal");
    return *m_pDecimal;
}

CBigInteger VxVariant::GetInteger() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_integer && m_pBigInteger != nullptr,
                       "m_type == ItemType_integer && m_pBigInteger != 0", L"integer");
    return *m_pBigInteger;
}

CSmartPtr<CXmlObjectBase> VxVariant::GetXmlObject() const
{
    const bool isObject = m_type == ItemType_XmlObjectBase || m_type == ItemType_XmlCollection;
    VXXML_REQUIRE_HEAP(isObject, "m_type == ItemType_XmlObjectBase", L"XmlObjectBase");
    return CSmartPtr<CXmlObjectBase>(m_pXmlObject);
}

CSmartPtr<CXmlObjectBase> VxVariant::GetXmlCollection() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_XmlCollection && m_pXmlObject != nullptr,
                       "m_type == ItemType_XmlCollection && m_pXmlCol != 0", L"XmlCollection");
    return CSmartPtr<CXmlObjectBase>(m_pXmlObject);
}

const std::wstring& VxVariant::ViewString() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_string && m_pString != nullptr,
                       "m_type == ItemType_string && m_pString != 0", L"string");
    return *m_pString;
}

const CDecimal& VxVariant::ViewDecimal() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_decimal && m_pDecimal != nullptr,
                       "m_type == ItemType_decimal && m_pDecimal != 0", L"decimal");
    return *m_pDecimal;
}

const CBigInteger& VxVariant::ViewInteger() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_integer && m_pBigInteger != nullptr,
                       "m_type == ItemType_integer && m_pBigInteger != 0", L"integer");
    return *m_pBigInteger;
}

const CBinaryData& VxVariant::ViewBinaryData() const
{
    const bool isBinary = m_type == ItemType_hexBinary || m_type == ItemType_base64Binary;
    VXXML_REQUIRE_HEAP(isBinary && m_pBinaryData != nullptr, "binary kind && m_pBinaryData != 0",
                       L"binary");
    return *m_pBinaryData;
}

const CDateTime& VxVariant::ViewDateTime() const
{
    const bool isDateTime = m_type == ItemType_date || m_type == ItemType_datetime ||
                            m_type == ItemType_time || m_type == ItemType_yearMonth ||
                            m_type == ItemType_monthDay;
    VXXML_REQUIRE_HEAP(isDateTime && m_pDateTime != nullptr, "date-time kind && m_pDateTime != 0",
                       L"date-time");
    return *m_pDateTime;
}

const CDateTimeSpan& VxVariant::ViewDuration() const
{
    VXXML_REQUIRE_HEAP(m_type == ItemType_duration && m_pDateTimeSpan != nullptr,
                       "m_type == ItemType_duration", L"duration");
    return *m_pDateTimeSpan;
}

CXmlObjectBase* VxVariant::ViewXmlObject() const
{
    const bool isObject = m_type == ItemType_XmlObjectBase || m_type == ItemType_XmlCollection;
    VXXML_REQUIRE_HEAP(isObject, "m_type == ItemType_XmlObjectBase", L"XmlObjectBase");
    return m_pXmlObject;
}

#undef VXXML_REQUIRE_HEAP

// ---------------------------------------------------------------------------
// Text

// The object behind a heap kind; a nil value has none and cannot be formatted.
// Out of line, so that Held itself is a test and a load wherever it is used.
[[noreturn, gnu::noinline, gnu::cold]] static void ThrowNilHasNoText(ItemType type)
{
    throw CVxInvalidStateException(FormatString(L"The %s value is nil and has no text",
                                                kTypeNames[static_cast<uint32_t>(type)]));
}

template <class T> inline const T& VxVariant::Held(const T* value) const
{
    if (value == nullptr) [[unlikely]] {
        ThrowNilHasNoText(m_type);
    }
    return *value;
}

std::wstring VxVariant::ToString(const wchar_t* format) const
{
    // Made only for the kinds that read it.
    const auto numberFormat = [format] { return std::wstring(format ? format : L""); };
    switch (m_type) {
    case ItemType_hexBinary:
        return CConversions::hexBinaryToString(Held(m_pBinaryData));
    case ItemType_base64Binary:
        return CConversions::base64BinaryToString(Held(m_pBinaryData));
    case ItemType_i1:
        return CConversions::i1ToString(LoadScalar<int8_t>());
    case ItemType_i2:
        return CConversions::i2ToString(LoadScalar<int16_t>());
    case ItemType_i4:
        return CConversions::i4ToString(LoadScalar<int32_t>());
    case ItemType_i8:
        return CConversions::i8ToString(LoadScalar<int64_t>());
    case ItemType_ui1:
        return CConversions::ui1ToString(LoadScalar<uint8_t>());
    case ItemType_ui2:
        return CConversions::ui2ToString(LoadScalar<uint16_t>());
    case ItemType_ui4:
        return CConversions::ui4ToString(LoadScalar<uint32_t>());
    case ItemType_ui8:
        return CConversions::ui8ToString(LoadScalar<uint64_t>());
    case ItemType_r4:
        return CConversions::r4ToString(LoadScalar<float>(), numberFormat());
    case ItemType_r8:
        return CConversions::r8ToString(LoadScalar<double>(), numberFormat());
    case ItemType_duration:
        return CConversions::durationToString(Held(m_pDateTimeSpan));
    case ItemType_yearMonth:
        return CConversions::yearMonthToString(Held(m_pDateTime));
    case ItemType_monthDay:
        return CConversions::monthDayToString(Held(m_pDateTime));
    case ItemType_year:
        return CConversions::yearToString(LoadScalar<uint16_t>());
    case ItemType_month:
        return CConversions::monthToString(LoadScalar<uint8_t>());
    case ItemType_day:
        return CConversions::dayToString(LoadScalar<uint8_t>());
    case ItemType_date:
        return CConversions::dateToString(Held(m_pDateTime));
    case ItemType_datetime:
        return CConversions::datetimeToString(Held(m_pDateTime));
    case ItemType_time:
        return CConversions::timeToString(Held(m_pDateTime));
    case ItemType_char:
        return CConversions::charToString(LoadScalar<wchar_t>());
    case ItemType_string:
        return CConversions::stringToString(Held(m_pString));
    case ItemType_boolean:
        return CConversions::booleanToString(LoadScalar<uint8_t>() != 0);
    case ItemType_decimal:
        return CConversions::decimalToString(Held(m_pDecimal), numberFormat());
    case ItemType_integer:
        return CConversions::integerToString(Held(m_pBigInteger));
    default:
        throw CVxException(
            FormatString(L"Invalid Type %d to convert to string", static_cast<int>(m_type)));
    }
}

const std::wstring& VxVariant::ToText(const wchar_t* format, std::wstring& buffer) const
{
    // The commonest kinds are formatted straight into buffer, which keeps its
    // memory from one value to the next; the texts are those of ToString.
    switch (m_type) {
    case ItemType_string:
        return Held(m_pString);
    case ItemType_i1:
        return AssignInteger(buffer, LoadScalar<int8_t>());
    case ItemType_i2:
        return AssignInteger(buffer, LoadScalar<int16_t>());
    case ItemType_i4:
        return AssignInteger(buffer, LoadScalar<int32_t>());
    case ItemType_i8:
        return AssignInteger(buffer, LoadScalar<int64_t>());
    case ItemType_ui1:
        return AssignInteger(buffer, LoadScalar<uint8_t>());
    case ItemType_ui2:
        return AssignInteger(buffer, LoadScalar<uint16_t>());
    case ItemType_ui4:
        return AssignInteger(buffer, LoadScalar<uint32_t>());
    case ItemType_ui8:
        return AssignInteger(buffer, LoadScalar<uint64_t>());
    case ItemType_year:
        return AssignInteger(buffer, LoadScalar<uint16_t>());
    case ItemType_boolean:
        buffer.clear();
        if (LoadScalar<uint8_t>() != 0) {
            buffer.append(L"true", 4);
        } else {
            buffer.append(L"false", 5);
        }
        return buffer;
    case ItemType_decimal:
        if (format == nullptr || *format == 0) {
            const CDecimal& value = Held(m_pDecimal);
            buffer.clear();
            value.AppendTo(buffer);
            return buffer;
        }
        break;
    case ItemType_yearMonth:
    case ItemType_monthDay:
    case ItemType_date:
    case ItemType_datetime:
    case ItemType_time:
        // A value of another calendar kind is converted first: ToString does that.
        if (const CDateTime& value = Held(m_pDateTime); value.GetType() == CalendarKindOf(m_type)) {
            buffer.clear();
            value.AppendTo(buffer);
            return buffer;
        }
        break;
    default:
        break;
    }
    buffer.assign(ToString(format));
    return buffer;
}

void VxVariant::FromString(std::wstring&& text, ItemType type,
                           CWhitespaceUtils::WhitespaceRule rule)
{
    if (type == ItemType_string) {
        CWhitespaceUtils::ApplyRuleInPlace(rule, text);
        return AdoptString(std::move(text));
    }
    FromString(static_cast<const std::wstring&>(text), type, rule);
}

void VxVariant::FromString(const std::wstring& text, ItemType type,
                           CWhitespaceUtils::WhitespaceRule rule)
{
    // Each conversion runs before its setter, so a failure leaves the
    // variant untouched.
    switch (type) {
    case ItemType_hexBinary:
        return SetHexBinary(CConversions::hexBinaryFromString(text, rule));
    case ItemType_base64Binary:
        return SetBase64Binary(CConversions::base64BinaryFromString(text, rule));
    case ItemType_i1:
        return SetI1(CConversions::i1FromString(text, rule));
    case ItemType_i2:
        return SetI2(CConversions::i2FromString(text, rule));
    case ItemType_i4:
        return SetI4(CConversions::i4FromString(text, rule));
    case ItemType_i8:
        return SetI8(CConversions::i8FromString(text, rule));
    case ItemType_ui1:
        return SetUI1(CConversions::ui1FromString(text, rule));
    case ItemType_ui2:
        return SetUI2(CConversions::ui2FromString(text, rule));
    case ItemType_ui4:
        return SetUI4(CConversions::ui4FromString(text, rule));
    case ItemType_ui8:
        return SetUI8(CConversions::ui8FromString(text, rule));
    case ItemType_r4:
        return SetR4(CConversions::r4FromString(text, rule));
    case ItemType_r8:
        return SetR8(CConversions::r8FromString(text, rule));
    case ItemType_duration:
        return SetDuration(CConversions::durationFromString(text, rule));
    case ItemType_yearMonth:
        return SetYearMonth(CConversions::yearMonthFromString(text, rule));
    case ItemType_monthDay:
        return SetMonthDay(CConversions::monthDayFromString(text, rule));
    case ItemType_year:
        return SetYear(CConversions::yearFromString(text, rule));
    case ItemType_month:
        return SetMonth(CConversions::monthFromString(text, rule));
    case ItemType_day:
        return SetDay(CConversions::dayFromString(text, rule));
    case ItemType_date:
        return SetDate(CConversions::dateFromString(text, rule));
    case ItemType_datetime:
        return SetDateTime(CConversions::datetimeFromString(text, rule));
    case ItemType_time:
        return SetTime(CConversions::timeFromString(text, rule));
    case ItemType_char:
        return SetChar(CConversions::charFromString(text, rule));
    case ItemType_string:
        return AdoptString(CConversions::stringFromString(text, rule));
    case ItemType_boolean:
        return SetBoolean(CConversions::booleanFromString(text, rule));
    case ItemType_decimal:
        return SetDecimal(CConversions::decimalFromString(text, rule));
    case ItemType_integer:
        return SetInteger(CConversions::integerFromString(text, rule));
    default:
        throw CVxException(
            FormatString(L"Invalid Type %d to convert to string", static_cast<int>(type)));
    }
}

} // namespace VxXmlLib16
