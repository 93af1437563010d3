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

} // namespace
