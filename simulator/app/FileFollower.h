#ifndef FILE_FOLLOWER_H
#define FILE_FOLLOWER_H

#include <QFile>
#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

/// Hands out the lines that others append to a file, as they come.
class FileFollower : public QObject
{
    Q_OBJECT

public:
    /// `delay` in ms: a change is read so much later, for who wants to be behind another source.
    explicit FileFollower(int delay);

    /// From its present end on; the file is made when there is none.
    bool follow(const QString &path);
    /// Reads at once what has been written so far.
    void flush();

Q_SIGNALS:
    void line(const QString &text);

private:
    QFile m_file;
    QByteArray m_pending; ///< a line whose end has not been written yet
    QFileSystemWatcher m_watcher;
    QTimer m_delay;
};

#endif
