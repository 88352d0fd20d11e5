#ifndef LOG_SINK_H
#define LOG_SINK_H

#include <QByteArray>
#include <QString>

#include <mutex>

#include <sys/types.h>

/**
 * Where log records go: to the named file; without a name, or while the file cannot be opened or written, to standard
 * error; when that is closed, to the socket of syslog(3), `/dev/log` under the root prefix.
 *
 * None of them is waited for: a line that the sink does not take at once is dropped and counted, and the count is
 * written before the next line that the sink takes. A text that is longer than 8,192 characters is cut.
 *
 * A record is one line, written by one write(2) to a descriptor in append mode, so lines of several processes never
 * mix. When a disk or a pipe took only a part of a line, a line feed comes before the next one. When the file has been
 * renamed or removed (log rotation), the next record begins a new one: that costs one stat(2) a record. A file that
 * cannot be used is announced once, and tried again with each record.
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
    bool put(int level, const QByteArray &text);
    bool writeToFile(const QByteArray &line);
    bool openFile();
    bool fallBack(int level, const QByteArray &text);
    void announce(int error);

    const QByteArray m_path;
    const QByteArray m_syslogSocket;
    int m_descriptor = -1;
    dev_t m_device = 0;
    ino_t m_inode = 0;
    bool m_announced = false;
    // The last line was written in part.
    bool m_fileIsTorn = false;
    bool m_standardErrorIsTorn = false;
    quint64 m_dropped = 0;
    std::mutex m_mutex;
};

#endif
