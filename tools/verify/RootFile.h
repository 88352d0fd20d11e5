#ifndef ROOT_FILE_H
#define ROOT_FILE_H

#include "system/Descriptor.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <sys/stat.h>

/**
 * A file of the terminal, found as a process on the terminal finds it: every link, also an absolute one or one with
 * "..", is followed inside the root directory. Nothing outside it is opened, whatever is replaced meanwhile.
 *
 * Each component of the path is opened without following links. openat2(2) could do that in one call, but kernels
 * before 5.6 and many containers do not have it.
 */
class RootFile
{
public:
    /// `path` begins at the root of the terminal.
    explicit RootFile(const QByteArray &path);
    explicit RootFile(const QString &path);

    [[nodiscard]] bool exists() const { return m_error == 0; }
    [[nodiscard]] bool isRegular() const { return exists() && S_ISREG(m_status.st_mode); }
    [[nodiscard]] bool isLink() const { return m_isLink; } ///< the name itself; all else is about what it leads to
    [[nodiscard]] bool isDirectory() const { return exists() && S_ISDIR(m_status.st_mode); }
    [[nodiscard]] mode_t mode() const { return m_status.st_mode; }
    [[nodiscard]] bool isExecutable() const { return (mode() & (S_IXUSR | S_IXGRP | S_IXOTH)) != 0; }
    /// Missing or a broken link, as opposed to out of reach.
    [[nodiscard]] bool isMissing() const;
    /// Missing, but open(2) with O_CREAT would create it: its directory exists.
    [[nodiscard]] bool isCreatable() const { return m_isCreatable; }
    [[nodiscard]] QString errorText() const { return qt_error_string(m_error); }

    /// From the root of the terminal, without links; of what exists.
    [[nodiscard]] const QByteArray &realPath() const { return m_realPath; }
    /// A name that leads to this very file, for a reader that opens it; of one that does not exist an empty text.
    [[nodiscard]] QString openName() const;
    /// The names in a directory, sorted.
    [[nodiscard]] QStringList entries() const;

private:
    void walk(const QByteArray &path);

    Descriptor m_descriptor; ///< with O_PATH
    struct stat m_status = {};
    int m_error = 0;
    bool m_isCreatable = false;
    bool m_isLink = false;
    QByteArray m_realPath;
};

#endif
