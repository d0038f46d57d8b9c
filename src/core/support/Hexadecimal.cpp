#include "core/support/Hexadecimal.hpp"

namespace tessaline::hexadecimal {

int digitValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

void appendByte(std::string& out, unsigned char byte, std::string_view digits) {
    out += digits[byte >> 4];
    out += digits[byte & 0xF];
}

}  // namespace tessaline::hexadecimal
