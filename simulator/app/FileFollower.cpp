#include "FileFollower.h"

FileFollower::FileFollower(int delay)
{
    m_delay.setSingleShot(true);
    m_delay.setInterval(delay);
    connect(&m_delay, &QTimer::timeout, this, &FileFollower::flush);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, [this] {
        if (!m_delay.isActive()) {
            m_delay.start();
        }
    });
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

void FileFollower::flush()
{
    if (m_file.size() < m_file.pos()) {
        m_file.seek(0); // begun anew by its writer
    }
    m_pending += m_file.readAll();
    int begin = 0;
    for (int end = m_pending.indexOf('\n'); end >= 0; end = m_pending.indexOf('\n', begin)) {
        const QString text = QString::fromUtf8(m_pending.mid(begin, end - begin));
        begin = end + 1;
        Q_EMIT line(text);
    }
    m_pending.remove(0, begin);
}
