#include "app/FileFollower.h"

FileFollower::FileFollower()
{
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &FileFollower::changed);
}

bool FileFollower::follow(const QString &path)
{
    m_file.setFileName(path);
    if (!m_file.open(QIODevice::ReadWrite)) {
        return false;
    }
    m_file.seek(m_file.size());
    return m_watcher.addPath(path);
}

QStringList FileFollower::take()
{
    if (m_file.size() < m_file.pos()) {
        m_file.seek(0); // truncated by its writer
    }
    m_pending += m_file.readAll();
    const int end = m_pending.lastIndexOf('\n') + 1;
    const QStringList lines = QString::fromUtf8(m_pending.left(end)).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    m_pending.remove(0, end);
    return lines;
}
