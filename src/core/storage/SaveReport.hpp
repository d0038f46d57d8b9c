#pragma once

#include <optional>
#include <string>

namespace tessaline {

// What a save has to tell beyond having written the change.
struct SaveReport {
    // Why the change could not be written ("Couldn't save workspace: ..."); it stays in
    // memory and the next save that succeeds writes it.
    std::optional<std::string> failure{};
    // Something the user should know about a save that succeeded, such as where the bytes
    // of a file that could not be read were kept.
    std::optional<std::string> notice{};
};

}  // namespace tessaline
