#include "support/RootDir.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

const QString logFile = "/var/log/daemon.log"_s;

} // namespace

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
    QFile::remove(path(absolutePath));
    if (!QFile::link(program, path(absolutePath))) {
        qFatal("cannot link %s", qPrintable(path(absolutePath)));
    }
}

void RootDir::writeScript(const QString &absolutePath, const QByteArray &commands) const
{
    write(absolutePath, "#!/bin/sh\n" + commands + '\n');
    QFile::setPermissions(path(absolutePath), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

void RootDir::keepLog(int level) const
{
    write(logFile, QByteArray());
    write("/etc/JovApplication/platform.ini"_s, "[log]\nlevel=%1\nfile=%2\n"_s.arg(level).arg(logFile).toUtf8());
}

QStringList RootDir::log(int from) const
{
    QStringList lines = QString::fromUtf8(read(logFile)).split(u'\n', Qt::SkipEmptyParts).mid(from);
    for (QString &line : lines) {
        line = line.section(u' ', 1);
    }
    return lines;
}
