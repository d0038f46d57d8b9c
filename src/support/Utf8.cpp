#include "support/Utf8.hpp"

#include "support/ByteScan.hpp"

namespace tessaline::utf8 {

bool isValid(std::string_view bytes) {
    for (size_t i = bytescan::findNonASCII(bytes, 0); i < bytes.size(); i = bytescan::findNonASCII(bytes, i)) {
        const CodePoint c = codePointAt(bytes, i);
        if (!c.wellFormed) return false;
        i += c.length;
    }
    return true;
}

std::string repaired(std::string_view bytes) {
    if (isValid(bytes)) return std::string(bytes);
    std::string out;
    out.reserve(bytes.size() + 16);
    for (size_t i = 0; i < bytes.size();) {
        const CodePoint c = codePointAt(bytes, i);
        out.append(c.wellFormed ? bytes.substr(i, c.length) : replacementCharacter);
        i += c.length;
    }
    return out;
}

void appendScalar(std::string& out, char32_t c) {
    if (c < 0x80) {
        out.push_back(static_cast<char>(c));
    } else if (c < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (c >> 6)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else if (c < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (c >> 12)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (c >> 18)));
        out.push_back(static_cast<char>(0x80 | ((c >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
}

}  // namespace tessaline::utf8
