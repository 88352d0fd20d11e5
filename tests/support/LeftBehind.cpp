#include "LeftBehind.h"

#include <QCoreApplication>
#include <QFile>
#include <QTest>

#include <csignal>
#include <cstdio>
#include <memory>

#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

QList<QByteArray> children()
{
    QFile file(QStringLiteral("/proc/self/task/%1/children").arg(getpid()));
    return file.open(QIODevice::ReadOnly) ? file.readAll().simplified().split(' ') : QList<QByteArray>();
}

QString commandLine(const QByteArray &pid)
{
    QFile file(QStringLiteral("/proc/%1/cmdline").arg(QString::fromLatin1(pid)));
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll().replace('\0', ' ')) : QString();
}

} // namespace

LeftBehind::LeftBehind()
{
    prctl(PR_SET_CHILD_SUBREAPER, 1);
}

QStringList LeftBehind::killAll()
{
    QStringList left;
    // The children of a killed process come to us in turn.
    for (;;) {
        while (waitpid(-1, nullptr, WNOHANG) > 0) { }
        bool found = false;
        const QList<QByteArray> pids = children();
        for (const QByteArray &pid : pids) {
            if (pid.isEmpty()) {
                continue;
            }
            found = true;
            left << commandLine(pid);
            kill(pid.toInt(), SIGKILL);
            waitpid(pid.toInt(), nullptr, 0);
        }
        if (!found) {
            return left;
        }
    }
}

int runTest(QObject &test, int argc, char **argv)
{
    LeftBehind leftBehind;
    std::unique_ptr<QCoreApplication> application;
    if (!QCoreApplication::instance()) {
        application = std::make_unique<QCoreApplication>(argc, argv);
    }
    int result = QTest::qExec(&test, argc, argv);
    const QStringList left = leftBehind.killAll();
    for (const QString &process : left) {
        std::fprintf(stderr, "left behind: %s\n", qPrintable(process));
        result = 1;
    }
    return result;
}
