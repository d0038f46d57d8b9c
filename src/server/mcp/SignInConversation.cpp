#include "server/mcp/SignInConversation.hpp"

#include "core/support/Date.hpp"
#include "core/support/Overloaded.hpp"

#include <algorithm>

namespace tessaline {

using nlohmann::json;

namespace {

constexpr std::chrono::milliseconds pollInterval{100};
constexpr std::chrono::seconds progressInterval{1};

// 899 s as "14 minutes 59 seconds".
std::string spokenDuration(std::chrono::seconds duration) {
    const auto count = std::max<long long>(duration.count(), 0);
    const auto unit = [](long long number, const char* name) {
        return std::to_string(number) + " " + name + (number == 1 ? "" : "s");
    };
    if (count < 60) return unit(count, "second");
    const auto minutes = unit(count / 60, "minute");
    return count % 60 == 0 ? minutes : minutes + " " + unit(count % 60, "second");
}

std::chrono::seconds remaining(const SignIn::Request& request, Date now) {
    return std::chrono::duration_cast<std::chrono::seconds>(request.deadline - now);
}

// What the user must do, and until when.
std::string instructions(const SignIn::Request& request, Date now) {
    const auto todo = std::visit(
        Overloaded{
            [](const OAuth2DeviceCode& code) {
                auto text = "Open " + code.verificationURI + " and enter the code " + code.userCode + ".";
                if (code.verificationURIComplete) {
                    text += " Or open " + *code.verificationURIComplete + ", which has the code filled in.";
                }
                return text;
            },
            [](const OAuth2BrowserPrompt& browser) {
                return "Open this address in a browser on the computer this server runs on, and sign in:\n" +
                       browser.authorizationURL;
            },
        },
        request.prompt);
    return todo + "\nThe sign-in waits " + spokenDuration(remaining(request, now)) + " more, until " +
           iso8601(request.deadline) + ".";
}

std::string startedText(const SignIn::Request& request, const std::string& owner, bool joined, Date now) {
    return (joined ? "A sign-in for " + owner + " is already running." : "Sign-in started for " + owner + ".") +
           " Ask the user to do this:\n" + instructions(request, now) +
           "\nOnce the user has signed in, oauth_token with action=status shows the token, and send_request uses it.";
}

json dialog(const SignIn::Request& request, const std::string& owner, Date now) {
    return {{"message", "Sign in for " + owner + ":\n" + instructions(request, now) + "\nDecline to stop the sign-in."},
            {"requestedSchema", {{"type", "object"}, {"properties", json::object()}}}};
}

enum class Answer { accepted, refused, unanswered };

// The user's answer in the host's response line; unanswered when the host failed to show it.
Answer answerIn(const std::string& line) {
    const auto response = json::parse(line, nullptr, /*allow_exceptions=*/false);
    const auto result = response.is_object() ? response.find("result") : response.end();
    if (result == response.end() || !result->is_object()) return Answer::unanswered;
    const auto action = result->value("action", std::string());
    if (action == "accept") return Answer::accepted;
    return action == "decline" || action == "cancel" ? Answer::refused : Answer::unanswered;
}

}  // namespace

SignInConversation::Outcome SignInConversation::attend(const OAuth2ResolvedConfig& config, const std::string& owner) {
    context.leaveWorkspace();
    const auto key = config.cacheKey();
    const auto running = signIns.find(key);
    const bool joined = running && !running->hasEnded();
    const auto signIn = signIns.begin(config);
    if (signIn->hasEnded()) return ended(key, signIn);
    const auto request = *signIn->request();
    if (showsForms) {
        if (auto token = waitInDialog(key, signIn, request, owner)) return *token;
    }
    return startedText(request, owner, joined, std::chrono::system_clock::now());
}

std::optional<OAuth2Token> SignInConversation::waitInDialog(const std::string& key, const std::shared_ptr<SignIn>& signIn,
                                                            const SignIn::Request& request, const std::string& owner) {
    const auto start = std::chrono::system_clock::now();
    auto question = context.askHost("elicitation/create", dialog(request, owner, start));
    if (!question) return std::nullopt;
    const auto total = static_cast<std::uint64_t>(std::max<long long>(remaining(request, start).count(), 1));
    std::uint64_t reported = 0;
    auto nextReport = start;
    bool answered = false;
    for (auto now = start;; now = std::chrono::system_clock::now()) {
        if (now >= nextReport) {
            context.reportProgress(++reported, total, "Waiting for the sign-in: " + spokenDuration(remaining(request, now)) + " left");
            nextReport = now + progressInterval;
        }
        if (signIn->waitForEnd(pollInterval)) break;
        if (context.isCancelled()) signIn->cancel();
        if (!answered && question->response.wait_for(std::chrono::seconds(0)) == std::future_status::ready) {
            answered = true;
            const auto answer = answerIn(question->response.get());
            if (answer == Answer::unanswered) return std::nullopt;
            if (answer == Answer::refused) signIn->cancel();
        }
    }
    if (!answered) context.withdraw(*question);
    return ended(key, signIn);
}

OAuth2Token SignInConversation::ended(const std::string& key, const std::shared_ptr<SignIn>& signIn) {
    signIns.forget(key, signIn);
    return signIn->outcome();
}

std::string SignInConversation::runningText(const SignIn::Request& request, const std::string& owner, Date now) {
    return "A sign-in for " + owner + " is running, waiting for the user:\n" + instructions(request, now);
}

}  // namespace tessaline
