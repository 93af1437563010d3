#include <charconv>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale.h>
#include <string>
#include <string_view>
#include <type_traits>
#include <vxxml/BigInteger.h>
#include <vxxml/BinaryData.h>
#include <vxxml/Conversions.h>
#include <vxxml/DateTime.h>
#include <vxxml/DateTimeSpan.h>
#include <vxxml/Decimal.h>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

namespace VxXmlLib16 {
namespace {

using WhitespaceRule = CWhitespaceUtils::WhitespaceRule;

// ---------------------------------------------------------------------------
// Texts used at more than one throw site.
constexpr const wchar_t* kMsgBadFormat = L"Invalid number format [%s]";

// The messages quote the normalised text. It is only built once a conversion
// has failed, so the success path never allocates for it.
[[noreturn]] void ThrowCannotConvert(const std::wstring& text, WhitespaceRule rule,
                                     const wchar_t* kind)
{
    const std::wstring shown = CWhitespaceUtils::ApplyRule(rule, text);
    throw CVxInvalidValueException(
        FormatString(L"The value [%s] can not be converted to a %s", shown.c_str(), kind));
}

[[noreturn]] void ThrowTooLarge(const std::wstring& text, WhitespaceRule rule, const wchar_t* kind)
{
    const std::wstring shown = CWhitespaceUtils::ApplyRule(rule, text);
    throw CVxInvalidValueException(
        FormatString(L"The value [%s] is to large to fit in a %s", shown.c_str(), kind));
}

// ---------------------------------------------------------------------------
// Normalisation without copying.
//
// For the kinds below the normalised text is only compared or parsed, and
// their lexical forms never hold inner whitespace, so the rules reduce to
// this: collapse trims both ends (an inner run of blanks fails either way),
// while none, preserve and replace leave the length and every non-blank as it
// is. Each caller accounts for replace turning a lone tab into a space where
// that matters.
struct TextView
{
    const wchar_t* begin;
    const wchar_t* end;

