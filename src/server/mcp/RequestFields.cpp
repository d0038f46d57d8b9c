#include "server/mcp/RequestFields.hpp"

#include "core/interchange/FormEncoding.hpp"
#include "server/mcp/ToolError.hpp"

#include <algorithm>

namespace tessaline::requestFields {

std::optional<HTTPMethod> method(const std::string& name) {
    std::string upper = name;
    std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
    return parseEnum<HTTPMethod>(upper);
}

std::string unknownMethod(const std::string& name) {
    std::string names;
    for (const auto candidate : enumValues<HTTPMethod>()) {
        names += names.empty() ? "" : ", ";
        names += toString(candidate);
    }
    return "Unknown method " + name + ". Use one of: " + names + ".";
}

std::vector<KeyValue> formPairs(const std::string& text) {
    std::vector<KeyValue> rows;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find('&', start), text.size());
        const std::string_view pair = std::string_view(text).substr(start, end - start);
        if (!pair.empty()) {
            const std::size_t equals = pair.find('=');
            rows.push_back(KeyValue{Uuid::random(), formEncoding::decoded(pair.substr(0, equals), true),
                                    equals == std::string_view::npos ? "" : formEncoding::decoded(pair.substr(equals + 1), true),
                                    true});
        }
        start = end + 1;
    }
    return rows;
}

BodyKind bodyKind(const std::string& name, bool allowNone) {
    const auto kind = parseEnum<BodyKind>(name);
    if (kind && *kind != BodyKind::multipart && (allowNone || *kind != BodyKind::none)) return *kind;
    throw ToolError(std::string("bodyKind must be json, text, xml") +
                            (allowNone ? ", formURLEncoded or none" : " or formURLEncoded") + ", not " + name);
}

void setBodyText(RequestBody& body, const std::string& text) {
    body.raw = text;
    if (body.kind == BodyKind::formURLEncoded) body.form = formPairs(text);
}

RequestBody makeBody(const std::string& text, const std::optional<std::string>& kindName) {
    RequestBody body;
    if (kindName) {
        body.kind = bodyKind(*kindName, false);
    } else {
        const auto first = text.find_first_not_of(" \t\r\n");
        const bool json = first != std::string::npos && (text[first] == '{' || text[first] == '[');
        body.kind = json ? BodyKind::json : BodyKind::text;
    }
    setBodyText(body, text);
    return body;
}

}  // namespace tessaline::requestFields
