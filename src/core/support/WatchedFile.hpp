#pragma once

#include "core/support/AtomicFile.hpp"
#include "core/support/Clock.hpp"
#include "core/support/FileStamp.hpp"

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace tessaline {

// A file that another program writes too, with what this program last read from it or
// wrote to it, so that the other program's writes are told apart from our own.
//
// Looking costs one stat while the file's stamp (size, modification and change times,
// inode) is unchanged. File-system clocks are coarse (a kernel tick), so a file whose
// modification time lay within racyWindow of when we last looked may have been written again
// within the same tick, unseen by its stamp: such a file is read again and compared byte
// for byte.
class WatchedFile {
public:
    static constexpr std::chrono::milliseconds racyWindow{50};
    static constexpr std::chrono::milliseconds pollInterval{2};

    // What the file holds: its bytes, or why there are none.
    struct Content {
        std::optional<std::string> bytes{};    // absent when the file is missing or unreadable
        std::optional<std::string> failure{};  // why an existing file could not be read
        bool operator==(const Content&) const = default;
    };
    using StampReader = std::optional<FileStamp> (*)(const std::filesystem::path&);

    // `now` and `stampOf` are the seams a test moves; everyone else takes the defaults.
    explicit WatchedFile(std::filesystem::path path, Clock now = systemClock(), StampReader stampOf = &FileStamp::of);

    const std::filesystem::path& path() const { return file; }
    // Reads the file now and remembers what it holds.
    const Content& read();
    // What the file holds when that differs from what we last read or wrote (the first look
    // always differs); absent when it is unchanged. Remembers what it found.
    std::optional<Content> change();
    // Waits up to `wait` for the file to differ from what we last read or wrote, as when
    // another program is in the middle of writing it, looking every pollInterval; returns what
    // it then holds, or absent when it held still. Remembers what it found.
    std::optional<Content> changeWithin(std::chrono::milliseconds wait);
    // Replaces the file atomically (atomicFile::write) and remembers the bytes. Returns what
    // another program wrote there at the very last moment, between our last look and the
    // replacement, when the system could tell. Throws FileError.
    std::optional<std::string> write(std::string_view bytes, mode_t permissions = 0600);
    // As write(), unless the file differs from what we last read or wrote when the new bytes
    // are ready to take its place (the test of change(), made at that last moment): then
    // nothing is written (`done` false) and the difference is left for change() to find.
    atomicFile::Replacement writeUnlessChanged(std::string_view bytes, mode_t permissions = 0600);

private:
    Content load() const;
    // Whether the stamp alone shows the file unchanged since we last looked.
    bool trusted(const std::optional<FileStamp>& current) const;
    bool differs(const Content& content) const;
    // Reads the file and remembers it with `current`; returns it when it differs.
    std::optional<Content> differing(std::optional<FileStamp> current);
    // Whether change() would find a difference, without remembering anything.
    bool changed() const;
    // Remembers the bytes of a write that was done; keeps in `replaced` only what another
    // program wrote.
    atomicFile::Replacement wrote(atomicFile::Replacement outcome, std::string_view bytes);
    void remember(Content content, std::optional<FileStamp> stamp);

    std::filesystem::path file;
    Clock clock;
    StampReader stampOf;
    bool looked = false;
    Content seen;
    std::optional<FileStamp> stamp;
    bool racy = true;
};

}  // namespace tessaline
