// Decimal and integer text into CDecimal and CBigInteger, and back.
//
// The first byte picks the type (bit 0: CBigInteger, else CDecimal) and
// whether the rest holds two numbers separated by '|' (bit 1), which are
// then combined with the arithmetic operators and checked against identities
// that must hold exactly.
#include "FuzzSupport.h"

#include <string>
#include <vxxml/vxxml.h>

using namespace VxXmlLib16;

namespace {

// Values this large make the quadratic operations slow without finding more.
constexpr int32_t kMaxArithmeticDigits = 2000;

void CheckDecimal(const CDecimal& d)
{
    const std::wstring text = d.ToString();
    // Printed and read again: the same value and the same text (places are
    // kept as written).
    const CDecimal again(text.c_str());
    VXFUZZ_CHECK(again == d);
    VXFUZZ_CHECK(again.ToString() == text);
    VXFUZZ_CHECK(d.Signum() == (d.IsZero() ? 0 : (text[0] == L'-' ? -1 : 1)));
    VXFUZZ_CHECK(CDecimal(d.ToBigInteger()) == CDecimal(d.ToBigInteger().ToString().c_str()));
    for (int places : {0, 1, 2, 7}) {
        // Rounded text has exactly that many places and reads back.
        const std::wstring rounded = d.ToString(places);
        const size_t point = rounded.find(L'.');
        VXFUZZ_CHECK(places == 0 ? point == std::wstring::npos
                                 : point != std::wstring::npos &&
                                       rounded.size() - point - 1 == static_cast<size_t>(places));
        const CDecimal r(rounded.c_str());
        // Half away from zero: never more than half a unit of the last place away.
        const CDecimal diff = r > d ? r - d : d - r;
        VXFUZZ_CHECK(diff * CDecimal(2) <= CDecimal((L"1E-" + std::to_wstring(places)).c_str()));
    }
    (void)d.ToDouble();
    try {
        (void)d.ToLong();
    } catch (const CVxOverFlowException&) {
    }
    try {
        (void)d.ToLongLong();
    } catch (const CVxOverFlowException&) {
    }
}

void CheckDecimalPair(const CDecimal& a, const CDecimal& b)
{
    VXFUZZ_CHECK((a + b) - b == a);
    VXFUZZ_CHECK((a - b) + b == a);
    VXFUZZ_CHECK(a + b == b + a);
    VXFUZZ_CHECK(a * b == b * a);
    VXFUZZ_CHECK((a < b) == (b > a));
    VXFUZZ_CHECK((a == b) == (!(a < b) && !(b < a)));
    if (!b.IsZero()) {
        const CDecimal q = a / b;
        (void)q.ToString();
        // Truncated toward zero: |q * b| never exceeds |a|.
        const CDecimal product = q * b;
        const CDecimal absA = a.Signum() < 0 ? a.GetNegative() : a;
        const CDecimal absP = product.Signum() < 0 ? product.GetNegative() : product;
        VXFUZZ_CHECK(absP <= absA);
    }
}

void CheckInteger(const CBigInteger& i)
{
    const std::wstring text = i.ToString();
    const CBigInteger again(text.c_str());
    VXFUZZ_CHECK(again == i);
    VXFUZZ_CHECK(again.ToString() == text);
    VXFUZZ_CHECK(CDecimal(i).ToString() == text);
    VXFUZZ_CHECK(i.GetNegative().GetNegative() == i);
    try {
        VXFUZZ_CHECK(CBigInteger(static_cast<long long>(i)) == i);
    } catch (const CVxOverFlowException&) {
        VXFUZZ_CHECK(i > CBigInteger::MAX_LONGLONG || i < CBigInteger::MIN_LONGLONG);
    }
    if (i.Signum() >= 0 && i.GetDigitCount() <= kMaxArithmeticDigits / 2) {
        const CBigInteger root = i.SquareRoot();
        const CBigInteger next = root + CBigInteger(1);
        VXFUZZ_CHECK(root * root <= i && next * next > i);
    }
}

void CheckIntegerPair(const CBigInteger& a, const CBigInteger& b)
{
    VXFUZZ_CHECK((a + b) - b == a);
    VXFUZZ_CHECK(a * b == b * a);
    if (!b.IsZero()) {
        const CBigInteger q = a / b;
        const CBigInteger r = a % b;
        VXFUZZ_CHECK(q * b + r == a);
        VXFUZZ_CHECK(r.GetAbs() < b.GetAbs());
        VXFUZZ_CHECK(r.IsZero() || r.Signum() == a.Signum());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    vxfuzz::Reader in(data, size);
    const uint8_t flags = in.Byte();
    const bool integer = (flags & 1) != 0;
    const bool pair = (flags & 2) != 0;
    const std::wstring text = in.Wide();
    const size_t bar = pair ? text.find(L'|') : std::wstring::npos;
    const std::wstring first = text.substr(0, bar);
    const std::wstring second = bar == std::wstring::npos ? std::wstring() : text.substr(bar + 1);

    if (integer) {
        try {
            const CBigInteger a(first.c_str());
            CheckInteger(a);
            if (bar != std::wstring::npos) {
                const CBigInteger b(second.c_str());
                CheckInteger(b);
                if (a.GetDigitCount() <= kMaxArithmeticDigits &&
                    b.GetDigitCount() <= kMaxArithmeticDigits) {
                    CheckIntegerPair(a, b);
                }
            }
        } catch (const CVxException&) {
        }
    } else {
        try {
            // The length form sees zeros inside the text too.
            const CDecimal a(first.data(), first.size());
            CheckDecimal(a);
            if (bar != std::wstring::npos) {
                const CDecimal b(second.data(), second.size());
                CheckDecimal(b);
                auto digits = [](const CDecimal& d) {
                    return d.GetIntegerDigitCount() + d.GetFractionDivider();
                };
                if (digits(a) <= kMaxArithmeticDigits && digits(b) <= kMaxArithmeticDigits) {
                    CheckDecimalPair(a, b);
                }
            }
        } catch (const CVxException&) {
        }
    }
    return 0;
}