    size_t size() const { return static_cast<size_t>(end - begin); }
    bool Equals(const wchar_t* literal) const
    {
        const size_t n = std::char_traits<wchar_t>::length(literal);
        return size() == n && std::char_traits<wchar_t>::compare(begin, literal, n) == 0;
    }
};

TextView Normalised(const std::wstring& text, WhitespaceRule rule)
{
    if (static_cast<uint32_t>(rule) > CWhitespaceUtils::WhitespaceRule_Collapse) {
        throw CVxException(L"Unknown WhitespaceRule");
    }
    const wchar_t* b = text.data();
    const wchar_t* e = b + text.size();
    if (rule == CWhitespaceUtils::WhitespaceRule_Collapse) {
        while (b != e && CWhitespaceUtils::IsWhiteSpace(*b)) {
            ++b;
        }
        while (e != b && CWhitespaceUtils::IsWhiteSpace(e[-1])) {
            --e;
        }
    }
    return {b, e};
}

// The blanks that C's number conversions skip in the "C" locale. Fixed here
// so that a locale set by the application cannot change what is accepted.
constexpr bool IsCBlank(wchar_t c)
{
    return c == L' ' || (c >= L'\t' && c <= L'\r');
}

// ---------------------------------------------------------------------------
// Integers.

enum class ParseResult { Ok, Invalid, Range };

// Reads a base-10 integer the way strtol/strtoul read one (leading blanks,
// one sign, digits), and then requires the whole text to be consumed. The
// magnitude may reach PosLimit for a positive and NegLimit for a negative
// number. As with strtol, a range error wins over trailing characters.
template <uint64_t PosLimit, uint64_t NegLimit>
ParseResult ParseInteger(TextView text, bool& negative, uint64_t& magnitude)
{
    const wchar_t* p = text.begin;
    const wchar_t* const e = text.end;
    while (p != e && IsCBlank(*p)) {
        ++p;
    }
    negative = false;
    if (p != e && (*p == L'+' || *p == L'-')) {
        negative = *p == L'-';
        ++p;
    }
    const uint64_t limit = negative ? NegLimit : PosLimit;
    // Comparing against limit / 10 and limit % 10 checks for overflow before
    // it happens, without a division per digit.
    const uint64_t limitTens = limit / 10;
    const uint32_t limitUnits = static_cast<uint32_t>(limit % 10);
    const wchar_t* const digits = p;
    uint64_t value = 0;
    bool range = false;
    for (; p != e; ++p) {
        const uint32_t d = static_cast<uint32_t>(*p) - U'0';
        if (d > 9) {
            break;
        }
        if (value > limitTens || (value == limitTens && d > limitUnits)) {
            range = true;
        } else {
            value = value * 10 + d;
        }
    }
    if (p == digits) {
        return ParseResult::Invalid;
    }
    if (range) {
        return ParseResult::Range;
    }
    if (p != e) {
        return ParseResult::Invalid;
    }
    magnitude = value;
    return ParseResult::Ok;
}

template <class T> T ReadInteger(const std::wstring& text, WhitespaceRule rule, const wchar_t* kind)
{
    using U = std::make_unsigned_t<T>;
    constexpr uint64_t kPos = static_cast<uint64_t>(std::numeric_limits<T>::max());
    // An unsigned kind allows "-0" and nothing else below zero.
    constexpr uint64_t kNeg = std::is_signed_v<T> ? kPos + 1 : 0; // magnitude of the minimum
    const TextView view = Normalised(text, rule);
    if (view.size() == 0) {
        ThrowCannotConvert(text, rule, kind);
    }
    bool negative = false;
    uint64_t magnitude = 0;
    switch (ParseInteger<kPos, kNeg>(view, negative, magnitude)) {
    case ParseResult::Ok:
        break;
    case ParseResult::Invalid:
        ThrowCannotConvert(text, rule, kind);
    case ParseResult::Range:
        ThrowTooLarge(text, rule, kind);
    }
    // Two's complement negation in the unsigned type, then one conversion:
    // well defined for the minimum value as well.
    const U bits =
        negative ? static_cast<U>(U(0) - static_cast<U>(magnitude)) : static_cast<U>(magnitude);
    return static_cast<T>(bits);
}

// Two digits per step halves the number of divisions, which dominate the
// cost of printing an integer.
constexpr char kDigitPairs[] = "00010203040506070809"
                               "10111213141516171819"
                               "20212223242526272829"
                               "30313233343536373839"
                               "40414243444546474849"
                               "50515253545556575859"
                               "60616263646566676869"
                               "70717273747576777879"
                               "80818283848586878889"
                               "90919293949596979899";

// Writes the digits of v backwards, ending just before `end`; returns the first.
template <class U> wchar_t* WriteDigits(U v, wchar_t* end)
{
    wchar_t* p = end;
    while (v >= 100) {
        const unsigned i = static_cast<unsigned>(v % 100) * 2;
        v /= 100;
        *--p = static_cast<wchar_t>(kDigitPairs[i + 1]);
        *--p = static_cast<wchar_t>(kDigitPairs[i]);
    }
    if (v >= 10) {
        const unsigned i = static_cast<unsigned>(v) * 2;
        *--p = static_cast<wchar_t>(kDigitPairs[i + 1]);
        *--p = static_cast<wchar_t>(kDigitPairs[i]);
    } else {
        *--p = static_cast<wchar_t>(L'0' + static_cast<unsigned>(v));
    }
    return p;
}

template <class T> std::wstring IntegerToString(T value)
{
    using U = std::make_unsigned_t<T>;
    wchar_t buffer[24];
    wchar_t* const end = buffer + 24;
    const bool negative = value < 0;
    const U magnitude =
        negative ? static_cast<U>(U(0) - static_cast<U>(value)) : static_cast<U>(value);
    wchar_t* p = WriteDigits(magnitude, end);
    if (negative) {
        *--p = L'-';
    }
    return std::wstring(p, end);
}

// ---------------------------------------------------------------------------
// Reals.

// The "C" locale, created once, for the rare texts that std::from_chars does
// not take (hexadecimal forms and values out of range).
locale_t CLocale()
{
    static const locale_t loc = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(nullptr));
    return loc;
}

template <class F> F StrtoInC(const char* text, char** end)
{
    if constexpr (std::is_same_v<F, float>) {
        return strtof_l(text, end, CLocale());
    } else {
        return strtod_l(text, end, CLocale());
    }
}

// Reads the text as strtod would in the "C" locale and requires all of it to
// be used. A number is ASCII, so the wide text is narrowed into a stack
// buffer (any other character rejects it) and the common forms are read with
// std::from_chars, which is exact and fast; everything it refuses gets a
// second chance through strtod_l so that both accept the same texts.
template <class F> bool ParseReal(TextView text, F& out)
{
    const size_t n = text.size();
    char stackBuffer[80];
    std::string heapBuffer;
    char* buffer = stackBuffer;
    if (n >= sizeof stackBuffer) {
        heapBuffer.resize(n);
        buffer = heapBuffer.data();
    }
    for (size_t i = 0; i < n; ++i) {
        const wchar_t c = text.begin[i];
        if (c <= 0 || c >= 0x80) {
            return false;
        }
        buffer[i] = static_cast<char>(c);
    }
    buffer[n] = '\0';
    const char* p = buffer;
    const char* const end = buffer + n;
    while (p != end && IsCBlank(static_cast<wchar_t>(*p))) {
        ++p;
    }
    bool negative = false;
    if (p != end && (*p == '+' || *p == '-')) {
        negative = *p == '-';
        ++p;
    }
    // from_chars takes a '-' of its own; a second sign is never valid.
    if (p != end && *p != '+' && *p != '-') {
        F value;
        const auto r = std::from_chars(p, end, value);
        if (r.ec == std::errc() && r.ptr == end) {
            out = negative ? -value : value;
            return true;
        }
    } else {
        return false;
    }
    char* used = nullptr;
    const F value = StrtoInC<F>(buffer, &used);
    if (used != end || used == buffer) {
        return false;
    }
    out = value;
    return true;
}

template <class F> F ReadReal(const std::wstring& text, WhitespaceRule rule, const wchar_t* kind)
{
    const TextView view = Normalised(text, rule);
    if (view.size() == 0) {
        ThrowCannotConvert(text, rule, kind);
    }
    if (view.Equals(L"NaN") || view.Equals(L"1.#QNAN") || view.Equals(L"-NAN")) {
        return std::numeric_limits<F>::quiet_NaN();
    }
    if (view.Equals(L"INF")) {
        return std::numeric_limits<F>::infinity();
    }
    if (view.Equals(L"-INF")) {
        return -std::numeric_limits<F>::infinity();
    }
    F value;
    if (!ParseReal(view, value)) {
        ThrowCannotConvert(text, rule, kind);
    }
    return value;
}

// A validated printf-style number format: the literal text around the one
// conversion (with "%%" already turned into '%') and the conversion itself.
struct NumberFormat
{
    std::wstring prefix;
    std::wstring suffix;
    bool leftAlign = false;
    bool forceSign = false;
    bool spaceSign = false;
    bool zeroPad = false;
    bool alternate = false;
    int width = 0;
    int precision = -1; // none given
    wchar_t conversion = 0;
};

// Accepts literal text, "%%" and exactly one conversion whose letter is in
// `conversions`; width and precision are limited to three digits so that a
// format cannot ask for absurd amounts of memory.
bool ParseNumberFormat(const std::wstring& format, const wchar_t* conversions, NumberFormat& out)
{
    const wchar_t* p = format.c_str();
    const wchar_t* const e = p + format.size();
    bool seen = false;
    while (p != e) {
        if (*p != L'%') {
            (seen ? out.suffix : out.prefix) += *p++;
            continue;
        }
        ++p;
        if (p != e && *p == L'%') {
            (seen ? out.suffix : out.prefix) += L'%';
            ++p;
            continue;
        }
        if (seen) {
            return false;
        }
        seen = true;
        for (; p != e; ++p) {
            if (*p == L'-') {
                out.leftAlign = true;
            } else if (*p == L'+') {
                out.forceSign = true;
            } else if (*p == L' ') {
                out.spaceSign = true;
            } else if (*p == L'0') {
                out.zeroPad = true;
            } else if (*p == L'#') {
                out.alternate = true;
            } else {
                break;
            }
        }
        auto readNumber = [&](int& value) {
            int digits = 0;
            value = 0;
            while (p != e && *p >= L'0' && *p <= L'9' && digits < 4) {
                value = value * 10 + (*p++ - L'0');
                ++digits;
            }
            return digits;
        };
        if (readNumber(out.width) > 3) {
            return false;
        }
        if (p != e && *p == L'.') {
            ++p;
            if (readNumber(out.precision) > 3) {
                return false;
            }
        }
        // "%lf" means the same as "%f" to printf; people write it out of habit.
        if (p != e && *p == L'l') {
            ++p;
        }
        if (p == e ||
            std::char_traits<wchar_t>::find(
                conversions, std::char_traits<wchar_t>::length(conversions), *p) == nullptr) {
            return false;
        }
        out.conversion = *p++;
    }
    return seen;
}

template <class F> std::wstring RealToString(F value, const std::wstring& format)
{
    if (std::isnan(value)) {
        return L"NaN";
    }
    if (std::isinf(value)) {
        return value < 0 ? L"-INF" : L"INF";
    }
    if (format.empty()) {
        // Shortest text that reads back to the same bits.
        char buffer[64];
        const auto r = std::to_chars(buffer, buffer + sizeof buffer, value);
        return std::wstring(buffer, r.ptr);
    }
    NumberFormat parsed;
    if (!ParseNumberFormat(format, L"fFeEgGaA", parsed)) {
        throw CVxInvalidParamException(FormatString(kMsgBadFormat, format.c_str()));
    }
    // The format has been checked to hold exactly one floating conversion,
    // so handing it to the printf family is safe.
    return FormatString(format.c_str(), static_cast<double>(value));
}

// Month and day: "--MM" / "---DD" (and "--MM--"), or a plain number.
uint8_t ReadMonthOrDay(const std::wstring& text, WhitespaceRule rule, size_t dashes,
                       uint32_t maximum, const wchar_t* kind)
{
    const TextView view = Normalised(text, rule);
    uint32_t value = 0;
    if (view.size() > 0 && *view.begin == L'-') {
        const wchar_t* p = view.begin;
        for (size_t i = 0; i < dashes; ++i, ++p) {
            if (p == view.end || *p != L'-') {
                ThrowCannotConvert(text, rule, kind);
            }
        }
        if (view.end - p < 2) {
            ThrowCannotConvert(text, rule, kind);
        }
        const uint32_t tens = static_cast<uint32_t>(p[0]) - U'0';
        const uint32_t units = static_cast<uint32_t>(p[1]) - U'0';
        if (tens > 9 || units > 9) {
            ThrowCannotConvert(text, rule, kind);
        }
        value = tens * 10 + units;
        p += 2;
        const bool oldMonthForm = dashes == 2 && view.end - p == 2 && p[0] == L'-' && p[1] == L'-';
        if (p != view.end && !oldMonthForm) {
            ThrowCannotConvert(text, rule, kind);
        }
    } else {
        bool negative = false;
        uint64_t magnitude = 0;
        if (view.size() == 0 ||
            ParseInteger<255, 0>(view, negative, magnitude) != ParseResult::Ok) {
            ThrowCannotConvert(text, rule, kind);
        }
        value = static_cast<uint32_t>(magnitude);
    }
    if (value < 1 || value > maximum) {
        ThrowCannotConvert(text, rule, kind);
    }
    return static_cast<uint8_t>(value);
}

std::wstring TwoDigits(const wchar_t* dashes, unsigned value)
{
    return FormatString(L"%s%02u", dashes, value);
}

// Hands the normalised text to `parse` as a view, copying only when the rule
// would change characters inside the trimmed text (rare for these kinds).
template <class Parse>
auto WithNormalised(const std::wstring& text, WhitespaceRule rule, Parse&& parse)
{
    const TextView view = Normalised(text, rule);
    bool changes = false;
    if (rule == CWhitespaceUtils::WhitespaceRule_Replace ||
        rule == CWhitespaceUtils::WhitespaceRule_Collapse) {
        for (const wchar_t* p = view.begin; p != view.end && !changes; ++p) {
            changes = CWhitespaceUtils::IsWhiteSpace(*p);
        }
    }
    if (!changes) {
        return parse(std::wstring_view(view.begin, view.size()));
    }
    const std::wstring normalised = CWhitespaceUtils::ApplyRule(rule, text);
    return parse(std::wstring_view(normalised));
}

CDateTime ReadDateTime(const std::wstring& text, WhitespaceRule rule, DateTimeType type)
{
    return WithNormalised(text, rule,
                          [type](std::wstring_view v) { return CDateTime::FromString(v, type); });
}

// Writes a value in the lexical form of `type`. A value of another kind is
// written through the fields the two kinds share (the date of a dateTime as
// an xs:date, say); a kind that lacks a needed field throws the
// CVxInvalidStateException of that field's accessor.
std::wstring WriteDateTime(const CDateTime& value, DateTimeType type)
{
    if (value.GetType() == type) {
        return value.ToString();
    }
    CDateTime converted;
    switch (type) {
    case dt_dateTime:
        converted = value.GetType() == dt_date
                        ? CDateTime::MakeDateTime(value.GetYear(), value.GetMonth(), value.GetDay(),
                                                  0, 0, 0)
                        : CDateTime::MakeDateTime(value.GetYear(), value.GetMonth(), value.GetDay(),
                                                  value.GetHour(), value.GetMinute(),
                                                  value.GetSecond(), value.GetFraction());
        break;
    case dt_date:
        converted = CDateTime::MakeDate(value.GetYear(), value.GetMonth(), value.GetDay());
        break;
    case dt_time:
        converted = CDateTime::MakeTime(value.GetHour(), value.GetMinute(), value.GetSecond(),
                                        value.GetFraction());
        break;
    case dt_gYearMonth:
        converted = CDateTime::MakeYearMonth(value.GetYear(), value.GetMonth());
        break;
    case dt_gMonthDay:
        converted = CDateTime::MakeMonthDay(value.GetMonth(), value.GetDay());
        break;
    }
    if (value.HasTimezone()) {
        converted.SetTimezone(value.GetTimezoneOffset());
    }
    return converted.ToString();
}

} // namespace

