#include "server/app/CommandLine.hpp"

#include "core/support/Version.hpp"
#include "server/mcp/MCPServer.hpp"

#include <algorithm>

namespace tessaline {

CommandLine CommandLine::parse(const std::vector<std::string>& arguments) {
    CommandLine line;
    if (!arguments.empty()) line.invocation = arguments.front();
    const auto has = [&](const char* flag) {
        return std::find(arguments.begin() + (arguments.empty() ? 0 : 1), arguments.end(), flag) != arguments.end();
    };
    line.version = has("--version");
    line.help = has("--help");
    line.tools = has("--tools");
    const auto workspace = std::find(arguments.begin() + (arguments.empty() ? 0 : 1), arguments.end(), "--workspace");
    if (workspace != arguments.end() && workspace + 1 != arguments.end()) line.workspace = *(workspace + 1);
    return line;
}

std::string CommandLine::versionLine() {
    return "tessaline-mcp " + std::string(projectVersion()) + " (MCP " +
           std::string(MCPServer::protocolVersion) + ")";
}

std::string CommandLine::usage(const std::filesystem::path& defaultFolder) const {
    return "tessaline-mcp \u2014 Model Context Protocol server for Tessaline (stdio).\n"
           "  --workspace <folder>   use a different workspace folder (default: " +
           defaultFolder.string() +
           ")\n"
           "  --tools                print the tool list and exit\n"
           "Register:  claude mcp add tessaline -- " +
           invocation;
}

}  // namespace tessaline
