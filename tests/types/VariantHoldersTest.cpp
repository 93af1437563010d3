// The variant's in-place views and text, and the holders it reuses for its
// heap kinds: a reused holder must carry nothing of its previous value.

#include "TestHelpers.h"

#include <thread>
#include <vxxml/Conversions.h>
#include <vxxml/DateTime.h>
#include <vxxml/Decimal.h>
#include <vxxml/VxVariant.h>

using namespace VxXmlLib16;

namespace {

constexpr auto kCollapse = CWhitespaceUtils::WhitespaceRule_Collapse;

TEST(VariantHolders, ReusedHoldersKeepNothingOfTheirLastValue)
{
    // Each round drops a large value and makes a small one of the same kind
    // right after, which is when a dropped holder is taken again.
    for (int round = 0; round < 3; ++round) {
        {
            VxVariant big;
            big.SetString(std::wstring(200, L'x'));
            VxVariant bigDecimal;
            bigDecimal.FromString(L"-98765432109876543210.123456789", ItemType_decimal, kCollapse);
            VxVariant zoned;
            zoned.FromString(L"2026-12-31T23:59:58.125+05:30", ItemType_datetime, kCollapse);
        }
        VxVariant text;
        text.SetString(L"ab");
        EXPECT_EQ(text.GetString(), L"ab");
        VxVariant decimal;
        decimal.SetDecimal(CDecimal(L"1.5"));
        EXPECT_EQ(decimal.ToString(nullptr), L"1.5");
        const VxVariant decimalCopy(decimal);
        EXPECT_EQ(decimalCopy.ToString(nullptr), L"1.5");
        VxVariant date;
        date.FromString(L"2026-01-02", ItemType_date, kCollapse);
        EXPECT_EQ(date.ToString(nullptr), L"2026-01-02");
        EXPECT_EQ(date.GetDate(), CConversions::dateFromString(L"2026-01-02", kCollapse));
        // An emptied string holder goes back too.
        EXPECT_EQ(text.TakeString(), L"ab");
    }
}

TEST(VariantHolders, ValuesMayBeDroppedOnAnotherThread)
{
    auto* held = new VxVariant[3];
    held[0].SetString(L"made here");
    held[1].SetDecimal(CDecimal(L"42.42"));
    held[2].FromString(L"12:00:00Z", ItemType_time, kCollapse);
    std::thread([held] {
        EXPECT_EQ(held[0].GetString(), L"made here");
        delete[] held;
        VxVariant again;
        again.SetDecimal(CDecimal(L"7"));
        EXPECT_EQ(again.ToString(nullptr), L"7");
    }).join();
    VxVariant here;
    here.SetString(L"still fine");
    EXPECT_EQ(here.GetString(), L"still fine");
}

TEST(VariantHolders, ToTextGivesToStringsTextAndAStringInPlace)
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

TEST(VariantHolders, ViewsAnswerTheHeldValueOfTheirKindsOnly)
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

// One variant carrying value after value, as writing does: a kept holder
// of any length must not show through in the next value, whatever its kind,
// and the text formatted into one buffer must follow each value's length.
TEST(VariantHolders, KeptStorageCarriesNothingIntoTheNextValue)
{
    VxVariant nilString;
    nilString.SetString(L"gone");
    nilString.SetNil();
    VxVariant longString;
    longString.SetString(std::wstring(40, L'w'));
    const auto set = [&](VxVariant& value, int step) {
        switch (step) {
        case 0:
            value.SetString(std::wstring(90, L'x'));
            break;
        case 1:
            value.SetString(L"ab");
            break;
        case 2:
            value.SetDecimal(CDecimal(L"-12345678901234567890.125"));
            break;
        case 3:
            value.SetDecimal(CDecimal(L"7"));
            break;
        case 4:
            value.FromString(L"2026-12-31T23:59:58.125+05:30", ItemType_datetime, kCollapse);
            break;
        case 5:
            value.FromString(L"2026-01-02", ItemType_date, kCollapse);
            break;
        case 6:
            value.SetI4(-5);
            break;
        case 7:
            value.SetNil();
            break;
        case 8:
            value = nilString; // a nil copy over a slot that held other bits
            break;
        case 9:
            value = longString;
            break;
        case 10:
            value.SetBoolean(false);
            break;
        default:
            value = VxVariant(longString); // moved in
            break;
        }
    };
    VxVariant value;
    std::wstring buffer;
    // Every order of two steps, so each kind follows each other kind.
    for (int first = 0; first < 12; ++first) {
        for (int second = 0; second < 12; ++second) {
            for (int step : {first, second}) {
                EXPECT_FALSE(value.IsValid());
                EXPECT_FALSE(value.IsNil());
                set(value, step);
                VxVariant fresh;
                set(fresh, step);
                EXPECT_EQ(value.GetTypeAsEnum(), fresh.GetTypeAsEnum()) << first << ' ' << second;
                EXPECT_EQ(value.IsNil(), fresh.IsNil()) << first << ' ' << second;
                if (!fresh.IsNil() && fresh.IsValid()) {
                    EXPECT_EQ(value.ToText(nullptr, buffer), fresh.ToString(nullptr))
                        << first << ' ' << second;
                }
                value.SetInvalidKeepingStorage();
            }
        }
    }
    EXPECT_EQ(nilString.GetTypeAsEnum(), ItemType_string);
    EXPECT_EQ(longString.GetString(), std::wstring(40, L'w'));
}

TEST(VariantHolders, IntegersFormattedInPlaceAtTheirExtremes)
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

TEST(VariantHolders, AppendedTextsEqualTheirStrings)
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
