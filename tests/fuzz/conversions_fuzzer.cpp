// Text into CConversions' FromString of every kind, and back.
//
// Byte 0 picks the kind, byte 1 the whitespace rule (4 is no rule at all and
// must be refused), the rest is the text. For the formatted kinds (r8 and
// decimal with a format) a '|' separates the number from the format.
// Whatever is accepted must print and read back to the same value; integers
// are also checked against a plain reference reader.
#include "FuzzSupport.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;
using Rule = CWhitespaceUtils::WhitespaceRule;

namespace {

__extension__ typedef __int128 Int128; // wide enough for every range checked

// The integer grammar as documented: leading blanks, one optional sign,
// then nothing but decimal digits. Values too long for 128 bits are simply
// out of every range.
std::optional<Int128> ReferenceInteger(const std::wstring& text, bool& tooLong)
{
    tooLong = false;
    size_t i = 0;
    while (i < text.size() && (text[i] == L' ' || (text[i] >= L'\t' && text[i] <= L'\r'))) {
        ++i;
    }
    bool negative = false;
    if (i < text.size() && (text[i] == L'+' || text[i] == L'-')) {
        negative = text[i] == L'-';
        ++i;
    }
    if (i == text.size()) {
        return std::nullopt;
    }
    Int128 value = 0;
    for (; i < text.size(); ++i) {
        if (text[i] < L'0' || text[i] > L'9') {
            return std::nullopt;
        }
        if (value > (Int128{1} << 100)) {
            tooLong = true;
        } else {
            value = value * 10 + (text[i] - L'0');
        }
    }
    return negative ? -value : value;
}

template <typename T, typename From, typename To>
void Integer(const std::wstring& text, Rule rule, From from, To to)
{
    std::optional<T> value;
    try {
        value = from(text, rule);
    } catch (const CVxException&) {
    }
    std::wstring normalised;
    try {
        normalised = CWhitespaceUtils::ApplyRule(rule, text);
    } catch (const CVxException&) {
        VXFUZZ_CHECK(!value);
        return;
    }
    bool tooLong = false;
    const std::optional<Int128> expected = ReferenceInteger(normalised, tooLong);
    const bool inRange = expected && !tooLong && *expected >= std::numeric_limits<T>::min() &&
                         *expected <= std::numeric_limits<T>::max();
    VXFUZZ_CHECK(value.has_value() == inRange);
    if (!value) {
        return;
    }
    VXFUZZ_CHECK(static_cast<Int128>(*value) == *expected);
    const std::wstring printed = to(*value);
    VXFUZZ_CHECK(printed == std::to_wstring(*value));
    VXFUZZ_CHECK(from(printed, CWhitespaceUtils::WhitespaceRule_None) == *value);
}

template <typename T> bool SameReal(T a, T b)
{
    if (std::isnan(a) || std::isnan(b)) {
        return std::isnan(a) && std::isnan(b);
    }
    return std::memcmp(&a, &b, sizeof a) == 0;
}

template <typename T, typename From, typename To>
void Real(const std::wstring& text, Rule rule, From from, To to)
{
    T value;
    try {
        value = from(text, rule);
    } catch (const CVxException&) {
        return;
    }
    const std::wstring printed = to(value, std::wstring());
    VXFUZZ_CHECK(SameReal(from(printed, CWhitespaceUtils::WhitespaceRule_None), value));
}

// Parsed, printed, parsed again: equal values and a stable printed form.
struct Equal
{
    template <typename T> bool operator()(const T& a, const T& b) const { return a == b; }
    // An empty value and a zero-length buffer hold the same bytes.
    bool operator()(const CBinaryData& a, const CBinaryData& b) const
    {
        return a.GetLength() == b.GetLength() &&
               (a.GetLength() == 0 || std::memcmp(a.GetData(), b.GetData(), a.GetLength()) == 0);
    }
};

template <typename From, typename To>
void Value(const std::wstring& text, Rule rule, From from, To to)
{
    try {
        const auto value = from(text, rule);
        const std::wstring printed = to(value);
        const auto again = from(printed, CWhitespaceUtils::WhitespaceRule_None);
        VXFUZZ_CHECK(Equal()(again, value));
        VXFUZZ_CHECK(to(again) == printed);
    } catch (const CVxException&) {
    }
}

void Formatted(const std::wstring& text, Rule rule, bool decimal)
{
    const size_t bar = text.find(L'|');
    const std::wstring number = text.substr(0, bar);
    const std::wstring format = bar == std::wstring::npos ? std::wstring() : text.substr(bar + 1);
    try {
        if (decimal) {
            const CDecimal value = CConversions::decimalFromString(number, rule);
            (void)CConversions::decimalToString(value, format);
        } else {
            const double value = CConversions::r8FromString(number, rule);
            (void)CConversions::r8ToString(value, format);
            (void)CConversions::r4ToString(static_cast<float>(value), format);
        }
    } catch (const CVxException&) {
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    vxfuzz::Reader in(data, size);
    const unsigned kind = in.Byte();
    const auto rule = static_cast<Rule>(in.Byte() % 5);
    const std::wstring text = in.Wide();
    using C = CConversions;

    switch (kind % 28) {
    case 0:
        Integer<int8_t>(text, rule, C::i1FromString, C::i1ToString);
        break;
    case 1:
        Integer<int16_t>(text, rule, C::i2FromString, C::i2ToString);
        break;
    case 2:
        Integer<int32_t>(text, rule, C::i4FromString, C::i4ToString);
        break;
    case 3:
        Integer<int64_t>(text, rule, C::i8FromString, C::i8ToString);
        break;
    case 4:
        Integer<uint8_t>(text, rule, C::ui1FromString, C::ui1ToString);
        break;
    case 5:
        Integer<uint16_t>(text, rule, C::ui2FromString, C::ui2ToString);
        break;
    case 6:
        Integer<uint32_t>(text, rule, C::ui4FromString, C::ui4ToString);
        break;
    case 7:
        Integer<uint64_t>(text, rule, C::ui8FromString, C::ui8ToString);
        break;
    case 8:
        Real<float>(text, rule, C::r4FromString, C::r4ToString);
        break;
    case 9:
        Real<double>(text, rule, C::r8FromString, C::r8ToString);
        break;
    case 10:
        Value(text, rule, C::booleanFromString, C::booleanToString);
        break;
    case 11:
        Value(text, rule, C::charFromString, C::charToString);
        break;
    case 12:
        Value(text, rule, C::stringFromString, C::stringToString);
        break;
    case 13:
        Value(text, rule, C::decimalFromString,
              [](const CDecimal& d) { return C::decimalToString(d); });
        break;
    case 14:
        Value(text, rule, C::integerFromString, C::integerToString);
        break;
    case 15:
        Value(text, rule, C::hexBinaryFromString, C::hexBinaryToString);
        break;
    case 16:
        Value(text, rule, C::base64BinaryFromString, C::base64BinaryToString);
        break;
    case 17:
        Value(text, rule, C::yearFromString, C::yearToString);
        break;
    case 18:
        Value(text, rule, C::monthFromString, C::monthToString);
        break;
    case 19:
        Value(text, rule, C::dayFromString, C::dayToString);
        break;
    case 20:
        Value(text, rule, C::dateFromString, C::dateToString);
        break;
    case 21:
        Value(text, rule, C::datetimeFromString, C::datetimeToString);
        break;
    case 22:
        Value(text, rule, C::timeFromString, C::timeToString);
        break;
    case 23:
        Value(text, rule, C::yearMonthFromString, C::yearMonthToString);
        break;
    case 24:
        Value(text, rule, C::monthDayFromString, C::monthDayToString);
        break;
    case 25:
        Value(text, rule, C::durationFromString, C::durationToString);
        break;
    case 26:
        Formatted(text, rule, false);
        break;
    case 27:
        Formatted(text, rule, true);
        break;
    }
    return 0;
}
