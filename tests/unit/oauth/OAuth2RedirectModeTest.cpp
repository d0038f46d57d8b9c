#include "oauth/OAuth2RedirectMode.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

using Mode = OAuth2RedirectMode;

TEST(OAuth2RedirectModeTest, ClassifiesRedirectURIs) {
    const std::pair<const char*, Mode::Value> cases[] = {
        {"http://localhost:8080", Mode::Loopback{8080, "/"}},
        {"http://127.0.0.1/callback", Mode::Loopback{std::nullopt, "/callback"}},
        {"HTTP://LOCALHOST/cb?x=1", Mode::Loopback{std::nullopt, "/cb"}},
        {"http://[::1]:53682/", Mode::Loopback{53682, "/"}},
        {"http://127.0.0.1:0/cb", Mode::Loopback{0, "/cb"}},
        {"https://127.0.0.1/cb", Mode::Embedded{}},
        {"http://example.com/cb", Mode::Embedded{}},
        {"https://app.example/oauth", Mode::Embedded{}},
        {"myapp://cb", Mode::CustomScheme{"myapp"}},
        {"MyApp://cb", Mode::CustomScheme{"myapp"}},
        {"com.example.app:/oauth2redirect", Mode::CustomScheme{"com.example.app"}},
        {"tessaline://oauth/callback", Mode::CustomScheme{"tessaline"}},
        {"/callback", Mode::Embedded{}},
        {"", Mode::Embedded{}},
        {"http://local host/", Mode::Embedded{}},
    };
    for (const auto& [uri, expected] : cases) EXPECT_EQ(Mode(expected), Mode(uri)) << uri;
}

TEST(OAuth2RedirectModeTest, Summaries) {
    EXPECT_EQ("Local redirect — Tessaline listens on a free 127.0.0.1 port for the reply.",
              Mode("http://127.0.0.1/callback").summary());
    EXPECT_EQ("Local redirect — Tessaline listens on 127.0.0.1:8080 for the reply.", Mode("http://localhost:8080").summary());
    EXPECT_EQ("Opens the system browser sheet and catches the tessaline:// redirect.",
              Mode("tessaline://oauth/callback").summary());
    EXPECT_EQ("Opens an in-app browser and catches the redirect before it loads.", Mode("https://x.example/cb").summary());
}

}  // namespace
}  // namespace tessaline
