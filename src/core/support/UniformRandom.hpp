#pragma once

#include <cstdint>

// Uniformly distributed whole numbers from the CSPRNG. Draws that would favour some values
// over others are rejected and drawn again, so every value of a range is equally likely.
// Throws tessaline::Error only when the generator itself fails (see crypto::fillRandom).
namespace tessaline::uniformRandom {

// A number from 0 to `maximum`, both included.
std::uint64_t upTo(std::uint64_t maximum);

// A number between the two bounds, both included, whichever of them is the larger.
std::int64_t between(std::int64_t bound, std::int64_t otherBound);

}  // namespace tessaline::uniformRandom
