// Conversions between every primitive value kind and its XML lexical form.
//
// Each kind has a pair <kind>FromString(text, rule) / <kind>ToString(value).
// A from-string conversion first normalises the text with the whitespace
// rule; its failures are CVxInvalidValueException with a message that quotes
// the normalised text. Nothing here depends on the process locale.
#pragma once

#include <cstdint>
#include <string>
#include <vxxml/Export.h>
#include <vxxml/WhitespaceUtils.h>

namespace VxXmlLib16 {

class CDecimal;
class CBigInteger;
class CBinaryData;
class CDateTime;
class CDateTimeSpan;

class VXXML_API CConversions
{
public:
    using WhitespaceRule = CWhitespaceUtils::WhitespaceRule;

    // Integers are base 10. Leading blanks (space, tab, line feed, vertical
    // tab, form feed, carriage return) and one '+' or '-' are accepted; the
    // rest of the text must be digits. Out-of-range values fail with
    // "The value [...] is to large to fit in a <kind>"; the narrow kinds i1,
    // i2, ui1 and ui2 are read as i4 / ui4 first, so a text that is no number
    // at all (or beyond 32 bits) reports the i4 / ui4 message. An unsigned
    // kind accepts "-0" but reports any other negative value as out of range.
    static int8_t i1FromString(const std::wstring& text, WhitespaceRule rule);
    static int16_t i2FromString(const std::wstring& text, WhitespaceRule rule);
    static int32_t i4FromString(const std::wstring& text, WhitespaceRule rule);
    static int64_t i8FromString(const std::wstring& text, WhitespaceRule rule);
    static uint8_t ui1FromString(const std::wstring& text, WhitespaceRule rule);
    static uint16_t ui2FromString(const std::wstring& text, WhitespaceRule rule);
    static uint32_t ui4FromString(const std::wstring& text, WhitespaceRule rule);
    static uint64_t ui8FromString(const std::wstring& text, WhitespaceRule rule);

    static std::wstring i1ToString(int8_t value);
    static std::wstring i2ToString(int16_t value);
    static std::wstring i4ToString(int32_t value);
    static std::wstring i8ToString(int64_t value);
    static std::wstring ui1ToString(uint8_t value);
    static std::wstring ui2ToString(uint16_t value);
    static std::wstring ui4ToString(uint32_t value);
    static std::wstring ui8ToString(uint64_t value);

    // Reals: "INF", "-INF", "NaN" (also "1.#QNAN" and "-NAN") are the special
    // values; any other text is read like C's strtod in the "C" locale
    // (decimal or hexadecimal forms, optional leading blanks and sign) and
    // must be consumed entirely. Values beyond the type's range become
    // infinity or zero, as strtod makes them. The result is correctly rounded
    // to the type (an r4 is not rounded through double first).
    static float r4FromString(const std::wstring& text, WhitespaceRule rule);
    static double r8FromString(const std::wstring& text, WhitespaceRule rule);

    // With an empty format the shortest text that reads back to the same
    // bits ("0.1", "1e+100", "-0"); the specials are always written "INF",
    // "-INF" and "NaN". Otherwise `format` is a printf-style format holding
    // exactly one floating conversion (%f, %F, %e, %E, %g, %G, %a or %A with
    // optional flags, width and precision; no '*', no length modifier but
    // 'l') and any literal text and "%%" around it, e.g. L"%.2f". Any other
    // format throws CVxInvalidParamException "Invalid number format [...]".
    static std::wstring r4ToString(float value, const std::wstring& format = std::wstring());
    static std::wstring r8ToString(double value, const std::wstring& format = std::wstring());

    // "true" and "1" are true, "false" and "0" false (case matters).
    static bool booleanFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring booleanToString(bool value);

    // Exactly one character after the rule.
    static wchar_t charFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring charToString(wchar_t value);

    static std::wstring stringFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring stringToString(const std::wstring& value);

    static CDecimal decimalFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring decimalToString(const CDecimal& value);
    // A non-empty format is a printf-style "%f" conversion applied to the
    // exact decimal value instead of to a double: literal text and "%%"
    // around exactly one %f (or %F) with optional flags '-', '+', ' ', '0',
    // '#', a width and a precision. The precision is the number of decimal
    // places (6 when omitted, as printf), rounded half away from zero; every
    // digit before the point is kept, however many there are. Any other
    // format throws CVxInvalidParamException "Invalid number format [...]".
    // An empty format is the same as decimalToString(value).
    static std::wstring decimalToString(const CDecimal& value, const std::wstring& format);

    static CBigInteger integerFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring integerToString(const CBigInteger& value);

    static CBinaryData hexBinaryFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring hexBinaryToString(const CBinaryData& value);
    static CBinaryData base64BinaryFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring base64BinaryToString(const CBinaryData& value);

    // xs:gYear, xs:gMonth and xs:gDay travel as small numbers. A year is
    // written "%u" and read as a number from 0 to 65535. A month is written
    // "--MM" and a day "---DD"; reading accepts those forms, the older
    // "--MM--" month form and plain numbers, and requires 1-12 and 1-31.
    // A time zone is refused: the value has nowhere to keep it.
    static uint16_t yearFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring yearToString(uint16_t value);
    static uint8_t monthFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring monthToString(uint8_t value);
    static uint8_t dayFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring dayToString(uint8_t value);

    static CDateTime dateFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring dateToString(const CDateTime& value);
    static CDateTime datetimeFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring datetimeToString(const CDateTime& value);
    static CDateTime timeFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring timeToString(const CDateTime& value);
    static CDateTime yearMonthFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring yearMonthToString(const CDateTime& value);
    static CDateTime monthDayFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring monthDayToString(const CDateTime& value);

    static CDateTimeSpan durationFromString(const std::wstring& text, WhitespaceRule rule);
    static std::wstring durationToString(const CDateTimeSpan& value);
};

} // namespace VxXmlLib16
