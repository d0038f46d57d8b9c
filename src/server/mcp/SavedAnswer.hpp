#pragma once

#include "core/storage/SaveReport.hpp"

#include <string>

namespace tessaline {

// The answer of a tool that changed something, once the change was saved: `answer` with the
// save's notice, if any. When the change could not be written, throws an Error whose text
// gives the reason, then `answer`, then that the change is kept in memory only until a save
// succeeds, so that the agent neither takes it for saved nor makes it a second time.
std::string savedAnswer(const SaveReport& report, const std::string& answer);

}  // namespace tessaline
