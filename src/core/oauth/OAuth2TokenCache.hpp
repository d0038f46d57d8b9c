#pragma once

#include "core/model/OAuth2Token.hpp"
#include "core/support/WatchedFile.hpp"

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace tessaline {

// The tokens obtained so far, one per cache key (OAuth2ResolvedConfig::cacheKey), kept in a
// file that the desktop client and the server share without notifying each other: every
// operation first re-reads the file if it changed on disk, and every change is written out at
// once (atomically; a new file gets permissions 0600, for it holds live credentials). Between
// processes the last writer wins.
//
// Nothing here throws: a missing, unreadable or damaged file reads as an empty cache, and a
// failed write keeps the in-memory entries, which the next successful write saves; the
// failure stays readable in saveFailure() until then, for the caller to tell. Whether a token
// is still usable is the caller's question. Safe to use from any thread.
class OAuth2TokenCache {
public:
    struct Entry {
        OAuth2Token token{};
        std::string label{};  // the configuration's label when the token was stored
        bool operator==(const Entry&) const = default;
    };
    using Entries = std::map<std::string, Entry>;

    static constexpr std::string_view fileName = "oauth-tokens.json";

    // Without a file the cache lives in memory only.
    explicit OAuth2TokenCache(std::optional<std::filesystem::path> file);
    OAuth2TokenCache(const OAuth2TokenCache&) = delete;
    OAuth2TokenCache& operator=(const OAuth2TokenCache&) = delete;

    std::optional<OAuth2Token> tokenForKey(const std::string& key);
    // Replaces any entry under the key, and saves.
    void set(const OAuth2Token& token, const std::string& key, const std::string& label);
    // Saves even when there was no such entry.
    void remove(const std::string& key);
    // Empties the cache and saves, without reading the file first.
    void removeAll();
    Entries allEntries();
    // Takes in a change another program made to the file; every operation above does this first.
    void reloadIfChanged();
    // "Couldn't save OAuth 2 tokens: " and the reason, while the newest change is only in memory.
    std::optional<std::string> saveFailure();

private:
    void reloadIfChangedLocked();
    void saveLocked();

    std::mutex lock;
    // State below is guarded by lock.
    std::optional<WatchedFile> cacheFile;
    Entries entries;
    std::optional<std::string> lastSaveFailure;
};

// The file's content: {"version": 1, "tokens": {key: {"label": ..., "token": {...}}}}.
std::string encodeTokenCacheFile(const OAuth2TokenCache::Entries& entries);
// Throws DecodingError; both keys are required.
OAuth2TokenCache::Entries decodeTokenCacheFile(std::string_view bytes);

}  // namespace tessaline
