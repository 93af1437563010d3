// The failures that CDecimal and CBigInteger report alike. Internal to the
// library. Their texts are fixed: programs match on them.
#pragma once

namespace VxXmlLib16::detail {

// NaN or an infinity given to a constructor.
[[noreturn]] void ThrowNotFinite(double value);
// A division by zero, through operator/ and operator/=.
[[noreturn]] void ThrowDivideOverflow();
[[noreturn]] void ThrowDivideAssignOverflow();

} // namespace VxXmlLib16::detail
