// The tagged value through which metadata and generated classes exchange
// property values: one primitive kind, a bound object or a collection, with
// an explicit-nil flag.
#pragma once

#include <cstdint>
#include <string>
#include <vxxml/Export.h>
#include <vxxml/ItemType.h>
#include <vxxml/SmartPtr.h>
#include <vxxml/WhitespaceUtils.h>

namespace VxXmlLib16 {

class CBinaryData;
class CBigInteger;
class CDateTime;
class CDateTimeSpan;
class CDecimal;
class CXmlObjectBase;

// A small fixed-size value meant to live on the stack: scalar kinds are kept
// in the value slot and never allocate; every heap kind owns exactly one
// object; bound objects and collections are held by one reference count.
//
// Rules worth knowing:
// - Clear() on a variant that is already invalid leaves the nil flag alone,
//   so a variant made nil while invalid stays nil (and IsValid()).
// - SetNil() keeps the kind and drops the value; copying a nil variant gives
//   a nil variant of the same kind without a value.
// - A getter for another kind than the one held is a programming error: a
//   debug build asserts. A release build returns the raw slot for scalar
//   kinds and throws CVxInvalidStateException for the heap kinds rather
//   than follow a pointer that is not there.
struct VXXML_API VxVariant
{
    VxVariant() noexcept;
    VxVariant(const VxVariant& other);
    // Moving hands the held value over without a copy; the source is left
    // as a default-constructed variant.
    VxVariant(VxVariant&& other) noexcept;
    virtual ~VxVariant();

    // Throws CVxException "Unknown Type" when the source holds no known kind.
    VxVariant& operator=(const VxVariant& other);
    VxVariant& operator=(VxVariant&& other) noexcept;

    void Clear();
    void SetInvalid();
    // Back to the state of a default-constructed variant (invalid, not nil),
    // but a string, decimal or date-time holder is kept for the next setter
    // of the same kind to copy into. Meant for a variant that carries one
    // value after another: the copies then reuse the holder's memory.
    void SetInvalidKeepingStorage() noexcept;
    bool IsValid() const { return m_type != ItemType_Invalid || m_bNil; }
    void SetNil();
    bool IsNil() const { return m_bNil; }
    ItemType GetTypeAsEnum() const { return m_type; }
    // The kind's name ("i4", "datetime", ...). Throws CVxException
    // "Invalid Type %d" for the invalid, object and collection kinds.
    std::wstring GetType() const;

    void SetHexBinary(const CBinaryData& value);
    void SetBase64Binary(const CBinaryData& value);
    void SetI1(int8_t value);
    void SetI2(int16_t value);
    void SetI4(int32_t value);
    void SetI8(int64_t value);
    void SetUI1(uint8_t value);
    void SetUI2(uint16_t value);
    void SetUI4(uint32_t value);
    void SetUI8(uint64_t value);
    void SetR4(float value);
    void SetR8(double value);
    void SetDuration(const CDateTimeSpan& value);
    void SetYearMonth(const CDateTime& value);
    void SetMonthDay(const CDateTime& value);
    void SetYear(uint16_t value);
    void SetMonth(uint8_t value);
    void SetDay(uint8_t value);
    void SetDate(const CDateTime& value);
    void SetDateTime(const CDateTime& value);
    void SetTime(const CDateTime& value);
    void SetChar(wchar_t value);
    // Copying into a kept string holder reuses its memory, so an accessor
    // that hands out its member costs no allocation.
    void SetString(const std::wstring& value);
    // SetString that takes value over instead of copying it.
    void AdoptString(std::wstring&& value);
    void SetBoolean(bool value);
    void SetDecimal(const CDecimal& value);
    void SetInteger(const CBigInteger& value);
    // These two keep the pointer itself and take one reference on it; null
    // is stored as a null reference. A collection is reference counted
    // through the object base, and is taken and returned as that base.
    void SetXmlObject(CXmlObjectBase* value);
    void SetXmlCollection(CXmlObjectBase* collection);

