#include "core/storage/WorkspaceStore.hpp"
#include "server/app/CommandLine.hpp"
#include "server/app/LineReader.hpp"
#include "server/mcp/MCPServer.hpp"
#include "server/mcp/ToolCatalog.hpp"

#include <csignal>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

namespace {

// Returns false once standard output is gone (the host closed its end).
bool writeLine(std::string_view text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fputc('\n', stdout);
    return std::fflush(stdout) == 0 && !std::ferror(stdout);
}

std::string_view trimBlanksAndTabs(std::string_view line) {
    const auto first = line.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return line.substr(first, line.find_last_not_of(" \t") - first + 1);
}

// Reads lines until the end of input, or until no reply can be written, and answers each
// before reading the next. What the desktop client wrote meanwhile is taken in before every
// line, empty ones included.
void serve(tessaline::WorkspaceStore& store, tessaline::MCPServer& server) {
    tessaline::LineReader lines(STDIN_FILENO, tessaline::MCPServer::lineLengthLimit);
    while (const auto line = lines.next()) {
        store.reloadIfChanged();
        if (line->tooLong) {
            if (!writeLine(tessaline::MCPServer::lineTooLong())) break;
            continue;
        }
        const auto text = trimBlanksAndTabs(line->text);
        if (text.empty()) continue;
        if (const auto reply = server.handle(text); reply && !writeLine(*reply)) break;
    }
}

}  // namespace

int main(int argc, char** argv) {
    // A host that closes its end of the pipe ends the session; the failed write says so.
    std::signal(SIGPIPE, SIG_IGN);
    std::setvbuf(stdout, nullptr, _IOLBF, 1 << 16);
    const auto commandLine = tessaline::CommandLine::parse(std::vector<std::string>(argv, argv + argc));
    if (commandLine.version) {
        writeLine(tessaline::CommandLine::versionLine());
        return 0;
    }
    const auto defaultFolder = tessaline::WorkspaceStore::defaultFolder();
    if (commandLine.help) {
        writeLine(commandLine.usage(defaultFolder));
        return 0;
    }
    tessaline::WorkspaceStore store(commandLine.workspace ? std::filesystem::path(*commandLine.workspace)
                                                          : defaultFolder);
    tessaline::MCPServer server(store);
    if (commandLine.tools) {
        writeLine(tessaline::toolCatalog::listing());
        return 0;
    }
    serve(store, server);
    return 0;
}
