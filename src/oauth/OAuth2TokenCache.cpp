#include "oauth/OAuth2TokenCache.hpp"

#include "support/AtomicFile.hpp"


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
    if (file) file_.emplace(std::move(*file));
    reloadIfChanged();
}
std::optional<OAuth2Token> OAuth2TokenCache::tokenForKey(const std::string& key) {
    const std::lock_guard guard(lock_);
    reloadIfChangedLocked();
    const auto found = entries_.find(key);
    if (found == entries_.end()) return std::nullopt;
    return found->second.token;
}

void OAuth2TokenCache::set(const OAuth2Token& token, const std::string& key, const std::string& label) {
    const std::lock_guard guard(lock_);
    reloadIfChangedLocked();
    entries_[key] = Entry{.token = token, .label = label};
    saveLocked();
}

void OAuth2TokenCache::remove(const std::string& key) {
    const std::lock_guard guard(lock_);
    reloadIfChangedLocked();
    entries_.erase(key);
    saveLocked();
}

void OAuth2TokenCache::removeAll() {
    const std::lock_guard guard(lock_);
    entries_.clear();
    saveLocked();
}

OAuth2TokenCache::Entries OAuth2TokenCache::allEntries() {
    const std::lock_guard guard(lock_);
    reloadIfChangedLocked();
    return entries_;
}

void OAuth2TokenCache::reloadIfChanged() {
    const std::lock_guard guard(lock_);
    reloadIfChangedLocked();
}

std::optional<std::string> OAuth2TokenCache::saveFailure() {
    const std::lock_guard guard(lock_);
    return saveFailure_;
}

void OAuth2TokenCache::reloadIfChangedLocked() {
    if (!file_) return;
    const auto content = file_->change();
    if (!content) return;
    entries_.clear();
    if (!content->bytes) return;
    try {
        entries_ = decodeTokenCacheFile(*content->bytes);
    } catch (const std::exception&) {
    }
}

void OAuth2TokenCache::saveLocked() {
    if (!file_) return;
    try {
        atomicFile::createFolders(file_->path().parent_path());
        file_->write(encodeTokenCacheFile(entries_), filePermissions);
        saveFailure_.reset();
    } catch (const std::exception& failure) {
        saveFailure_ = std::string("Couldn't save OAuth 2 tokens: ") + failure.what();
    }
}

}  // namespace tessaline
