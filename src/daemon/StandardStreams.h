#ifndef STANDARD_STREAMS_H
#define STANDARD_STREAMS_H

/**
 * Holds those numbers of the standard streams that are free, so that nothing else gets them.
 *
 * Closed does not mean free: a free number is taken by the next socket or pipe, and a line printed to standard output
 * would then go into the bus connection, one to standard error could be read as a signal. The numbers are held by
 * descriptors that only name a file (O_PATH): writing to them fails with EBADF exactly as on a closed one, and children
 * inherit nothing.
 */
void holdStandardStreams();

/// Closes the standard streams of a quiet daemon: descriptor 0 becomes `/dev/null` for reading, 1 and 2 are held.
void closeStandardStreams();

#endif
