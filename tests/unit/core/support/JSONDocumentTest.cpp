#include "core/support/JSONDocument.hpp"

#include "ThrownText.hpp"
#include "core/support/AtomicFile.hpp"

#include <gtest/gtest.h>

#include <bit>
#include <filesystem>

namespace tessaline {
namespace {

using Type = JSONDocument::Type;

std::string parseFailure(std::string_view text) {
    return thrownText([&] { JSONDocument::parse(text); });
}

std::string notJSONAt(std::size_t offset) {
    return "The data is not valid JSON (error at offset " + std::to_string(offset) + ").";
}

// The documents every reader must accept (y_) and reject (n_). The fuzzer compares the
// others, whose verdict is left to the reader, with nlohmann's.
TEST(JSONDocumentTest, TakesTheParsingSuitesVerdicts) {
    std::size_t checked = 0;
    for (const auto& entry : std::filesystem::directory_iterator(TESSALINE_TEST_DATA "/json-test-suite/test_parsing")) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with("y_") && !name.starts_with("n_")) continue;
        const auto failure = parseFailure(atomicFile::read(entry.path()));
        EXPECT_EQ(name.starts_with("y_"), failure == "(nothing thrown)") << name << ": " << failure;
        ++checked;
    }
    EXPECT_EQ(95u + 188u, checked);
}

// The first byte at which the text stops being the beginning of any JSON text; its length
// when it is only cut short. Numbers that overflow a double fail at their last digit.
TEST(JSONDocumentTest, ErrorsNameTheFirstOffendingByte) {
    const std::pair<std::string, std::size_t> cases[] = {
        {"", 0}, {"   ", 3}, {"[1 2]", 3}, {"[1 22]", 3}, {"[tr ue]", 3}, {"nul", 3}, {"nulL", 3}, {"[1,]", 3},
        {"{\n  \"a\": 1,\n  }", 14}, {"{\"a\" 1}", 5}, {"{1:2}", 1}, {"{\"a\":1", 6}, {"[", 1}, {" [] x", 4}, {"[]]", 2},
        {"/* c */ 1", 0}, {"1 // c", 2},
        {"01", 1}, {"-01", 2}, {"-", 1}, {"-x", 1}, {"+1", 0}, {"1.", 2}, {"1.e3", 2}, {".5", 0}, {"1e", 2},
        {"1e+x", 3}, {"0x10", 1}, {"[1, 1e400]", 8}, {"-1.8e308 ", 7}, {"1" + std::string(400, '0'), 400},
        {"\"abc", 4}, {"\"\\x\"", 2}, {"\"\\", 2}, {"\"\\u12G4\"", 5}, {"\"\\u12", 5},
        {"\"a\tb\"", 2},  // control characters must be escaped
        {"\"\\uDC00\"", 4}, {"\"\\uD800\"", 7}, {"\"\\uD800\\u0041\"", 9}, {"\"\\uD800\\uDC0", 12},  // surrogates pair up
        {"\"\xC3\"", 2}, {"\"ab\xE2\x82", 5},  // cut short by the closing quote, by the end
        {"\"\xC3(\"", 2}, {"\"ab\x80\"", 3}, {"\"\xC0\xAF\"", 1}, {"\"\xFF\"", 1},
        {"\"\xE0\x80\x80\"", 2}, {"\"\xED\xA0\x80\"", 2}, {"\"\xF4\x90\x80\x80\"", 2},  // overlong, surrogate, too high
        {"\"\\n\xC3\\n\"", 4},  // a run after an escape is checked too
        {"\xEF\xBB", 2}, {"\xEF[]", 1}, {" \xEF\xBB\xBF[]", 1},  // a byte order mark only at the very start
    };
    for (const auto& [text, offset] : cases) EXPECT_EQ(notJSONAt(offset), parseFailure(text)) << text;
    for (const std::string_view accepted : {"\xEF\xBB\xBF[]", " \t\r\n[\n1 ,\t2 ] \n", "-0", "0e00", "1E+2", "\"\\u0000\""}) {
        EXPECT_EQ("(nothing thrown)", parseFailure(accepted)) << accepted;
    }
}

// Integers that fit 64 signed bits stay exact; every other number is the nearest double. The
// fuzzer compares the rest with nlohmann.
TEST(JSONDocumentTest, NumbersAtTheEdgesOfTheIntegerTypes) {
    const struct {
        std::string text;
        Type type;
        std::int64_t integer;
        double number;
    } cases[] = {
        {"-9223372036854775808", Type::integer, INT64_MIN, -9223372036854775808.0},
        {"9223372036854775808", Type::number, 0, 9223372036854775808.0},
        {"9007199254740993.0", Type::number, 0, 9007199254740992.0},  // ties to even
        {"2.4e-324", Type::number, 0, 0.0},  // below half the smallest double
        {"0e99999999999999999999", Type::number, 0, 0.0},
        {"1" + std::string(400, '0') + "e-500", Type::number, 0, 1e-100},
        {"0." + std::string(400, '0') + "1e400", Type::number, 0, 0.1},
    };
    for (const auto& c : cases) {
        const auto document = JSONDocument::parse(c.text);
        const auto& node = document.node(0);
        const std::int64_t integer = node.type == Type::integer ? node.payload.integer : 0;
        EXPECT_EQ(std::pair(c.type, c.integer), std::pair(node.type, integer)) << c.text;
        EXPECT_EQ(std::bit_cast<std::uint64_t>(c.number), std::bit_cast<std::uint64_t>(node.numeric())) << c.text;
    }
}

// Nesting costs heap, never call stack.
TEST(JSONDocumentTest, DeepNestingParses) {
    constexpr std::uint32_t depth = 100'000;
    const auto arrays = JSONDocument::parse(std::string(depth, '[') + std::string(depth, ']'));
    EXPECT_EQ(depth, arrays.node(depth - 1).end);
    std::string objects;
    for (std::size_t i = 0; i < depth; ++i) objects += "{\"k\":";
    const auto nested = JSONDocument::parse(objects + "1" + std::string(depth, '}'));
    EXPECT_EQ(2 * depth + 1, nested.node(0).end);
    EXPECT_EQ(2 * depth, nested.member(2 * depth - 2, "k"));
    EXPECT_EQ(notJSONAt(depth), parseFailure(std::string(depth, '[')));
}

}  // namespace
}  // namespace tessaline
