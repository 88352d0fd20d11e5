#include "daemon/NotifySocket.h"

#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

QByteArray takeVariable(const char *name)
{
    QByteArray value = qgetenv(name);
    qunsetenv(name);
    return value;
}

} // namespace

NotifySocket::NotifySocket(pid_t parent)
    : m_name(takeVariable("NOTIFY_SOCKET"))
{
    using std::chrono::duration_cast;
    const std::chrono::microseconds timeOut(takeVariable("WATCHDOG_USEC").toLongLong());
    const QByteArray watched = takeVariable("WATCHDOG_PID");
    const bool isOurs =
        watched.isEmpty() || watched == QByteArray::number(getpid()) || watched == QByteArray::number(parent);
    const bool hasName = m_name.startsWith('/') || m_name.startsWith('@');
    m_timeOut = duration_cast<std::chrono::milliseconds>(timeOut);
    if (isOurs && hasName && m_name.size() < int(sizeof sockaddr_un::sun_path) && m_timeOut.count() > 0) {
        m_socket.reset(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    }
}

void NotifySocket::feed() const
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, m_name.constData(), std::size_t(m_name.size()));
    if (m_name.startsWith('@')) {
        // An abstract name: its length ends it.
        address.sun_path[0] = '\0';
    }
    const auto size = socklen_t(offsetof(sockaddr_un, sun_path) + std::size_t(m_name.size()));
    static constexpr char text[] = "WATCHDOG=1";
    // A message that is lost is made up for by the next one: there are two in each time-out.
    const ssize_t sent = sendto(m_socket.number(), text, sizeof text - 1, MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr *>(&address), size);
    static_cast<void>(sent);
}
