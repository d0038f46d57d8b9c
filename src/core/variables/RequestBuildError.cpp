#include "core/variables/RequestBuildError.hpp"

#include "core/support/CurlyQuoted.hpp"
#include "core/support/Joined.hpp"
#include "core/support/Overloaded.hpp"

namespace tessaline {
namespace {

std::string description(const RequestBuildError::Reason& reason) {
    return std::visit(Overloaded{
                          [](const RequestBuildError::InvalidURL& invalid) {
                              return curlyQuoted(invalid.url) + " is not a valid URL.";
                          },
                          [](const RequestBuildError::UnresolvedVariables& unresolved) {
                              return "Undefined variables: " + joined(unresolved.names, ", ");
                          },
                          [](const RequestBuildError::EmptyURL&) { return std::string("The request has no URL."); },
                      },
                      reason);
}

}  // namespace

RequestBuildError::RequestBuildError(Reason reason) : Error(description(reason)), cause(std::move(reason)) {}

RequestBuildError RequestBuildError::invalidURL(std::string url) { return RequestBuildError(InvalidURL{std::move(url)}); }

RequestBuildError RequestBuildError::unresolvedVariables(std::vector<std::string> names) {
    return RequestBuildError(UnresolvedVariables{std::move(names)});
}

RequestBuildError RequestBuildError::emptyURL() { return RequestBuildError(EmptyURL{}); }

}  // namespace tessaline
