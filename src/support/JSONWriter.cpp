#include "support/JSONWriter.hpp"

#include "support/Error.hpp"

#include <cmath>
#include <limits>

namespace tessaline::jsonWriter {
namespace {

// Doubles that hold a whole number become integers so that they print without ".0".
void normaliseNumbers(nlohmann::json& value) {
    switch (value.type()) {
    case nlohmann::json::value_t::object:
    case nlohmann::json::value_t::array:
        for (auto& child : value) normaliseNumbers(child);
        break;
    case nlohmann::json::value_t::number_float: {
        const double number = value.get<double>();
        if (!std::isfinite(number)) throw Error("The number " + std::to_string(number) + " cannot be written as JSON.");
        constexpr double limit = 9007199254740992.0;  // 2^53: beyond it doubles are all integral
        if (std::trunc(number) == number && std::fabs(number) < limit) {
            value = static_cast<std::int64_t>(number);
        }
        break;
    }
    default:
        break;
    }
}

}  // namespace

std::string write(nlohmann::json value) {
    normaliseNumbers(value);
    return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace tessaline::jsonWriter
