#include "server/mcp/SavedAnswer.hpp"

#include "server/mcp/ToolError.hpp"

namespace tessaline {

std::string savedAnswer(const SaveReport& report, const std::string& answer) {
    if (report.failure) {
        throw ToolError(*report.failure + "\n" + answer +
                    "\nThe change is kept in memory and will be written by the next save that succeeds; do not make it again.");
    }
    return report.notice ? answer + "\n" + *report.notice : answer;
}

}  // namespace tessaline
