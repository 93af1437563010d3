#include "TestHelpers.h"
#include "core/TestObjects.h"

#include <cstring>
#include <tuple>
#include <vxxml/BigInteger.h>
#include <vxxml/BinaryData.h>
#include <vxxml/DateTime.h>
#include <vxxml/DateTimeSpan.h>
#include <vxxml/Decimal.h>
#include <vxxml/VxVariant.h>

using namespace VxXmlLib16;
using VxTest::CTestObject;

namespace {
constexpr auto kCollapse = CWhitespaceUtils::WhitespaceRule_Collapse;

// The object's current reference count, read without changing it.
int32_t RefCount(CXmlObjectBase* object)
{
    const int32_t count = object->AddRef() - 1;
    object->Release();
    return count;
}
} // namespace

// The variant must stay a small stack value: a vtable pointer, the flag and
// kind, and one 8-byte slot.
static_assert(sizeof(VxVariant) <= 3 * sizeof(void*));

// Every kind through FromString and back through ToString: the dispatch in
// both directions, the kind names and the lexical forms together.
TEST(VxVariant, EveryKindRoundTripsThroughText)
{
    const std::tuple<ItemType, const wchar_t*, const wchar_t*, const wchar_t*> cases[] = {
        {ItemType_hexBinary, L" 0a1B ", L"0A1B", L"hexBinary"},
        {ItemType_base64Binary, L"YWJj", L"YWJj", L"base64Binary"},
        {ItemType_i1, L" -128 ", L"-128", L"i1"},
        {ItemType_i2, L"32767", L"32767", L"i2"},
        {ItemType_i4, L"-2147483648", L"-2147483648", L"i4"},
        {ItemType_i8, L"9223372036854775807", L"9223372036854775807", L"i8"},
        {ItemType_ui1, L"255", L"255", L"ui1"},
        {ItemType_ui2, L"65535", L"65535", L"ui2"},
        {ItemType_ui4, L"4294967295", L"4294967295", L"ui4"},
        {ItemType_ui8, L"18446744073709551615", L"18446744073709551615", L"ui8"},
        {ItemType_r4, L"0.1", L"0.1", L"r4"},
        {ItemType_r8, L"-1E100", L"-1e+100", L"r8"},
        {ItemType_duration, L"P1Y2M3DT4H5M6S", L"P1Y2M3DT4H5M6S", L"duration"},
        {ItemType_yearMonth, L"2024-05", L"2024-05", L"yearMonth"},
        {ItemType_monthDay, L"--05-17", L"--05-17", L"monthDay"},
        {ItemType_year, L"2024", L"2024", L"year"},
        {ItemType_month, L"--05", L"--05", L"month"},
        {ItemType_day, L"---07", L"---07", L"day"},
        {ItemType_date, L"2024-02-29", L"2024-02-29", L"date"},
        {ItemType_datetime, L"2024-02-29T12:34:56Z", L"2024-02-29T12:34:56Z", L"datetime"},
        {ItemType_time, L"12:34:56", L"12:34:56", L"time"},
        {ItemType_char, L" \U0001F600 ", L"\U0001F600", L"char"},
        {ItemType_string, L" a \t b ", L"a b", L"string"},
        {ItemType_boolean, L"1", L"true", L"boolean"},
        {ItemType_decimal, L"-12.5", L"-12.5", L"decimal"},
        {ItemType_integer, L"123456789012345678901234567890", L"123456789012345678901234567890",
         L"integer"}};
    for (const auto& [type, text, expected, name] : cases) {
        SCOPED_TRACE(Narrow(name));
        VxVariant v;
        v.FromString(text, type, kCollapse);
        EXPECT_EQ(v.GetTypeAsEnum(), type);
        EXPECT_EQ(v.GetType(), name);
        EXPECT_TRUE(v.IsValid() && !v.IsNil());
        EXPECT_EQ(v.ToString(nullptr), expected);
        VxVariant copy(v); // independent of the original
        v.SetI4(0);
        EXPECT_EQ(copy.ToString(L""), expected);
    }
}

