#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

// The file name of a version snapshot, "<stamp>~<reason>.json", which carries the snapshot's
// date and reason. The stamp is the UTC date as "yyyyMMdd'T'HHmmss.SSS'Z'"
// (20250301T142233.045Z). The reason keeps its first 60 user-perceived characters (grapheme
// clusters: "\r\n" or an emoji family counts as one) and escapes every code point that is not
// a Unicode letter, mark or decimal digit as %XX of its UTF-8 bytes, so spaces, quotes,
// slashes, dots and "~" never reach the file system while accented letters stay readable.
// A reason is cut further, at a cluster boundary, where it would make the name longer than
// the 255 bytes a file system allows.
namespace tessaline::snapshotName {

using Date = std::chrono::system_clock::time_point;

struct Parsed {
    Date date;  // whole milliseconds
    std::string reason;
};

// The reason read back when a name has none, or the encoding fails.
inline constexpr std::string_view autosave = "Autosave";

// The date is rounded down to whole milliseconds; it must lie within the clock's range.
std::string make(Date date, std::string_view reason);

// Only names ending in ".json" whose part before the first "~" is a valid stamp parse. A
// missing or empty reason reads as "Autosave"; a reason whose escapes do not decode to UTF-8
// is taken as it stands.
std::optional<Parsed> parse(std::string_view fileName);

}  // namespace tessaline::snapshotName
