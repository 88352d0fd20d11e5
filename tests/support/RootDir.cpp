#include "RootDir.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

RootDir::RootDir()
{
    qputenv("JOV_ROOT", QFile::encodeName(m_directory.path()));
}

RootDir::~RootDir()
{
    qunsetenv("JOV_ROOT");
}

void RootDir::write(const QString &absolutePath, const QByteArray &content) const
{
    QDir().mkpath(QFileInfo(path(absolutePath)).path());
    QFile file(path(absolutePath));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(file.fileName()));
    }
}

QByteArray RootDir::read(const QString &absolutePath) const
{
    QFile file(path(absolutePath));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void RootDir::link(const QString &absolutePath, const QString &program) const
{
    QDir().mkpath(QFileInfo(path(absolutePath)).path());
    if (!QFile::link(program, path(absolutePath))) {
        qFatal("cannot link %s", qPrintable(path(absolutePath)));
    }
}
