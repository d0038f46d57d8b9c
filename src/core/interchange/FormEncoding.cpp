#include "core/interchange/FormEncoding.hpp"

#include "core/http/RequestBuilder.hpp"
#include "core/support/FormFields.hpp"

namespace tessaline::formEncoding {

std::string curlEscaped(std::string_view text) { return percentEncoding::encode(text, "-._~", percentEncoding::Blank::plus); }

std::vector<KeyValue> rows(std::string_view text) {
    std::vector<KeyValue> result;
    for (auto& [name, value] : formFields::decoded(text, formFields::Blank::plus)) {
        result.push_back({.key = std::move(name), .value = std::move(value)});
    }
    return result;
}

std::optional<std::vector<KeyValue>> rowsIfExact(std::string_view body) {
    auto form = rows(body);
    const APIRequest probe{.method = HTTPMethod::post, .url = "http://localhost/", .body = {.kind = BodyKind::formURLEncoded, .form = form}};
    if (requestBuilder::resolve(probe, std::nullopt, VariableResolver{}).body != body) return std::nullopt;
    return form;
}

}  // namespace tessaline::formEncoding
