#include "server/mcp/ToolLookup.hpp"

#include "core/model/ItemTree.hpp"
#include "core/support/CaseInsensitive.hpp"
#include "core/support/UnicodeText.hpp"
#include "server/mcp/ToolError.hpp"

#include <algorithm>
#include <array>

namespace tessaline {

APIRequest ToolLookup::findRequest(const std::optional<std::string>& argument) const {
    if (!argument) throw ToolError("request is required (id or name)");
    const std::string& text = *argument;
    if (const auto id = Uuid::parse(text)) {
        if (auto request = store.request(*id)) return *request;
    }
    // The argument is folded and lower-cased once, not once per request: it may be long.
    const std::string foldedText = caseInsensitive::folded(text);
    const std::string needle = unicodeText::lowercased(text);
    std::vector<const APIRequest*> named;
    std::vector<const APIRequest*> partial;
    return store.read([&](const Workspace& workspace) -> APIRequest {
        for (const auto& collection : workspace.collections) {
            itemTree::forEachRequest(collection.items, [&](const APIRequest& request, const auto&) {
                if (caseInsensitive::folded(request.name) == foldedText) named.push_back(&request);
                if (unicodeText::lowercased(request.name).find(needle) != std::string::npos) partial.push_back(&request);
            });
        }
        if (named.size() == 1) return *named.front();
        if (named.size() > 1) {
            std::string ids;
            for (const auto* request : named) ids += (ids.empty() ? "" : ", ") + request->id.text();
            throw ToolError(std::to_string(named.size()) + " requests are named " + text + "; use an id: " + ids);
        }
        if (partial.size() == 1) return *partial.front();
        throw ToolError("No request matches " + text + ". Use list_requests.");
    });
}

std::optional<APICollection> ToolLookup::collectionMatching(const std::string& text) const {
    if (const auto id = Uuid::parse(text)) {
        if (auto collection = store.collection(*id)) return collection;
    }
    return store.read([&](const Workspace& workspace) -> std::optional<APICollection> {
        for (const auto& collection : workspace.collections) {
            if (caseInsensitive::equal(collection.name, text)) return collection;
        }
        return std::nullopt;
    });
}

APICollection ToolLookup::findCollection(const std::string& text) const {
    if (auto collection = collectionMatching(text)) return std::move(*collection);
    throw ToolError("No collection named " + text + ". Use list_collections.");
}

APIEnvironment ToolLookup::findEnvironment(const std::string& name) const {
    return store.read([&](const Workspace& workspace) {
        for (const auto& environment : workspace.environments) {
            if (caseInsensitive::equal(environment.name, name)) return environment;
        }
        throw ToolError("No environment named " + name);
    });
}

std::optional<Uuid> ToolLookup::folderIDNamed(const std::string& name, const std::vector<CollectionItem>& items) {
    for (const auto& item : items) {
        if (item.folder() && caseInsensitive::equal(item.name(), name)) return item.id();
    }
    return std::nullopt;
}

bool ToolLookup::looksSecret(const std::string& name) {
    static constexpr std::array<std::string_view, 9> hints = {
        "token", "secret", "password", "passwd", "apikey", "api_key", "api-key", "auth", "credential"};
    const std::string lower = unicodeText::lowercased(name);
    return std::any_of(hints.begin(), hints.end(), [&](std::string_view hint) { return lower.find(hint) != std::string::npos; }) ||
           lower.ends_with("key");
}

void ToolLookup::upsert(std::vector<KeyValue>& rows, const std::string& key, const std::string& value) {
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const KeyValue& row) { return row.key == key; });
    if (found != rows.end()) {
        found->value = value;
    } else {
        rows.push_back(KeyValue{Uuid::random(), key, value, true});
    }
}

}  // namespace tessaline
