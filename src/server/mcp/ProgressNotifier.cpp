#include "server/mcp/ProgressNotifier.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace tessaline {
namespace {

// 1234567 as "1,234,567".
std::string grouped(std::uint64_t number) {
    const std::string digits = std::to_string(number);
    std::string text;
    text.reserve(digits.size() + digits.size() / 3);
    for (std::size_t at = 0; at < digits.size(); ++at) {
        if (at > 0 && (digits.size() - at) % 3 == 0) text += ',';
        text += digits[at];
    }
    return text;
}

std::string message(const TransferProgress& progress) {
    if (!progress.responding) return "Waiting for the first byte";
    if (progress.events) return grouped(*progress.events) + (*progress.events == 1 ? " event received" : " events received");
    if (!progress.total) return grouped(progress.received) + " bytes received";
    return grouped(progress.received) + " of " + grouped(*progress.total) + " bytes received";
}

}  // namespace

std::optional<std::string> ProgressNotifier::line(const TransferProgress& progress, Clock::time_point now) {
    if (lastAt && now - *lastAt < interval) return std::nullopt;
    lastProgress = lastAt ? std::max(progress.received, lastProgress + 1) : progress.received;
    lastAt = now;
    return notification(progressToken, lastProgress, progress.total, message(progress));
}

std::string ProgressNotifier::notification(const std::string& token, std::uint64_t progress,
                                           std::optional<std::uint64_t> total, const std::string& description) {
    std::string text = R"({"jsonrpc":"2.0","method":"notifications/progress","params":{"message":)";
    text += nlohmann::json(description).dump();
    text += ",\"progress\":" + std::to_string(progress) + ",\"progressToken\":" + token;
    if (total) text += ",\"total\":" + std::to_string(*total);
    return text + "}}";
}

}  // namespace tessaline
