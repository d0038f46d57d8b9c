#pragma once

#include "core/model/BodyKind.hpp"
#include "core/model/HTTPMethod.hpp"
#include "core/model/KeyValue.hpp"
#include "core/model/RequestBody.hpp"

#include <optional>
#include <string>
#include <vector>

// How the tools turn an agent's texts into request fields.
namespace tessaline::requestFields {

// The method for a name in any letter case ("post" is POST).
std::optional<HTTPMethod> method(const std::string& name);
// The message for a method name that is none of the seven.
std::string unknownMethod(const std::string& name);

// The body kind for one of the names "json", "text", "xml", "formURLEncoded" (and "none"
// when `allowNone`); throws ToolError naming the accepted ones otherwise.
BodyKind bodyKind(const std::string& name, bool allowNone);

// Sets the body's text and, for a form kind, its rows from that text ("k=v&k2=v2": pairs
// split at "&", key and value at the first "=", each percent-decoded with "+" read as a
// space, as a form body is written; empty pairs vanish).
void setBodyText(RequestBody& body, const std::string& text);

// The body for a text and an optional kind name. Without a kind, text that starts with "{"
// or "[" is JSON and anything else plain text.
RequestBody makeBody(const std::string& text, const std::optional<std::string>& kindName);

}  // namespace tessaline::requestFields
