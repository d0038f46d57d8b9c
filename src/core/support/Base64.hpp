#pragma once

#include <optional>
#include <string>
#include <string_view>

// Standard Base64 (RFC 4648 alphabet, "=" padding, no line breaks), the form in which
// persisted files hold raw bytes.
namespace tessaline::base64 {

std::string encode(std::string_view bytes);

// Absent unless the text is canonical: a multiple of four characters from the standard
// alphabet, "=" only as one or two final padding characters, no white space.
std::optional<std::string> decode(std::string_view text);

}  // namespace tessaline::base64
