#include "server/mcp/Blocking.hpp"

namespace tessaline {

SerialQueue& blockingWorker() {
    // Never destroyed: a destructor run at exit would join a thread that a forked child
    // (which exits through the same destructors) does not have, and wait for ever.
    static SerialQueue& worker = *new SerialQueue;
    return worker;
}

}  // namespace tessaline
