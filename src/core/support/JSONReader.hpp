#pragma once

#include "core/support/Date.hpp"
#include "core/support/DecodingError.hpp"
#include "core/support/JSONDocument.hpp"
#include "core/support/Uuid.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace tessaline {

// Strict, typed reading of one value inside a parsed JSON document. Every failed read
// throws DecodingError naming the path to the value; the path is only rendered then,
// so reading a large document costs no string building.
//
// A reader refers to its document and to the reader it was made from: keep both alive
// while it is in use (children are meant to live on the stack of the decoding functions).
class JSONReader {
public:
    // Deepest nesting of readers accepted; deeper documents are rejected rather than
    // exhausting the stack of the recursive decoders.
    static constexpr int maximumDepth = 512;

    // A reader of the document's root value.
    explicit JSONReader(const JSONDocument& document) : source(&document) {}

    std::string path() const;

    // Throws unless this is an object.
    void requireObject() const;
    // Whether this object has a member under key (null or not).
    bool contains(std::string_view key) const;
    // The member under key of this object; a missing key throws keyNotFound. A null member
    // is returned as it is and rejected by the typed reads as valueNotFound.
    JSONReader member(std::string_view key) const;
    // The member under key, or nothing when it is missing or null.
    std::optional<JSONReader> optionalMember(std::string_view key) const;
    // The member under key read by read(const JSONReader&) (&JSONReader::string, a decoding
    // function, ...), or nothing when it is missing or null.
    template <class Read>
    auto optionalMember(std::string_view key, Read&& read) const
        -> std::optional<std::decay_t<std::invoke_result_t<Read&, const JSONReader&>>> {
        if (const auto member = optionalMember(key)) return std::invoke(read, *member);
        return std::nullopt;
    }

    std::string string() const;
    bool boolean() const;
    std::int64_t integer() const;  // also accepts a number with a zero fraction
    double number() const;         // accepts integers and fractions, rejects non-finite values
    Uuid uuid() const;
    Date date() const;         // ISO 8601 text
    std::string data() const;  // standard Base64 text, read back to its bytes

    // Each element of this array, in order, read by read(const JSONReader&).
    template <class Read>
    auto array(Read&& read) const {
        using Element = std::decay_t<std::invoke_result_t<Read&, const JSONReader&>>;
        const auto end = checked(JSONDocument::Type::array).end;
        std::vector<Element> result;
        std::size_t index = 0;
        for (auto child = at + 1; child < end; child = source->node(child).end) {
            result.push_back(read(JSONReader(*this, child, {}, index++)));
        }
        return result;
    }

    // Calls read(key, member) for each member of this object in document order; a repeated
    // key is read each time.
    template <class Read>
    void forEachMember(Read&& read) const {
        const auto end = checked(JSONDocument::Type::object).end;
        for (auto child = at + 1; child < end; child = source->node(child + 1).end) {
            const auto key = source->text(child);
            read(key, JSONReader(*this, child + 1, key, 0));
        }
    }

    [[noreturn]] void fail(DecodingError::Kind kind, std::string description) const;

private:
    JSONReader(const JSONReader& parent, std::uint32_t node, std::string_view key, std::size_t index);

    const JSONDocument::Node& value() const { return source->node(at); }
    const JSONDocument::Node& checked(JSONDocument::Type type) const;
    std::string_view text() const;  // of a string, in the document
    std::optional<std::uint32_t> find(std::string_view key) const;
    [[noreturn]] void failType(std::string_view expected) const;
    void appendPath(std::string& path) const;

    const JSONDocument* source;
    std::uint32_t at = 0;
    const JSONReader* enclosing = nullptr;
    std::string_view memberKey;  // empty for an array element
    std::size_t elementIndex = 0;
    int depth = 0;
};

}  // namespace tessaline
