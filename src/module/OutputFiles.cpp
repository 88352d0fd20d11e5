#include "module/OutputFiles.h"

#include "supervision/OutputSetting.h"
#include "system/ReadersGroup.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t permissions = S_IRUSR | S_IWUSR | S_IRGRP;
constexpr qint64 largestFile = 65536; // bytes, at a launch

int openAppending(const QByteArray &name)
{
    // O_NONBLOCK: a FIFO without a reader would stop the daemon here.
    return ::open(name.constData(), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, permissions);
}

/// Changes nothing that is right already: for a new file each change costs as much as its creation.
void giveToReaders(int file, const struct stat &status)
{
    if ((status.st_mode & ALLPERMS) != permissions) {
        fchmod(file, permissions);
    }
    const gid_t group = readersGroup();
    if (group != gid_t(-1) && group != status.st_gid) {
        const int changed = fchown(file, uid_t(-1), group);
        static_cast<void>(changed); // Only root may.
    }
}

bool isMissing(const QString &path)
{
    return access(QFile::encodeName(path).constData(), F_OK) != 0;
}

} // namespace

int OutputFiles::open(const QString &path)
{
    // Most launches find the folder, and a small file.
    const QByteArray name = QFile::encodeName(path);
    Descriptor file(openAppending(name));
    if (!file.isOpen() && errno == ENOENT) {
        const mode_t ownMask = umask(S_IWGRP | S_IWOTH); // ours is 0, and logrotate refuses a folder of everybody
        QDir().mkpath(QFileInfo(path).path());
        umask(ownMask);
        file.reset(openAppending(name));
    }
    struct stat status = {};
    if (!file.isOpen() || fstat(file.number(), &status) != 0) {
        return -1;
    }
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return -1;
    }
    if (status.st_size > largestFile && std::rename(name.constData(), (name + ".old").constData()) == 0) {
        file.reset(openAppending(name));
        if (!file.isOpen() || fstat(file.number(), &status) != 0) {
            return -1;
        }
    }
    if (status.st_size == 0) {
        giveToReaders(file.number(), status);
    }
    return fcntl(file.number(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1); // the other one is closed
}

void OutputFiles::createMissing(const OutputSetting &setting, const QStringList &modules)
{
    QStringList missing;
    for (const QString &module : modules) {
        const QString path = setting.pathOf(module);
        if (isMissing(path)) {
            missing.append(path);
        }
    }
    if (!missing.isEmpty()) {
        m_task.start([missing](int) {
            std::for_each(missing.begin(), missing.end(), [](const QString &path) { Descriptor(open(path)); });
            return 0;
        });
    }
}
