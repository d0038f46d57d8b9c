#include "pipeline/RequestBuildError.hpp"

#include "support/Overloaded.hpp"

namespace tessaline {
namespace {

std::string joined(const std::vector<std::string>& names) {
    std::string text;
    for (std::size_t index = 0; index < names.size(); ++index) text += (index == 0 ? "" : ", ") + names[index];
    return text;
}

std::string description(const RequestBuildError::Reason& reason) {
    return std::visit(Overloaded{
                          [](const RequestBuildError::InvalidURL& invalid) {
                              return "“" + invalid.url + "” is not a valid URL.";
                          },
                          [](const RequestBuildError::UnresolvedVariables& unresolved) {
                              return "Undefined variables: " + joined(unresolved.names);
                          },
                          [](const RequestBuildError::EmptyURL&) { return std::string("The request has no URL."); },
                      },
                      reason);
}

}  // namespace

RequestBuildError::RequestBuildError(Reason reason) : Error(description(reason)), reason_(std::move(reason)) {}

RequestBuildError RequestBuildError::invalidURL(std::string url) { return RequestBuildError(InvalidURL{std::move(url)}); }

RequestBuildError RequestBuildError::unresolvedVariables(std::vector<std::string> names) {
    return RequestBuildError(UnresolvedVariables{std::move(names)});
}

RequestBuildError RequestBuildError::emptyURL() { return RequestBuildError(EmptyURL{}); }

}  // namespace tessaline
