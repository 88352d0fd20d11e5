#ifndef PID_FILE_H
#define PID_FILE_H

#include "system/Descriptor.h"

#include <string>

/**
 * The file with the daemon's pid and a line feed. It is locked for writing (fcntl) while the object exists: readers are
 * not affected, the modules do not inherit the lock, and it ends with the process, however that ends.
 */
class PidFile
{
public:
    /**
     * Replaces the file by a new one with permissions 0644. False, with a log line, if another daemon holds it: nothing
     * is changed then. Any other failure is only reported: a daemon without its PID file is better than none.
     */
    [[nodiscard]] bool write(const std::string &path);

private:
    enum class Lock {
        Taken,
        Held, ///< by another process
        Lost, ///< another process was quicker: try again
        Failed ///< see errno
    };

    /// Locks what is there, if it is a regular file.
    Lock lockExisting(const char *path);
    /// Removes what lockExisting() has found, and creates the new file.
    Lock replace(const char *path);

    Descriptor m_file;
};

#endif
