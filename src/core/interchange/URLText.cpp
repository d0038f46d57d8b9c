#include "core/interchange/URLText.hpp"

namespace tessaline {

URLText URLText::parse(std::string_view text) {
    URLText url;
    if (const auto hash = text.find('#'); hash != std::string_view::npos) {
        url.fragment = std::string(text.substr(hash + 1));
        text = text.substr(0, hash);
    }
    if (const auto question = text.find('?'); question != std::string_view::npos) {
        url.query = std::string(text.substr(question + 1));
        text = text.substr(0, question);
    }
    if (const auto separator = text.find("://"); separator != std::string_view::npos) {
        url.scheme = std::string(text.substr(0, separator));
        text = text.substr(separator + 3);
    } else if (text.starts_with('/')) {
        url.path = std::string(text);
        return url;
    }
    const auto slash = text.find('/');
    url.authority = std::string(text.substr(0, slash));
    if (slash != std::string_view::npos) url.path = std::string(text.substr(slash));
    return url;
}

std::string URLText::text() const {
    std::string result = scheme.empty() ? "" : scheme + "://";
    result += authority + path;
    if (query) result += "?" + *query;
    if (fragment) result += "#" + *fragment;
    return result;
}

std::string URLText::host() const {
    const auto at = authority.rfind('@');
    std::string host = at == std::string::npos ? authority : authority.substr(at + 1);
    const auto colon = host.rfind(':');
    if (colon != std::string::npos && host.find(']', colon) == std::string::npos && host.find("}}", colon) == std::string::npos) {
        host.erase(colon);
    }
    return host;
}

std::string URLText::port() const {
    const auto host = this->host();
    const auto at = authority.rfind('@');
    const auto rest = authority.substr(at == std::string::npos ? 0 : at + 1);
    return rest.size() > host.size() + 1 ? rest.substr(host.size() + 1) : "";
}

}  // namespace tessaline
