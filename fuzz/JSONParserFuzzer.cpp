// Any input: no crash, errors point inside the input, and whatever parses renders to text
// that parses back to the same tree. Strict JSON renders to strict JSON.
#include <cstdint>
#include <string_view>

#include "desktop/json/JSONFormat.hpp"
#include "desktop/json/JSONParser.hpp"

using tessaline::JSONFormat;
namespace jsonParser = tessaline::jsonParser;
using tessaline::JSONValue;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    // The strict reader skips a byte order mark; the lenient parser does not.
    const bool isStrict = JSONFormat::isValid(input) && !input.starts_with("\xEF\xBB\xBF");
    try {
        const JSONValue value = jsonParser::parse(input);
        // Indented output grows with depth times length; indent only small inputs.
        const std::string serialized = jsonParser::serialize(value, size <= 4096 ? " " : "");
        if (!(jsonParser::parse(serialized) == value)) __builtin_trap();
        if (!(JSONValue(value) == value)) __builtin_trap();
        if (isStrict && !JSONFormat::isValid(serialized)) __builtin_trap();
    } catch (const jsonParser::ParseError& error) {
        if (isStrict || error.offset() < 0 || static_cast<size_t>(error.offset()) > size) __builtin_trap();
    }
    return 0;
}
