#include "core/model/BodyKind.hpp"

namespace tessaline {

std::string_view label(BodyKind kind) {
    switch (kind) {
    case BodyKind::none: return "None";
    case BodyKind::json: return "JSON";
    case BodyKind::text: return "Text";
    case BodyKind::xml: return "XML";
    case BodyKind::formURLEncoded: return "Form URL-Encoded";
    case BodyKind::multipart: return "Multipart Form";
    }
    return {};
}

std::optional<std::string_view> contentType(BodyKind kind) {
    switch (kind) {
    case BodyKind::json: return "application/json";
    case BodyKind::text: return "text/plain";
    case BodyKind::xml: return "application/xml";
    case BodyKind::formURLEncoded: return "application/x-www-form-urlencoded";
    case BodyKind::none:
    case BodyKind::multipart: return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace tessaline
