#pragma once

#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tessaline {

// The one writer of every persisted JSON file. Its output is a pure function of the values
// written: pretty-printed with two-space indentation and one member per line, slashes left
// plain, integral numbers without a fraction (a timeout of 30 s is written `30`) and other
// numbers by their shortest text that reads back to the same double. Object keys must be
// written in ascending byte order (checked in debug builds), so equal values give equal
// bytes, which the store relies on to recognise its own writes.
//
// Values are streamed straight into the text, with no tree in between:
//
//     JSONWriter writer;
//     writer.beginObject();
//     writer.key("id"), writer.value(id.text());
//     writer.endObject();
//     std::string bytes = std::move(writer).text();
class JSONWriter {
public:
    // Room for the nesting of most texts, a send's summary among them, without growing.
    JSONWriter() { levels.reserve(8); }

    // Any JSON value: nlohmann's objects are sorted maps, so their keys come in order.
    static std::string write(const nlohmann::json& value);

    // Room for `bytes` of text before the writer has to grow its buffer.
    void reserve(std::size_t bytes) { out.reserve(bytes); }

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();
    void key(std::string_view key);

    // Text that is not valid UTF-8 is written with U+FFFD in place of each bad sequence.
    void value(std::string_view text);
    void value(const char* text) { value(std::string_view(text)); }
    void value(bool flag);
    void value(std::int64_t number);
    void value(std::uint64_t number);
    // Throws tessaline::Error for a number that is not finite, which JSON cannot hold.
    void value(double number);
    void null();
    // Any JSON value, as write() gives it, in place of one value() call.
    void append(const nlohmann::json& value);

    std::string text() && { return std::move(out); }

private:
    struct Level {
        bool isObject;
        bool isEmpty = true;
        std::string lastKey{};
    };

    void beforeValue();
    void newline(std::size_t depth);
    void close(char bracket);

    std::string out;
    std::vector<Level> levels;
    bool afterKey = false;
};

}  // namespace tessaline
