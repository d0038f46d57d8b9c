#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace tessaline {

// Every enumeration of the model specialises RawValues with a `table` that lists its cases
// in declaration order, each with the text it is persisted as:
//
//     template <> struct RawValues<APIKeyLocation> {
//         static constexpr std::array table{std::pair{APIKeyLocation::header, std::string_view("header")}, ...};
//     };
//
// The functions below then give the raw value, the reverse lookup and allCases from that
// one table.
template <class Enum>
struct RawValues;

template <class Enum>
constexpr std::string_view rawValue(Enum value) {
    for (const auto& [candidate, text] : RawValues<Enum>::table) {
        if (candidate == value) return text;
    }
    return {};
}

template <class Enum>
constexpr std::optional<Enum> fromRawValue(std::string_view text) {
    for (const auto& [candidate, raw] : RawValues<Enum>::table) {
        if (raw == text) return candidate;
    }
    return std::nullopt;
}

template <class Enum>
constexpr auto allCases() {
    constexpr auto& table = RawValues<Enum>::table;
    std::array<Enum, table.size()> cases{};
    std::transform(table.begin(), table.end(), cases.begin(), [](const auto& entry) { return entry.first; });
    return cases;
}

}  // namespace tessaline
