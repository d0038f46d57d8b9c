#pragma once

#include <stdexcept>
#include <string>

namespace tessaline {

// Base of every failure that is reported rather than handled. what() is exactly the text the
// user or the agent is shown, so subclasses build that text once, in their factories.
class Error : public std::runtime_error {
public:
    explicit Error(const std::string& description) : std::runtime_error(description) {}
};

}  // namespace tessaline
