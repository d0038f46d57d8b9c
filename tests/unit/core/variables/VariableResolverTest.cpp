#include "core/variables/VariableResolver.hpp"

#include "core/support/ScopedEnvironment.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

namespace tessaline {
namespace {

using Names = std::vector<std::string>;
using ::testing::MatchesRegex;

KeyValue row(std::string key, std::string value, bool enabled = true) {
    return {.key = std::move(key), .value = std::move(value), .enabled = enabled};
}

struct Case {
    const char* text;
    const char* resolved;
};

void expectResolved(const VariableResolver& resolver, std::initializer_list<Case> cases) {
    for (const auto& c : cases) EXPECT_EQ(c.resolved, resolver.resolve(c.text)) << c.text;
}

TEST(VariableResolverTest, LooksVariablesUpAcrossAndWithinScopes) {
    const VariableResolver resolver{
        .scopes = {{row("host", "h"), row("token", "env-token"), row("k", "first"), row("k", "second"), row("shadowed", "off", false),
                    row("only", "disabled", false), row("id", "42"), row("brace", "{{"), row("tail", "host}}")},
                   {row("token", "collection-token"), row("baseUrl", "https://api.test"), row("shadowed", "visible"),
                    row("url", "{{baseUrl}}/users/{{ id }}")}}};
    expectResolved(resolver, {
        {"{{ host }}/x", "h/x"},
        {"{{token}}", "env-token"},        // the first scope wins
        {"{{k}}", "second"},               // within a scope, the later row wins
        {"{{shadowed}}", "visible"},       // a disabled row is invisible
        {"{{only}}", "{{only}}"},          // even when it is the only one
        {"{{Host}}", "{{Host}}"},          // keys match exactly
        {"{{url}}", "https://api.test/users/42"},
        {"{{ \tmissing\t }}/{{host}}", "{{missing}}/h"},
        {"{{}}", "{{}}"},
        {"}}{{host}}{{", "}}h{{"},
        {"a {{host}} {{host", "a h {{host"},  // an unclosed "{{" leaves the rest as it is
        {"{{ a{{b }}}}", "{{a{{b}}}}"},       // placeholders do not nest: the body is "a{{b"
        {"{{brace}}{{tail}}", "{{host}}"},    // inserted values are not scanned again
    });
    EXPECT_EQ("{{host}}/x", VariableResolver{}.resolve("{{ host }}/x"));
}

TEST(VariableResolverTest, SelfReferenceStopsAfterEightLevels) {
    const VariableResolver resolver{.scopes = {{row("a", "x{{a}}"), row("loop", "{{loop}}")}}};
    EXPECT_EQ("xxxxxxxx{{a}}", resolver.resolve("{{a}}"));
    EXPECT_EQ("{{loop}}", resolver.resolve("{{loop}}"));
    EXPECT_EQ("x{{a}}", resolver.resolve("{{a}}", 7));
    EXPECT_EQ("{{a}}", resolver.resolve("{{a}}", 8));
}

TEST(VariableResolverTest, UnresolvedNamesInOrderWithRepeats) {
    const VariableResolver resolver{.scopes = {{row("known", "{{deeper}}")}}};
    EXPECT_EQ((Names{"a", "missing", "missing", "a{{b"}),
              resolver.unresolvedNames("{{a}} {{ $uuid }} {{@Login.status}} {{missing}} {{ missing }} {{known}} {{$nope}} {{a{{b}}}} {{c"));
}

TEST(VariableResolverTest, ChainedReferencesReadTheNewestResponse) {
    const StoredResponse login{.status = 201,
                               .headers = {row("Content-Type", "application/json"), row("Set-Cookie", "s=1"), row("set-cookie", "s=2"),
                                           row("X-Rate.Limit", "10")},
                               .body = R"({"token":"abc","items":[{"id":1},{"id":2},{"id":3}],"n":true})"};
    const VariableResolver resolver{.responseLookup = [&](const std::string& name) {
        return name == "Login" || name == "List products" ? std::optional(login) : std::nullopt;
    }};
    expectResolved(resolver, {
        {"{{@Login.status}}", "201"},
        {"{{@List products.status}}", "201"},
        {"{{@Login.header.SET-COOKIE}}", "s=1"},   // the first match, ignoring case
        {"{{@Login.header.x-rate.limit}}", "10"},  // a header name may hold dots
        {"{{@Login.body}}", R"({"token":"abc","items":[{"id":1},{"id":2},{"id":3}],"n":true})"},
        {"{{ @Login.body.token }}", "abc"},
        {"{{@Login.body.items.+2.id}}", "3"},
        // References without a value stay in the text.
        {"{{@Login.body.items.5}}", "{{@Login.body.items.5}}"},
        {"{{@Login.header}}", "{{@Login.header}}"},
        {"{{@Login.header.Missing}}", "{{@Login.header.Missing}}"},
        {"{{@Login.Status}}", "{{@Login.Status}}"},
        {"{{@Login}}", "{{@Login}}"},
        {"{{@Logout.status}}", "{{@Logout.status}}"},
        {"{{@ Login.status}}", "{{@ Login.status}}"},  // the name is taken as written
    });
    EXPECT_EQ("{{@Login.status}}", VariableResolver{}.resolve("{{@Login.status}}"));
}

TEST(VariableResolverTest, GeneratedValuesFromTheClockTheProcessAndTheirArguments) {
    const ScopedEnvironment zone("TZ", "UTC");
    const ScopedEnvironment set("TESSALINE_TEST_VALUE", "from env");
    const ScopedEnvironment empty("TESSALINE_TEST_EMPTY", "");
    const ScopedEnvironment braces("TESSALINE_TEST_BRACES", "{{host}}");
    const ScopedEnvironment unset("TESSALINE_TEST_UNSET", std::nullopt);
    // 2024-05-01T12:30:45.678Z.
    const Date instant = std::chrono::sys_days{std::chrono::year{2024} / 5 / 1} + std::chrono::hours{12} + std::chrono::minutes{30} +
                         std::chrono::seconds{45} + std::chrono::milliseconds{678};
    const VariableResolver resolver{.scopes = {{row("host", "h")}}, .now = fixedClock(instant)};
    expectResolved(resolver, {
        {"{{$timestamp}}", "1714566645"},
        {"{{$timestampMs}}", "1714566645678"},
        {"{{$isoTimestamp}}", "2024-05-01T12:30:45Z"},
        {"{{$date}}", "2024-05-01"},
        {"{{$date(EEE HH:mm:ss.SSS)}}", "Wed 12:30:45.678"},
        {"{{$date(MMM d, yyyy)}}", "May 1"},  // arguments are split at ","
        {"{{$date(HH:mm}}", "{{$date(HH:mm}}"},
        {"{{$base64(user, pass)}}", "dXNlcixwYXNz"},  // "user,pass"
        {"{{$base64(\xC3\xA9)}}", "w6k="},
        {"{{$base64}}", ""},
        {"{{$env( TESSALINE_TEST_VALUE )}}", "from env"},
        {"[{{$env(TESSALINE_TEST_EMPTY)}}]", "[]"},
        {"{{$env(TESSALINE_TEST_BRACES)}}", "{{host}}"},  // generated values are not resolved further
        {"{{$env(TESSALINE_TEST_UNSET)}}", "{{$env(TESSALINE_TEST_UNSET)}}"},
        {"{{$env}}", "{{$env}}"},
        {"{{$unknown}}", "{{$unknown}}"},
        {"{{$ uuid}}", "{{$ uuid}}"},
        {"{{ $uuid( }}", "{{$uuid(}}"},
    });
    const VariableResolver beforeEpoch{.now = fixedClock(Date{} - std::chrono::milliseconds{1500})};
    EXPECT_EQ("-1 -1500", beforeEpoch.resolve("{{$timestamp}} {{$timestampMs}}"));
    const ScopedEnvironment tokyo("TZ", "Asia/Tokyo");  // dates are local, ISO timestamps stay in UTC
    EXPECT_EQ("21:30 2024-05-01T12:30:45Z", resolver.resolve("{{$date(HH:mm)}} {{$isoTimestamp}}"));
}

TEST(VariableResolverTest, RandomValuesWithinTheirBounds) {
    const VariableResolver resolver;
    for (const char* text : {"{{$uuid}}", "{{$guid}}", "{{ $uuid() }}"}) {
        EXPECT_THAT(resolver.resolve(text), MatchesRegex("[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}")) << text;
    }
    EXPECT_NE(resolver.resolve("{{$uuid}}"), resolver.resolve("{{$uuid}}"));

    // Each value of a small range comes up in 300 draws; empty pieces of the arguments are dropped.
    const std::tuple<const char*, int, int> integers[] = {
        {"{{$randomInt(10, 1)}}", 1, 10}, {"{{$randomInt(-3,+3)}}", -3, 3}, {"{{$randomInt(x, 2)}}", 0, 2}, {"{{$randomInt(,2,4)}}", 2, 4}};
    for (const auto& [text, minimum, maximum] : integers) {
        std::set<std::int64_t> expected, seen;
        for (auto value = minimum; value <= maximum; ++value) expected.insert(value);
        for (int i = 0; i < 300; ++i) seen.insert(std::stoll(resolver.resolve(text)));
        EXPECT_EQ(expected, seen) << text;
    }
    const std::pair<const char*, int> strings[] = {
        {"{{$randomString}}", 16}, {"{{$randomString(-5)}}", 1}, {"{{$randomString(3.5)}}", 16}, {"{{$randomString(+2)}}", 2}};
    for (const auto& [text, length] : strings) {
        EXPECT_THAT(resolver.resolve(text), MatchesRegex("[a-zA-Z0-9]{" + std::to_string(length) + "}")) << text;
    }
}

}  // namespace
}  // namespace tessaline
