#ifndef ROOT_DIR_H
#define ROOT_DIR_H

#include "support/Text.h"

#include <QByteArray>
#include <QStringList>
#include <QTemporaryDir>

/// A root of its own: JOV_ROOT names it while the object lives.
class RootDir
{
public:
    RootDir() { qputenv("JOV_ROOT", m_directory.path().toLocal8Bit()); }
    ~RootDir() { qunsetenv("JOV_ROOT"); }

    [[nodiscard]] QString path(const QString &absolutePath = QString()) const
    {
        return m_directory.path() + absolutePath;
    }
    /// Writes a file and makes the folders on its way.
    void write(const QString &absolutePath, const QByteArray &content) const;
    [[nodiscard]] QByteArray read(const QString &absolutePath) const;
    /// Makes `absolutePath` a symbolic link to `program`.
    void link(const QString &absolutePath, const QString &program) const;
    /// A shell script that can be executed.
    void writeScript(const QString &absolutePath, const QByteArray &commands) const;

    /// Has the log written under the root from this level on, beginning with an empty one.
    void keepLog(int level = 7) const;
    /// Its lines without their time, "LEVEL TEXT", from line `from` on.
    [[nodiscard]] QStringList log(int from = 0) const;

private:
    QTemporaryDir m_directory;
};

#endif
