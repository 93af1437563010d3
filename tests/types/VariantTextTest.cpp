// The variant's in-place views and the text it formats into a caller's
// buffer. (The holders it reuses are tested with the thread's scratch.)

#include "TestHelpers.h"

#include <vxxml/Conversions.h>
#include <vxxml/DateTime.h>
#include <vxxml/Decimal.h>
#include <vxxml/VxVariant.h>

using namespace VxXmlLib16;

namespace {

constexpr auto kCollapse = CWhitespaceUtils::WhitespaceRule_Collapse;

TEST(VariantText, ToTextGivesToStringsTextAndAStringInPlace)
{
    VxVariant text;
    text.SetString(L"in place");
    std::wstring buffer;
    EXPECT_EQ(&text.ToText(nullptr, buffer), &text.ViewString());
    EXPECT_TRUE(buffer.empty());

    const std::pair<ItemType, const wchar_t*> cases[] = {
        {ItemType_i4, L"-17"},
        {ItemType_r8, L"2.5"},
        {ItemType_boolean, L"true"},
        {ItemType_decimal, L"-0.25"},
        {ItemType_datetime, L"2026-11-22T04:00:00Z"},
        {ItemType_hexBinary, L"0AFF"}};
    for (const auto& [type, lexical] : cases) {
        VxVariant value;
        value.FromString(lexical, type, kCollapse);
        for (const wchar_t* format : {static_cast<const wchar_t*>(nullptr), L"%.3f"}) {
            if (format && type != ItemType_decimal && type != ItemType_r8) {
                continue;
            }
            EXPECT_EQ(value.ToText(format, buffer), value.ToString(format)) << Narrow(lexical);
        }
    }
    VxVariant unset;
    EXPECT_THROW_MSG(unset.ToText(nullptr, buffer), CVxException,
                     L"Invalid Type 0 to convert to string");
}

TEST(VariantText, ViewsAnswerTheHeldValueOfTheirKindsOnly)
{
    for (ItemType type :
         {ItemType_date, ItemType_datetime, ItemType_time, ItemType_yearMonth, ItemType_monthDay}) {
        VxVariant value;
        value.FromString(type == ItemType_time        ? L"10:00:00"
                         : type == ItemType_yearMonth ? L"2026-11"
                         : type == ItemType_monthDay  ? L"--11-22"
                         : type == ItemType_date      ? L"2026-11-22"
                                                      : L"2026-11-22T10:00:00",
                         type, kCollapse);
        EXPECT_EQ(value.ViewDateTime().ToString(), value.ToString(nullptr));
    }
#ifdef NDEBUG
    VxVariant number;
    number.SetI4(1);
    EXPECT_THROW(number.ViewString(), CVxInvalidStateException);
    EXPECT_THROW(number.ViewDecimal(), CVxInvalidStateException);
    EXPECT_THROW(number.ViewDateTime(), CVxInvalidStateException);
    EXPECT_THROW(number.ViewXmlObject(), CVxInvalidStateException);
    VxVariant nil;
    nil.SetString(L"x");
    nil.SetNil();
    EXPECT_THROW(nil.ViewString(), CVxInvalidStateException);
#endif
}

TEST(VariantText, IntegersFormattedInPlaceAtTheirExtremes)
{
    std::wstring buffer(30, L'#'); // longer than any integer's text
    const auto check = [&buffer](const VxVariant& value) {
        EXPECT_EQ(value.ToText(nullptr, buffer), value.ToString(nullptr));
    };
    for (int64_t v : {INT64_MIN, int64_t{-1}, int64_t{0}, INT64_MAX}) {
        VxVariant value;
        value.SetI8(v);
        check(value);
    }
    for (int32_t v : {INT32_MIN, -10, 9, INT32_MAX}) {
        VxVariant value;
        value.SetI4(v);
        check(value);
    }
    VxVariant value;
    value.SetI1(INT8_MIN);
    check(value);
    value.SetI2(INT16_MIN);
    check(value);
    value.SetUI1(UINT8_MAX);
    check(value);
    value.SetUI2(UINT16_MAX);
    check(value);
    value.SetUI4(UINT32_MAX);
    check(value);
    value.SetUI8(UINT64_MAX);
    check(value);
    value.SetYear(7);
    check(value);
    value.SetBoolean(true);
    check(value);
}

TEST(VariantText, AppendedTextsEqualTheirStrings)
{
    std::wstring out = L"prefix:";
    const CDecimal decimals[] = {CDecimal(L"0"), CDecimal(L"-0.0005"), CDecimal(L"120.50"),
                                 CDecimal(L"-98765432109876543210")};
    for (const CDecimal& decimal : decimals) {
        out.resize(7);
        decimal.AppendTo(out);
        EXPECT_EQ(out, L"prefix:" + decimal.ToString());
    }
    for (const wchar_t* text : {L"-0044-03-04", L"0001-01-01", L"12345-06-07+14:00"}) {
        const CDateTime date = CDateTime::FromString(text, dt_date);
        out.resize(7);
        date.AppendTo(out);
        EXPECT_EQ(out, std::wstring(L"prefix:") + text);
    }
}

} // namespace
