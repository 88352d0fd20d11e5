#ifndef WRITE_NOW_H
#define WRITE_NOW_H

#include <QByteArray>

#include <cstddef>

/**
 * Writes that never wait: a reader that has stopped must not stop the supervisor.
 *
 * They write what the other side takes at once and return the number of bytes; if it is less than `size`, errno says
 * why (EAGAIN: the other side is full). They may be called in a signal handler.
 */

/// To a descriptor whose own flags say that it does not block, or a file.
[[nodiscard]] std::size_t writeAll(int descriptor, const char *data, std::size_t size);

/// To standard output or error (1 or 2). Their flags are shared with other processes, so O_NONBLOCK is not set there.
[[nodiscard]] std::size_t writeToStream(int stream, const char *data, std::size_t size);

/// One datagram to the local socket at `path`.
[[nodiscard]] bool sendDatagram(const QByteArray &path, const QByteArray &data);

#endif
