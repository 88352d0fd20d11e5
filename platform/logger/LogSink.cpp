#include "logger/LogSink.h"

#include "logger/LogRecord.h"
#include "logger/WriteNow.h"

#include <jov/JovLogger.h>
#include <jov/JovRoot.h>

#include <QFile>

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Write = std::size_t (*)(int descriptor, const char *data, std::size_t size);

bool writeLine(Write write, int descriptor, QByteArray line, bool &torn)
{
    if (torn) {
        line.prepend('\n');
    }
    const auto written = static_cast<int>(write(descriptor, line.constData(), static_cast<std::size_t>(line.size())));
    if (written > 0) {
        torn = line.at(written - 1) != '\n';
    }
    return written == line.size();
}

} // namespace

LogSink::LogSink(const QString &path)
    : m_path(QFile::encodeName(path))
    , m_syslogSocket(QFile::encodeName(JovRoot::rooted(QStringLiteral("/dev/log"))))
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
    if (m_dropped > 0
        && put(
            JovLogger::Warning,
            oneLine(QStringLiteral("%1 lines of the log were dropped: the sink did not take them").arg(m_dropped)))) {
        m_dropped = 0;
    }
    if (m_dropped > 0 || !put(level, line)) {
        ++m_dropped;
    }
}

bool LogSink::put(int level, const QByteArray &text)
{
    if (!m_path.isEmpty()) {
        if (writeToFile(record(level, text))) {
            m_announced = false;
            return true;
        }
        announce(errno);
    }
    return fallBack(level, text);
}

bool LogSink::writeToFile(const QByteArray &line)
{
    struct stat named
    { };
    const bool stillThere = m_descriptor != -1 && stat(m_path.constData(), &named) == 0 && named.st_ino == m_inode
        && named.st_dev == m_device;
    return (stillThere || openFile()) && writeLine(writeAll, m_descriptor, line, m_fileIsTorn);
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
    m_fileIsTorn = false;
    return true;
}

bool LogSink::fallBack(int level, const QByteArray &text)
{
    if (writeLine(writeToStream, STDERR_FILENO, record(level, text), m_standardErrorIsTorn)) {
        return true;
    }
    // A stream that is only full stays the place of the log.
    return errno != EAGAIN && sendDatagram(m_syslogSocket, syslogRecord(level, text));
}

void LogSink::announce(int error)
{
    if (!m_announced) {
        m_announced = fallBack(JovLogger::Error,
                               "cannot write the log file " + oneLine(QFile::decodeName(m_path)) + ": "
                                   + QByteArray(strerror(error)));
    }
}
