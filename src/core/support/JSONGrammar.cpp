#include "core/support/JSONGrammar.hpp"

#include "core/support/Platform.hpp"

namespace tessaline {
namespace {

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

// Whether a number that a double cannot hold is too large for one, rather than too close to
// zero: the power of ten of its first significant digit is positive. `number` is valid JSON
// and not zero.
bool exceedsDouble(std::string_view number) {
    if (number.front() == '-') number.remove_prefix(1);
    const auto exponentAt = std::min(number.find_first_of("eE"), number.size());
    const auto mantissa = number.substr(0, exponentAt);
    const auto integerDigits = mantissa.substr(0, mantissa.find('.'));
    long long scale = integerDigits != "0"
        ? static_cast<long long>(integerDigits.size())
        : -static_cast<long long>(mantissa.find_first_not_of('0', 2) - 2);  // zeros after "0."
    // The exponent's digits, saturated far beyond any double's range.
    long long exponent = 0;
    for (const char byte : number.substr(std::min(exponentAt + 1, number.size()))) {
        if (isDigit(byte)) exponent = std::min(exponent * 10 + (byte - '0'), 1'000'000'000'000LL);
    }
    if (number.find('-', exponentAt) != std::string_view::npos) exponent = -exponent;
    return scale + exponent > 0;
}

}  // namespace

std::optional<std::variant<std::int64_t, double>> JSONGrammar::numberValue(std::string_view number) {
    if (number.find_first_of(".eE") == std::string_view::npos) {
        std::int64_t integer = 0;
        if (std::from_chars(number.data(), number.data() + number.size(), integer).ec == std::errc()) return integer;
    }
    if (const auto value = platform::nearestDouble(number)) return *value;
    if (exceedsDouble(number)) return std::nullopt;
    return number.front() == '-' ? -0.0 : 0.0;
}

void JSONGrammar::failAt(std::size_t offset) {
    throw DecodingError(DecodingError::Kind::malformed, "",
                        "The data is not valid JSON (error at offset " + std::to_string(offset) + ").");
}

}  // namespace tessaline
