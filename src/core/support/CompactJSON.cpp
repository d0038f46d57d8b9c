#include "core/support/CompactJSON.hpp"

#include <vector>

namespace tessaline::compactJSON {
namespace {

using nlohmann::json;

struct Frame {
    const json* container;
    json::const_iterator next;
    bool first;
};

// Opens a container (pushing a frame) or writes a scalar whole.
void begin(const json& value, std::string& out, std::vector<Frame>& stack) {
    if (value.is_object() || value.is_array()) {
        out += value.is_object() ? '{' : '[';
        stack.push_back({&value, value.cbegin(), true});
    } else {
        out += value.dump();
    }
}

}  // namespace

std::string encode(const json& value) {
    std::string out;
    std::vector<Frame> stack;
    begin(value, out, stack);
    while (!stack.empty()) {
        Frame& frame = stack.back();
        if (frame.next == frame.container->cend()) {
            out += frame.container->is_object() ? '}' : ']';
            stack.pop_back();
            continue;
        }
        if (!frame.first) out += ',';
        frame.first = false;
        const auto current = frame.next++;
        if (frame.container->is_object()) {
            out += json(current.key()).dump();
            out += ':';
        }
        begin(*current, out, stack);  // may reallocate the stack: frame is not used after this
    }
    return out;
}

}  // namespace tessaline::compactJSON
