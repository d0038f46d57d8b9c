#include "server/mcp/ConversionTools.hpp"

#include "core/interchange/CodeGenerator.hpp"
#include "core/interchange/CurlParser.hpp"
#include "core/interchange/PostmanFormat.hpp"
#include "core/session/RequestSession.hpp"
#include "core/support/Joined.hpp"
#include "server/mcp/SavedAnswer.hpp"
#include "server/mcp/ToolArguments.hpp"
#include "server/mcp/ToolError.hpp"

namespace tessaline {

using nlohmann::json;
namespace args = toolArguments;

namespace {

CodeGenerator::Target targetOrFail(const std::string& language) {
    if (const auto target = CodeGenerator::targetNamed(language)) return *target;
    throw ToolError("Unknown language. One of: " + joined(CodeGenerator::targets, ", ", CodeGenerator::displayName));
}

}  // namespace

APICollection ConversionTools::importTarget(const json& arguments) {
    if (const auto name = args::text(arguments, "collection")) return lookup.findCollection(*name);
    const auto collections = store.workspace().collections;
    if (!collections.empty()) return collections.front();
    APICollection created{.name = std::string(importCollectionName)};
    store.addCollection(created);
    return created;
}

std::string ConversionTools::importCurl(const json& arguments) {
    const auto command = args::text(arguments, "curl");
    if (!command) throw ToolError("curl is required");
    auto request = CurlParser::parse(*command);
    if (const auto name = args::text(arguments, "name")) request.name = *name;
    const auto collection = importTarget(arguments);
    store.addRequest(request, collection.id, std::nullopt);
    return savedAnswer(store.saveNow(), "Imported request " + request.name + " (" + std::string(toString(request.method)) + " " +
                                            request.url + ") into " + collection.name + ". id: " + request.id.text());
}

std::string ConversionTools::generateCode(const json& arguments) {
    const auto request = lookup.findRequest(args::text(arguments, "request"));
    const auto target = targetOrFail(args::text(arguments, "language").value_or("cURL"));
    // The snippet carries a cached OAuth 2 token like a send would; none is obtained for it.
    return CodeGenerator::generate(target, RequestSession(store, request).resolvedWithCachedToken(store.oauthTokens()));
}

std::string ConversionTools::exportPostman(const json& arguments) {
    const auto name = args::text(arguments, "collection");
    if (!name) throw ToolError("collection is required (id or name)");
    return PostmanFormat::exportCollection(lookup.findCollection(*name));
}

}  // namespace tessaline
