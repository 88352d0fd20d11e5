#include "NotifySocket.h"

#include "ProcessTree.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

enum { mostDescriptors = 253 }; /* that a message can carry */

/* Closes what came with the message: whoever waits until a barrier is removed goes on. */
static struct ucred readControl(struct msghdr *message)
{
    struct ucred sender = {.pid = 0, .uid = (uid_t)-1};
    for (struct cmsghdr *part = CMSG_FIRSTHDR(message); part; part = CMSG_NXTHDR(message, part)) {
        if (part->cmsg_level != SOL_SOCKET) {
            continue;
        }
        if (part->cmsg_type == SCM_CREDENTIALS) {
            memcpy(&sender, CMSG_DATA(part), sizeof sender);
        } else if (part->cmsg_type == SCM_RIGHTS) {
            const size_t count = (part->cmsg_len - CMSG_LEN(0)) / sizeof(int);
            for (size_t i = 0; i < count; ++i) {
                int descriptor = -1;
                memcpy(&descriptor, CMSG_DATA(part) + i * sizeof descriptor, sizeof descriptor);
                close(descriptor);
            }
        }
    }
    return sender;
}

static void readLine(const char *line, struct Notification *notification)
{
    if (strcmp(line, "READY=1") == 0) {
        notification->isReady = true;
    } else if (strcmp(line, "STOPPING=1") == 0) {
        notification->isStopping = true;
    } else if (strncmp(line, "STATUS=", 7) == 0) {
        snprintf(notification->status, sizeof notification->status, "%s", line + 7);
    }
}

bool receiveNotification(int socketNumber, pid_t program, struct Notification *notification)
{
    memset(notification, 0, sizeof *notification);
    char text[4096];
    _Alignas(struct cmsghdr) char control[CMSG_SPACE(sizeof(struct ucred)) + CMSG_SPACE(sizeof(int) * mostDescriptors)];
    struct iovec part = {text, sizeof text - 1};
    struct msghdr message = {
        .msg_iov = &part, .msg_iovlen = 1, .msg_control = control, .msg_controllen = sizeof control};
    const ssize_t size = recvmsg(socketNumber, &message, MSG_CMSG_CLOEXEC);
    if (size < 0) {
        return errno == EINTR;
    }
    const struct ucred sender = readControl(&message);
    /* A child that was started to report has perhaps ended by now; its user remains. */
    if (sender.uid != geteuid() && !isBelow(sender.pid, program)) {
        return true;
    }
    text[size] = '\0';
    char *rest = NULL;
    for (char *line = strtok_r(text, "\n", &rest); line; line = strtok_r(NULL, "\n", &rest)) {
        readLine(line, notification);
    }
    return true;
}

bool sendNotification(const char *name, char *const *words)
{
    struct sockaddr_un address = {.sun_family = AF_UNIX};
    const size_t length = strlen(name);
    if (length >= sizeof address.sun_path || (name[0] != '/' && name[0] != '@')) {
        errno = EINVAL;
        return false;
    }
    memcpy(address.sun_path, name, length);
    if (name[0] == '@') {
        address.sun_path[0] = '\0';
    }
    char text[4096] = "READY=1";
    size_t size = words[0] ? 0 : strlen(text);
    for (; *words && size < sizeof text; ++words) {
        size += (size_t)snprintf(text + size, sizeof text - size, "%s\n", *words);
    }
    if (size >= sizeof text) {
        errno = EMSGSIZE;
        return false;
    }
    const int socketNumber = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    return socketNumber >= 0
        && sendto(socketNumber, text, size, MSG_NOSIGNAL, (struct sockaddr *)&address,
                  (socklen_t)(offsetof(struct sockaddr_un, sun_path) + length))
        == (ssize_t)size;
}
