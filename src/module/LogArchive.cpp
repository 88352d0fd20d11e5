#include "module/LogArchive.h"

#include "contract/ExitText.h"
#include "supervision/SupervisionState.h"
#include "system/Descriptor.h"

#include <jov/JovProcess.h>
#include <jov/JovRoot.h>
#include <jov/Log.h>

#include <QDir>
#include <QElapsedTimer>
#include <QFile>

#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>

namespace {

const QString folder = QStringLiteral("/log");
const QString archive = QStringLiteral("/log/log.var.tar.gz");
const QString partialSuffix = QStringLiteral(".partial");
constexpr int keptArchives = 5;
constexpr unsigned leastFree = 10; // per cent of the file system

/// tar keeps the permissions of an archive that exists; its own would let everybody read it.
void createForOwner(const QString &path)
{
    constexpr mode_t permissions = S_IRUSR | S_IWUSR;
    const Descriptor file(
        open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, permissions));
    struct stat status = {};
    if (file.isOpen() && fstat(file.number(), &status) == 0 && S_ISREG(status.st_mode)) {
        fchmod(file.number(), permissions);
    }
}

bool isNearlyFull(const QString &path)
{
    struct statvfs status = {};
    return statvfs(QFile::encodeName(path).constData(), &status) == 0
        && quint64(status.f_bavail) * 100 < quint64(status.f_blocks) * leastFree;
}

void moveFile(const QString &from, const QString &to)
{
    // One that is missing leaves its place to the one before.
    const int moved = std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData());
    static_cast<void>(moved);
}

void makeRoom(const QString &path)
{
    const auto older = [&path](int number) { return QStringLiteral("%1.%2").arg(path).arg(number); };
    for (int i = keptArchives - 1; i >= 1; --i) {
        moveFile(older(i), older(i + 1));
    }
    moveFile(path, older(1));
    QStringList expendable{path + partialSuffix};
    for (int i = keptArchives; i >= 1; --i) {
        expendable << older(i);
    }
    while (!expendable.isEmpty() && isNearlyFull(JovRoot::rooted(folder))) {
        QFile::remove(expendable.takeFirst());
    }
}

} // namespace

void archiveLogs(const SupervisionState &state)
{
    const QString path = JovRoot::rooted(archive);
    QDir().mkpath(JovRoot::rooted(folder));
    makeRoom(path);
    createForOwner(path);
    const QString command = QStringLiteral("tar -czvf %1 %2")
                                .arg(JovRoot::shellRooted(archive), JovRoot::shellRooted(QStringLiteral("/var/log/*")));
    bool inTime = true;
    QElapsedTimer elapsed;
    elapsed.start();
    const int status = qor_system(command.toLocal8Bit(), [&] {
        inTime = !state.isEnding() && elapsed.elapsed() < state.limits().archive;
        return inTime;
    });
    if (!inTime) {
        moveFile(path, path + partialSuffix);
        Log::warning("%1 is incomplete: tar was killed after %2 ms", path + partialSuffix, elapsed.elapsed());
    } else if (WIFSIGNALED(status)) {
        Log::warning("%1 may be incomplete: tar: killed by %2", path, signalName(WTERMSIG(status)));
    } else if (status != 0) {
        Log::warning("%1 may be incomplete: tar: exit status %2", path, WEXITSTATUS(status));
    }
}