// ---------------------------------------------------------------------------
// Integers

int32_t CConversions::i4FromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadInteger<int32_t>(text, rule, L"i4");
}

int64_t CConversions::i8FromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadInteger<int64_t>(text, rule, L"i8");
}

uint32_t CConversions::ui4FromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadInteger<uint32_t>(text, rule, L"ui4");
}

uint64_t CConversions::ui8FromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadInteger<uint64_t>(text, rule, L"ui8");
}

int8_t CConversions::i1FromString(const std::wstring& text, WhitespaceRule rule)
{
    const int32_t value = i4FromString(text, rule);
    if (value < -128 || value >= 128) {
        ThrowTooLarge(text, rule, L"i1");
    }
    return static_cast<int8_t>(value);
}

int16_t CConversions::i2FromString(const std::wstring& text, WhitespaceRule rule)
{
    const int32_t value = i4FromString(text, rule);
    if (value < -32768 || value >= 32768) {
        ThrowTooLarge(text, rule, L"i2");
    }
    return static_cast<int16_t>(value);
}

uint8_t CConversions::ui1FromString(const std::wstring& text, WhitespaceRule rule)
{
    const uint32_t value = ui4FromString(text, rule);
    if (value >= 256) {
        ThrowTooLarge(text, rule, L"ui1");
    }
    return static_cast<uint8_t>(value);
}

