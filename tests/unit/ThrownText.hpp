#pragma once

#include <exception>
#include <string>

namespace tessaline {

// What the call throws, as the user would read it: the what() of the exception, or
// "(nothing thrown)" when the call returns. A test compares it with the exact text, so that
// one assertion checks both that the call fails and how it says so. Exceptions of type
// Expected (any standard exception by default) are caught; anything else escapes and fails
// the test with its own message.
template <class Expected = std::exception, class Call>
std::string thrownText(Call&& call) {
    try {
        call();
    } catch (const Expected& error) {
        return error.what();
    }
    return "(nothing thrown)";
}

}  // namespace tessaline