    CBinaryData GetHexBinary() const;
    CBinaryData GetBase64Binary() const;
    int8_t GetI1() const;
    int16_t GetI2() const;
    int32_t GetI4() const;
    int64_t GetI8() const;
    uint8_t GetUI1() const;
    uint16_t GetUI2() const;
    uint32_t GetUI4() const;
    uint64_t GetUI8() const;
    float GetR4() const;
    double GetR8() const;
    CDateTimeSpan GetDuration() const;
    CDateTime GetYearMonth() const;
    CDateTime GetMonthDay() const;
    uint16_t GetYear() const;
    uint8_t GetMonth() const;
    uint8_t GetDay() const;
    CDateTime GetDate() const;
    CDateTime GetDateTime() const;
    CDateTime GetTime() const;
    wchar_t GetChar() const;
    std::wstring GetString() const;
    // Moves the string out (the variant keeps an empty string): for
    // accessors that store the value they are handed.
    std::wstring TakeString();
    bool GetBoolean() const;
    CDecimal GetDecimal() const;
    CBigInteger GetInteger() const;
    // A new reference to the held object; a collection is an object too.
    CSmartPtr<CXmlObjectBase> GetXmlObject() const;
    CSmartPtr<CXmlObjectBase> GetXmlCollection() const;

    // The held value itself, without a copy (and, for objects, without a new
    // reference): for code that only looks at it while the variant keeps it.
    // The wrong kind or a nil value fails as the copying getters do.
    const std::wstring& ViewString() const;
    const CDecimal& ViewDecimal() const;
    const CBigInteger& ViewInteger() const;
    // hexBinary or base64Binary.
    const CBinaryData& ViewBinaryData() const;
    // date, datetime, time, yearMonth or monthDay.
    const CDateTime& ViewDateTime() const;
    const CDateTimeSpan& ViewDuration() const;
    // The held object or collection; null when a null one is held.
    CXmlObjectBase* ViewXmlObject() const;

    // The value's lexical form. `format` (may be null) only matters to r4,
    // r8 and decimal values (see CConversions). The nil flag is not looked
    // at; a nil value of a heap kind has nothing to format and throws
    // CVxInvalidStateException. Throws CVxException
    // "Invalid Type %d to convert to string" for the invalid, object and
    // collection kinds.
    std::wstring ToString(const wchar_t* format) const;
    // The same text without copying a string value: a string is answered in
    // place, any other kind is formatted into buffer. The result stays valid
    // while the variant and buffer do not change.
    const std::wstring& ToText(const wchar_t* format, std::wstring& buffer) const;
    // Parses `text` as `type` and stores it; on failure the conversion's
    // exception leaves the variant unchanged. Types outside 1-26 throw
    // CVxException "Invalid Type %d to convert to string".
    void FromString(const std::wstring& text, ItemType type, CWhitespaceUtils::WhitespaceRule rule);
    // The same, taking over text when it is stored as it is (a string
    // without whitespace processing) instead of copying it.
    void FromString(std::wstring&& text, ItemType type, CWhitespaceUtils::WhitespaceRule rule);

private:
    template <class T> void StoreScalar(ItemType type, T value) noexcept;
    template <class T> T LoadScalar() const noexcept;
    void StorePointer(ItemType type, void* value) noexcept;
    template <class T> const T& Held(const T* value) const;
    // The holder kept by SetInvalidKeepingStorage() for a setter of family,
    // or null; the variant no longer keeps it.
    void* TakeSpare(uint8_t family) noexcept;
    void SetInvalidSlow(bool wasNil) noexcept;
    void DropSpare() noexcept;

    bool m_bNil;
    // The family of a holder kept in the value slot while the variant is
    // invalid (0: none). It sits in what would otherwise be padding, so the
    // variant keeps its size and layout.
    uint8_t m_spare = 0;
    ItemType m_type;
    // One 64-bit slot. Scalars occupy its first bytes at their own width and
    // leave the rest as it was.
    union {
        uint64_t m_raw;
        std::wstring* m_pString;
        CDecimal* m_pDecimal;
        CBigInteger* m_pBigInteger;
        CBinaryData* m_pBinaryData;
        CDateTime* m_pDateTime;
        CDateTimeSpan* m_pDateTimeSpan;
        CXmlObjectBase* m_pXmlObject; // both the object and the collection kind
    };
};

} // namespace VxXmlLib16
