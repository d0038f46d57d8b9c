#pragma once

#include "core/model/APIRequest.hpp"

#include <cstddef>
#include <string>
#include <vector>

// Compares two saved states of a request aspect by aspect ("Method", "URL", "Headers", ...),
// each as a line diff of its textual description.
namespace tessaline::requestDiff {

struct Line {
    enum class Kind { same, removed, added };
    Kind kind = Kind::same;
    std::string text{};

    bool operator==(const Line&) const = default;
};

// An aspect that differs, with the line diff of its description.
struct Field {
    std::string name{};
    std::vector<Line> lines{};

    bool operator==(const Field&) const = default;
};

// One aspect of a request's description.
struct Aspect {
    std::string name{};
    std::vector<std::string> lines{};

    bool operator==(const Aspect&) const = default;
};

// The edit distance `diff` explores when comparing descriptions: far beyond any real
// request's.
inline constexpr std::size_t defaultLimit = 2000;

// The aspects whose descriptions differ, in description order.
std::vector<Field> fields(const APIRequest& from, const APIRequest& to);
// The names of those aspects joined with ", "; empty when nothing differs.
std::string summary(const APIRequest& from, const APIRequest& to);

// The request described by aspect, always the same aspects in the same order: Name,
// Method, URL, Query, Headers, Body, Auth, Notes, Options.
std::vector<Aspect> describe(const APIRequest& request);
// One line per row, "key: value", with "  (off)" after a disabled one.
std::vector<std::string> rows(const std::vector<KeyValue>& rows);
// The kind by its label ("Form URL-Encoded"), then the content that kind sends.
std::vector<std::string> body(const RequestBody& body);
// The kind by its label ("Basic Auth"), then the settings that kind uses.
std::vector<std::string> auth(const Auth& auth);

// A shortest line diff (Myers' O(ND) algorithm) of the two lists. Leading and trailing
// lines the lists share are matched first; `limit` then bounds the number of edits
// (removed plus added lines) searched for between them. When the lists differ by more,
// the result is still correct but not minimal: every old line between the shared ends
// is removed and every new one added. Work and memory grow with limit², never beyond.
std::vector<Line> diff(const std::vector<std::string>& oldLines, const std::vector<std::string>& newLines,
                       std::size_t limit = defaultLimit);

}  // namespace tessaline::requestDiff
