#include "core/variables/VariableResolver.hpp"

#include "core/support/Base64.hpp"
#include "core/support/CaseInsensitive.hpp"
#include "core/support/DecimalInteger.hpp"
#include "core/support/Joined.hpp"
#include "core/support/LocalDateFormat.hpp"
#include "core/support/UniformRandom.hpp"
#include "core/variables/JSONPath.hpp"
#include "core/variables/Placeholders.hpp"

#include <algorithm>
#include <cstdlib>
#include <span>

namespace tessaline {
namespace {

constexpr std::string_view defaultDatePattern = "yyyy-MM-dd";
constexpr std::int64_t defaultRandomMaximum = 1000000;
constexpr std::int64_t defaultRandomLength = 16;
constexpr std::string_view randomCharacters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";

// Every piece between separators, empty ones included.
std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> pieces;
    while (true) {
        const auto found = text.find(separator);
        pieces.push_back(text.substr(0, found));
        if (found == std::string_view::npos) return pieces;
        text.remove_prefix(found + 1);
    }
}

std::optional<std::string_view> argument(const std::vector<std::string_view>& arguments, std::size_t index) {
    if (index >= arguments.size()) return std::nullopt;
    return arguments[index];
}

std::optional<std::int64_t> integerArgument(const std::vector<std::string_view>& arguments, std::size_t index) {
    const auto text = argument(arguments, index);
    return text ? parseDecimalInteger(*text) : std::nullopt;
}

// Whole units since 1970-01-01T00:00:00Z, truncated.
template <class Unit>
std::string sinceEpoch(Date date) {
    return std::to_string(std::chrono::duration_cast<Unit>(date.time_since_epoch()).count());
}

std::string randomString(std::int64_t length) {
    std::string text(static_cast<std::size_t>(std::max<std::int64_t>(length, 1)), '\0');
    for (auto& character : text) character = randomCharacters[uniformRandom::upTo(randomCharacters.size() - 1)];
    return text;
}

std::optional<std::string> environmentValue(const std::vector<std::string_view>& arguments) {
    const auto name = argument(arguments, 0);
    // A NUL would end the name early and read another variable.
    if (!name || name->find('\0') != std::string_view::npos) return std::nullopt;
    const char* value = std::getenv(std::string(*name).c_str());
    if (value == nullptr) return std::nullopt;
    return value;
}

std::optional<std::string> headerValue(const StoredResponse& response, std::string_view name) {
    const auto found = std::find_if(response.headers.begin(), response.headers.end(),
                                    [name](const KeyValue& header) { return caseInsensitive::equal(header.key, name); });
    if (found == response.headers.end()) return std::nullopt;
    return found->value;
}

}  // namespace

std::string VariableResolver::resolve(std::string_view text, int depth) const {
    if (depth > maximumDepth || text.find(placeholders::opener) == std::string_view::npos) return std::string(text);
    std::string result;
    placeholders::scan(
        text, placeholders::opener, [&result](std::string_view plain) { result += plain; },
        [&](std::string_view placeholder) {
            const auto body = placeholders::trimmed(placeholder);
            if (const auto value = placeholderValue(body, depth)) {
                result += *value;
            } else {
                result.append(placeholders::opener).append(body).append(placeholders::closer);
            }
        });
    return result;
}

std::vector<std::string> VariableResolver::unresolvedNames(std::string_view text) const {
    std::vector<std::string> names;
    placeholders::scan(
        text, placeholders::opener, [](std::string_view) {},
        [&](std::string_view placeholder) {
            const auto name = placeholders::trimmed(placeholder);
            if (!name.starts_with('$') && !name.starts_with('@') && !lookup(name)) names.emplace_back(name);
        });
    return names;
}

std::optional<std::string> VariableResolver::lookup(std::string_view name) const {
    for (const auto& scope : scopes) {
        for (auto row = scope.rbegin(); row != scope.rend(); ++row) {
            if (row->enabled && row->key == name) return row->value;
        }
    }
    return std::nullopt;
}

std::optional<std::string> VariableResolver::placeholderValue(std::string_view body, int depth) const {
    if (body.starts_with('$')) return dynamic(body.substr(1));
    if (body.starts_with('@')) return chained(body.substr(1));
    const auto value = lookup(body);
    if (!value) return std::nullopt;
    return resolve(*value, depth + 1);
}

std::optional<std::string> VariableResolver::dynamic(std::string_view text) const {
    const auto [name, arguments] = splitCall(text);
    if (name == "uuid" || name == "guid") return Uuid::random().lowercaseText();
    if (name == "timestamp") return sinceEpoch<std::chrono::seconds>(now());
    if (name == "timestampMs") return sinceEpoch<std::chrono::milliseconds>(now());
    if (name == "isoTimestamp") return iso8601(now());
    if (name == "date") return formatLocalDate(now(), argument(arguments, 0).value_or(defaultDatePattern));
    if (name == "randomInt") {
        const auto minimum = integerArgument(arguments, 0).value_or(0);
        const auto maximum = integerArgument(arguments, 1).value_or(defaultRandomMaximum);
        return std::to_string(uniformRandom::between(minimum, maximum));
    }
    if (name == "randomString") return randomString(integerArgument(arguments, 0).value_or(defaultRandomLength));
    if (name == "base64") return base64::encode(resolve(joined(arguments, ",")));
    if (name == "env") return environmentValue(arguments);
    return std::nullopt;
}

std::optional<std::string> VariableResolver::chained(std::string_view reference) const {
    const auto pieces = split(reference, '.');
    if (pieces.size() < 2 || !responseLookup) return std::nullopt;
    const auto response = responseLookup(std::string(pieces[0]));
    if (!response) return std::nullopt;
    const auto field = pieces[1];
    const std::span<const std::string_view> rest(pieces.begin() + 2, pieces.end());
    if (field == "status") return std::to_string(response->status);
    if (field == "header") {
        if (rest.empty()) return std::nullopt;
        return headerValue(*response, joined(rest, "."));
    }
    if (field == "body") {
        if (rest.empty()) return response->bodyText();
        return jsonPath::extract(rest, response->body);
    }
    return std::nullopt;
}

VariableResolver::Call VariableResolver::splitCall(std::string_view text) {
    const auto open = text.find('(');
    if (open == std::string_view::npos || !text.ends_with(')')) return {text, {}};
    Call call{text.substr(0, open), {}};
    for (const auto piece : split(text.substr(open + 1, text.size() - open - 2), ',')) {
        const auto trimmedPiece = placeholders::trimmed(piece);
        if (!trimmedPiece.empty()) call.arguments.push_back(trimmedPiece);
    }
    return call;
}

}  // namespace tessaline
