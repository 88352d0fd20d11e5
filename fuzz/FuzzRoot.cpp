#include "FuzzRoot.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int folders = 64;

const QTemporaryDir &folder()
{
    static const QTemporaryDir theFolder(QFileInfo(QStringLiteral("/dev/shm")).isWritable()
                                             ? QStringLiteral("/dev/shm/jov-fuzz-XXXXXX")
                                             : QDir::tempPath() + QStringLiteral("/jov-fuzz-XXXXXX"));
    return theFolder;
}

void writeUnder(const QString &root, const QString &absolutePath, const char *data, qint64 size)
{
    qputenv("JOV_ROOT", QFile::encodeName(root));
    QFile file(root + absolutePath);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate)) {
        QDir().mkpath(QFileInfo(file).path());
        require(file.open(QIODevice::WriteOnly | QIODevice::Truncate), "the input cannot be written to a file");
    }
    require(file.write(data, size) == size, "the input cannot be written to a file");
}

/// Emergencies alone.
void silence()
{
    static const bool done = [] {
        const QByteArray ini = "[log]\nlevel=0\n";
        writeUnder(folder().path(), QStringLiteral("/etc/JovApplication/platform.ini"), ini.constData(), ini.size());
        return true;
    }();
    static_cast<void>(done);
}

} // namespace

void FuzzRoot::write(const QString &absolutePath, const std::uint8_t *data, std::size_t size)
{
    silence();
    writeUnder(folder().path(), absolutePath, reinterpret_cast<const char *>(data), qint64(size));
}

void FuzzRoot::writeAnew(const QString &absolutePath, const std::uint8_t *data, std::size_t size)
{
    static int count = 0;
    const QString root = folder().filePath(QString::number(count++ % folders));
    writeUnder(root, absolutePath, reinterpret_cast<const char *>(data), qint64(size));
}

void require(bool condition, const char *what)
{
    if (!condition) {
        std::fprintf(stderr, "Broken: %s\n", what);
        std::abort();
    }
}
