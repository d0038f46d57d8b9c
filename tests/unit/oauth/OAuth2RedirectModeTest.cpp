#include "oauth/OAuth2RedirectMode.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Mode = OAuth2RedirectMode;

TEST(OAuth2RedirectModeTest, PlainHTTPToThisMachineIsLoopbackAnotherSchemeIsCustomAndTheRestEmbedded) {
    const std::pair<const char*, Mode::Value> cases[] = {
        {"http://localhost:8080", Mode::Loopback{8080, "/"}},      {"HTTP://LOCALHOST/cb?x=1", Mode::Loopback{std::nullopt, "/cb"}},
        {"http://[::1]:53682/", Mode::Loopback{53682, "/"}},        {"https://127.0.0.1/cb", Mode::Embedded{}},
        {"http://example.com/cb", Mode::Embedded{}},                {"http://local host/", Mode::Embedded{}},
        {"/callback", Mode::Embedded{}},                            {"1app://x", Mode::Embedded{}},
        {"MyApp://cb", Mode::CustomScheme{"myapp"}},                {"a+b-c:x", Mode::CustomScheme{"a+b-c"}},
        {"com.Example.app:/oauth2redirect", Mode::CustomScheme{"com.example.app"}},
    };
    for (const auto& [uri, expected] : cases) EXPECT_EQ(Mode(expected), Mode(uri)) << uri;
}

}  // namespace
}  // namespace tessaline
