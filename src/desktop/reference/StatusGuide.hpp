#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tessaline {

// What a status code means and what to try, shown beside a response.
struct StatusGuide {
    int code = 0;
    std::string title;
    std::string summary;
    std::vector<std::string> tips;

    static constexpr std::string_view docsHost = "https://developer.mozilla.org";

    // The reference page for the code on the documentation host.
    std::string docsURL() const;

    bool operator==(const StatusGuide&) const = default;
};

namespace httpStatus {

// The guide for a code: its own texts where it has them, else those of its class.
StatusGuide guide(int code);

}  // namespace httpStatus
}  // namespace tessaline
