#include "server/mcp/JSONRPCMessage.hpp"

#include "core/support/ByteScan.hpp"
#include "core/support/DecodingError.hpp"
#include "core/support/JSONGrammar.hpp"

#include <array>
#include <vector>

namespace tessaline {
namespace {

using nlohmann::json;

// Valid JSON text without the whitespace between its tokens.
std::string withoutWhitespace(std::string_view text) {
    std::string compact;
    compact.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        if (text[at] != '"') {
            if (!byteScan::whitespace[static_cast<unsigned char>(text[at])]) compact += text[at];
            ++at;
            continue;
        }
        // A string, copied whole: its closing quote is the first one no backslash escapes.
        auto end = at + 1;
        bool sawNonASCII = false;
        while (text[end = byteScan::findQuoteOrBackslash(text, end, sawNonASCII)] == '\\') end += 2;
        compact.append(text, at, end + 1 - at);
        at = end + 1;
    }
    return compact;
}

// The grammar's handler for one line. Depth 0 is the line's value, which must be an object;
// the values at depth 1 are its members. Where the value at hand sits is kept as far down as
// params._meta.progressToken, and the params of a tools/call or an initialize are built as a
// tree as they are read.
class EnvelopeReader {
public:
    EnvelopeReader(std::string_view text, JSONRPCMessage& into) : line(text), message(into) {}

    std::string& decoded() { return scratch; }

    void valueStart(std::size_t offset) {
        if (depth == 0) {
            if (line[offset] != '{') JSONGrammar::failAt(offset);
            return;
        }
        if (depth < starts.size()) starts[depth] = offset;
        if (depth == 1) startMember();
        if (inParams() && ++message.paramsValues > JSONRPCMessage::paramsValueLimit) stopTree();
    }

    void valueEnd(std::size_t offset) {
        if (depth == 0 || depth >= starts.size()) return;
        const auto text = line.substr(starts[depth], offset - starts[depth]);
        if (depth == 1 && at[1] == Member::id) idText = text;
        if (depth == 1 && at[1] == Member::outcome) message.hasOutcome = true;
        if (depth == 2 && at[2] == Member::requestId) message.requestId = withoutWhitespace(text);
        if (depth == 3 && at[3] == Member::progressToken) message.progressToken = withoutWhitespace(text);
    }

    void key(std::size_t from) {
        const std::string_view text(scratch.data() + from, scratch.size() - from);
        if (depth < at.size()) at[depth] = member(text);
        if (building) treeKey = text;
        scratch.resize(from);
    }

    void string(std::size_t from) {
        if (depth == 1 && at[1] == Member::method) {
            message.method = scratch.substr(from);
            treeWanted = message.method == "tools/call" || message.method == "initialize";
            if (!treeWanted) stopTree();
        }
        if (building) add(scratch.substr(from));
        scratch.resize(from);
    }

    void literal(JSONGrammar::Literal literal) {
        if (!building) return;
        if (literal == JSONGrammar::Literal::null) {
            add(nullptr);
        } else {
            add(literal == JSONGrammar::Literal::trueValue);
        }
    }

    bool number(std::string_view text) {
        if (!building) return true;
        const auto value = JSONGrammar::numberValue(text);
        if (!value) {
            message.paramsNumberOutOfRange = text;
            stopTree();
        } else {
            std::visit([this](auto number) { add(number); }, *value);
        }
        return true;
    }

    void open(bool isObject) {
        if (building) {
            containers.push_back(add(isObject ? json::object() : json::array()));
        } else if (depth == 1 && inParams() && isObject && treeWanted) {
            building = true;
            containers.push_back(&message.params);
            message.params = json::object();
        }
        ++depth;
        if (depth < at.size()) at[depth] = Member::other;
    }

    void close() {
        --depth;
        if (building) containers.pop_back();
        if (depth == 1) building = false;
    }

    std::string_view id() const { return idText; }

private:
    // The members read, by where they sit: at depth 1, 2 under params, 3 under params._meta.
    enum class Member : std::uint8_t { other, id, method, params, outcome, requestId, meta, progressToken };

    Member member(std::string_view key) const {
        if (depth == 1) {
            if (key == "id") return Member::id;
            if (key == "method") return Member::method;
            if (key == "params") return Member::params;
            if (key == "result" || key == "error") return Member::outcome;
        } else if (depth == 2 && at[1] == Member::params) {
            if (key == "requestId") return Member::requestId;
            if (key == "_meta") return Member::meta;
        } else if (depth == 3 && at[2] == Member::meta && key == "progressToken") {
            return Member::progressToken;
        }
        return Member::other;
    }

    bool inParams() const { return depth >= 1 && at[1] == Member::params; }

    // A member of the line's object begins; a member that repeats replaces what the earlier
    // one gave.
    void startMember() {
        if (at[1] == Member::method) {
            message.hasMethod = true;
            message.method.clear();
        }
        if (at[1] == Member::params) {
            message.params = nullptr;
            message.paramsValues = 0;
            message.paramsNumberOutOfRange.clear();
            message.requestId.clear();
            message.progressToken.clear();
        }
    }

    // Only tools/call and initialize read their params: once the method is known to be
    // another, or the params are too many or hold a number no double holds, they are not built.
    void stopTree() {
        message.params = nullptr;
        building = false;
        containers.clear();
    }

    json* add(json value) {
        json& parent = *containers.back();
        if (parent.is_object()) {
            json& slot = parent[treeKey];
            slot = std::move(value);
            return &slot;
        }
        parent.push_back(std::move(value));
        return &parent.back();
    }

    std::string_view line;
    JSONRPCMessage& message;
    std::string scratch;
    std::size_t depth = 0;
    std::array<Member, 4> at{};           // where the members at depths 1 to 3 sit
    std::array<std::size_t, 4> starts{};  // where the values at depths 1 to 3 begin
    std::string_view idText;
    bool treeWanted = true;
    bool building = false;
    std::vector<json*> containers;  // the open containers of the params' tree
    std::string treeKey;
};

}  // namespace

std::optional<JSONRPCMessage> JSONRPCMessage::read(std::string_view line) {
    // Built in place: a message is many members to move.
    std::optional<JSONRPCMessage> message(std::in_place);
    EnvelopeReader reader(line, *message);
    try {
        JSONGrammar::read(line, reader);
        message->id = withoutWhitespace(reader.id());
    } catch (const DecodingError&) {
        message.reset();
    }
    return message;
}

}  // namespace tessaline
