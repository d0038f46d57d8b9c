#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

namespace tessaline {

// Sets (or, given nothing, unsets) one variable of the process environment for the life of
// the object and puts back what was there before. A change of TZ is made known to the C
// library at once.
class ScopedEnvironment {
public:
    ScopedEnvironment(std::string name, const std::optional<std::string>& value) : variable(std::move(name)) {
        if (const char* old = std::getenv(variable.c_str())) previous = old;
        assign(value);
    }
    ~ScopedEnvironment() { assign(previous); }
    ScopedEnvironment(const ScopedEnvironment&) = delete;
    ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

private:
    void assign(const std::optional<std::string>& value) {
        value ? ::setenv(variable.c_str(), value->c_str(), 1) : ::unsetenv(variable.c_str());
        ::tzset();
    }

    std::string variable;
    std::optional<std::string> previous;
};

}  // namespace tessaline
