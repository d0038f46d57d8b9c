#include "desktop/json/JSONNumber.hpp"

#include <algorithm>

namespace tessaline {

JSONNumber::JSONNumber(std::string_view text) {
    if (text.size() > shortCapacity) {
        longText = std::make_unique<std::string>(text);
        return;
    }
    std::copy(text.begin(), text.end(), shortText.begin());
    shortSize = static_cast<uint8_t>(text.size());
}

}  // namespace tessaline
