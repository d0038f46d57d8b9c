#pragma once

#include "oauth/OAuth2Interaction.hpp"
#include "support/URLComponents.hpp"

#include <httplib.h>

#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tessaline {

// An OAuth2Interaction standing in for a person with a browser. Shown an authorization URL,
// it visits it on its own thread, as a browser would, and follows the redirect; asked to sign
// in through its own browser, it visits the URL and returns the redirect's location. It
// records every prompt, and when told to, cancels the prompt instead.
class ScriptedBrowser : public OAuth2Interaction {
public:
    ~ScriptedBrowser() override { joinVisit(); }

    void showPrompt(const OAuth2Prompt& prompt, std::shared_ptr<CancelFlag> cancel) override {
        const std::lock_guard guard(lock);
        prompts.push_back(prompt);
        if (cancelOnPrompt) cancel->set();
        if (const auto* browser = std::get_if<OAuth2BrowserPrompt>(&prompt)) {
            visit = std::thread([this, url = browser->authorizationURL] {
                const auto page = get(get(url).get_header_value("Location"));
                const std::lock_guard visitGuard(lock);
                loopbackPages.push_back(page.body);
            });
        }
    }

    void dismissPrompt() override {
        joinVisit();
        const std::lock_guard guard(lock);
        ++dismissals;
    }

    std::string signIn(const std::string& authorizationURL, const std::string& redirectURI, const OAuth2RedirectMode& mode) override {
        const std::lock_guard guard(lock);
        signIns.push_back({redirectURI, mode});
        return get(authorizationURL).get_header_value("Location");
    }

    // Script, set before the sign-in.
    bool cancelOnPrompt = false;

    // What happened, read after the sign-in.
    std::vector<OAuth2Prompt> prompts;
    int dismissals = 0;
    std::vector<std::pair<std::string, OAuth2RedirectMode>> signIns;
    std::vector<std::string> loopbackPages;  // the loopback receiver's answers, in order

private:
    // Every server the browser meets is on 127.0.0.1; a failed visit is an empty response.
    static httplib::Response get(const std::string& url) {
        const auto parts = URLComponents::parse(url);
        if (!parts) return {};
        const auto query = parts->query();
        const auto result = httplib::Client("127.0.0.1", parts->port().value_or(80)).Get(parts->path() + (query ? "?" + *query : ""));
        return result ? *result : httplib::Response{};
    }

    void joinVisit() {
        if (visit.joinable()) visit.join();
    }

    std::mutex lock;
    std::thread visit;
};

}  // namespace tessaline
