#include "support/JSONDocument.hpp"

#include "support/AtomicFile.hpp"
#include "support/DecodingError.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <cmath>
#include <filesystem>

namespace tessaline {
namespace {

using Type = JSONDocument::Type;

// The offset named by the error, or -1 when the text parses.
long errorOffset(std::string_view text) {
    try {
        JSONDocument::parse(text);
    } catch (const DecodingError& error) {
        EXPECT_EQ(DecodingError::Kind::malformed, error.kind());
        EXPECT_EQ("", error.path());
        const std::string message = error.what();
        const std::string prefix = "The data is not valid JSON (error at offset ";
        EXPECT_EQ(prefix, message.substr(0, prefix.size())) << message;
        return std::stol(message.substr(prefix.size()));
    }
    return -1;
}

// nlohmann ends its input at a NUL byte where a token could start, so it takes "1\0x" as
// "1"; strict JSON rejects that NUL, and this is the one place where the two may differ.
bool nlohmannStopsAtNUL(std::string_view bytes, long offset) {
    const auto at = static_cast<std::size_t>(offset);
    return offset >= 0 && at < bytes.size() && bytes[at] == '\0' && nlohmann::json::accept(bytes.substr(0, at));
}

TEST(JSONDocumentTest, AcceptsWhatNlohmannAcceptsOverTheParsingSuite) {
    std::size_t accepted = 0, rejected = 0, nlohmannTruncated = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TESSALINE_TEST_DATA "/json-test-suite/test_parsing")) {
        const std::string name = entry.path().filename().string();
        const std::string bytes = atomicFile::read(entry.path());
        const auto offset = errorOffset(bytes);
        const bool stopsAtNUL = nlohmannStopsAtNUL(bytes, offset);
        EXPECT_EQ(nlohmann::json::accept(bytes), offset < 0 || stopsAtNUL) << name;
        if (name.starts_with("y_")) {
            EXPECT_LT(offset, 0) << name;
        } else if (name.starts_with("n_")) {
            EXPECT_GE(offset, 0) << name;
        }
        (offset < 0 ? accepted : rejected) += 1;
        nlohmannTruncated += stopsAtNUL ? 1 : 0;
    }
    EXPECT_EQ(95u + 7u, accepted);  // the y_ files and seven of the i_ ones
    EXPECT_EQ(188u + 28u, rejected);
    EXPECT_EQ(1u, nlohmannTruncated);  // n_multidigit_number_then_00
}

