#include "core/support/WatchedFile.hpp"

#include "core/support/FileError.hpp"
#include "core/support/Polling.hpp"

namespace tessaline {

WatchedFile::WatchedFile(std::filesystem::path path, Clock now, StampReader stampReader)
    : file(std::move(path)), clock(std::move(now)), stampOf(stampReader) {}

WatchedFile::Content WatchedFile::load() const {
    std::error_code missing;
    if (!std::filesystem::exists(file, missing)) return {};
    try {
        return {.bytes = atomicFile::read(file)};
    } catch (const FileError& error) {
        return {.failure = error.what()};
    }
}

// The stamp is taken before the bytes are read: a write in between leaves a stamp that no
// longer matches, so the next look reads again rather than missing it.
void WatchedFile::remember(Content content, std::optional<FileStamp> current) {
    looked = true;
    seen = std::move(content);
    stamp = std::move(current);
    racy = !stamp || clock() - stamp->modified < racyWindow;
}

const WatchedFile::Content& WatchedFile::read() {
    auto current = stampOf(file);
    remember(load(), std::move(current));
    return seen;
}

bool WatchedFile::trusted(const std::optional<FileStamp>& current) const { return looked && current == stamp && !racy; }

bool WatchedFile::differs(const Content& content) const { return !looked || content != seen; }

std::optional<WatchedFile::Content> WatchedFile::differing(std::optional<FileStamp> current) {
    Content content = load();
    const bool different = differs(content);
    remember(std::move(content), std::move(current));
    if (!different) return std::nullopt;
    return seen;
}

std::optional<WatchedFile::Content> WatchedFile::change() {
    auto current = stampOf(file);
    if (trusted(current)) return std::nullopt;
    return differing(std::move(current));
}

std::optional<WatchedFile::Content> WatchedFile::changeWithin(std::chrono::milliseconds wait) {
    return pollWithin(wait, [this](bool last) -> std::optional<Content> {
        auto current = stampOf(file);
        if (!last && current == stamp) return std::nullopt;
        return differing(std::move(current));
    });
}

bool WatchedFile::changed() const { return !trusted(stampOf(file)) && differs(load()); }

atomicFile::Replacement WatchedFile::wrote(atomicFile::Replacement outcome, std::string_view bytes) {
    if (!outcome.done) return outcome;
    const auto& replaced = outcome.replaced;
    const bool outside = looked && replaced && replaced->bytes() != seen.bytes;
    remember({.bytes = std::string(bytes)}, stampOf(file));
    if (!outside) outcome.replaced.reset();
    return outcome;
}

std::optional<HeldFile> WatchedFile::write(std::string_view bytes, mode_t permissions) {
    return wrote(atomicFile::writeIf(file, bytes, [] { return true; }, permissions), bytes).replaced;
}

atomicFile::Replacement WatchedFile::writeUnlessChanged(std::string_view bytes, mode_t permissions) {
    return wrote(atomicFile::writeIf(file, bytes, [this] { return !changed(); }, permissions), bytes);
}

}  // namespace tessaline
