#include "logger/WriteNow.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

template <typename Once>
std::size_t repeat(const char *data, std::size_t size, Once once)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t written = once(data + done, size - done);
        if (written > 0) {
            done += static_cast<std::size_t>(written);
        } else if (written == 0 || errno != EINTR) {
            break;
        }
    }
    return done;
}

bool isOpenForWriting(int descriptor)
{
    const int flags = fcntl(descriptor, F_GETFL);
    return flags != -1 && (flags & O_PATH) == 0 && (flags & O_ACCMODE) != O_RDONLY;
}

// An open file description of our own, on which O_NONBLOCK concerns nobody else.
int openAgain(int stream)
{
    char path[] = "/proc/self/fd/N";
    path[sizeof path - 2] = static_cast<char>('0' + stream);
    return open(path, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

std::size_t writeToPipeOrTerminal(int stream, const char *data, std::size_t size)
{
    const int own = openAgain(stream);
    if (own != -1) {
        const std::size_t done = writeAll(own, data, size);
        const int error = errno;
        close(own);
        errno = error;
        return done;
    }
    if (errno == ENXIO) { // a pipe without a reader
        return 0;
    }
    // A terminal of another user, or no /proc. PIPE_BUF bytes fit where poll(2) reports room, unless somebody else is
    // faster.
    return repeat(data, size, [stream](const char *rest, std::size_t length) -> ssize_t {
        pollfd room{stream, POLLOUT, 0};
        if (poll(&room, 1, 0) <= 0) {
            errno = EAGAIN;
            return -1;
        }
        return write(stream, rest, std::min<std::size_t>(length, PIPE_BUF));
    });
}

} // namespace

std::size_t writeAll(int descriptor, const char *data, std::size_t size)
{
    return repeat(data, size,
                  [descriptor](const char *rest, std::size_t length) { return write(descriptor, rest, length); });
}

std::size_t writeToStream(int stream, const char *data, std::size_t size)
{
    struct stat opened
    { };
    if (!isOpenForWriting(stream) || fstat(stream, &opened) != 0) {
        errno = EBADF;
        return 0;
    }
    if (S_ISSOCK(opened.st_mode)) {
        return repeat(data, size, [stream](const char *rest, std::size_t length) {
            return send(stream, rest, length, MSG_DONTWAIT | MSG_NOSIGNAL);
        });
    }
    if (S_ISFIFO(opened.st_mode) || isatty(stream) == 1) {
        return writeToPipeOrTerminal(stream, data, size);
    }
    return writeAll(stream, data, size);
}

bool sendDatagram(const QByteArray &path, const QByteArray &data)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (static_cast<std::size_t>(path.size()) >= sizeof address.sun_path) {
        return false;
    }
    std::memcpy(address.sun_path, path.constData(), static_cast<std::size_t>(path.size()));
    const int own = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (own == -1) {
        return false;
    }
    const ssize_t sent =
        sendto(own, data.constData(), static_cast<std::size_t>(data.size()), MSG_DONTWAIT | MSG_NOSIGNAL,
               reinterpret_cast<const sockaddr *>(&address), sizeof address);
    close(own);
    return sent == data.size();
}
