#include "FuzzRoot.h"

#include <jov/JovLogger.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace {

const QTemporaryDir &folder()
{
    static const QTemporaryDir theFolder(QFileInfo(QStringLiteral("/dev/shm")).isWritable()
                                             ? QStringLiteral("/dev/shm/jov-fuzz-XXXXXX")
                                             : QDir::tempPath() + QStringLiteral("/jov-fuzz-XXXXXX"));
    return theFolder;
}

void open(QFile &file, const QString &absolutePath)
{
    file.setFileName(folder().path() + absolutePath);
    QDir().mkpath(QFileInfo(file).path());
    require(file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered), "no file for the inputs");
}

/// Emergencies alone.
void silence()
{
    QFile ini;
    open(ini, QStringLiteral("/etc/JovApplication/platform.ini"));
    ini.write("[log]\nlevel=0\n");
    ini.close();
    qputenv("JOV_ROOT", QFile::encodeName(folder().path()));
    static_cast<void>(logger());
}

} // namespace

void FuzzRoot::write(const QString &absolutePath, const std::uint8_t *data, std::size_t size)
{
    // Opened once: a path takes longer than the text behind it.
    static QFile file;
    if (!file.isOpen()) {
        silence();
        open(file, absolutePath);
    }
    const bool written = file.resize(0) && file.seek(0)
        && file.write(reinterpret_cast<const char *>(data), qint64(size)) == qint64(size);
    require(written, "the input cannot be written to a file");
}

void require(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "Broken: %s\n", what);
        std::abort();
    }
}
