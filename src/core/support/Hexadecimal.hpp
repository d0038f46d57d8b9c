#pragma once

#include <string>
#include <string_view>

// Hexadecimal digits, for escapes and identifiers.
namespace tessaline::hexadecimal {

inline constexpr std::string_view upperDigits = "0123456789ABCDEF";
inline constexpr std::string_view lowerDigits = "0123456789abcdef";

// The value of a hexadecimal digit in either case; -1 for any other character.
int digitValue(char c);

// The byte as two digits of `digits` (upperDigits or lowerDigits) appended to `out`.
void appendByte(std::string& out, unsigned char byte, std::string_view digits);

}  // namespace tessaline::hexadecimal
