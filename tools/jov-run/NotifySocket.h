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

/* A socket that any process of the network namespace can send to, and its name for NOTIFY_SOCKET; -1 on failure. */
int openNotifySocket(char *name, size_t size);

/* Takes a datagram; false if there is none. One of a stranger is dropped. */
bool receiveNotification(int socket, pid_t program, struct Notification *notification);

/* The same from the other side: the words, or READY=1 if there are none, are sent to the socket `name`. */
bool sendNotification(const char *name, char *const *words);

#endif