// The first byte at which the text stops being the beginning of any JSON text; its length
// when it is only cut short. Numbers that overflow a double fail at their last digit.
TEST(JSONDocumentTest, ErrorsNameTheFirstOffendingByte) {
    const struct {
        std::string text;
        long offset;
    } cases[] = {
        {"", 0},
        {"   ", 3},
        {"[1 2]", 3},
        {"[1 22]", 3},
        {"[tr ue]", 3},
        {"nul", 3},
        {"nulL", 3},
        {"[1,]", 3},
        {"{\"a\":1,}", 7},
        {"{\"a\" 1}", 5},
        {"{1:2}", 1},
        {"{\"a\":1", 6},
        {"[", 1},
        {"[] x", 3},
        {"[]]", 2},
        {"/* c */ 1", 0},
        {"1 // c", 2},
        {"01", 1},
        {"-01", 2},
        {"-", 1},
        {"-x", 1},
        {"+1", 0},
        {"1.", 2},
        {"1.e3", 2},
        {".5", 0},
        {"1e", 2},
        {"1e+", 3},
        {"1e+x", 3},
        {"0x10", 1},
        {"[1, 1e400]", 8},
        {"-1.8e308 ", 7},
        {"1" + std::string(400, '0'), 400},
        {"\"abc", 4},
        {"\"a\tb\"", 2},           // control characters must be escaped
        {"\"a\x1F\"", 2},
        {"\"\\x\"", 2},
        {"\"\\", 2},
        {"\"\\u12G4\"", 5},
        {"\"\\u12", 5},
        {"\"\\uDC00\"", 4},         // a low surrogate cannot begin a pair
        {"\"\\uD800\"", 7},         // a high surrogate needs "\u" next
        {"\"\\uD800\\n\"", 8},
        {"\"\\uD800\\u0041\"", 9},  // ... and a low surrogate after it
        {"\"\\uD800\\uD800\"", 10},
        {"\"\\uD800\\uDC0", 12},
        {"\"\xC3\"", 2},           // cut short by the closing quote
        {"\"\xC3(\"", 2},
        {"\"ab\x80\"", 3},
        {"\"\xE0\x80\x80\"", 2},   // overlong
        {"\"\xED\xA0\x80\"", 2},   // encoded surrogate
        {"\"\xF4\x90\x80\x80\"", 2},
        {"\"\xFF\"", 1},
        {"\"\\n\xC3\\n\"", 4},      // a run after an escape is checked too
        {"\xEF\xBB", 2},
        {"\xEF\xBB[]", 2},
        {"\xEF[]", 1},
        {"\xEF\xBB\xBF", 3},
        {" \xEF\xBB\xBF[]", 1},     // only at the very start
        {"[" + std::string(5, '['), 6},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.offset, errorOffset(c.text)) << c.text;
        EXPECT_FALSE(nlohmann::json::accept(c.text)) << c.text;
    }
    for (const std::string_view accepted : {"\xEF\xBB\xBF[]", " \t\r\n[\n1 ,\t2 ] \n", "-0", "0e00", "1E+2", "\"\\u0000\""}) {
        EXPECT_EQ(-1, errorOffset(accepted)) << accepted;
    }
}

// Integers that fit 64 signed bits stay exact; every other number is the nearest double,
// exactly the value nlohmann reads.
TEST(JSONDocumentTest, NumbersAtTheEdgesOfTheIntegerTypes) {
    const struct {
        std::string text;
        Type type;
        std::int64_t integer;
        double number;
    } cases[] = {
        {"0", Type::integer, 0, 0.0},
        {"-0", Type::integer, 0, 0.0},
        {"9223372036854775807", Type::integer, INT64_MAX, 9223372036854775807.0},
        {"-9223372036854775808", Type::integer, INT64_MIN, -9223372036854775808.0},
        {"9223372036854775808", Type::number, 0, 9223372036854775808.0},
        {"-9223372036854775809", Type::number, 0, -9223372036854775809.0},
        {"18446744073709551615", Type::number, 0, 18446744073709551615.0},
        {"18446744073709551616", Type::number, 0, 18446744073709551616.0},
        {"123456789012345678901234567890", Type::number, 0, 123456789012345678901234567890.0},
        {"1.0", Type::number, 0, 1.0},
        {"-0.0", Type::number, 0, -0.0},
        {"1E2", Type::number, 0, 100.0},
        {"2.5e-1", Type::number, 0, 0.25},
        {"0.1", Type::number, 0, 0.1},
        {"9007199254740993.0", Type::number, 0, 9007199254740992.0},  // ties to even
        {"1.7976931348623157e308", Type::number, 0, 1.7976931348623157e308},
        {"4.9e-324", Type::number, 0, 4.9e-324},
        {"2.4e-324", Type::number, 0, 0.0},  // below half the smallest double
        {"1e-400", Type::number, 0, 0.0},
        {"-1e-400", Type::number, 0, -0.0},
        {"0e99999999999999999999", Type::number, 0, 0.0},
        {"1" + std::string(400, '0') + "e-500", Type::number, 0, 1e-100},
        {"0." + std::string(400, '0') + "1e400", Type::number, 0, 0.1},
    };
    for (const auto& c : cases) {
        const auto document = JSONDocument::parse(c.text);
        const auto& node = document.node(0);
        EXPECT_EQ(c.type, node.type) << c.text;
        if (c.type == Type::integer) {
            EXPECT_EQ(c.integer, node.payload.integer) << c.text;
        }
        EXPECT_EQ(std::bit_cast<std::uint64_t>(c.number), std::bit_cast<std::uint64_t>(node.numeric())) << c.text;
        EXPECT_EQ(nlohmann::json::parse(c.text).get<double>(), node.numeric()) << c.text;
    }
}