uint16_t CConversions::ui2FromString(const std::wstring& text, WhitespaceRule rule)
{
    const uint32_t value = ui4FromString(text, rule);
    if (value >= 65536) {
        ThrowTooLarge(text, rule, L"ui2");
    }
    return static_cast<uint16_t>(value);
}

std::wstring CConversions::i1ToString(int8_t value)
{
    return IntegerToString(value);
}

std::wstring CConversions::i2ToString(int16_t value)
{
    return IntegerToString(value);
}

std::wstring CConversions::i4ToString(int32_t value)
{
    return IntegerToString(value);
}

std::wstring CConversions::i8ToString(int64_t value)
{
    return IntegerToString(value);
}

std::wstring CConversions::ui1ToString(uint8_t value)
{
    return IntegerToString(value);
}

std::wstring CConversions::ui2ToString(uint16_t value)
{
    return IntegerToString(value);
}

std::wstring CConversions::ui4ToString(uint32_t value)
{
    return IntegerToString(value);
}

std::wstring CConversions::ui8ToString(uint64_t value)
{
    return IntegerToString(value);
}

// ---------------------------------------------------------------------------
// Reals

float CConversions::r4FromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadReal<float>(text, rule, L"r4");
}

double CConversions::r8FromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadReal<double>(text, rule, L"r8");
}

