#pragma once

#include "core/http/ResolvedRequest.hpp"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tessaline {

// Code snippets that send a resolved request: the same method, URL, headers and body bytes.
// Each target quotes for its language (see SourceLiteral). Multipart bodies are rebuilt with
// the language's form API where it has one (cURL -F, Python files=, HTTPie --multipart), a
// file part naming its file by file name, to be run where the file is; the other targets
// send the body's bytes with its boundary. Every script prints the status code and then the
// response body.
class CodeGenerator {
public:
    enum class Target { curl, swift, fetch, node, python, go, httpie };

    static constexpr std::array targets{Target::curl, Target::swift,  Target::fetch, Target::node,
                                        Target::python, Target::go, Target::httpie};

    // "cURL", "Swift (URLSession)", "JavaScript (fetch)", "Node.js (https)",
    // "Python (requests)", "Go (net/http)", "HTTPie".
    static std::string_view displayName(Target target);
    // The target whose display name equals `name` ignoring case.
    static std::optional<Target> targetNamed(std::string_view name);

    static std::string generate(Target target, const ResolvedRequest& request);
};

}  // namespace tessaline
