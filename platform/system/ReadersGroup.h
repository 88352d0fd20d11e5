#ifndef READERS_GROUP_H
#define READERS_GROUP_H

#include <sys/types.h>

/// The group whose members may read the history and what modules print, gid_t(-1) without one. Looked up once.
[[nodiscard]] gid_t readersGroup();

#endif
