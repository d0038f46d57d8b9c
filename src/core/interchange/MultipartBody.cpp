#include "core/interchange/MultipartBody.hpp"

namespace tessaline {
namespace {

constexpr std::string_view formType = "multipart/form-data";

// The value of `name="..."` in a Content-Disposition line.
std::optional<std::string> parameter(std::string_view headers, std::string_view name) {
    const auto key = "; " + std::string(name) + "=\"";
    const auto start = headers.find(key);
    if (start == std::string_view::npos) return std::nullopt;
    const auto valueStart = start + key.size();
    const auto end = headers.find('"', valueStart);
    if (end == std::string_view::npos) return std::nullopt;
    return std::string(headers.substr(valueStart, end - valueStart));
}

}  // namespace

std::optional<MultipartBody> MultipartBody::parse(std::string_view body, std::string_view contentType) {
    const auto boundaryAt = contentType.find("boundary=");
    if (!contentType.starts_with(formType) || boundaryAt == std::string_view::npos) return std::nullopt;
    const auto delimiter = "--" + std::string(contentType.substr(boundaryAt + 9));
    MultipartBody result;
    auto position = body.find(delimiter);
    while (position != std::string_view::npos) {
        position += delimiter.size();
        if (body.substr(position, 2) == "--") return result;
        const auto headersEnd = body.find("\r\n\r\n", position);
        const auto next = body.find("\r\n" + delimiter, position);
        if (headersEnd == std::string_view::npos || next == std::string_view::npos || headersEnd > next) return std::nullopt;
        const auto headers = body.substr(position, headersEnd - position);
        auto name = parameter(headers, "name");
        if (!name) return std::nullopt;
        result.parts.push_back({std::move(*name), parameter(headers, "filename"), std::string(body.substr(headersEnd + 4, next - headersEnd - 4))});
        position = next + 2;
    }
    return std::nullopt;
}

}  // namespace tessaline
