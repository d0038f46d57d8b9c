#include "support/Utf8.hpp"

#include <cstdint>

namespace tessaline::utf8 {
namespace {

// Length of the well-formed prefix of the sequence starting at bytes[i] (0 for a byte that
// cannot start one), and whether that prefix is a complete scalar.
struct Prefix {
    size_t length;
    bool complete;
};

Prefix wellFormedPrefix(std::string_view bytes, size_t i) {
    const auto lead = static_cast<uint8_t>(bytes[i]);
    if (lead < 0x80) return {1, true};
    size_t need = 0;
    uint8_t low = 0x80, high = 0xBF;  // bounds of the second byte
    if (lead >= 0xC2 && lead <= 0xDF) {
        need = 1;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        need = 2;
        if (lead == 0xE0) low = 0xA0;
        if (lead == 0xED) high = 0x9F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        need = 3;
        if (lead == 0xF0) low = 0x90;
        if (lead == 0xF4) high = 0x8F;
    } else {
        return {0, false};
    }
    size_t length = 1;
    for (size_t k = 0; k < need; ++k, ++length) {
        if (i + length >= bytes.size()) return {length, false};
        const auto b = static_cast<uint8_t>(bytes[i + length]);
        const uint8_t lo = k == 0 ? low : 0x80;
        const uint8_t hi = k == 0 ? high : 0xBF;
        if (b < lo || b > hi) return {length, false};
    }
    return {length, true};
}

}  // namespace

bool isValid(std::string_view bytes) {
    for (size_t i = 0; i < bytes.size();) {
        if (static_cast<uint8_t>(bytes[i]) < 0x80) {
            ++i;
            continue;
        }
        const Prefix p = wellFormedPrefix(bytes, i);
        if (!p.complete) return false;
        i += p.length;
    }
    return true;
}

std::string repaired(std::string_view bytes) {
    if (isValid(bytes)) return std::string(bytes);
    std::string out;
    out.reserve(bytes.size() + 16);
    for (size_t i = 0; i < bytes.size();) {
        const Prefix p = wellFormedPrefix(bytes, i);
        if (p.complete) {
            out.append(bytes.substr(i, p.length));
            i += p.length;
        } else {
            out.append(replacementCharacter);
            i += p.length == 0 ? 1 : p.length;
        }
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
