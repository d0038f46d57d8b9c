#include "server/app/ReplyWriter.hpp"

#include <poll.h>
#include <sys/uio.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

namespace tessaline {

void ReplyWriter::write(std::string_view line) {
    const std::lock_guard guard(lock);
    char feed = '\n';
    std::array<iovec, 2> parts{{{const_cast<char*>(line.data()), line.size()}, {&feed, 1}}};
    // A pipe may take a long line in several writes; each goes on where the last one stopped.
    for (iovec* next = parts.data(); next != parts.data() + parts.size();) {
        const ssize_t count = ::writev(descriptor, next, static_cast<int>(parts.data() + parts.size() - next));
        if (count < 0 && errno == EINTR) continue;
        // A host may hand over a non-blocking descriptor: a full pipe is waited out.
        if (count < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) {
            pollfd writable{.fd = descriptor, .events = POLLOUT, .revents = 0};
            ::poll(&writable, 1, -1);
            continue;
        }
        // Other threads may be inside the store or an exchange; ending here runs no destructor
        // that could wait for them. The store's files are replaced whole or not at all.
        if (count <= 0) std::_Exit(0);
        for (auto written = static_cast<std::size_t>(count); written > 0;) {
            const std::size_t taken = std::min(written, next->iov_len);
            next->iov_base = static_cast<char*>(next->iov_base) + taken;
            next->iov_len -= taken;
            written -= taken;
            if (next->iov_len == 0) ++next;
        }
    }
}

}  // namespace tessaline
