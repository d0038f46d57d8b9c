#pragma once

#include "core/model/KeyValue.hpp"
#include "core/model/StoredResponse.hpp"
#include "core/support/Clock.hpp"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessaline {

// Replaces the `{{...}}` placeholders of a request's texts. The body of a placeholder, blanks
// and tabs around it dropped, is one of:
// - `name`: a variable of the scopes; its value is resolved in turn, through at most eight
//   levels of variables that refer to variables;
// - `@Request.status`, `@Request.header.Name` or `@Request.body[.path]`: a value of another
//   request's newest completed response, through `responseLookup`;
// - `$name` or `$name(arguments)`: a generated value (uuid, guid, timestamp, timestampMs,
//   isoTimestamp, date, randomInt, randomString, base64, env).
// A placeholder that gives no value is written back as "{{body}}". Nothing here fails.
struct VariableResolver {
    // The newest response without an error of the request with exactly that name, if any.
    using ResponseLookup = std::function<std::optional<StoredResponse>(const std::string& requestName)>;

    // Nesting depth past which variable values are left as they are.
    static constexpr int maximumDepth = 7;

    std::vector<std::vector<KeyValue>> scopes{};  // in priority order: the first scope wins
    ResponseLookup responseLookup{};  // when empty, every chained reference stays in the text
    Clock now = systemClock();  // for the time-based generated values

    // The text with every placeholder that gives a value replaced. Inserted values are not
    // scanned again, except that a variable's own value is resolved at depth + 1.
    std::string resolve(std::string_view text, int depth = 0) const;

    // The plain variable names (not `$` or `@` forms) used in the text that lookup() cannot
    // find, in order of appearance, once per occurrence.
    std::vector<std::string> unresolvedNames(std::string_view text) const;

    // The value of the last enabled row with exactly this key in the first scope that has one.
    std::optional<std::string> lookup(std::string_view name) const;

private:
    struct Call {
        std::string_view name;
        std::vector<std::string_view> arguments;
    };

    std::optional<std::string> placeholderValue(std::string_view body, int depth) const;
    std::optional<std::string> dynamic(std::string_view call) const;
    std::optional<std::string> chained(std::string_view reference) const;
    // "name(a, b)" gives "name" and the trimmed, non-empty pieces between the first "(" and the
    // final ")" split at ","; a text without that form is all name.
    static Call splitCall(std::string_view text);
};

}  // namespace tessaline
