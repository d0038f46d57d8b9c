#include "oauth/PKCE.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

// A published verifier, made of 32 known octets, and its challenge.
TEST(PKCETest, EncodesAKnownVerifierAndItsChallenge) {
    const unsigned char octets[] = {116, 24,  223, 180, 151, 153, 224, 37,  79,  250, 96,  125, 216, 173, 187, 186,
                                    22,  212, 37,  77,  105, 214, 191, 240, 91,  88,  5,   88,  83,  132, 141, 121};
    const auto verifier = pkce::base64URL({reinterpret_cast<const char*>(octets), sizeof octets});
    EXPECT_EQ("dBjftJeZ4CVP-mB92K27uhbUJU1p1r_wW1gFWFOEjXk", verifier);
    EXPECT_EQ("E9Melhoa2OwvFrEMTJguCHaoeK1t8URWbuGJSstw-cM", pkce::challenge(verifier));
}

}  // namespace
}  // namespace tessaline
