#include "core/support/FormFields.hpp"

namespace tessaline::formFields {

std::string encoded(const Fields& fields, Blank blank, std::string_view kept) {
    std::string result;
    for (const auto& [name, value] : fields) {
        if (!result.empty()) result += '&';  // every pair writes at least its "="
        result += percentEncoding::encode(name, kept, blank) + "=" + percentEncoding::encode(value, kept, blank);
    }
    return result;
}

Fields decoded(std::string_view text, Blank blank) {
    Fields fields;
    while (!text.empty()) {
        const auto end = text.find('&');
        const auto piece = text.substr(0, end);
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
        if (piece.empty()) continue;
        const auto equals = piece.find('=');
        fields.emplace_back(percentEncoding::decode(piece.substr(0, equals), blank),
                            equals == std::string_view::npos ? std::string()
                                                             : percentEncoding::decode(piece.substr(equals + 1), blank));
    }
    return fields;
}

}  // namespace tessaline::formFields
