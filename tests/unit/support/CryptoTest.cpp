#include "support/Crypto.hpp"

#include <gtest/gtest.h>

namespace tessaline {
namespace {

std::string hex(const crypto::Sha256Digest& digest) {
    std::string text;
    for (const auto byte : digest) {
        text += "0123456789abcdef"[byte >> 4];
        text += "0123456789abcdef"[byte & 0x0F];
    }
    return text;
}

TEST(CryptoTest, Sha256KnownVectors) {
    EXPECT_EQ("e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855", hex(crypto::sha256("")));
    EXPECT_EQ("ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad", hex(crypto::sha256("abc")));
}

TEST(CryptoTest, RandomBytesDiffer) {
    const auto first = crypto::randomBytes(32);
    EXPECT_EQ(32u, first.size());
    EXPECT_NE(first, crypto::randomBytes(32));
    EXPECT_TRUE(crypto::randomBytes(0).empty());
}

}  // namespace
}  // namespace tessaline
