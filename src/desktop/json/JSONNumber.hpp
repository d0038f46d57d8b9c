#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace tessaline {

// The text of a JSON number exactly as written ("1.0" and "1" differ); it is never converted
// to a binary number. Texts of up to 23 bytes, nearly every number, need no heap allocation.
class JSONNumber {
public:
    explicit JSONNumber(std::string_view text);
    JSONNumber(const JSONNumber& other) : JSONNumber(other.text()) {}
    JSONNumber(JSONNumber&& other) noexcept = default;
    JSONNumber& operator=(const JSONNumber& other) { return *this = JSONNumber(other); }
    JSONNumber& operator=(JSONNumber&& other) noexcept = default;
    ~JSONNumber() = default;

    std::string_view text() const {
        return longText ? std::string_view(*longText) : std::string_view(shortText.data(), shortSize);
    }
    bool operator==(const JSONNumber& other) const { return text() == other.text(); }

private:
    static constexpr size_t shortCapacity = 23;

    std::unique_ptr<std::string> longText;  // set only for texts beyond shortCapacity
    std::array<char, shortCapacity> shortText{};
    uint8_t shortSize = 0;
};

}  // namespace tessaline
