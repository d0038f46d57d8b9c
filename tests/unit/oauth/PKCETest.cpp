#include "oauth/PKCE.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace tessaline {
namespace {

// The example of the PKCE standard: its 32 octets, verifier and challenge.
TEST(PKCETest, MatchesTheStandardsExample) {
    const std::array<unsigned char, 32> octets{116, 24,  223, 180, 151, 153, 224, 37,  79,  250, 96,
                                               125, 216, 173, 187, 186, 22,  212, 37,  77,  105, 214,
                                               191, 240, 91,  88,  5,   88,  83,  132, 141, 121};
    const auto verifier = pkce::base64URL({reinterpret_cast<const char*>(octets.data()), octets.size()});
    EXPECT_EQ("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk", verifier);
    EXPECT_EQ("E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM", pkce::challenge(verifier));
}

TEST(PKCETest, RandomTextsAreURLSafeAndOfTheirLength) {
    const auto urlSafe = [](const std::string& text) {
        return std::all_of(text.begin(), text.end(), [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_'; });
    };
    const auto verifier = pkce::randomText(32);
    const auto state = pkce::randomText(16);
    EXPECT_EQ(43u, verifier.size());
    EXPECT_EQ(22u, state.size());
    EXPECT_TRUE(urlSafe(verifier)) << verifier;
    EXPECT_TRUE(urlSafe(state)) << state;
    EXPECT_NE(verifier, pkce::randomText(32));
    EXPECT_EQ("-_8", pkce::base64URL("\xFB\xFF"));
}

}  // namespace
}  // namespace tessaline
