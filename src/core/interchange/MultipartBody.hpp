#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessaline {

// The parts of a multipart/form-data body, read back from its bytes, so that a snippet can
// rebuild the body with its language's own form API.
struct MultipartBody {
    struct Part {
        std::string name;
        std::optional<std::string> filename;  // present for a file part
        std::string content;
    };

    std::vector<Part> parts;

    // Absent when the Content-Type is not multipart/form-data with a boundary, or the body
    // does not follow it.
    static std::optional<MultipartBody> parse(std::string_view body, std::string_view contentType);
};

}  // namespace tessaline
