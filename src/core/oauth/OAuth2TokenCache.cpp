#include "core/oauth/OAuth2TokenCache.hpp"

#include "core/support/AtomicFile.hpp"


namespace tessaline {
namespace {

constexpr mode_t filePermissions = 0600;

OAuth2TokenCache::Entry decodeEntry(const JSONReader& reader) {
    return {.token = decodeOAuth2Token(reader.member("token")), .label = reader.member("label").string()};
}

}  // namespace

std::string encodeTokenCacheFile(const OAuth2TokenCache::Entries& entries) {
    JSONWriter writer;
    writer.beginObject();
    writer.key("tokens");
    writer.beginObject();
    for (const auto& [key, entry] : entries) {
        writer.key(key);
        writer.beginObject();
        writer.key("label"), writer.value(entry.label);
        writer.key("token"), write(writer, entry.token);
        writer.endObject();
    }
    writer.endObject();
    writer.key("version"), writer.value(std::int64_t{1});
    writer.endObject();
    return std::move(writer).text();
}

OAuth2TokenCache::Entries decodeTokenCacheFile(std::string_view bytes) {
    const auto document = JSONDocument::parse(bytes);
    const JSONReader root(document);
    root.member("version").integer();
    OAuth2TokenCache::Entries entries;
    root.member("tokens").forEachMember([&entries](std::string_view key, const JSONReader& entry) {
        entries[std::string(key)] = decodeEntry(entry);
    });
    return entries;
}

OAuth2TokenCache::OAuth2TokenCache(std::optional<std::filesystem::path> file) {
    if (file) cacheFile.emplace(std::move(*file));
    reloadIfChanged();
}
std::optional<OAuth2Token> OAuth2TokenCache::tokenForKey(const std::string& key) {
    const std::lock_guard guard(lock);
    reloadIfChangedLocked();
    const auto found = entries.find(key);
    if (found == entries.end()) return std::nullopt;
    return found->second.token;
}

void OAuth2TokenCache::set(const OAuth2Token& token, const std::string& key, const std::string& label) {
    const std::lock_guard guard(lock);
    reloadIfChangedLocked();
    entries[key] = Entry{.token = token, .label = label};
    saveLocked();
}

void OAuth2TokenCache::remove(const std::string& key) {
    const std::lock_guard guard(lock);
    reloadIfChangedLocked();
    entries.erase(key);
    saveLocked();
}

void OAuth2TokenCache::removeAll() {
    const std::lock_guard guard(lock);
    entries.clear();
    saveLocked();
}

OAuth2TokenCache::Entries OAuth2TokenCache::allEntries() {
    const std::lock_guard guard(lock);
    reloadIfChangedLocked();
    return entries;
}

void OAuth2TokenCache::reloadIfChanged() {
    const std::lock_guard guard(lock);
    reloadIfChangedLocked();
}

std::optional<std::string> OAuth2TokenCache::saveFailure() {
    const std::lock_guard guard(lock);
    return lastSaveFailure;
}

void OAuth2TokenCache::reloadIfChangedLocked() {
    if (!cacheFile) return;
    const auto content = cacheFile->change();
    if (!content) return;
    entries.clear();
    if (!content->bytes) return;
    try {
        entries = decodeTokenCacheFile(*content->bytes);
    } catch (const std::exception&) {
        // A cache file that does not decode holds no token that could be sent: the cache
        // stays empty, the next acquisition signs in again and its save replaces the file.
    }
}

void OAuth2TokenCache::saveLocked() {
    if (!cacheFile) return;
    try {
        atomicFile::createFolders(cacheFile->path().parent_path());
        cacheFile->write(encodeTokenCacheFile(entries), filePermissions);
        lastSaveFailure.reset();
    } catch (const std::exception& failure) {
        lastSaveFailure = std::string("Couldn't save OAuth 2 tokens: ") + failure.what();
    }
}

}  // namespace tessaline
