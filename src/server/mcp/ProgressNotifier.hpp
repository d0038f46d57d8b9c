#pragma once

#include "core/http/TransferControl.hpp"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

namespace tessaline {

// The "notifications/progress" lines of one exchange, for a call whose params carried
// `_meta.progressToken`. "progress" counts the body bytes received so far, except that it
// rises by one over the previous notification when no byte came in between, since every
// notification must carry a larger progress than the last; "total" is the body's announced
// length, when there is one; "message" is "Waiting for the first byte" until the response
// begins, then "12,345 of 67,890 bytes received" (or "12,345 bytes received" without a length),
// or for a streamed response "1,234 events received".
class ProgressNotifier {
public:
    using Clock = std::chrono::steady_clock;
    // The least time between two notifications after the first.
    static constexpr std::chrono::milliseconds interval{500};

    // `token`: the progress token's JSON text, written back as it is.
    explicit ProgressNotifier(std::string token) : progressToken(std::move(token)) {}

    // The notification line for `progress` at `now`: always the first time, then once at least
    // `interval` has passed since the last one, else nothing.
    std::optional<std::string> line(const TransferProgress& progress, Clock::time_point now);

    // One notification line for the progress token `token` (its JSON text).
    static std::string notification(const std::string& token, std::uint64_t progress, std::optional<std::uint64_t> total,
                                    const std::string& message);

private:
    std::string progressToken;
    std::optional<Clock::time_point> lastAt;
    std::uint64_t lastProgress = 0;
};

}  // namespace tessaline
