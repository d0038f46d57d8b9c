#include "desktop/editing/RequestDiff.hpp"

#include "core/support/Joined.hpp"

#include <algorithm>
#include <charconv>
#include <span>

namespace tessaline {
namespace {

using Line = requestDiff::Line;
using Lines = std::span<const std::string>;

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (true) {
        const auto end = text.find('\n', start);
        lines.push_back(text.substr(start, end - start));
        if (end == std::string::npos) return lines;
        start = end + 1;
    }
}

std::string setting(const std::string& label, const std::string& value) {
    return label + ": " + (value.empty() ? "(empty)" : value);
}

std::string seconds(double value) {
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, value);
    return std::string(text, result.ptr) + " s";
}

void append(std::vector<Line>& lines, Line::Kind kind, Lines texts) {
    for (const auto& text : texts) lines.push_back({kind, text});
}

// Myers' greedy search for the shortest edit script of a and b, which share neither their
// first nor their last line. `furthest[d][k + d]` is the furthest x reached on diagonal
// k = x - y with d edits; it is kept for each d to walk the path back.
std::optional<std::vector<Line>> shortestScript(Lines a, Lines b, std::size_t limit) {
    const auto n = static_cast<std::ptrdiff_t>(a.size());
    const auto m = static_cast<std::ptrdiff_t>(b.size());
    const auto maxD = static_cast<std::ptrdiff_t>(std::min(limit, a.size() + b.size()));
    std::vector<std::vector<std::ptrdiff_t>> furthest;
    // x on diagonal k after the previous round, or 0 where none was reached yet.
    auto previous = [&furthest](std::ptrdiff_t d, std::ptrdiff_t k) -> std::ptrdiff_t {
        return d == 0 ? 0 : furthest[static_cast<std::size_t>(d - 1)][static_cast<std::size_t>(k + d - 1)];
    };
    // Whether diagonal k at distance d is reached by a step down (an added line) from k + 1.
    auto comesFromAbove = [&previous](std::ptrdiff_t d, std::ptrdiff_t k) {
        return k == -d || (k != d && previous(d, k - 1) < previous(d, k + 1));
    };
    for (std::ptrdiff_t d = 0; d <= maxD; ++d) {
        std::vector<std::ptrdiff_t> round(static_cast<std::size_t>(2 * d + 1));
        for (std::ptrdiff_t k = -d; k <= d; k += 2) {
            std::ptrdiff_t x = d == 0 ? 0 : (comesFromAbove(d, k) ? previous(d, k + 1) : previous(d, k - 1) + 1);
            std::ptrdiff_t y = x - k;
            while (x < n && y < m && a[static_cast<std::size_t>(x)] == b[static_cast<std::size_t>(y)]) ++x, ++y;
            round[static_cast<std::size_t>(k + d)] = x;
            if (x < n || y < m) continue;

            // Walk back from the end, collecting the script in reverse.
            std::vector<Line> script;
            for (std::ptrdiff_t step = d; step > 0; --step) {
                const auto diagonal = x - y;
                const bool added = comesFromAbove(step, diagonal);
                const auto fromX = previous(step, added ? diagonal + 1 : diagonal - 1);
                const auto fromY = fromX - (added ? diagonal + 1 : diagonal - 1);
                for (; x > fromX + (added ? 0 : 1); --x, --y) script.push_back({Line::Kind::same, a[static_cast<std::size_t>(x - 1)]});
                if (added) {
                    script.push_back({Line::Kind::added, b[static_cast<std::size_t>(fromY)]});
                } else {
                    script.push_back({Line::Kind::removed, a[static_cast<std::size_t>(fromX)]});
                }
                x = fromX;
                y = fromY;
            }
            for (; x > 0; --x) script.push_back({Line::Kind::same, a[static_cast<std::size_t>(x - 1)]});
            std::reverse(script.begin(), script.end());
            return script;
        }
        furthest.push_back(std::move(round));
    }
    return std::nullopt;
}

}  // namespace

