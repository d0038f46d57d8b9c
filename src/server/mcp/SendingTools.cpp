#include "server/mcp/SendingTools.hpp"

#include "core/http/HTTPStatus.hpp"
#include "core/http/RequestBuilder.hpp"
#include "core/oauth/CachedTokenLookup.hpp"
#include "core/support/UnicodeText.hpp"
#include "server/mcp/Blocking.hpp"
#include "server/mcp/RequestFields.hpp"
#include "server/mcp/SavedAnswer.hpp"
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

StoredResponse SendingTools::sendBlocking(const ResolvedRequest& resolved, const APIRequest& original) const {
    return blocking([&] { return runner.send(resolved, original); });
}

std::string SendingTools::sendRequest(const json& arguments) {
    const APIRequest request = lookup.findRequest(args::text(arguments, "request"));
    const auto environmentName = args::text(arguments, "environment");
    VariableResolver resolver = store.resolver(
        request, environmentName ? std::optional(lookup.findEnvironment(*environmentName)) : std::nullopt);
    if (auto overrides = args::rows(arguments, "variables")) resolver.scopes.insert(resolver.scopes.begin(), std::move(*overrides));

    const auto collection = store.collectionContaining(request.id);
    // An OAuth 2 token is obtained first, without a person: from the cache, by refreshing it,
    // or by a grant that needs no browser. A grant runs on a thread of its own, so this thread
    // may wait for it.
    const auto token = store.oauth().prepare(requestBuilder::effectiveAuth(request, collection), resolver,
                                             OAuth2Service::Mode::reuse);
    const ResolvedRequest resolved = requestBuilder::resolve(request, collection, resolver, heldTokenLookup(token));
    const StoredResponse response = sendBlocking(resolved, request);
    SaveReport saved = store.recordAndFlush(response);
    // A send that used an OAuth 2 token tells, as a failed save, that the token cache could
    // not be written: the token lives only in this process until a later write succeeds.
    if (!saved.failure && token) saved.failure = store.oauthTokens().saveFailure();
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
    const ResolvedRequest resolved = requestBuilder::resolve(request, std::nullopt, store.resolver(std::nullopt));
    return args::pretty(describe(sendBlocking(resolved, request), bodyLimit(arguments)));
}

std::string SendingTools::getLastResponse(const json& arguments) {
    const APIRequest request = lookup.findRequest(args::text(arguments, "request"));
    const auto responses = store.responses(request.id);
    if (responses.empty()) throw ToolError("No recorded response for " + request.name);
    return args::pretty(describe(responses.front(), bodyLimit(arguments)));
}

}  // namespace tessaline
