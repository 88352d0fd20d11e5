#ifndef ROOT_DIR_H
#define ROOT_DIR_H

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

/// A root of its own: JOV_ROOT names it while the object lives.
class RootDir
{
public:
    RootDir();
    ~RootDir();

    [[nodiscard]] QString path(const QString &absolutePath = QString()) const
    {
        return m_directory.path() + absolutePath;
    }
    /// Writes a file and makes the folders on its way.
    void write(const QString &absolutePath, const QByteArray &content) const;
    [[nodiscard]] QByteArray read(const QString &absolutePath) const;
    /// Makes `absolutePath` a symbolic link to `program`.
    void link(const QString &absolutePath, const QString &program) const;

private:
    QTemporaryDir m_directory;
};

#endif
