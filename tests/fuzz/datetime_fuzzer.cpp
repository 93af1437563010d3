// Date, time and duration text into CDateTime and CDateTimeSpan.
//
// The first byte picks the kind: 0-4 the CDateTime kinds (dt_dateTime,
// dt_date, dt_time, dt_gYearMonth, dt_gMonthDay), 5 xs:duration. The rest
// is the text; with a '|' in it, the part after it is a second operand (a
// duration to add, or a value of the same kind to compare and subtract).
#include "FuzzSupport.h"

#include <string>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;

namespace {

// Printed and read again: the same value, and the printed form is stable.
CDateTime CheckDateTime(const std::wstring& text, DateTimeType type)
{
    const CDateTime value = CDateTime::FromString(text, type);
    VXFUZZ_CHECK(value.GetType() == type);
    const std::wstring printed = value.ToString();
    const CDateTime again = CDateTime::FromString(printed, type);
    VXFUZZ_CHECK(again == value);
    VXFUZZ_CHECK(again.ToString() == printed);
    VXFUZZ_CHECK(value.CompareTo(again) == 0);
    if (value.HasTimezone() && type == dt_dateTime) {
        // The same instant in UTC and in any zone.
        VXFUZZ_CHECK(value.ToUtc() == value);
        VXFUZZ_CHECK(value.ToTimezone(-13 * 60 - 45) == value);
    }
    if (value.HasTimezone() && type == dt_time) {
        // A time wraps around midnight, and times are ordered as times of
        // 1972-12-31, so a wrapped time is another value; moving it back to
        // its own zone restores it.
        const int offset = value.GetTimezoneOffset();
        VXFUZZ_CHECK(value.ToUtc().ToTimezone(offset) == value);
        VXFUZZ_CHECK(value.ToTimezone(-13 * 60 - 45).ToTimezone(offset) == value);
    }
    // The accessors of the fields the kind has do not throw; the others throw
    // the documented state exception.
    auto probe = [&](auto getter) {
        try {
            (void)getter();
        } catch (const CVxInvalidStateException&) {
        }
    };
    probe([&] { return value.GetYear(); });
    probe([&] { return value.GetMonth(); });
    probe([&] { return value.GetDay(); });
    probe([&] { return value.GetHour(); });
    probe([&] { return value.GetMinute(); });
    probe([&] { return value.GetSecond(); });
    probe([&] { return value.GetFraction(); });
    probe([&] { return value.GetTimezoneOffset(); });
    return value;
}

CDateTimeSpan CheckDuration(const std::wstring& text)
{
    const CDateTimeSpan value = CDateTimeSpan::FromString(text);
    const std::wstring printed = value.ToString();
    const CDateTimeSpan again = CDateTimeSpan::FromString(printed);
    VXFUZZ_CHECK(again == value);
    VXFUZZ_CHECK(again.ToString() == printed);
    // Field for field, not just equal in value.
    VXFUZZ_CHECK(
        again.GetYears() == value.GetYears() && again.GetMonths() == value.GetMonths() &&
        again.GetDays() == value.GetDays() && again.GetHours() == value.GetHours() &&
        again.GetMinutes() == value.GetMinutes() && again.GetSeconds() == value.GetSeconds() &&
        again.GetFraction() == value.GetFraction() && again.IsNegative() == value.IsNegative());
    const CDateTimeSpan normal = value.Normalized();
    VXFUZZ_CHECK(normal == value);
    VXFUZZ_CHECK(CDateTimeSpan::FromString(normal.ToString()) == normal);
    VXFUZZ_CHECK(-(-value) == value);
    return value;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    vxfuzz::Reader in(data, size);
    const unsigned kind = in.Byte() % 6;
    const std::wstring text = in.Wide();
    const size_t bar = text.find(L'|');
    const std::wstring first = text.substr(0, bar);
    const std::wstring second = bar == std::wstring::npos ? std::wstring() : text.substr(bar + 1);

    if (kind == 5) {
        try {
            const CDateTimeSpan a = CheckDuration(first);
            if (bar != std::wstring::npos) {
                const CDateTimeSpan b = CheckDuration(second);
                VXFUZZ_CHECK((a.CompareTo(b) < 0) == (b.CompareTo(a) > 0));
                try {
                    const CDateTimeSpan sum = a + b;
                    VXFUZZ_CHECK(sum == b + a);
                } catch (const CVxException&) {
                }
                try {
                    (void)(a - b);
                } catch (const CVxException&) {
                }
                (void)a.ComparePartial(b);
            }
        } catch (const CVxException&) {
        }
        return 0;
    }

    const auto type = static_cast<DateTimeType>(kind);
    try {
        const CDateTime a = CheckDateTime(first, type);
        if (bar == std::wstring::npos) {
            return 0;
        }
        try {
            const CDateTime b = CheckDateTime(second, type);
            VXFUZZ_CHECK((a.CompareTo(b) < 0) == (b.CompareTo(a) > 0));
            (void)a.ComparePartial(b);
            try {
                (void)(a - b);
            } catch (const CVxException&) {
            }
        } catch (const CVxException&) {
        }
        try {
            const CDateTimeSpan span = CheckDuration(second);
            try {
                const CDateTime later = a + span;
                VXFUZZ_CHECK(later.GetType() == type);
                (void)later.ToString();
            } catch (const CVxException&) {
            }
            try {
                (void)(a - span);
            } catch (const CVxException&) {
            }
        } catch (const CVxException&) {
        }
    } catch (const CVxException&) {
    }
    return 0;
}
