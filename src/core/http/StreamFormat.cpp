#include "core/http/StreamFormat.hpp"

#include "core/support/CaseInsensitive.hpp"
#include "core/support/Trimmed.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace tessaline {

std::optional<StreamFormat> streamFormat(std::string_view contentType) {
    static constexpr std::array<std::pair<std::string_view, StreamFormat>, 4> types{{
        {"text/event-stream", StreamFormat::serverSentEvents},
        {"application/x-ndjson", StreamFormat::jsonLines},
        {"application/jsonl", StreamFormat::jsonLines},
        {"application/json-seq", StreamFormat::jsonSequence},
    }};
    const std::string_view type = trimmed(contentType.substr(0, contentType.find(';')));
    const auto found = std::find_if(types.begin(), types.end(),
                                    [type](const auto& known) { return caseInsensitive::equal(known.first, type); });
    if (found == types.end()) return std::nullopt;
    return found->second;
}

}  // namespace tessaline