std::vector<requestDiff::Line> requestDiff::diff(const std::vector<std::string>& oldLines,
                                                 const std::vector<std::string>& newLines, std::size_t limit) {
    const auto [oldEnd, newEnd] = std::mismatch(oldLines.begin(), oldLines.end(), newLines.begin(), newLines.end());
    const auto prefix = static_cast<std::size_t>(oldEnd - oldLines.begin());
    const auto [oldStart, newStart] = std::mismatch(oldLines.rbegin(), oldLines.rend() - static_cast<std::ptrdiff_t>(prefix),
                                                    newLines.rbegin(), newLines.rend() - static_cast<std::ptrdiff_t>(prefix));
    const auto suffix = static_cast<std::size_t>(oldStart - oldLines.rbegin());
    const Lines a = Lines(oldLines).subspan(prefix, oldLines.size() - prefix - suffix);
    const Lines b = Lines(newLines).subspan(prefix, newLines.size() - prefix - suffix);

    std::vector<Line> lines;
    append(lines, Line::Kind::same, Lines(oldLines).first(prefix));
    if (auto script = shortestScript(a, b, limit)) {
        lines.insert(lines.end(), std::make_move_iterator(script->begin()), std::make_move_iterator(script->end()));
    } else {
        append(lines, Line::Kind::removed, a);
        append(lines, Line::Kind::added, b);
    }
    append(lines, Line::Kind::same, Lines(oldLines).last(suffix));
    return lines;
}

std::vector<std::string> requestDiff::rows(const std::vector<KeyValue>& rows) {
    std::vector<std::string> lines;
    lines.reserve(rows.size());
    for (const auto& row : rows) lines.push_back(row.key + ": " + row.value + (row.enabled ? "" : "  (off)"));
    return lines;
}

std::vector<std::string> requestDiff::body(const RequestBody& body) {
    std::vector<std::string> lines{std::string(label(body.kind))};
    std::vector<std::string> content;
    switch (body.kind) {
    case BodyKind::none: break;
    case BodyKind::json:
    case BodyKind::text:
    case BodyKind::xml: content = splitLines(body.raw); break;
    case BodyKind::formURLEncoded:
    case BodyKind::multipart: content = rows(body.form); break;
    }
    lines.insert(lines.end(), content.begin(), content.end());
    return lines;
}

std::vector<std::string> requestDiff::auth(const Auth& auth) {
    std::vector<std::string> lines{std::string(label(auth.kind))};
    switch (auth.kind) {
    case AuthKind::none:
    case AuthKind::inherit: break;
    case AuthKind::bearer: lines.push_back(setting("Token", auth.token)); break;
    case AuthKind::basic:
        lines.push_back(setting("Username", auth.username));
        lines.push_back(setting("Password", auth.password));
        break;
    case AuthKind::apiKey:
        lines.push_back(setting("Key", auth.apiKeyName));
        lines.push_back(setting("Value", auth.apiKeyValue));
        lines.push_back(setting("Add to", std::string(toString(auth.apiKeyIn))));
        break;
    case AuthKind::oauth2: {
        const auto config = auth.oauth2.value_or(OAuth2Config{});
        lines.push_back(setting("Grant", std::string(displayName(config.grant))));
        lines.push_back(setting("Token URL", config.tokenURL));
        lines.push_back(setting("Client ID", config.clientID));
        lines.push_back(setting("Scope", config.scope));
        break;
    }
    }
    return lines;
}

std::vector<requestDiff::Aspect> requestDiff::describe(const APIRequest& request) {
    return {
        {"Name", {request.name}},
        {"Method", {std::string(toString(request.method))}},
        {"URL", {request.url}},
        {"Query", rows(request.query)},
        {"Headers", rows(request.headers)},
        {"Body", body(request.body)},
        {"Auth", auth(request.auth)},
        {"Notes", splitLines(request.notes)},
        {"Options",
         {std::string("Follow redirects: ") + (request.followRedirects ? "On" : "Off"), "Timeout: " + seconds(request.timeout)}},
    };
}

std::vector<requestDiff::Field> requestDiff::fields(const APIRequest& from, const APIRequest& to) {
    const auto before = describe(from);
    const auto after = describe(to);
    std::vector<Field> changed;
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (before[i].lines != after[i].lines) changed.push_back({before[i].name, diff(before[i].lines, after[i].lines)});
    }
    return changed;
}

std::string requestDiff::summary(const APIRequest& from, const APIRequest& to) {
    return joined(fields(from, to), ", ", [](const auto& field) { return field.name; });
}

}  // namespace tessaline
