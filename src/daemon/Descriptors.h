#ifndef DESCRIPTORS_H
#define DESCRIPTORS_H

/**
 * Closes the standard streams of a quiet daemon: descriptor 0 becomes `/dev/null` for reading, 1 and 2 are closed.
 *
 * Closed does not mean free: a number left free is taken by the next socket, and a line printed to standard output
 * would then go into the bus connection. So 1 and 2 are held by descriptors that only name a file (O_PATH): writing to
 * them fails with EBADF exactly as on a closed one, and children inherit nothing.
 */
void closeStandardStreams();

#endif