TEST(VxVariant, InvalidAndNilStates)
{
    VxVariant fresh;
    EXPECT_FALSE(fresh.IsValid() || fresh.IsNil());
    EXPECT_THROW_MSG(fresh.GetType(), CVxException, L"Invalid Type 0");
    EXPECT_THROW_MSG(fresh.ToString(nullptr), CVxException, L"Invalid Type 0 to convert to string");

    // A nil keeps its kind but has nothing to format, in copies too.
    VxVariant s;
    s.SetString(L"abc");
    s.SetNil();
    const VxVariant copy(s);
    for (const VxVariant* v : {static_cast<const VxVariant*>(&s), &copy}) {
        EXPECT_TRUE(v->IsNil() && v->IsValid());
        EXPECT_EQ(v->GetType(), L"string");
        EXPECT_THROW(v->ToString(nullptr), CVxInvalidStateException);
    }
    // A scalar keeps its bits in the slot; setting a value ends nil.
    VxVariant i;
    i.SetI4(5);
    i.SetNil();
    EXPECT_EQ(i.ToString(nullptr), L"5");
    i.SetI4(6);
    EXPECT_FALSE(i.IsNil());
    // Clearing a typed nil ends it; an untyped nil stays nil through Clear.
    s.Clear();
    EXPECT_FALSE(s.IsNil() || s.IsValid());
    VxVariant untyped;
    untyped.SetNil();
    untyped.Clear();
    untyped.SetInvalid();
    const VxVariant untypedCopy(untyped);
    EXPECT_TRUE(untypedCopy.IsNil() && untypedCopy.IsValid());
    EXPECT_EQ(untypedCopy.GetTypeAsEnum(), ItemType_Invalid);
}

TEST(VxVariant, CopiesOwnTheirHeapValues)
{
    VxVariant a, b;
    a.SetString(L"first");
    b.SetDecimal(CDecimal(L"1.5"));
    b = a;
    a.SetString(L"second");
    EXPECT_EQ(b.GetString(), L"first");
    const VxVariant& self = b;
    b = self; // self-assignment keeps the value
    EXPECT_EQ(b.GetString(), L"first");
    VxVariant moved(std::move(a));
    EXPECT_EQ(moved.GetString(), L"second");
    EXPECT_FALSE(a.IsValid()); // NOLINT(bugprone-use-after-move): the state is documented
    b = std::move(moved);
    EXPECT_EQ(b.GetString(), L"second");

    CBinaryData bytes;
    bytes.SetAsHexString(L"00FF10");
    b.SetHexBinary(bytes);
    EXPECT_TRUE(VxVariant(b).GetHexBinary() == bytes);
    // Replacing heap values with scalars and back must not leak (the
    // sanitizer build checks).
    for (int i = 0; i < 3; ++i) {
        b.SetInteger(CBigInteger(L"12345678901234567890"));
        b.SetR8(1.0);
        b.FromString(L"2024-01-01", ItemType_date, kCollapse);
        b.FromString(L"P1D", ItemType_duration, kCollapse);
        b.FromString(L"AAEC", ItemType_base64Binary, kCollapse);
    }
}

TEST(VxVariant, ObjectsAreReferenceCounted)
{
    std::atomic<int> destroyed{0};
    CSmartPtr<CTestObject> object(new CTestObject(&destroyed));
    ASSERT_EQ(RefCount(object), 1);
    {
        VxVariant a;
        a.SetXmlObject(object);
        VxVariant b(a);
        EXPECT_EQ(b.GetXmlObject().Get(), object.Get());
        EXPECT_EQ(RefCount(object), 3); // the returned pointer's reference is gone again
        a.SetXmlObject(object);         // storing the held object must not drop it first
        EXPECT_EQ(RefCount(object), 3);
        EXPECT_THROW_MSG(a.GetType(), CVxException, L"Invalid Type 27");
        EXPECT_THROW_MSG(a.ToString(nullptr), CVxException,
                         L"Invalid Type 27 to convert to string");
    }
    EXPECT_EQ(RefCount(object), 1);
    EXPECT_EQ(destroyed, 0);

    // The variant as the only holder destroys the object when it lets go.
    VxVariant sole;
    sole.SetXmlCollection(new CTestObject(&destroyed));
    EXPECT_NE(sole.GetXmlObject().Get(), nullptr); // a collection is an object
    sole.SetNil();
    EXPECT_EQ(destroyed, 1);
    EXPECT_EQ(sole.GetTypeAsEnum(), ItemType_XmlCollection);

    VxVariant empty;
    empty.SetXmlObject(nullptr);
    EXPECT_EQ(empty.GetTypeAsEnum(), ItemType_XmlObjectBase);
    EXPECT_EQ(VxVariant(empty).GetXmlObject().Get(), nullptr);
}

