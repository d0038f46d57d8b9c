#include "core/support/UniformRandom.hpp"

#include "core/support/Crypto.hpp"

#include <algorithm>
#include <limits>

namespace tessaline::uniformRandom {
namespace {

std::uint64_t draw() {
    std::uint64_t value = 0;
    crypto::fillRandom({reinterpret_cast<std::uint8_t*>(&value), sizeof value});
    return value;
}

}  // namespace

std::uint64_t upTo(std::uint64_t maximum) {
    if (maximum == std::numeric_limits<std::uint64_t>::max()) return draw();
    const std::uint64_t count = maximum + 1;
    // 2^64 mod count: draws below it belong to an incomplete last round of `count` values.
    const std::uint64_t incomplete = (0 - count) % count;
    while (true) {
        const std::uint64_t value = draw();
        if (value >= incomplete) return value % count;
    }
}

std::int64_t between(std::int64_t bound, std::int64_t otherBound) {
    const auto [lower, upper] = std::minmax(bound, otherBound);
    // Unsigned arithmetic wraps where the signed span would overflow (e.g. INT64_MIN...INT64_MAX).
    const auto span = static_cast<std::uint64_t>(upper) - static_cast<std::uint64_t>(lower);
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(lower) + upTo(span));
}

}  // namespace tessaline::uniformRandom
