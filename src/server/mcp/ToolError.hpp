#pragma once

#include "core/support/Error.hpp"

namespace tessaline {

// A tool that could not do what it was asked, such as a missing argument or a name that
// matches no record. The agent reads the message as the tool's result, marked isError, and
// the session goes on.
class ToolError : public Error {
public:
    using Error::Error;
};

}  // namespace tessaline