TEST(VxVariant, FormatReachesOnlyTheNumberKinds)
{
    VxVariant v;
    v.SetI4(42);
    EXPECT_EQ(v.ToString(L"%.2f"), L"42");
    v.SetR8(2.5);
    EXPECT_EQ(v.ToString(L"%.3f"), L"2.500");
    v.SetR4(0.25f);
    EXPECT_EQ(v.ToString(L"%.1e"), L"2.5e-01");
    v.SetDecimal(CDecimal(L"1.005"));
    EXPECT_EQ(v.ToString(L"%.2f"), L"1.01");
    v.SetString(L"%.2f");
    EXPECT_EQ(v.ToString(L"%.1f"), L"%.2f");
}

TEST(VxVariant, FromStringFailuresLeaveTheValue)
{
    VxVariant v;
    v.SetString(L"keep");
    EXPECT_THROW_MSG(v.FromString(L"abc", ItemType_i4, kCollapse), CVxInvalidValueException,
                     L"The value [abc] can not be converted to a i4");
    EXPECT_THROW(v.FromString(L"2024-13-01", ItemType_date, kCollapse), CVxException);
    for (int type : {0, 27, 28, 29, -1}) {
        EXPECT_THROW_MSG(v.FromString(L"1", static_cast<ItemType>(type), kCollapse), CVxException,
                         L"Invalid Type " + std::to_wstring(type) + L" to convert to string");
    }
    EXPECT_EQ(v.GetString(), L"keep");
}

TEST(VxVariant, CopyOfUnknownTypeThrows)
{
    // Only a corrupted variant can hold a type outside 0-28; reach into the
    // object to make one (the kind field is the only int32 holding 5 below).
    VxVariant corrupt;
    corrupt.SetI4(0x7f7f7f7f);
    auto* bytes = reinterpret_cast<unsigned char*>(&corrupt);
    size_t at = 0;
    for (size_t offset = sizeof(void*); offset + 4 <= sizeof corrupt; offset += 4) {
        int32_t field;
        std::memcpy(&field, bytes + offset, 4);
        at = field == ItemType_i4 ? offset : at;
    }
    ASSERT_NE(at, 0u);
    const int32_t bad = 77, scalar = ItemType_i4;
    std::memcpy(bytes + at, &bad, 4);
    VxVariant target;
    EXPECT_THROW_MSG(target = corrupt, CVxException, L"Unknown Type");
    EXPECT_THROW_MSG(VxVariant{corrupt}, CVxException, L"Unknown Type");
    EXPECT_THROW_MSG(corrupt.GetType(), CVxException, L"Invalid Type 77");
    std::memcpy(bytes + at, &scalar, 4); // restore so the destructor sees a real kind
}

#ifdef NDEBUG
TEST(VxVariant, ReleaseBuildsRefuseHeapGettersOfAnotherKind)
{
    VxVariant v;
    v.SetI4(1);
    EXPECT_THROW(v.GetString(), CVxInvalidStateException);
    EXPECT_THROW(v.GetDecimal(), CVxInvalidStateException);
    EXPECT_THROW(v.GetXmlObject(), CVxInvalidStateException);
    v.SetString(L"x");
    v.SetNil();
    EXPECT_THROW(v.GetString(), CVxInvalidStateException);
}
#endif
