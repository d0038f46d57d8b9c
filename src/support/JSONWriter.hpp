#pragma once

#include <nlohmann/json.hpp>

#include <string>

// The one writer of every persisted JSON file. Its output is a pure function of the value:
// pretty-printed with two-space indentation, object keys sorted byte-wise, slashes left
// plain, integral numbers without a fraction (a timeout of 30 s is written `30`) and other
// numbers by their shortest text that reads back to the same double. Equal values therefore
// give equal bytes, which the store relies on to recognise its own writes.
namespace tessaline::jsonWriter {

// Throws tessaline::Error for a number that is not finite, which JSON cannot hold.
// Text that is not valid UTF-8 is written with U+FFFD in place of each bad sequence.
std::string write(nlohmann::json value);

}  // namespace tessaline::jsonWriter
