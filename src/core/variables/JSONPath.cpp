#include "core/variables/JSONPath.hpp"

#include "core/support/CompactJSON.hpp"
#include "core/support/DecimalInteger.hpp"

#include <cmath>

namespace tessaline::jsonPath {
namespace {

using nlohmann::json;

// A double that holds a whole number small enough to be exact becomes an integer, so that it
// is written without ".0".
void normaliseNumber(json& value) {
    if (!value.is_number_float()) return;
    const double number = value.get<double>();
    constexpr double exactLimit = 9007199254740992.0;  // 2^53: beyond it doubles are all whole
    if (std::trunc(number) == number && std::fabs(number) < exactLimit) value = static_cast<std::int64_t>(number);
}

json parsed(std::string_view body) {
    const json::parser_callback_t normalise = [](int, json::parse_event_t event, json& value) {
        if (event == json::parse_event_t::value) normaliseNumber(value);
        return true;
    };
    return json::parse(body, normalise, false);
}

const json* element(const json& array, std::string_view piece) {
    const auto index = parseDecimalInteger(piece);
    if (!index || *index < 0 || static_cast<std::uint64_t>(*index) >= array.size()) return nullptr;
    return &array[static_cast<std::size_t>(*index)];
}

const json* member(const json& object, std::string_view piece) {
    const auto found = object.find(piece);
    return found == object.end() ? nullptr : &*found;
}

}  // namespace

std::optional<std::string> extract(std::span<const std::string_view> pieces, std::string_view body) {
    const json document = parsed(body);
    if (document.is_discarded()) return std::nullopt;
    const json* current = &document;
    for (const auto piece : pieces) {
        if (current->is_object()) {
            current = member(*current, piece);
        } else if (current->is_array()) {
            current = element(*current, piece);
        } else {
            return std::nullopt;
        }
        if (current == nullptr) return std::nullopt;
    }
    return stringify(*current);
}

std::string stringify(const json& value) {
    if (value.is_string()) return value.get<std::string>();
    if (value.is_number_float()) {
        json number = value;
        normaliseNumber(number);
        return number.dump();
    }
    return compactJSON::encode(value);
}

}  // namespace tessaline::jsonPath
