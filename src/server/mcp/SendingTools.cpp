#include "server/mcp/SendingTools.hpp"

#include "core/http/HTTPStatus.hpp"
#include "core/oauth/OAuth2Error.hpp"
#include "core/support/LastOfEachKey.hpp"
#include "core/support/MadeBy.hpp"
#include "core/support/UnicodeText.hpp"
#include "core/support/Utf8.hpp"
#include "server/mcp/EmbeddedJSON.hpp"
#include "server/mcp/EventListing.hpp"
#include "server/mcp/RequestFields.hpp"
#include "server/mcp/SavedAnswer.hpp"
#include "server/mcp/SignInConversation.hpp"
#include "server/mcp/ToolArguments.hpp"
#include "server/mcp/ToolError.hpp"

#include <algorithm>

namespace tessaline {

using nlohmann::json;
namespace args = toolArguments;

namespace {

long long bodyLimit(const json& arguments) {
    return std::max(0LL, args::integer(arguments, "maxBodyChars").value_or(SendingTools::defaultBodyLimit));
}

// "body", and "bodyChars" when the body's text passes `limit` and is cut there; true then.
bool writeBodyText(JSONWriter& writer, const StoredResponse& response, long long limit) {
    // A body of valid UTF-8, as nearly all are, is read in place: it may be megabytes long.
    const bool valid = utf8::isValid(response.body);
    const std::string repaired = valid ? std::string() : response.bodyText();
    const std::string_view text = valid ? std::string_view(response.body) : repaired;
    const std::size_t characters = unicodeText::characterCount(text);
    writer.key("body");
    if (characters > static_cast<std::size_t>(limit)) {
        writer.value(unicodeText::characterPrefix(text, static_cast<std::size_t>(limit)));
        writer.key("bodyChars"), writer.value(static_cast<std::int64_t>(characters));
        return true;
    }
    if (!response.isJSON() || !embeddedJSON::write(writer, text)) writer.value(text);
    return false;
}

// The members before "bytes": the body's text (unless `limit` is none, for a streamed
// response, which lists its events instead), "bodyCut" when the body was cut on arrival and
// "bodyTruncated" when its text passes the limit.
void writeBody(JSONWriter& writer, const StoredResponse& response, std::optional<long long> limit) {
    const bool truncated = limit && writeBodyText(writer, response, *limit);
    if (response.bodyBytes) {
        writer.key("bodyCut"), writer.value("Only the first " + std::to_string(response.body.size()) + " of " +
                                            std::to_string(*response.bodyBytes) + " bytes of the body were kept.");
    }
    if (truncated) writer.key("bodyTruncated"), writer.value(true);
}

// An object of the header fields by name, in byte order; of fields that share a name, the
// last one's value.
void writeHeaders(JSONWriter& writer, const std::vector<KeyValue>& headers) {
    std::vector<const KeyValue*> fields;
    fields.reserve(headers.size());
    for (const auto& header : headers) fields.push_back(&header);
    writer.beginObject();
    forLastOfEachKey(fields, [](const KeyValue* field) -> const std::string& { return field->key; },
                     [&writer](const KeyValue* field) { writer.key(field->key), writer.value(field->value); });
    writer.endObject();
}

}  // namespace

std::string SendingTools::describe(const StoredResponse& response, long long limit) {
    const auto streamed = eventListing::format(response);
    JSONWriter writer;
    // A summary is its body, as much again for a small JSON body's indentation, and a few
    // hundred bytes of members and header fields.
    writer.reserve(2 * std::min(response.body.size(), static_cast<std::size_t>(limit)) + 512);
    writer.beginObject();
    writeBody(writer, response, streamed ? std::nullopt : std::optional(limit));
    writer.key("bytes"), writer.value(response.bodyBytes.value_or(static_cast<std::int64_t>(response.body.size())));
    writer.key("durationMs"), writer.value(static_cast<std::int64_t>(response.duration * 1000));
    if (response.error) writer.key("error"), writer.value(*response.error);
    if (streamed) eventListing::write(writer, response, *streamed, limit);
    writer.key("headers"), writeHeaders(writer, response.headers);
    writer.key("method"), writer.value(toString(response.method));
    writer.key("sentAt"), writer.value(iso8601(response.sentAt));
    writer.key("status"), writer.value(response.status);
    writer.key("statusText"), writer.value(httpStatus::reasonPhrase(static_cast<int>(response.status)));
    if (streamed && response.streamEnd) writer.key("streamEnd"), writer.value(*response.streamEnd);
    writer.key("url"), writer.value(response.url);
    writer.endObject();
    return std::move(writer).text();
}

std::pair<StoredResponse, SaveReport> SendingTools::send(const std::function<RequestSession()>& prepare) {
    // Made where it stays rather than moved there: a session is kilobytes of fields.
    std::optional<RequestSession> session;
    services.call.runOnWorkspace([&] {
        session.emplace(MadeBy{prepare});
        if (!session->usesOAuth2()) session->build();
    });
    if (session->usesOAuth2()) {
        services.call.leaveWorkspace();
        authorize(*session);
        services.call.onWorkspace([&] { session->build(); });
    }
    StoredResponse response = services.call.exchange(*session);
    if (!session->recordsHistory()) return {std::move(response), SaveReport{}};
    SaveReport saved = services.call.onWorkspace([&] { return session->record(services.store, response); });
    return {std::move(response), std::move(saved)};
}

void SendingTools::authorize(RequestSession& session) {
    const auto& config = session.oauthConfig();
    const auto attend = [&] {
        const auto outcome = SignInConversation(services.signIns, services.call, services.hostShowsForms).attend(config, session.request().name);
        if (const auto* text = std::get_if<std::string>(&outcome)) throw ToolError(*text);
    };
    // A send during a sign-in answers with it rather than wait for the person.
    if (const auto running = services.signIns.find(config.cacheKey()); running && !running->hasEnded()) attend();
    try {
        session.authorize(services.oauth);
    } catch (const OAuth2Error& error) {
        if (error.kind() != OAuth2Error::Kind::interactionRequired || !SignInRegistry::runsHere(config)) throw;
        attend();
        session.authorize(services.oauth);
    }
}

std::string SendingTools::sendRequest(const json& arguments) {
    const auto name = args::text(arguments, "request");
    const auto environmentName = args::text(arguments, "environment");
    auto overrides = args::rows(arguments, "variables").value_or(std::vector<KeyValue>{});
    const auto [response, saved] = send([&] {
        const auto environment = environmentName ? std::optional(lookup.findEnvironment(*environmentName)) : std::nullopt;
        return RequestSession(services.store, lookup.findRequest(name), environment, std::move(overrides));
    });
    return savedAnswer(saved, describe(response, bodyLimit(arguments)));
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
    const auto [response, saved] = send([&] { return RequestSession::oneOff(services.store, std::move(request)); });
    return describe(response, bodyLimit(arguments));
}

std::string SendingTools::getLastResponse(const json& arguments) {
    const auto latest = services.call.onWorkspace([&] {
        const APIRequest request = lookup.findRequest(args::text(arguments, "request"));
        const auto responses = services.store.responses(request.id);
        if (responses.empty()) throw ToolError("No recorded response for " + request.name);
        return responses.front();
    });
    return describe(latest, bodyLimit(arguments));
}

}  // namespace tessaline
