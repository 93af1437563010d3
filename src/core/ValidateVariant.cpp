// The facet check of a value held in a variant: metadata sees property values
// only as variants and hands them here with the member's restrictions.

#include <vxxml/BigInteger.h>
#include <vxxml/BinaryData.h>
#include <vxxml/DateTime.h>
#include <vxxml/DateTimeSpan.h>
#include <vxxml/Decimal.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>
#include <vxxml/PrimitiveRestrictions.h>
#include <vxxml/VxVariant.h>
#include <vxxml/XmlObjectBase.h>

namespace VxXmlLib16 {

void CXmlObjectBase::Throw_IfInvalidValue(const wchar_t* name, const VxVariant& value,
                                          const Restrictions& r)
{
    // A nil value has nothing to check (and a nil of a heap kind holds no
    // object to read).
    if (value.IsNil()) {
        return;
    }
    const ItemType type = value.GetTypeAsEnum();
    // Without facets every value of a known kind passes; only an unknown
    // kind still has to be refused.
    if (r.IsEmpty() && type >= ItemType_hexBinary && type <= ItemType_integer) {
        return;
    }
    // The checks look at the held values in place: no copies.
    switch (type) {
    case ItemType_hexBinary:
        return Throw_IfInvalid_hexBinary(name, value.ViewBinaryData(), r);
    case ItemType_base64Binary:
        return Throw_IfInvalid_base64Binary(name, value.ViewBinaryData(), r);
    case ItemType_i1:
        return Throw_IfInvalid_i1(name, value.GetI1(), r);
    case ItemType_i2:
        return Throw_IfInvalid_i2(name, value.GetI2(), r);
    case ItemType_i4:
        return Throw_IfInvalid_i4(name, value.GetI4(), r);
    case ItemType_i8:
        return Throw_IfInvalid_i8(name, value.GetI8(), r);
    case ItemType_ui1:
        return Throw_IfInvalid_ui1(name, value.GetUI1(), r);
    case ItemType_ui2:
        return Throw_IfInvalid_ui2(name, value.GetUI2(), r);
    case ItemType_ui4:
        return Throw_IfInvalid_ui4(name, value.GetUI4(), r);
    case ItemType_ui8:
        return Throw_IfInvalid_ui8(name, value.GetUI8(), r);
    case ItemType_r4:
        return Throw_IfInvalid_r4(name, value.GetR4(), r);
    case ItemType_r8:
        return Throw_IfInvalid_r8(name, value.GetR8(), r);
    case ItemType_duration:
        return Throw_IfInvalid_duration(name, value.ViewDuration(), r);
    case ItemType_yearMonth:
        return Throw_IfInvalid_yearMonth(name, value.ViewDateTime(), r);
    case ItemType_monthDay:
        return Throw_IfInvalid_monthDay(name, value.ViewDateTime(), r);
    case ItemType_year:
        return Throw_IfInvalid_year(name, value.GetYear(), r);
    case ItemType_month:
        return Throw_IfInvalid_month(name, value.GetMonth(), r);
    case ItemType_day:
        return Throw_IfInvalid_day(name, value.GetDay(), r);
    case ItemType_date:
        return Throw_IfInvalid_date(name, value.ViewDateTime(), r);
    case ItemType_datetime:
        return Throw_IfInvalid_datetime(name, value.ViewDateTime(), r);
    case ItemType_time:
        return Throw_IfInvalid_time(name, value.ViewDateTime(), r);
    case ItemType_char:
        return Throw_IfInvalid_char(name, value.GetChar(), r);
    case ItemType_string:
        return Throw_IfInvalid_string(name, value.ViewString(), r);
    case ItemType_boolean:
        return Throw_IfInvalid_boolean(name, value.GetBoolean(), r);
    case ItemType_decimal:
        return Throw_IfInvalid_decimal(name, value.ViewDecimal(), r);
    case ItemType_integer:
        return Throw_IfInvalid_integer(name, value.ViewInteger(), r);
    default:
        break;
    }
    throw CVxInvalidValueException(FormatString(L"Unknown type [%d] for the value of %s",
                                                static_cast<int>(type), name ? name : L""));
}

} // namespace VxXmlLib16
