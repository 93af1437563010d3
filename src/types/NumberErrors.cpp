#include "types/NumberErrors.h"

#include <cmath>
#include <vxxml/Exceptions.h>
#include <vxxml/FormatString.h>

namespace VxXmlLib16::detail {

void ThrowNotFinite(double value)
{
    const wchar_t* name = std::isnan(value) ? L"NaN" : (value < 0 ? L"-INF" : L"INF");
    throw CVxInvalidValueException(
        FormatString(L"The value [%s] can not be converted to a decimal or integer", name));
}

void ThrowDivideOverflow()
{
    throw CVxInvalidValueException(L"ERROR: Overflow in operator/.");
}

void ThrowDivideAssignOverflow()
{
    throw CVxInvalidValueException(L"ERROR: Overflow in operator /=.");
}

} // namespace VxXmlLib16::detail
