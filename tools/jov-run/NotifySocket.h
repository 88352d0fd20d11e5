#ifndef NOTIFY_SOCKET_H
#define NOTIFY_SOCKET_H

#include <stdbool.h>
#include <stddef.h>
#include <sys/types.h>

/* The socket to which a service reports its state: datagrams of lines KEY=VALUE. */

struct Notification
{
    bool isReady;
    bool isStopping;
    char status[256]; /* empty: none */
};

/* Takes a datagram; false if there is none. One of a stranger is dropped. */
bool receiveNotification(int socket, pid_t program, struct Notification *notification);

/* The same from the other side: the words, or READY=1 if there are none, are sent to the socket `name`. */
bool sendNotification(const char *name, char *const *words);

#endif