std::wstring CConversions::r4ToString(float value, const std::wstring& format)
{
    return RealToString(value, format);
}

std::wstring CConversions::r8ToString(double value, const std::wstring& format)
{
    return RealToString(value, format);
}

// ---------------------------------------------------------------------------
// Boolean, char, string

bool CConversions::booleanFromString(const std::wstring& text, WhitespaceRule rule)
{
    const TextView view = Normalised(text, rule);
    if (view.Equals(L"true") || view.Equals(L"1")) {
        return true;
    }
    if (view.Equals(L"false") || view.Equals(L"0")) {
        return false;
    }
    const std::wstring shown = CWhitespaceUtils::ApplyRule(rule, text);
    throw CVxInvalidValueException(FormatString(
        L"A Boolean Value read from an XML document was invalid [%s]. Valid values are 'true', "
        L"'false', '1', or '0'",
        shown.c_str()));
}

std::wstring CConversions::booleanToString(bool value)
{
    return value ? L"true" : L"false";
}

wchar_t CConversions::charFromString(const std::wstring& text, WhitespaceRule rule)
{
    const TextView view = Normalised(text, rule);
    if (view.size() != 1) {
        const std::wstring shown = CWhitespaceUtils::ApplyRule(rule, text);
        throw CVxInvalidValueException(FormatString(
            L"The value [%s] can not be a char as it is either empty of greater than 1 char long",
            shown.c_str()));
    }
    const wchar_t c = *view.begin;
    if (rule == CWhitespaceUtils::WhitespaceRule_Replace && CWhitespaceUtils::IsWhiteSpace(c)) {
        return L' ';
    }
    return c;
}

