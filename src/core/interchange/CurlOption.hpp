#pragma once

#include <optional>
#include <string_view>

namespace tessaline {

// One option of curl's command line, as far as splitting a command line needs to know it:
// its long name (without "--"), its one-letter form if it has one, and whether it takes a
// value. The table holds every option that takes a value and every one-letter option, so
// that options an importer does not act on are skipped together with their values.
struct CurlOption {
    std::string_view name;
    char letter = 0;
    bool takesValue = false;

    // A long name that is not in the table is a switch: curl's other options take no value.
    static CurlOption named(std::string_view name);
    static std::optional<CurlOption> lettered(char letter);
};

}  // namespace tessaline
