#include "core/support/FormFields.hpp"

#include "core/support/PercentEncoding.hpp"

namespace tessaline::formFields {
namespace {

constexpr std::string_view kept = "-._*";

}  // namespace

std::string encoded(const Fields& fields) {
    std::string result;
    for (const auto& [name, value] : fields) {
        if (!result.empty()) result += '&';
        result += percentEncoding::encode(name, kept) + "=" + percentEncoding::encode(value, kept);
    }
    return result;
}

Fields decoded(std::string_view text) {
    Fields fields;
    while (!text.empty()) {
        const auto end = text.find('&');
        const auto piece = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (piece.empty()) continue;
        const auto equals = piece.find('=');
        fields.emplace_back(percentEncoding::decode(piece.substr(0, equals)),
                            equals == std::string_view::npos ? std::string()
                                                             : percentEncoding::decode(piece.substr(equals + 1)));
    }
    return fields;
}

}  // namespace tessaline::formFields
