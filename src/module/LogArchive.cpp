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

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

const QString folder = QStringLiteral("/log");
const QString archive = QStringLiteral("/log/log.var.tar.gz");
const QString partialSuffix = QStringLiteral(".partial");
constexpr int keptArchives = 5;
constexpr unsigned leastFree = 10; // per cent of the file system
constexpr int hangTime = 1000; // ms beyond its limit, and what the end of the daemon waits

/// What the task says of an archive.
struct Result
{
    bool isCutOff = false;
    int status = 0; ///< of tar, as from wait(2)
    qint64 milliseconds = 0;
};

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

/// In the task.
Result archiveLogs(qint64 limit)
{
    const QString path = JovRoot::rooted(archive);
    QDir().mkpath(JovRoot::rooted(folder));
    makeRoom(path);
    createForOwner(path);
    const QString command = QStringLiteral("tar -czvf %1 %2")
                                .arg(JovRoot::shellRooted(archive), JovRoot::shellRooted(QStringLiteral("/var/log/*")));
    Result result;
    QElapsedTimer elapsed;
    elapsed.start();
    result.status = qor_system(command.toLocal8Bit(), [&] {
        result.isCutOff = ForkedTask::isCutOff() || elapsed.elapsed() >= limit;
        return !result.isCutOff;
    });
    result.milliseconds = elapsed.elapsed();
    if (result.isCutOff) {
        moveFile(path, path + partialSuffix);
    }
    return result;
}

} // namespace

LogArchive::LogArchive(const SupervisionState &state)
    : m_state(state)
{
    m_limit.setSingleShot(true);
    connect(&m_limit, &QTimer::timeout, this, &LogArchive::hang);
    connect(&m_task, &ForkedTask::done, this, &LogArchive::ended);
}

void LogArchive::make(const std::function<void()> &then)
{
    m_then = then;
    m_again = m_task.isRunning();
    m_limit.start(m_state.limits().archive + hangTime);
    if (!m_again) {
        begin();
    }
}

void LogArchive::begin()
{
    const bool isStarted = m_task.start([limit = m_state.limits().archive](int output) {
        const Result result = archiveLogs(limit);
        return write(output, &result, sizeof result) == sizeof result ? 0 : errno;
    });
    if (!isStarted) {
        Log::warning("%1 cannot be written: %2", JovRoot::rooted(archive), qt_error_string(errno));
        release();
    }
}

void LogArchive::ended(const QByteArray &output, int /*error*/)
{
    const QString path = JovRoot::rooted(archive);
    Result result;
    std::memcpy(&result, output.constData(), qMin(sizeof result, std::size_t(output.size())));
    if (result.isCutOff) {
        Log::warning("%1 is incomplete: tar was killed after %2 ms", path + partialSuffix, result.milliseconds);
    } else if (WIFSIGNALED(result.status)) {
        Log::warning("%1 may be incomplete: tar: killed by %2", path, signalName(WTERMSIG(result.status)));
    } else if (result.status != 0) {
        Log::warning("%1 may be incomplete: tar: exit status %2", path, WEXITSTATUS(result.status));
    }
    if (std::exchange(m_again, false)) {
        m_limit.start();
        begin();
    } else {
        release();
    }
}

void LogArchive::release()
{
    m_limit.stop();
    if (const auto then = std::exchange(m_then, nullptr)) {
        then();
    }
}

void LogArchive::cutOff()
{
    m_again = false;
    m_task.cutOff();
    m_task.wait(hangTime);
    release();
}

void LogArchive::hang()
{
    Log::warning("%1: nobody waits for it any longer, the disk does not answer", JovRoot::rooted(archive));
    release();
}
