#include "mcp/Blocking.hpp"

namespace tessaline {

SerialQueue& blockingWorker() {
    static SerialQueue worker;
    return worker;
}

}  // namespace tessaline
