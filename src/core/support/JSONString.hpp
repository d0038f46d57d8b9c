#pragma once

#include <string>
#include <string_view>

// JSON string literals.
namespace tessaline::jsonString {

// Which control characters get a two-character escape: all five JSON has (\b \f \n \r \t),
// or only the line breaks and the tab. Every other one is written \u00xx.
enum class ShortEscapes { all, lineBreaksAndTab };

// `text` between double quotes, with '"' and '\' escaped by a backslash and every byte below
// 0x20 escaped as `shortEscapes` says; all other bytes (non-ASCII, DEL, "/") as they are.
void appendQuoted(std::string& out, std::string_view text, ShortEscapes shortEscapes);
std::string quoted(std::string_view text, ShortEscapes shortEscapes);

}  // namespace tessaline::jsonString