std::wstring CConversions::charToString(wchar_t value)
{
    return std::wstring(1, value);
}

std::wstring CConversions::stringFromString(const std::wstring& text, WhitespaceRule rule)
{
    return CWhitespaceUtils::ApplyRule(rule, text);
}

std::wstring CConversions::stringToString(const std::wstring& value)
{
    return value;
}

// ---------------------------------------------------------------------------
// gYear, gMonth, gDay

uint16_t CConversions::yearFromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadInteger<uint16_t>(text, rule, L"year");
}

std::wstring CConversions::yearToString(uint16_t value)
{
    return IntegerToString(value);
}

uint8_t CConversions::monthFromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadMonthOrDay(text, rule, 2, 12, L"month");
}

std::wstring CConversions::monthToString(uint8_t value)
{
    return TwoDigits(L"--", value);
}

uint8_t CConversions::dayFromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadMonthOrDay(text, rule, 3, 31, L"day");
}

std::wstring CConversions::dayToString(uint8_t value)
{
    return TwoDigits(L"---", value);
}

// ---------------------------------------------------------------------------
// Decimal and integer

CDecimal CConversions::decimalFromString(const std::wstring& text, WhitespaceRule rule)
{
    return WithNormalised(text, rule,
                          [](std::wstring_view v) { return CDecimal(v.data(), v.size()); });
}

std::wstring CConversions::decimalToString(const CDecimal& value)
{
    return value.ToString();
}

