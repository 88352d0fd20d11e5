#ifndef DAEMON_LINE_H
#define DAEMON_LINE_H

#include <QDateTime>
#include <QString>

/// One line of the daemon's log, and what it tells about the boot.
struct DaemonLine
{
    enum class Kind {
        Launched, ///< name, number = pid
        LaunchFailed, ///< name
        StartFailed, ///< name: the process ended before it was ready
        StepStarted, ///< name, number = ms
        Stopped, ///< name, number = ms
        Crashed, ///< name: the crash policy begins
        Blocked, ///< name is passed over, because of the module `other`
        Usual, ///< a warning that means nothing here
        Complaint, ///< any other error or warning
        Other,
    };

    Kind kind = Kind::Other;
    QDateTime time;
    QString level;
    QString text;
    QString name;
    QString other;
    int number = 0;

    [[nodiscard]] static DaemonLine parse(const QString &line);
};

#endif
