#include "oauth/OAuth2TokenCache.hpp"

#include "support/AtomicFile.hpp"

#include <sys/stat.h>

namespace tessaline {
namespace {

constexpr mode_t filePermissions = 0600;

// A file modified this shortly before it was read may have been modified again within the
// same tick of the file system's clock, leaving its stamp unchanged; such a file is read
// again on the next access and compared byte for byte.
constexpr auto racyWindow = std::chrono::milliseconds(50);

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

OAuth2TokenCache::OAuth2TokenCache(std::optional<std::filesystem::path> file) : file_(std::move(file)) {
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

void OAuth2TokenCache::reloadIfChangedLocked() {
    if (!file_) return;
    const auto now = std::chrono::system_clock::now();
    auto stamp = FileStamp::of(*file_);
    const bool racy = loadedStamp_ && loadedAt_ - loadedStamp_->modified < racyWindow;
    if (stamp == loadedStamp_ && !racy) return;

    std::optional<std::string> bytes;
    if (stamp) {
        try {
            bytes = atomicFile::read(*file_);
        } catch (const std::exception&) {
        }
    }
    loadedStamp_ = std::move(stamp);
    loadedAt_ = now;
    if (bytes == loadedBytes_) return;
    loadedBytes_ = std::move(bytes);
    entries_.clear();
    if (!loadedBytes_) return;
    try {
        entries_ = decodeTokenCacheFile(*loadedBytes_);
    } catch (const std::exception&) {
    }
}

void OAuth2TokenCache::saveLocked() {
    if (!file_) return;
    try {
        std::error_code ignored;
        std::filesystem::create_directories(file_->parent_path(), ignored);
        auto bytes = encodeTokenCacheFile(entries_);
        const auto now = std::chrono::system_clock::now();
        atomicFile::write(*file_, bytes, filePermissions);
        ::chmod(file_->c_str(), filePermissions);
        loadedStamp_ = FileStamp::of(*file_);
        loadedAt_ = now;
        loadedBytes_ = std::move(bytes);
    } catch (const std::exception&) {
    }
}

}  // namespace tessaline
