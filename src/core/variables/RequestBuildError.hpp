#pragma once

#include "core/support/Error.hpp"

#include <string>
#include <variant>
#include <vector>

namespace tessaline {

// Why a saved request could not be turned into one ready to send. Nothing is sent then.
class RequestBuildError : public Error {
public:
    struct InvalidURL {
        std::string url;  // as resolved

        bool operator==(const InvalidURL&) const = default;
    };
    struct UnresolvedVariables {
        std::vector<std::string> names;

        bool operator==(const UnresolvedVariables&) const = default;
    };
    struct EmptyURL {
        bool operator==(const EmptyURL&) const = default;
    };
    using Reason = std::variant<InvalidURL, UnresolvedVariables, EmptyURL>;

    // "“<url>” is not a valid URL."
    static RequestBuildError invalidURL(std::string url);
    // "Undefined variables: a, b"
    static RequestBuildError unresolvedVariables(std::vector<std::string> names);
    // "The request has no URL."
    static RequestBuildError emptyURL();

    const Reason& reason() const { return cause; }

private:
    explicit RequestBuildError(Reason reason);

    Reason cause;
};

}  // namespace tessaline
