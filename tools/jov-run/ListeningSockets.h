#ifndef LISTENING_SOCKETS_H
#define LISTENING_SOCKETS_H

#include <stdbool.h>
#include <sys/types.h>

/* The program, or one of its descendants, listens on the TCP port, in its own network namespace. */
bool listensOnTcp(pid_t program, unsigned port);

/* It listens on the Unix socket, or is bound to it if it is one for datagrams. `path` begins with @ for one that is no
 * file. */
bool listensOnUnix(pid_t program, const char *path);

#endif
