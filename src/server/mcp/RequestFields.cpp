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
    return "Unknown method " + name + ". Use one of: " + enumNames<HTTPMethod>() + ".";
}

BodyKind bodyKind(const std::string& name, bool allowNone) {
    const auto kind = parseEnum<BodyKind>(name);
    if (kind && *kind != BodyKind::multipart && (allowNone || *kind != BodyKind::none)) return *kind;
    throw ToolError(std::string("bodyKind must be json, text, xml") +
                            (allowNone ? ", formURLEncoded or none" : " or formURLEncoded") + ", not " + name);
}

void setBodyText(RequestBody& body, const std::string& text) {
    body.raw = text;
    if (body.kind == BodyKind::formURLEncoded) body.form = formEncoding::rows(text);
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