TEST(JSONDocumentTest, StringsDecodeEscapesAndSurrogatePairs) {
    const struct {
        std::string json;
        std::string text;
    } cases[] = {
        {R"("")", ""},
        {R"("plain")", "plain"},
        {R"("\"\\\/\b\f\n\r\t")", "\"\\/\b\f\n\r\t"},
        {R"("a\u0000b")", std::string("a\0b", 3)},
        {R"("\u00e9\u00C9")", "\xC3\xA9\xC3\x89"},
        {R"("\u20AC")", "\xE2\x82\xAC"},
        {R"("\uD83D\uDE00")", "\xF0\x9F\x98\x80"},
        {R"("\udbff\udfff")", "\xF4\x8F\xBF\xBF"},
        {R"("\uFFFF")", "\xEF\xBF\xBF"},
        {"\"caf\xC3\xA9 \xF0\x9F\x98\x80\\n\xE2\x82\xAC\"", "caf\xC3\xA9 \xF0\x9F\x98\x80\n\xE2\x82\xAC"},
        {"\"\x7F\"", "\x7F"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.text, JSONDocument::parse(c.json).text(0)) << c.json;
        EXPECT_EQ(c.text, nlohmann::json::parse(c.json).get<std::string>()) << c.json;
    }
}

TEST(JSONDocumentTest, NodesFollowTheirContainerUpToItsEnd) {
    const auto document = JSONDocument::parse(R"( {"a": [true, {}, null], "b\u0021": {"c": false}, "a": "last"} )");
    const struct {
        Type type;
        std::uint32_t end;
    } expected[] = {
        {Type::object, 12}, {Type::string, 2},  {Type::array, 6},   {Type::boolean, 4},
        {Type::object, 5},  {Type::null, 6},    {Type::string, 7},  {Type::object, 10},
        {Type::string, 9},  {Type::boolean, 10}, {Type::string, 11}, {Type::string, 12},
    };
    for (std::uint32_t index = 0; index < std::size(expected); ++index) {
        EXPECT_EQ(expected[index].type, document.node(index).type) << index;
        EXPECT_EQ(expected[index].end, document.node(index).end) << index;
    }
    EXPECT_EQ("b!", document.text(6));
    EXPECT_EQ(11u, document.member(0, "a"));  // the last of a repeated key
    EXPECT_EQ(7u, document.member(0, "b!"));
    EXPECT_EQ(9u, document.member(7, "c"));
    EXPECT_FALSE(document.member(0, "c"));
    EXPECT_FALSE(document.member(4, "a"));
}

// Nesting costs heap, never call stack.
TEST(JSONDocumentTest, DeepNestingParses) {
    constexpr std::size_t depth = 100'000;
    const auto arrays = JSONDocument::parse(std::string(depth, '[') + std::string(depth, ']'));
    EXPECT_EQ(depth, arrays.node(0).end);
    EXPECT_EQ(depth, arrays.node(depth - 1).end);

    std::string objects;
    for (std::size_t i = 0; i < depth; ++i) objects += "{\"k\":";
    objects += "1" + std::string(depth, '}');
    const auto nested = JSONDocument::parse(objects);
    EXPECT_EQ(2 * depth + 1, nested.node(0).end);
    EXPECT_EQ(2 * depth, nested.member(2 * depth - 2, "k"));

    EXPECT_EQ(static_cast<long>(depth), errorOffset(std::string(depth, '[')));
}

}  // namespace
}  // namespace tessaline
