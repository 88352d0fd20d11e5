#ifndef FILE_FOLLOWER_H
#define FILE_FOLLOWER_H

#include <QFile>
#include <QFileSystemWatcher>
#include <QObject>
#include <QStringList>

/// Reads the lines that others append to a file.
class FileFollower : public QObject
{
    Q_OBJECT

public:
    FileFollower();

    /// From its present end on. Creates the file if it does not exist.
    bool follow(const QString &path);
    /// The lines that have been written since the last time.
    [[nodiscard]] QStringList take();

Q_SIGNALS:
    void changed();

private:
    QFile m_file;
    QByteArray m_pending; ///< a line whose end has not been written yet
    QFileSystemWatcher m_watcher;
};

#endif
