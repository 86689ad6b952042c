#include "cli/Output.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>

namespace slicewise {

void Output::flush()
{
    std::string_view rest = m_buffer;
    while (!rest.empty() && !m_closed) {
        const ssize_t written = ::write(m_descriptor, rest.data(), rest.size());
        if (written >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno == EAGAIN) {
            // Somebody made the descriptor non-blocking, as some terminals' shells do.
            pollfd wait{.fd = m_descriptor, .events = POLLOUT, .revents = 0};
            static_cast<void>(::poll(&wait, 1, -1));
        } else if (errno != EINTR) {
            m_closed = true;
            m_error = errno == EPIPE ? 0 : errno;
        }
    }
    m_buffer.clear();
}

} // namespace slicewise
