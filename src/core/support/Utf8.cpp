#include "core/support/Utf8.hpp"

#include "core/support/ByteScan.hpp"

namespace tessaline::utf8 {

namespace {

// The index where the first ill-formed sequence starts, or bytes.size().
size_t firstIllFormedSequence(std::string_view bytes) {
    for (size_t i = byteScan::findNonASCII(bytes, 0); i < bytes.size(); i = byteScan::findNonASCII(bytes, i)) {
        const CodePoint c = codePointAt(bytes, i);
        if (!c.wellFormed) return i;
        i += c.length;
    }
    return bytes.size();
}

}  // namespace

bool isValid(std::string_view bytes) { return firstIllFormedSequence(bytes) == bytes.size(); }

std::size_t firstIllFormedByte(std::string_view bytes) {
    const size_t at = firstIllFormedSequence(bytes);
    if (at == bytes.size()) return at;
    // A byte that cannot lead a sequence is itself the fault; otherwise the byte after the
    // maximal subpart is.
    const bool canLead = detail::leads[static_cast<std::uint8_t>(bytes[at])].continuations > 0;
    return canLead ? at + codePointAt(bytes, at).length : at;
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
