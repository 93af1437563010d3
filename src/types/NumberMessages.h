// The messages of the decimal and big-integer types, kept together so that
// they can be reviewed in one place. Texts that other code or users match on
// ("if to large", "ERROR: Overflow in operator /=.") are fixed and must stay
// exactly as they are.
#pragma once

#include <cstddef>
#include <string>

namespace VxXmlLib16::NumberMessages {

inline constexpr const wchar_t* kLongOverflow = L"The Decimal value if to large to fit into a LONG";
inline constexpr const wchar_t* kLongLongOverflow =
    L"The Decimal value if to large to fit into a LONGLONG";
inline constexpr const wchar_t* kDoubleOverflow =
    L"The Decimal value if to large to fit into a Double";
inline constexpr const wchar_t* kDivide = L"ERROR: Overflow in operator/.";
inline constexpr const wchar_t* kDivideAssign = L"ERROR: Overflow in operator /=.";
inline constexpr const wchar_t* kModulo = L"ERROR: Overflow in operator%.";
inline constexpr const wchar_t* kModuloAssign = L"ERROR: Overflow in operator%=.";
inline constexpr const wchar_t* kNegativeRoot = L"ERROR: Negative Number in function SquareRoot().";
inline constexpr const wchar_t* kTooManyPlaces =
    L"The Decimal result has more decimal places than can be counted";

// "The value [<text>] can not be converted to a decimal", with a reason
// appended when there is more to say than "malformed". Long texts are cut in
// the message so that a multi-megabyte input does not make a multi-megabyte
// message.
std::wstring BadDecimal(const wchar_t* text, size_t length, const wchar_t* reason = nullptr);
// For NaN and the infinities given to a constructor.
std::wstring NotFinite(double value);
// For the checked conversions of CBigInteger; typeName is "an int" and the like.
std::wstring IntegerTooLarge(const wchar_t* typeName);

} // namespace VxXmlLib16::NumberMessages
