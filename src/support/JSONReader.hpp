#pragma once

#include "support/Date.hpp"
#include "support/DecodingError.hpp"
#include "support/Uuid.hpp"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace tessaline {

// Strict, typed reading of one value inside a parsed JSON document. Every failed read
// throws DecodingError naming the value's coding path; the path is only rendered then,
// so reading a large document costs no string building.
//
// A reader refers to its document and to the reader it was made from: keep both alive
// while it is in use (children are meant to live on the stack of the decoding functions).
class JSONReader {
public:
    // Deepest nesting of readers accepted; deeper documents are rejected rather than
    // exhausting the stack of the recursive decoders.
    static constexpr int maximumDepth = 512;

    explicit JSONReader(const nlohmann::json& root) : value_(&root) {}

    // Parses a whole document; text that is not JSON throws with an empty coding path.
    static nlohmann::json parse(std::string_view bytes);

    const nlohmann::json& value() const { return *value_; }
    std::string codingPath() const;

    // The member under key of this object; a missing key throws keyNotFound. A null member
    // is returned as it is and rejected by the typed reads as valueNotFound.
    JSONReader member(std::string_view key) const;
    // The member under key, or nothing when it is missing or null.
    std::optional<JSONReader> optionalMember(std::string_view key) const;

    std::string string() const;
    bool boolean() const;
    std::int64_t integer() const;  // also accepts a number with a zero fraction
    double number() const;         // accepts integers and fractions, rejects non-finite values
    Uuid uuid() const;
    Date date() const;         // ISO 8601 text
    std::string data() const;  // standard Base64 text, read back to its bytes

    const nlohmann::json::object_t& object() const;

    // Each element of this array, in order, read by read(const JSONReader&).
    template <class Read>
    auto array(Read&& read) const {
        using Element = std::decay_t<std::invoke_result_t<Read&, const JSONReader&>>;
        const auto& elements = checked(nlohmann::json::value_t::array).template get_ref<const nlohmann::json::array_t&>();
        std::vector<Element> result;
        result.reserve(elements.size());
        for (std::size_t i = 0; i < elements.size(); ++i) result.push_back(read(element(elements[i], i)));
        return result;
    }

    [[noreturn]] void fail(DecodingError::Kind kind, std::string description) const;

private:
    JSONReader(const nlohmann::json& value, const JSONReader& parent, std::string_view key, std::size_t index);

    JSONReader element(const nlohmann::json& value, std::size_t index) const { return {value, *this, {}, index}; }
    const nlohmann::json& checked(nlohmann::json::value_t type) const;
    [[noreturn]] void failType(std::string_view expected) const;
    void appendPath(std::string& path) const;

    const nlohmann::json* value_;
    const JSONReader* parent_ = nullptr;
    std::string_view key_;  // empty for an array element
    std::size_t index_ = 0;
    int depth_ = 0;
};

}  // namespace tessaline
