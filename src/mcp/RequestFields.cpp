#include "mcp/RequestFields.hpp"

#include "mcp/MCPError.hpp"

#include <algorithm>
#include <cctype>

namespace tessaline::requestFields {
namespace {

std::string percentDecoded(std::string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '+') {
            out += ' ';
        } else if (c == '%' && i + 2 < text.size() && std::isxdigit(static_cast<unsigned char>(text[i + 1])) &&
                   std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
            out += static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16));
            i += 2;
        } else {
            out += c;
        }
    }
    return out;
}

}  // namespace

std::optional<HTTPMethod> method(const std::string& name) {
    std::string upper = name;
    std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
    return fromRawValue<HTTPMethod>(upper);
}

std::string unknownMethod(const std::string& name) {
    std::string names;
    for (const auto candidate : allCases<HTTPMethod>()) {
        names += names.empty() ? "" : ", ";
        names += rawValue(candidate);
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
            rows.push_back(KeyValue{Uuid::random(), percentDecoded(pair.substr(0, equals)),
                                    equals == std::string_view::npos ? "" : percentDecoded(pair.substr(equals + 1)),
                                    true});
        }
        start = end + 1;
    }
    return rows;
}

BodyKind bodyKind(const std::string& name, bool allowNone) {
    const auto kind = fromRawValue<BodyKind>(name);
    if (kind && *kind != BodyKind::multipart && (allowNone || *kind != BodyKind::none)) return *kind;
    throw MCPError::invalid(std::string("bodyKind must be json, text, xml") +
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
