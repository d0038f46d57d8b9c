#pragma once

#include "core/support/Date.hpp"

#include <functional>

namespace tessaline {

// Where "now" comes from: the one seam that tests replace, with a fixed or stepped date.
using Clock = std::function<Date()>;

inline Clock systemClock() {
    return [] { return std::chrono::system_clock::now(); };
}

inline Clock fixedClock(Date date) {
    return [date] { return date; };
}

}  // namespace tessaline
