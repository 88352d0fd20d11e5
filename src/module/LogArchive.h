#ifndef LOG_ARCHIVE_H
#define LOG_ARCHIVE_H

class SupervisionState;

/**
 * Packs the logs into `/log/log.var.tar.gz` after a crash. Earlier archives are kept as `.1`, the newest, to `.5`; the
 * oldest of them go while less than a tenth of the file system is free. An archive that is cut off by the limit of time
 * gets the suffix `.partial`.
 *
 * The event loop does not run meanwhile: the end of the daemon and a limit end it.
 */
void archiveLogs(const SupervisionState &state);

#endif
