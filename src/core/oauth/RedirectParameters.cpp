#include "core/oauth/RedirectParameters.hpp"

#include "core/support/FormFields.hpp"

namespace tessaline {

std::map<std::string, std::string> redirectParameters(std::string_view url) {
    std::map<std::string, std::string> parameters;
    const auto adopt = [&parameters](std::string_view text) {
        for (auto& [name, value] : formFields::decoded(text, formFields::Blank::escaped)) parameters.emplace(std::move(name), std::move(value));
    };
    const auto hash = url.find('#');
    const auto beforeFragment = url.substr(0, hash);
    if (const auto question = beforeFragment.find('?'); question != std::string_view::npos) {
        adopt(beforeFragment.substr(question + 1));
    }
    if (hash != std::string_view::npos) adopt(url.substr(hash + 1));
    return parameters;
}

}  // namespace tessaline
