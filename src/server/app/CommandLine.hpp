#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tessaline {

// The switches of the command line. Unknown arguments are ignored; switches may stand in
// any order; there are no short forms and no --switch=value forms.
struct CommandLine {
    std::string invocation;                // argv[0], as the host gave it
    std::optional<std::string> workspace;  // the value after the first --workspace, if any
    bool version = false;
    bool help = false;
    bool tools = false;

    static CommandLine parse(const std::vector<std::string>& arguments);

    static std::string versionLine();
    // The four lines of --help; they name the folder used when --workspace is not given.
    std::string usage(const std::filesystem::path& defaultFolder) const;
};

}  // namespace tessaline
