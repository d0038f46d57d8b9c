#include "support/JSONDocument.hpp"

#include "support/DecodingError.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <limits>

namespace tessaline {
namespace {

bool isStructural(char c) {
    return c == '{' || c == '}' || c == '[' || c == ']' || c == ',' || c == ':' || c == '"';
}

bool isWhiteSpace(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

// The text without the white space between tokens, which is most of a pretty-printed file
// and what nlohmann's lexer is slowest at. A run of white space between two other tokens
// ("1 2", "tru e") stays as one blank, so that the text is valid exactly when the original
// is. String contents are copied as they are.
std::string withoutWhiteSpace(std::string_view text) {
    std::string compact;
    compact.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const char c = text[i];
        if (isWhiteSpace(c)) {
            std::size_t next = i + 1;
            while (next < text.size() && isWhiteSpace(text[next])) ++next;
            const bool joinsTokens =
                next < text.size() && !compact.empty() && !isStructural(compact.back()) && !isStructural(text[next]);
            if (joinsTokens) compact += ' ';
            i = next;
        } else if (c == '"') {
            // Copy through the closing quote, stepping over escaped characters.
            std::size_t end = i + 1;
            while (end < text.size() && text[end] != '"') end += text[end] == '\\' ? 2 : 1;
            end = std::min(end + 1, text.size());
            compact.append(text.substr(i, end - i));
            i = end;
        } else {
            compact += c;
            ++i;
        }
    }
    return compact;
}

}  // namespace

// Receives the parser's events and appends nodes; open containers wait on a stack for the
// index where they end.
class JSONDocument::Builder : public nlohmann::json_sax<nlohmann::json> {
public:
    explicit Builder(JSONDocument& document) : document_(document) {}

    bool null() override { return add({.type = Type::null}); }
    bool boolean(bool value) override { return add({.type = Type::boolean, .flag = value}); }
    bool number_integer(number_integer_t value) override {
        return add({.type = Type::integer, .integer = value, .number = static_cast<double>(value)});
    }
    bool number_unsigned(number_unsigned_t value) override {
        if (value <= static_cast<number_unsigned_t>(std::numeric_limits<std::int64_t>::max())) {
            return number_integer(static_cast<number_integer_t>(value));
        }
        return number_float(static_cast<double>(value), {});
    }
    bool number_float(number_float_t value, const string_t&) override { return add({.type = Type::number, .number = value}); }
    bool string(string_t& value) override { return addText(value); }
    bool key(string_t& value) override { return addText(value); }
    bool binary(binary_t&) override { return add({.type = Type::null}); }  // JSON text holds none
    bool start_object(std::size_t) override { return open(Type::object); }
    bool end_object() override { return close(); }
    bool start_array(std::size_t) override { return open(Type::array); }
    bool end_array() override { return close(); }

    bool parse_error(std::size_t position, const std::string&, const nlohmann::detail::exception&) override {
        // The parser counts bytes read, one past the offending byte's zero-based offset.
        const auto offset = position > 0 ? position - 1 : 0;
        throw DecodingError(DecodingError::Kind::dataCorrupted, "",
                            "The data is not valid JSON (error at offset " + std::to_string(offset) + ").");
    }

private:
    std::uint32_t nextIndex() const { return static_cast<std::uint32_t>(document_.nodes_.size()); }

    bool add(Node node) {
        node.end = nextIndex() + 1;
        document_.nodes_.push_back(node);
        return true;
    }

    bool addText(const std::string& value) {
        const auto offset = document_.strings_.size();
        document_.strings_ += value;
        return add({.type = Type::string,
                    .textOffset = static_cast<std::uint32_t>(offset),
                    .textLength = static_cast<std::uint32_t>(value.size())});
    }

    bool open(Type type) {
        open_.push_back(nextIndex());
        document_.nodes_.push_back({.type = type});
        return true;
    }

    bool close() {
        document_.nodes_[open_.back()].end = nextIndex();
        open_.pop_back();
        return true;
    }

    JSONDocument& document_;
    std::vector<std::uint32_t> open_;
};

JSONDocument JSONDocument::parse(std::string_view bytes) {
    if (bytes.size() >= std::numeric_limits<std::uint32_t>::max()) {
        throw DecodingError(DecodingError::Kind::dataCorrupted, "", "The document is too large.");
    }
    JSONDocument document;
    Builder builder(document);
    try {
        nlohmann::json::sax_parse(withoutWhiteSpace(bytes), &builder);
    } catch (const DecodingError&) {
        // Parse the text as given again, for an offset that points into it.
        JSONDocument original;
        Builder reporter(original);
        nlohmann::json::sax_parse(bytes, &reporter);
        throw;
    }
    return document;
}

std::string_view JSONDocument::text(std::uint32_t index) const {
    const auto& node = nodes_[index];
    return std::string_view(strings_).substr(node.textOffset, node.textLength);
}

}  // namespace tessaline
