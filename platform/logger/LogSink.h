#ifndef LOG_SINK_H
#define LOG_SINK_H

#include <QByteArray>
#include <QString>

#include <mutex>

#include <sys/types.h>

/**
 * Where log records go: to the named file; without a name, or while the file cannot be opened or written, to standard
 * error; when that cannot be written either, to syslog(3).
 *
 * A record is one line, written by one write(2) to a descriptor in append mode, so lines of several processes never
 * mix. When the file has been renamed or removed under it (log rotation), the next record begins a new one: that costs
 * one stat(2) a record. A file that cannot be used is announced once, and tried again with each record.
 *
 * A descriptor 2 that was opened with O_PATH only reserves the number and counts as closed. May be called from any
 * thread: Qt's messages come from all of them.
 */
class LogSink
{
public:
    /// `path` is a path of this machine, or empty.
    explicit LogSink(const QString &path);
    ~LogSink();

    LogSink(const LogSink &) = delete;
    LogSink &operator=(const LogSink &) = delete;

    /// `level` is a syslog number.
    void write(int level, const QString &text);

private:
    bool writeToFile(const QByteArray &line);
    bool openFile();
    void fallBack(int level, const QByteArray &text);
    void announce(int error);

    const QByteArray m_path;
    int m_descriptor = -1;
    dev_t m_device = 0;
    ino_t m_inode = 0;
    bool m_announced = false;
    std::mutex m_mutex;
};

#endif
