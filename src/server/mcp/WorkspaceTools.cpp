#include "server/mcp/WorkspaceTools.hpp"

#include "core/model/ItemTree.hpp"
#include "server/mcp/RequestFields.hpp"
#include "server/mcp/SavedAnswer.hpp"
#include "server/mcp/ToolArguments.hpp"
#include "server/mcp/ToolError.hpp"

namespace tessaline {

using nlohmann::json;
namespace args = toolArguments;

namespace {

json enabledRows(const std::vector<KeyValue>& rows) {
    json object = json::object();
    for (const auto& row : rows) {
        if (row.enabled) object[row.key] = row.value;
    }
    return object;
}

json describeBody(const RequestBody& body) {
    json result = {{"kind", toString(body.kind)}};
    switch (body.kind) {
        case BodyKind::none:
            break;
        case BodyKind::json:
        case BodyKind::text:
        case BodyKind::xml:
            result["content"] = body.raw;
            break;
        case BodyKind::formURLEncoded:
        case BodyKind::multipart:
            result["content"] = enabledRows(body.form);
            break;
    }
    return result;
}

json describeAuth(const Auth& auth) {
    json result = {{"kind", toString(auth.kind)}};
    switch (auth.kind) {
        case AuthKind::none:
        case AuthKind::inherit:
            break;
        case AuthKind::bearer:
            result["token"] = auth.token;
            break;
        case AuthKind::basic:
            result["username"] = auth.username;
            result["password"] = auth.password;
            break;
        case AuthKind::apiKey:
            result["name"] = auth.apiKeyName;
            result["value"] = auth.apiKeyValue;
            result["in"] = toString(auth.apiKeyIn);
            break;
        case AuthKind::oauth2:
            if (const auto& config = auth.oauth2) {
                result["grant"] = toString(config->grant);
                result["tokenURL"] = config->tokenURL;
                result["clientID"] = config->clientID;
                result["scope"] = config->scope;
            }
            break;
    }
    return result;
}

std::string requiredCollection(const json& arguments) {
    const auto collection = args::text(arguments, "collection");
    if (!collection) throw ToolError("collection is required (id or name)");
    return *collection;
}

HTTPMethod methodOrFail(const std::string& name) {
    const auto method = requestFields::method(name);
    if (!method) throw ToolError(requestFields::unknownMethod(name));
    return *method;
}

}  // namespace

json WorkspaceTools::describe(const APIRequest& request) {
    return {{"id", request.id.text()},
            {"name", request.name},
            {"method", toString(request.method)},
            {"url", request.url},
            {"query", enabledRows(request.query)},
            {"headers", enabledRows(request.headers)},
            {"body", describeBody(request.body)},
            {"auth", describeAuth(request.auth)},
            {"followRedirects", request.followRedirects},
            {"timeout", request.timeout},
            {"notes", request.notes}};
}

std::string WorkspaceTools::listCollections(const json&) {
    json list = json::array();
    store.read([&](const Workspace& workspace) {
        for (const auto& collection : workspace.collections) {
            json variables = json::array();
            for (const auto& row : collection.variables) variables.push_back(row.key);
            list.push_back({{"id", collection.id.text()},
                            {"name", collection.name},
                            {"requests", itemTree::requestCount(collection.items)},
                            {"baseUrl", collection.baseURL},
                            {"variables", std::move(variables)},
                            {"defaultAuth", toString(collection.auth.kind)}});
        }
    });
    return args::pretty(list);
}

std::string WorkspaceTools::listRequests(const json& arguments) {
    const auto filter = args::text(arguments, "collection");
    const std::optional<Uuid> only = filter ? std::optional(lookup.findCollection(*filter).id) : std::nullopt;
    json list = json::array();
    store.read([&](const Workspace& workspace) {
        for (const auto& collection : workspace.collections) {
            if (only && collection.id != *only) continue;
            itemTree::forEachRequest(collection.items, [&](const APIRequest& request, const std::vector<const Folder*>& folders) {
                std::string path = collection.name;
                for (const auto* folder : folders) path += " / " + folder->name;
                list.push_back({{"id", request.id.text()},
                                {"name", request.name},
                                {"method", toString(request.method)},
                                {"url", request.url},
                                {"path", std::move(path)}});
            });
        }
    });
    return args::pretty(list);
}

std::string WorkspaceTools::getRequest(const json& arguments) {
    return args::pretty(describe(lookup.findRequest(args::text(arguments, "request"))));
}

std::string WorkspaceTools::createRequest(const json& arguments) {
    const std::string collectionName = requiredCollection(arguments);
    const auto name = args::text(arguments, "name");
    const auto url = args::text(arguments, "url");
    if (!name || !url) throw ToolError("name and url are required");

    APIRequest request;
    request.name = *name;
    request.url = *url;
    request.method = requestFields::method(args::text(arguments, "method").value_or("GET")).value_or(HTTPMethod::get);
    request.query = args::rows(arguments, "query").value_or(std::vector<KeyValue>{});
    request.headers = args::rows(arguments, "headers").value_or(std::vector<KeyValue>{});
    if (const auto body = args::text(arguments, "body")) {
        request.body = requestFields::makeBody(*body, args::text(arguments, "bodyKind"));
    }
    if (const auto token = args::text(arguments, "bearerToken")) {
        request.auth.kind = AuthKind::bearer;
        request.auth.token = *token;
    }
    request.notes = args::text(arguments, "notes").value_or("");

    auto collection = lookup.collectionMatching(collectionName);
    if (!collection) {
        collection.emplace();  // with the default icon and colour
        collection->name = collectionName;
        store.addCollection(*collection);
    }
    std::optional<Uuid> folderID;
    std::string place = collection->name;
    if (const auto folder = args::text(arguments, "folder")) {
        folderID = ToolLookup::folderIDNamed(*folder, collection->items);
        if (!folderID) {
            Folder created{Uuid::random(), *folder, {}};
            folderID = created.id;
            store.addFolder(created, collection->id, std::nullopt);
        }
        place += " / " + *folder;
    }
    store.addRequest(request, collection->id, folderID);
    return savedAnswer(store.saveNow(), "Created request " + request.name + " in " + place + ". id: " + request.id.text());
}

std::string WorkspaceTools::updateRequest(const json& arguments) {
    APIRequest request = lookup.findRequest(args::text(arguments, "request"));
    if (const auto name = args::text(arguments, "name")) request.name = *name;
    if (const auto method = args::text(arguments, "method")) request.method = methodOrFail(*method);
    if (const auto url = args::text(arguments, "url")) request.url = *url;
    if (const auto notes = args::text(arguments, "notes")) request.notes = *notes;
    if (auto query = args::rows(arguments, "query")) request.query = std::move(*query);
    if (auto headers = args::rows(arguments, "headers")) request.headers = std::move(*headers);
    if (const auto kind = args::text(arguments, "bodyKind")) {
        request.body.kind = requestFields::bodyKind(*kind, true);
        requestFields::setBodyText(request.body, request.body.raw);
    }
    if (const auto body = args::text(arguments, "body")) {
        if (request.body.kind == BodyKind::none) request.body.kind = requestFields::makeBody(*body, std::nullopt).kind;
        requestFields::setBodyText(request.body, *body);
    }
    store.update(request);
    return savedAnswer(store.saveNow(), "Updated request " + request.name + " (" + request.id.text() + ")");
}

std::string WorkspaceTools::deleteRequest(const json& arguments) {
    const APIRequest request = lookup.findRequest(args::text(arguments, "request"));
    store.deleteItem(request.id);
    return savedAnswer(store.saveNow(), "Deleted " + request.name + " (" + request.id.text() + ")");
}

std::string WorkspaceTools::listEnvironments(const json& arguments) {
    const bool reveal = args::flag(arguments, "reveal");
    const Workspace workspace = store.workspace();
    const auto* active = workspace.activeEnvironment();
    json list = json::array();
    for (const auto& environment : workspace.environments) {
        json variables = json::object();
        for (const auto& row : environment.variables) {
            variables[row.key] = !reveal && ToolLookup::looksSecret(row.key) ? std::string(secretMask) : row.value;
        }
        list.push_back({{"name", environment.name},
                        {"active", active && active->id == environment.id},
                        {"variables", std::move(variables)}});
    }
    return args::pretty(list);
}

std::string WorkspaceTools::setActiveEnvironment(const json& arguments) {
    const auto name = args::text(arguments, "environment");
    if (!name) throw ToolError("environment is required (a name, or empty for none)");
    if (name->empty()) {
        store.setActiveEnvironment(std::nullopt);
        return savedAnswer(store.saveNow(), "Active environment cleared.");
    }
    const APIEnvironment environment = lookup.findEnvironment(*name);
    store.setActiveEnvironment(environment.id);
    return savedAnswer(store.saveNow(), "Active environment: " + environment.name);
}

std::string WorkspaceTools::setVariable(const json& arguments) {
    const auto key = args::text(arguments, "key");
    const auto value = args::text(arguments, "value");
    if (!key || !value) throw ToolError("key and value are required");
    if (const auto collectionName = args::text(arguments, "collection")) {
        APICollection collection = lookup.findCollection(*collectionName);
        ToolLookup::upsert(collection.variables, *key, *value);
        store.update(collection);
        return savedAnswer(store.saveNow(), "Set " + *key + " on collection " + collection.name);
    }
    APIEnvironment environment;
    if (const auto name = args::text(arguments, "environment")) {
        environment = lookup.findEnvironment(*name);
    } else if (auto active = store.activeEnvironment()) {
        environment = std::move(*active);
    } else {
        environment.name = "Default";
        store.addEnvironment(environment);
        store.setActiveEnvironment(environment.id);
    }
    ToolLookup::upsert(environment.variables, *key, *value);
    store.update(environment);
    return savedAnswer(store.saveNow(), "Set " + *key + " in environment " + environment.name);
}

std::string WorkspaceTools::updateCollection(const json& arguments) {
    APICollection collection = lookup.findCollection(requiredCollection(arguments));
    if (const auto name = args::text(arguments, "name")) collection.name = *name;
    if (const auto baseURL = args::text(arguments, "baseUrl")) collection.baseURL = *baseURL;
    if (const auto notes = args::text(arguments, "notes")) collection.notes = *notes;
    store.update(collection);
    return savedAnswer(store.saveNow(), "Updated collection " + collection.name + " (" + collection.id.text() + ")");
}

}  // namespace tessaline
