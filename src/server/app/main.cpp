#include "core/storage/WorkspaceStore.hpp"
#include "server/app/CommandLine.hpp"
#include "server/app/MessageLoop.hpp"
#include "server/app/ReplyWriter.hpp"
#include "server/mcp/MCPServer.hpp"
#include "server/mcp/ToolCatalog.hpp"

#include <csignal>
#include <string>
#include <vector>

#include <unistd.h>

int main(int argc, char** argv) {
    // A host that closes its end of the pipe ends the session; the failed write says so.
    std::signal(SIGPIPE, SIG_IGN);
    tessaline::ReplyWriter writer(STDOUT_FILENO);
    const auto commandLine = tessaline::CommandLine::parse(std::vector<std::string>(argv, argv + argc));
    if (commandLine.version) {
        writer.write(tessaline::CommandLine::versionLine());
        return 0;
    }
    const auto defaultFolder = tessaline::WorkspaceStore::defaultFolder();
    if (commandLine.help) {
        writer.write(commandLine.usage(defaultFolder));
        return 0;
    }
    tessaline::WorkspaceStore store(commandLine.workspace ? std::filesystem::path(*commandLine.workspace)
                                                          : defaultFolder);
    tessaline::MCPServer server(store);
    if (commandLine.tools) {
        writer.write(tessaline::toolCatalog::listing());
        return 0;
    }
    tessaline::MessageLoop(store, server, writer).run(STDIN_FILENO);
    return 0;
}
