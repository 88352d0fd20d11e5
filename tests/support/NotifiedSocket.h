#ifndef NOTIFIED_SOCKET_H
#define NOTIFIED_SOCKET_H

#include <QByteArray>

#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

/// The service manager's end of the notification socket; a name that begins with "@" is abstract.
class NotifiedSocket
{
public:
    explicit NotifiedSocket(const QByteArray &name)
        : m_socket(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        memcpy(address.sun_path, name.constData(), std::size_t(name.size()));
        if (name.startsWith('@')) {
            address.sun_path[0] = '\0';
        }
        const auto size = socklen_t(offsetof(sockaddr_un, sun_path) + std::size_t(name.size()));
        if (bind(m_socket, reinterpret_cast<sockaddr *>(&address), size) != 0) {
            qFatal("no socket %s", name.constData());
        }
    }
    ~NotifiedSocket() { close(m_socket); }
    Q_DISABLE_COPY(NotifiedSocket)

    /// The messages since the last call.
    [[nodiscard]] int count() const
    {
        char text[64];
        int messages = 0;
        for (ssize_t size = 0; (size = recv(m_socket, text, sizeof text, 0)) >= 0;) {
            messages += QByteArray(text, int(size)) == "WATCHDOG=1" ? 1 : 1000;
        }
        return messages;
    }

private:
    int m_socket;
};

#endif
