// The kinds of primitive value the library knows.
#pragma once

#include <cstdint>
#include <vxxml/Export.h>

namespace VxXmlLib16 {

// The numbers are stored in generated code and collection metadata: they
// never change. Exported like the classes: clang gives a template instance
// the lowest visibility among its arguments, so a hidden ItemType would hide
// the typed collections (CXmlTypedCollection<V, ItemType>) from users.
enum VXXML_API ItemType : int32_t {
    ItemType_Invalid = 0, // no value
    ItemType_hexBinary = 1,
    ItemType_base64Binary = 2,
    ItemType_i1 = 3,
    ItemType_i2 = 4,
    ItemType_i4 = 5,
    ItemType_i8 = 6,
    ItemType_ui1 = 7,
    ItemType_ui2 = 8,
    ItemType_ui4 = 9,
    ItemType_ui8 = 10,
    ItemType_r4 = 11,
    ItemType_r8 = 12,
    ItemType_duration = 13,
    ItemType_yearMonth = 14, // xs:gYearMonth, held as a CDateTime
    ItemType_monthDay = 15,  // xs:gMonthDay, held as a CDateTime
    ItemType_year = 16,      // xs:gYear, held as a 16-bit number
    ItemType_month = 17,     // xs:gMonth, held as an 8-bit number
    ItemType_day = 18,       // xs:gDay, held as an 8-bit number
    ItemType_date = 19,
    ItemType_datetime = 20,
    ItemType_time = 21,
    ItemType_char = 22,
    ItemType_string = 23,
    ItemType_boolean = 24,
    ItemType_decimal = 25,
    ItemType_integer = 26,
    ItemType_XmlObjectBase = 27, // a bound object
    ItemType_XmlCollection = 28, // a collection of bound objects
};

} // namespace VxXmlLib16
