#include "server/mcp/SendingTools.hpp"

#include "core/http/HTTPStatus.hpp"
#include "core/support/UnicodeText.hpp"
#include "server/mcp/RequestFields.hpp"
#include "core/oauth/OAuth2Error.hpp"
#include "server/mcp/SavedAnswer.hpp"
#include "server/mcp/SignInConversation.hpp"
#include "server/mcp/ToolArguments.hpp"
#include "server/mcp/ToolError.hpp"

#include <algorithm>

namespace tessaline {

using nlohmann::json;
namespace args = toolArguments;

namespace {

// Deeper JSON than this is shown as text: the result is written recursively.
constexpr int embeddedDepthLimit = 256;

// The body as a JSON value when it parses (top-level scalars too) and is not too deep.
std::optional<json> embeddable(const std::string& text) {
    int deepest = 0;
    json value = json::parse(
        text,
        [&](int depth, json::parse_event_t, json&) {
            deepest = std::max(deepest, depth);
            return true;
        },
        /*allow_exceptions=*/false);
    if (value.is_discarded() || deepest > embeddedDepthLimit) return std::nullopt;
    return value;
}

long long bodyLimit(const json& arguments) {
    return std::max(0LL, args::integer(arguments, "maxBodyChars").value_or(SendingTools::defaultBodyLimit));
}

}  // namespace

json SendingTools::describe(const StoredResponse& response, long long limit) {
    json headers = json::object();
    for (const auto& header : response.headers) headers[header.key] = header.value;
    json summary = {{"status", response.status},
                    {"statusText", httpStatus::reasonPhrase(static_cast<int>(response.status))},
                    {"durationMs", static_cast<long long>(response.duration * 1000)},
                    {"bytes", response.bodyBytes.value_or(static_cast<std::int64_t>(response.body.size()))},
                    {"url", response.url},
                    {"method", toString(response.method)},
                    {"sentAt", iso8601(response.sentAt)},
                    {"headers", std::move(headers)}};
    if (response.error) summary["error"] = *response.error;
    if (response.bodyBytes) {
        summary["bodyCut"] = "Only the first " + std::to_string(response.body.size()) + " of " +
                             std::to_string(*response.bodyBytes) + " bytes of the body were kept.";
    }

    const std::string text = response.bodyText();
    const std::size_t characters = unicodeText::characterCount(text);
    if (characters > static_cast<std::size_t>(limit)) {
        summary["body"] = std::string(unicodeText::characterPrefix(text, static_cast<std::size_t>(limit)));
        summary["bodyTruncated"] = true;
        summary["bodyChars"] = characters;
    } else if (auto value = response.isJSON() ? embeddable(text) : std::nullopt) {
        summary["body"] = std::move(*value);
    } else {
        summary["body"] = text;
    }
    return summary;
}

std::pair<StoredResponse, SaveReport> SendingTools::send(const std::function<RequestSession()>& prepare) {
    auto session = call.onWorkspace([&] {
        auto prepared = prepare();
        if (!prepared.usesOAuth2()) prepared.build();
        return prepared;
    });
    if (session.usesOAuth2()) {
        call.leaveWorkspace();
        authorize(session);
        call.onWorkspace([&] { session.build(); });
    }
    StoredResponse response = call.exchange(session);
    if (!session.recordsHistory()) return {std::move(response), SaveReport{}};
    SaveReport saved = call.onWorkspace([&] { return session.record(store, response); });
    return {std::move(response), std::move(saved)};
}

void SendingTools::authorize(RequestSession& session) {
    const auto& config = session.oauthConfig();
    const auto attend = [&] {
        const auto outcome = SignInConversation(signIns, call, hostShowsForms).attend(config, session.request().name);
        if (const auto* text = std::get_if<std::string>(&outcome)) throw ToolError(*text);
    };
    // A send during a sign-in answers with it rather than wait for the person.
    if (const auto running = signIns.find(config.cacheKey()); running && !running->hasEnded()) attend();
    try {
        session.authorize(oauth);
    } catch (const OAuth2Error& error) {
        if (error.kind() != OAuth2Error::Kind::interactionRequired || !SignInRegistry::runsHere(config)) throw;
        attend();
        session.authorize(oauth);
    }
}

std::string SendingTools::sendRequest(const json& arguments) {
    const auto name = args::text(arguments, "request");
    const auto environmentName = args::text(arguments, "environment");
    auto overrides = args::rows(arguments, "variables").value_or(std::vector<KeyValue>{});
    const auto [response, saved] = send([&] {
        const auto environment = environmentName ? std::optional(lookup.findEnvironment(*environmentName)) : std::nullopt;
        return RequestSession(store, lookup.findRequest(name), environment, std::move(overrides));
    });
    return savedAnswer(saved, args::pretty(describe(response, bodyLimit(arguments))));
}

std::string SendingTools::sendAdhoc(const json& arguments) {
    const auto methodName = args::text(arguments, "method");
    const auto url = args::text(arguments, "url");
    if (!methodName || !url) throw ToolError("method and url are required");
    const auto method = requestFields::method(*methodName);
    if (!method) throw ToolError(requestFields::unknownMethod(*methodName));

    APIRequest request;
    request.name = "adhoc";
    request.method = *method;
    request.url = *url;
    request.headers = args::rows(arguments, "headers").value_or(std::vector<KeyValue>{});
    if (const auto body = args::text(arguments, "body")) {
        request.body = requestFields::makeBody(*body, args::text(arguments, "bodyKind"));
    }
    const auto [response, saved] = send([&] { return RequestSession::oneOff(store, std::move(request)); });
    return args::pretty(describe(response, bodyLimit(arguments)));
}

std::string SendingTools::getLastResponse(const json& arguments) {
    const auto latest = call.onWorkspace([&] {
        const APIRequest request = lookup.findRequest(args::text(arguments, "request"));
        const auto responses = store.responses(request.id);
        if (responses.empty()) throw ToolError("No recorded response for " + request.name);
        return responses.front();
    });
    return args::pretty(describe(latest, bodyLimit(arguments)));
}

}  // namespace tessaline
