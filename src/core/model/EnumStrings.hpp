#pragma once

#include "core/support/Joined.hpp"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace tessaline {

// Every enumeration of the model specialises EnumStrings with a `table` that lists its values
// in declaration order, each with the text it is stored and shown as:
//
//     template <> struct EnumStrings<APIKeyLocation> {
//         static constexpr std::array table{std::pair{APIKeyLocation::header, std::string_view("header")}, ...};
//     };
//
// toString, parseEnum, enumValues and enumNames below all read that one table.
template <class Enum>
struct EnumStrings;

template <class Enum>
concept StringEnum = requires { EnumStrings<Enum>::table; };

template <StringEnum Enum>
constexpr std::string_view toString(Enum value) {
    for (const auto& [candidate, text] : EnumStrings<Enum>::table) {
        if (candidate == value) return text;
    }
    return {};
}

// The value whose text is exactly `text`, if any.
template <StringEnum Enum>
constexpr std::optional<Enum> parseEnum(std::string_view text) {
    for (const auto& [candidate, string] : EnumStrings<Enum>::table) {
        if (string == text) return candidate;
    }
    return std::nullopt;
}

// Every value, in declaration order.
template <StringEnum Enum>
constexpr auto enumValues() {
    constexpr auto& table = EnumStrings<Enum>::table;
    std::array<Enum, table.size()> values{};
    std::transform(table.begin(), table.end(), values.begin(), [](const auto& entry) { return entry.first; });
    return values;
}

// Every value's text, in declaration order, joined with ", ": the choices an error offers.
template <StringEnum Enum>
std::string enumNames() {
    return joined(enumValues<Enum>(), ", ", toString<Enum>);
}

}  // namespace tessaline