std::wstring CConversions::decimalToString(const CDecimal& value, const std::wstring& format)
{
    if (format.empty()) {
        return value.ToString();
    }
    NumberFormat parsed;
    if (!ParseNumberFormat(format, L"fF", parsed)) {
        throw CVxInvalidParamException(FormatString(kMsgBadFormat, format.c_str()));
    }
    // The digits come from the exact value, rounded half away from zero;
    // only the sign and the padding are laid out here, the way printf would.
    const int places = parsed.precision < 0 ? 6 : parsed.precision;
    std::wstring digits = value.ToString(places);
    const bool negative = !digits.empty() && digits[0] == L'-';
    if (negative) {
        digits.erase(0, 1);
    }
    if (places == 0 && parsed.alternate) {
        digits += L'.';
    }
    const wchar_t* sign = negative ? L"-" : parsed.forceSign ? L"+" : parsed.spaceSign ? L" " : L"";
    const size_t length = std::char_traits<wchar_t>::length(sign) + digits.size();
    const size_t padding =
        static_cast<size_t>(parsed.width) > length ? static_cast<size_t>(parsed.width) - length : 0;
    std::wstring body;
    if (parsed.leftAlign) {
        body = sign + digits + std::wstring(padding, L' ');
    } else if (parsed.zeroPad) {
        body = sign + std::wstring(padding, L'0') + digits;
    } else {
        body = std::wstring(padding, L' ') + sign + digits;
    }
    return parsed.prefix + body + parsed.suffix;
}

CBigInteger CConversions::integerFromString(const std::wstring& text, WhitespaceRule rule)
{
    return CBigInteger(CWhitespaceUtils::ApplyRule(rule, text).c_str());
}

std::wstring CConversions::integerToString(const CBigInteger& value)
{
    return value.ToString();
}

// ---------------------------------------------------------------------------
// Binary

CBinaryData CConversions::hexBinaryFromString(const std::wstring& text, WhitespaceRule rule)
{
    CBinaryData data;
    data.SetAsHexString(CWhitespaceUtils::ApplyRule(rule, text).c_str());
    return data;
}

std::wstring CConversions::hexBinaryToString(const CBinaryData& value)
{
    return value.GetAsHexString();
}

CBinaryData CConversions::base64BinaryFromString(const std::wstring& text, WhitespaceRule rule)
{
    CBinaryData data;
    data.SetAsBase64(CWhitespaceUtils::ApplyRule(rule, text).c_str());
    return data;
}

std::wstring CConversions::base64BinaryToString(const CBinaryData& value)
{
    return value.GetAsBase64();
}

// ---------------------------------------------------------------------------
// Date, time and duration

CDateTime CConversions::dateFromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadDateTime(text, rule, dt_date);
}

std::wstring CConversions::dateToString(const CDateTime& value)
{
    return WriteDateTime(value, dt_date);
}

CDateTime CConversions::datetimeFromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadDateTime(text, rule, dt_dateTime);
}

std::wstring CConversions::datetimeToString(const CDateTime& value)
{
    return WriteDateTime(value, dt_dateTime);
}

CDateTime CConversions::timeFromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadDateTime(text, rule, dt_time);
}

std::wstring CConversions::timeToString(const CDateTime& value)
{
    return WriteDateTime(value, dt_time);
}

CDateTime CConversions::yearMonthFromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadDateTime(text, rule, dt_gYearMonth);
}

std::wstring CConversions::yearMonthToString(const CDateTime& value)
{
    return WriteDateTime(value, dt_gYearMonth);
}

CDateTime CConversions::monthDayFromString(const std::wstring& text, WhitespaceRule rule)
{
    return ReadDateTime(text, rule, dt_gMonthDay);
}

std::wstring CConversions::monthDayToString(const CDateTime& value)
{
    return WriteDateTime(value, dt_gMonthDay);
}

CDateTimeSpan CConversions::durationFromString(const std::wstring& text, WhitespaceRule rule)
{
    return WithNormalised(text, rule,
                          [](std::wstring_view v) { return CDateTimeSpan::FromString(v); });
}

std::wstring CConversions::durationToString(const CDateTimeSpan& value)
{
    return value.ToString();
}

} // namespace VxXmlLib16
