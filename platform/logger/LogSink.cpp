#include "logger/LogSink.h"

#include <jov/JovLogger.h>

#include <QFile>

#include <cerrno>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace {

const char *levelName(int level)
{
    switch (level) {
    case JovLogger::Emergency:
        return "emergency";
    case JovLogger::Error:
        return "error";
    case JovLogger::Warning:
        return "warning";
    case JovLogger::Info:
        return "info";
    default:
        return "debug";
    }
}

QByteArray timeStamp()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    char seconds[32];
    const size_t length = strftime(seconds, sizeof seconds, "%Y-%m-%dT%H:%M:%S", &local);
    QByteArray stamp(seconds, static_cast<int>(length));
    return stamp + '.' + QByteArray::number(static_cast<int>(now.tv_nsec / 1000000)).rightJustified(3, '0');
}

// Without a bare line end in it, so that a record is one line and nobody can forge a second one.
QByteArray oneLine(const QString &text)
{
    QByteArray bytes = text.toUtf8();
    bytes.replace('\n', "\\n");
    bytes.replace('\r', "\\r");
    return bytes;
}

QByteArray record(int level, const QByteArray &text)
{
    return timeStamp() + ' ' + levelName(level) + ' ' + text + '\n';
}

bool writeAll(int descriptor, const QByteArray &line)
{
    const char *rest = line.constData();
    auto length = static_cast<size_t>(line.size());
    while (length > 0) {
        const ssize_t written = ::write(descriptor, rest, length);
        if (written > 0) {
            rest += written;
            length -= static_cast<size_t>(written);
        } else if (written == 0 || errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool standardErrorIsOpen()
{
    const int flags = fcntl(STDERR_FILENO, F_GETFL);
    return flags != -1 && (flags & O_PATH) == 0 && (flags & O_ACCMODE) != O_RDONLY;
}

} // namespace

LogSink::LogSink(const QString &path)
    : m_path(QFile::encodeName(path))
{ }

LogSink::~LogSink()
{
    if (m_descriptor != -1) {
        close(m_descriptor);
    }
}

void LogSink::write(int level, const QString &text)
{
    const QByteArray line = oneLine(text);
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_path.isEmpty()) {
        if (writeToFile(record(level, line))) {
            m_announced = false;
            return;
        }
        announce(errno);
    }
    fallBack(level, line);
}

bool LogSink::writeToFile(const QByteArray &line)
{
    struct stat named
    { };
    const bool stillThere = m_descriptor != -1 && stat(m_path.constData(), &named) == 0 && named.st_ino == m_inode
        && named.st_dev == m_device;
    return (stillThere || openFile()) && writeAll(m_descriptor, line);
}

bool LogSink::openFile()
{
    if (m_descriptor != -1) {
        close(m_descriptor);
    }
    // O_NONBLOCK: a FIFO in the place of the file must not stop the process until somebody reads it.
    m_descriptor = ::open(m_path.constData(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0644);
    struct stat opened
    { };
    if (m_descriptor == -1 || fstat(m_descriptor, &opened) != 0) {
        return false;
    }
    m_inode = opened.st_ino;
    m_device = opened.st_dev;
    return true;
}

void LogSink::fallBack(int level, const QByteArray &text)
{
    if (!standardErrorIsOpen() || !writeAll(STDERR_FILENO, record(level, text))) {
        syslog(LOG_DAEMON | level, "%s", text.constData());
    }
}

void LogSink::announce(int error)
{
    if (!m_announced) {
        m_announced = true;
        fallBack(JovLogger::Error,
                 "cannot write the log file " + oneLine(QFile::decodeName(m_path)) + ": "
                     + QByteArray(strerror(error)));
    }
}
